# Sanitizer and fuzzing builds, each in a build folder of its own, with clang:
#
#   DOMPARSE_SANITIZE=address,undefined  make test-sanitize (build-sanitize)
#   DOMPARSE_SANITIZE=thread             make test-tsan (build-tsan)
#   DOMPARSE_FUZZ=ON                     make fuzz (build-fuzz): libFuzzer
#                                        coverage on everything, the fuzz
#                                        targets, ASan and UBSan
#
# Everything built in such a folder, the libraries included, is instrumented.
# DOMPARSE_SANITIZED tells the tests, which scale their stress sizes down and
# leave out what cannot run under a sanitizer.

set(DOMPARSE_SANITIZE "" CACHE STRING
  "Sanitizers for the whole build, as -fsanitize= takes them (address,undefined or thread)")
option(DOMPARSE_FUZZ "Build the libFuzzer targets of fuzz/ (clang)" OFF)

set(DOMPARSE_SANITIZER_LIST ${DOMPARSE_SANITIZE})
if(DOMPARSE_FUZZ AND NOT DOMPARSE_SANITIZER_LIST)
  set(DOMPARSE_SANITIZER_LIST address,undefined)
endif()

# Shared libraries are linked with --no-undefined, except under a sanitizer:
# there the sanitizer's runtime is linked into the executables only, and the
# libraries leave its functions undefined.
set(DOMPARSE_SHARED_NO_UNDEFINED -Wl,--no-undefined)

if(DOMPARSE_SANITIZER_LIST)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "DOMPARSE_SANITIZE and DOMPARSE_FUZZ need clang: "
      "configure with -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++")
  endif()
  set(DOMPARSE_SHARED_NO_UNDEFINED "")
  # Every finding ends the test that made it, and stacks stay readable.
  add_compile_options(-fsanitize=${DOMPARSE_SANITIZER_LIST} -fno-sanitize-recover=all
    -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=${DOMPARSE_SANITIZER_LIST})
  add_compile_definitions(DOMPARSE_SANITIZED=1)
endif()

if(DOMPARSE_FUZZ)
  # Coverage feedback for libFuzzer in every object, the libraries included;
  # only the fuzz targets link libFuzzer's main.
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_compile_definitions(DOMPARSE_FUZZING=1)
endif()
