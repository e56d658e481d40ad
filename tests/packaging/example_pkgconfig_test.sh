#!/usr/bin/env bash
# The C host of examples/host built against the install of install_test.sh
# with its Makefile, which takes the flags from pkg-config, and run.
#
# example_pkgconfig_test.sh SOURCE_DIR PREFIX WORK_DIR
set -euo pipefail
source=$1 prefix=$2 work=$3
. "$source/tests/packaging/checks.sh"

fresh_folder "$work"
command -v pkg-config >/dev/null || fail "pkg-config is not installed (scripts/setup.sh installs it)"
PKG_CONFIG_PATH="$prefix/lib/pkgconfig" make --no-print-directory -C "$source/examples/host" \
  OUT="$work" CFLAGS="-O2 -Wall -Wextra -Werror" ${CC:+CC="$CC"} >"$work/build.log" 2>&1 ||
  fail "building the example host with pkg-config failed: $(cat "$work/build.log")"

printf '%s' "$example_input" >"$work/input.html"
output=$(LD_LIBRARY_PATH="$prefix/lib" "$work/domparse_host" "$work/input.html")
expect_equal "output of the example host built with pkg-config" "$output" "$example_host_output"
echo "built with pkg-config against $prefix and ran"
