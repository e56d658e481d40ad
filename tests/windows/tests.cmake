# The test suites of the Windows build (included from tests/CMakeLists.txt
# when WIN32). The same test sources as on Linux, built with the cross
# toolchain against GoogleTest built from its sources with that toolchain, and
# run under Wine: one CTest test per executable, each run once with all its
# test cases, through the runner that CMAKE_CROSSCOMPILING_EMULATOR names.
#
# A few POSIX facilities get their Windows form from tests/windows/compat/,
# which comes first on the include path, with posix_forms.h put in front of
# every C++ test source. What has no Windows form is left out below, by file
# or by test name, each with its reason.

set(DOMPARSE_GOOGLETEST_SOURCE_DIR /usr/src/googletest CACHE PATH
  "GoogleTest sources (Debian package googletest) to build with the cross toolchain")
if(NOT EXISTS ${DOMPARSE_GOOGLETEST_SOURCE_DIR}/CMakeLists.txt)
  message(FATAL_ERROR "GoogleTest sources not found in ${DOMPARSE_GOOGLETEST_SOURCE_DIR}; "
    "install the Debian package googletest (scripts/setup-windows.sh)")
endif()
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(${DOMPARSE_GOOGLETEST_SOURCE_DIR} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)

set(DOMPARSE_WINDOWS_COMPAT_DIR ${CMAKE_CURRENT_SOURCE_DIR}/windows/compat)

# Source files that test what the Windows build does not have. Their tests
# run in the Linux suite.
set(DOMPARSE_WINDOWS_EXCLUDED_SOURCES
  # The global memory functions of the Linux platform layer (a handle registry
  # that refuses forged handles); on Windows the functions are kernel32's.
  platform/global_memory_test.cpp
  # Code pages 50220, 50225, 51932 and 54936 through the C library's iconv: a
  # Linux decoder; Wine's kernel32 lacks these four code pages.
  platform/multi_byte_iconv_test.cpp
  # Reruns the code page table generator (Python 3) through the shell.
  platform/multi_byte_tables_generated_test.cpp
  # Runs the tool through the POSIX shell with redirections and reads wait
  # statuses; tests/windows/cli_windows_test.cpp runs domparse.exe instead.
  tools/cli_binary_test.cpp
  # domparse --limit runs parses in child processes under fork, setrlimit and
  # waitpid, through the POSIX shell; the option is POSIX only.
  tools/cli_limit_test.cpp
  # The guarded library's ELF symbols (nm, readelf on libdomparse_guarded.so);
  # windows_tests' GuardedDll.* read the tables of domparse_guarded.dll.
  guarded/guarded_library_test.cpp
  # Runs DOM_Parse in child processes under fork, to show that it does not
  # come back where the guarded parse ends with a code of its own; the image
  # comparison covers the Windows build's images.
  guarded/guarded_equality_test.cpp
)
# Not built for Windows at all: tests/e2e_limits, which runs its inputs in
# child processes under fork, alarm and setrlimit. Its missing body faults
# have their Windows form in windows_tests (DomParseDeathTest.*); its inputs
# that never return are listed by the image comparison.

# Test cases left out by name, per executable. Each entry is
# "<folder>:<GoogleTest filter pattern>".
set(DOMPARSE_WINDOWS_EXCLUDED_TESTS
  # Generator reruns: they start python3 through the shell, which programs
  # under Wine do not have. The Linux suite reruns every generator.
  dom:NameTablesGenerator.RerunGivesTheCommittedFiles
  encoding:CharsetTable.CommittedFileMatchesTheGenerator
  tokenizer:ParseErrorCatalogue.GeneratedFilesMatchTheirGenerator
  tokenizer:NamedReferenceTable.CommittedFilesAreWhatTheGeneratorMakes
  tree:QuirksTable.CommittedFileMatchesTheGenerator
  # Lists the dynamic symbols of libdomparse.so with nm; the Windows form is
  # windows_tests' PortableExecutable.* on domparse.dll.
  api:SharedLibrary.ExportsExactlyTheApi
  # They expect GlobalUnlock to answer 0 for a fixed block that is no longer
  # locked, as the Linux block functions do; kernel32 answers TRUE for every
  # fixed block. The library never looks at that answer.
  api:SharedLibrary.BlockFunctionsWorkThroughTheExports
  image:ImageBlockOwner.DestructorFreesUnlessDetached
  # The Linux decoder's own answers: gb18030 decoded as itself (Wine's kernel32
  # lacks code page 54936, and the library falls back to 936 there), code
  # pages it does not know (kernel32 knows many more), refused flags and
  # counts (Wine takes flags 1 and 8 for UTF-8 and a negative count as -1), the
  # size of a 54936 text, and a destination left untouched when it is too
  # small (kernel32 fills it as far as it goes). The library calls the decoder
  # with flags 0, a count of at least 1 and a destination as large as the input.
  encoding:SelectCodePage.OnTheLinuxDecoderGb18030DecodesAsItself
  platform:MultiByteToWideChar.UnknownCodePagesGiveZero
  platform:MultiByteToWideChar.RefusesFlagsNegativeCountsAndNullPointers
  platform:MultiByteToWideChar.CapacityZeroAsksForTheSize
  platform:MultiByteToWideChar.TooSmallADestinationGivesZeroAndStaysUntouched
  # Frees a block twice to show the Linux registry refusing the second free;
  # kernel32 gives no such promise for a fixed block.
  guarded:OrdinaryResults.BlocksAreFreedWithTheBlockFunctionsOfDomParse
)

# One test executable per folder, as on Linux.
function(domparse_windows_test_folder folder)
  file(GLOB sources CONFIGURE_DEPENDS
    ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.c)
  foreach(excluded ${DOMPARSE_WINDOWS_EXCLUDED_SOURCES})
    list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${excluded})
  endforeach()
  if(NOT sources)
    return()
  endif()
  set(target ${folder}_tests)
  add_executable(${target} ${sources})
  target_include_directories(${target} BEFORE PRIVATE ${DOMPARSE_WINDOWS_COMPAT_DIR})
  target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_compile_options(${target} PRIVATE ${DOMPARSE_WARNINGS}
    $<$<COMPILE_LANGUAGE:CXX>:-include ${DOMPARSE_WINDOWS_COMPAT_DIR}/posix_forms.h>)
  target_link_libraries(${target} PRIVATE ${ARGN} gtest gtest_main)
  target_compile_definitions(${target} PRIVATE
    DOMPARSE_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
    DOMPARSE_SHARED_DIR="${PROJECT_SOURCE_DIR}/../shared"
    DOMPARSE_BINARY_DIR="${PROJECT_BINARY_DIR}")

  domparse_excluded_tests(${folder} "${DOMPARSE_WINDOWS_EXCLUDED_TESTS}" negative)
  set(arguments --gtest_brief=1)
  if(negative)
    list(APPEND arguments --gtest_filter=-${negative})
  endif()
  add_test(NAME ${target} COMMAND ${target} ${arguments} WORKING_DIRECTORY ${PROJECT_BINARY_DIR})
  set_tests_properties(${target} PROPERTIES TIMEOUT 1800 LABELS windows)
endfunction()

foreach(folder dom image library encoding tokenizer tree platform)
  domparse_windows_test_folder(${folder} domparse_core domparse_platform)
endforeach()

if(TARGET domparse_reader)
  domparse_windows_test_folder(api domparse domparse_reader)
  domparse_windows_test_folder(tools domparse_core domparse_platform domparse_reader domparse_cli_format)
  domparse_windows_test_folder(e2e domparse domparse_reader)
  domparse_windows_test_folder(mode1 domparse_core domparse_platform domparse_reader)
  domparse_windows_test_folder(markup domparse_core domparse_platform domparse_reader)
  # The result codes of domparse_guarded.dll.
  domparse_windows_test_folder(guarded domparse_guarded domparse domparse_reader)
endif()

# The Windows build's own tests: the DLL's export and import tables, its
# blocks and decoding through kernel32, the fault of a tree without body, and
# domparse.exe started as a Windows process.
file(GLOB DOMPARSE_WINDOWS_TEST_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/windows/*.cpp)
add_executable(windows_tests ${DOMPARSE_WINDOWS_TEST_SOURCES})
target_compile_options(windows_tests PRIVATE ${DOMPARSE_WARNINGS})
target_link_libraries(windows_tests PRIVATE domparse gtest gtest_main)
target_compile_definitions(windows_tests PRIVATE
  DOMPARSE_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
  DOMPARSE_BINARY_DIR="${PROJECT_BINARY_DIR}")
add_dependencies(windows_tests domparse_cli domparse_guarded)
add_test(NAME windows_tests COMMAND windows_tests --gtest_brief=1 WORKING_DIRECTORY ${PROJECT_BINARY_DIR})
set_tests_properties(windows_tests PROPERTIES TIMEOUT 600 LABELS windows)

# The image comparison: every end-to-end case and every corpus document parsed
# by the Linux libdomparse.so and by domparse.dll under Wine, with result codes
# and images compared byte for byte (tools/compare). The Linux side comes from
# the Linux build folder given here; `make test-windows` builds it there.
set(DOMPARSE_LINUX_BUILD_DIR "" CACHE PATH
  "Linux build folder holding domparse_compare and domparse_image_dump for the image comparison")
if(DOMPARSE_LINUX_BUILD_DIR)
  add_test(NAME linux_windows_images
    COMMAND ${DOMPARSE_LINUX_BUILD_DIR}/domparse_compare
      --linux-dump ${DOMPARSE_LINUX_BUILD_DIR}/domparse_image_dump
      --windows-dump $<TARGET_FILE:domparse_image_dump>
      --runner ${PROJECT_SOURCE_DIR}/cmake/wine-run.sh
      --wine-prefix ${PROJECT_BINARY_DIR}/wine-prefix
      --cases ${PROJECT_SOURCE_DIR}/tests/e2e/cases
      --corpus ${PROJECT_SOURCE_DIR}/../shared/corpus
      --work ${PROJECT_BINARY_DIR}/compare
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR})
else()
  # Without a Linux build there is nothing to compare with: the test says so
  # and fails.
  add_test(NAME linux_windows_images
    COMMAND sh -c "echo 'the image comparison needs a Linux build: configure with -DDOMPARSE_LINUX_BUILD_DIR=FOLDER, or run make test-windows'; exit 1")
endif()
set_tests_properties(linux_windows_images PROPERTIES TIMEOUT 1800 LABELS windows)
