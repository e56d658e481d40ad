#!/usr/bin/env bash
# The C host of examples/host built against the install of install_test.sh
# with find_package(domparse CONFIG), and run.
#
# example_cmake_test.sh SOURCE_DIR PREFIX WORK_DIR
set -euo pipefail
source=$1 prefix=$2 work=$3
. "$source/tests/packaging/checks.sh"

fresh_folder "$work"
cmake=${CMAKE:-cmake}
# Only the install may be found, never the build folder's files.
"$cmake" -S "$source/examples/host" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF ${CC:+-DCMAKE_C_COMPILER="$CC"} \
  -DCMAKE_C_FLAGS="-Wall -Wextra -Werror" >"$work/configure.log" 2>&1 ||
  fail "configuring the example host failed: $(cat "$work/configure.log")"
grep -q "domparse_DIR:PATH=$prefix/lib/cmake/domparse" "$work/build/CMakeCache.txt" ||
  fail "find_package did not take the package of $prefix"
"$cmake" --build "$work/build" >"$work/build.log" 2>&1 ||
  fail "building the example host failed: $(cat "$work/build.log")"

printf '%s' "$example_input" >"$work/input.html"
output=$(env -u LD_LIBRARY_PATH "$work/build/domparse_host" "$work/input.html")
expect_equal "output of the example host built with CMake" "$output" "$example_host_output"
loaded=$(ldd "$work/build/domparse_host")
grep -q "=> $prefix/lib/libdomparse_reader.so.1 " <<<"$loaded" ||
  fail "the host does not load the installed reader: $loaded"
echo "built with find_package against $prefix and ran"
