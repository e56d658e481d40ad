#!/usr/bin/env bash
# cmake --install into a fresh prefix: every file in its place, the shared
# libraries with their SONAME and links, the exports of the reader, the tool
# running from the prefix through its relative run path, the pkg-config files
# and the CMake package. The example tests build hosts against this prefix.
#
# install_test.sh BUILD_DIR SOURCE_DIR PREFIX VERSION
set -euo pipefail
build=$1 source=$2 prefix=$3 version=$4
. "$source/tests/packaging/checks.sh"

fresh_folder "$prefix"
"${CMAKE:-cmake}" --install "$build" --prefix "$prefix" >"$prefix.log" ||
  fail "cmake --install failed: $(cat "$prefix.log")"

for header in domparse.h domparse_reader.h; do
  expect_file "$prefix/include/$header"
  cmp -s "$prefix/include/$header" "$source/include/$header" ||
    cmp -s "$prefix/include/$header" "$source/tools/reader/$header" ||
    fail "$prefix/include/$header is not the header of the sources"
done

# Each library: the real file, the SONAME link the loader opens, and the
# development link the linker takes.
libraries=(domparse domparse_reader)
if [ -f "$build/libdomparse_guarded.so.1" ]; then
  libraries+=(domparse_guarded)
fi
for library in "${libraries[@]}"; do
  real="lib$library.so.1.${version#*.}"
  expect_file "$prefix/lib/$real"
  expect_link "$prefix/lib/lib$library.so.1" "$real"
  expect_link "$prefix/lib/lib$library.so" "lib$library.so.1"
  expect_equal "SONAME of $real" "$(soname_of "$prefix/lib/$real")" "lib$library.so.1"
done

# The guarded library finds libdomparse.so.1 beside itself.
if [ -f "$build/libdomparse_guarded.so.1" ]; then
  runpath=$(readelf -d "$prefix/lib/libdomparse_guarded.so.1" | sed -n 's/.*Library runpath: \[\(.*\)\]/\1/p')
  expect_equal "run path of libdomparse_guarded.so.1" "$runpath" '$ORIGIN'
fi

# The reader exports exactly the functions its header declares.
declared=$(grep -o 'DOMImage_[A-Za-z0-9]*(' "$source/tools/reader/domparse_reader.h" |
  tr -d '(' | sort -u)
expect_equal "exports of libdomparse_reader.so" \
  "$(exports_of "$prefix/lib/libdomparse_reader.so.1")" "$declared"

# The tool finds the library of its own prefix, not the build folder's.
expect_file "$prefix/bin/domparse"
tool_version=$(env -u LD_LIBRARY_PATH "$prefix/bin/domparse" --version)
expect_equal "domparse --version" "$tool_version" "domparse $version (library version 200)"
loaded=$(ldd "$prefix/bin/domparse")
grep -q "=> $prefix/bin/../lib/libdomparse.so.1 " <<<"$loaded" ||
  fail "the installed tool does not load the installed library: $loaded"
printf '%s' "$example_input" >"$prefix.input.html"
expect_equal "tree from the installed tool" "$("$prefix/bin/domparse" "$prefix.input.html")" \
  "$example_tree"

expect_file "$prefix/share/man/man1/domparse.1"
expect_file "$prefix/share/doc/domparse/README.md"
expect_file "$prefix/lib/python3/dist-packages/domparse.py"

expect_file "$prefix/lib/cmake/domparse/domparseConfig.cmake"
expect_file "$prefix/lib/cmake/domparse/domparseConfigVersion.cmake"
expect_file "$prefix/lib/cmake/domparse/domparseTargets.cmake"

# pkg-config files find the prefix from their own folder.
if command -v pkg-config >/dev/null; then
  export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
  expect_equal "pkg-config --modversion domparse" "$(pkg-config --modversion domparse)" "$version"
  expect_equal "pkg-config --modversion domparse-reader" \
    "$(pkg-config --modversion domparse-reader)" "$version"
  libs=$(pkg-config --libs domparse)
  libdir=${libs%% *}
  libdir=${libdir#-L}
  [ "$(cd "$libdir" && pwd -P)" = "$(cd "$prefix/lib" && pwd -P)" ] ||
    fail "pkg-config --libs domparse names $libdir, not $prefix/lib"
else
  fail "pkg-config is not installed (scripts/setup.sh installs it)"
fi
echo "installed into $prefix"
