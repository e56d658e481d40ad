# The tests of the Windows build (included from tests/CMakeLists.txt when
# WIN32), built with the cross toolchain against GoogleTest built from its
# sources with that toolchain, and run under Wine through the runner that
# CMAKE_CROSSCOMPILING_EMULATOR names: one CTest test per executable, each run
# once with all its test cases.

set(DOMPARSE_GOOGLETEST_SOURCE_DIR /usr/src/googletest CACHE PATH
  "GoogleTest sources (Debian package googletest) to build with the cross toolchain")
if(NOT EXISTS ${DOMPARSE_GOOGLETEST_SOURCE_DIR}/CMakeLists.txt)
  message(FATAL_ERROR "GoogleTest sources not found in ${DOMPARSE_GOOGLETEST_SOURCE_DIR}; "
    "install the Debian package googletest (scripts/setup-windows.sh)")
endif()
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(${DOMPARSE_GOOGLETEST_SOURCE_DIR} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)

# The Windows build's own tests: the DLL's export and import tables, its
# blocks and decoding through kernel32, and the fault of a tree without body.
file(GLOB DOMPARSE_WINDOWS_TEST_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/windows/*.cpp)
add_executable(windows_tests ${DOMPARSE_WINDOWS_TEST_SOURCES})
target_compile_options(windows_tests PRIVATE ${DOMPARSE_WARNINGS})
target_link_libraries(windows_tests PRIVATE domparse gtest gtest_main)
target_compile_definitions(windows_tests PRIVATE
  DOMPARSE_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
  DOMPARSE_BINARY_DIR="${PROJECT_BINARY_DIR}")
add_dependencies(windows_tests domparse_cli)
add_test(NAME windows_tests COMMAND windows_tests --gtest_brief=1 WORKING_DIRECTORY ${PROJECT_BINARY_DIR})
set_tests_properties(windows_tests PROPERTIES TIMEOUT 600 LABELS windows)
