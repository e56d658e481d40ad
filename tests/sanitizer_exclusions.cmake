# Tests left out of the sanitizer suites (make test-sanitize, make test-tsan),
# each entry "<folder>:<GoogleTest filter pattern>", each with its reason.
# Everything else runs under ASan and UBSan, LeakSanitizer included.
set(DOMPARSE_SANITIZER_EXCLUDED_TESTS
  # Death tests that expect the required faults to end the process with
  # SIGSEGV. Under ASan the sanitizer takes the fault, prints its report and
  # exits with status 1 instead. The guarded suite runs the same inputs to
  # their result codes under the sanitizers.
  library:PrepareInputDeathTest.BareBigEndianMarkRunsTheSwapOffTheBuffer
  library:PrepareInputDeathTest.BigEndianMarkIsTakenWhateverTheSize
  library:PrepareInputDeathTest.BareUtf8ByteOrderMarkFaultsInTheLineEndPass
  # The tool's --limit under an address space limit of 64 MB beyond what the
  # tool holds: ASan reports an allocation it cannot make as a finding and
  # ends the process, where the library would see bad_alloc and return 3.
  tools:CliLimit.AParseThatOutgrowsTheMemoryFailsWithResultThree
  # The limits suite (label "limits"): inputs that never end, run under an
  # address space limit (RLIMIT_AS) that ASan's shadow memory cannot live
  # under, and missing body faults expected as SIGSEGV as above.
  e2e_limits:*
)
