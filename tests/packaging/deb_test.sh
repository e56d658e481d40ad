#!/usr/bin/env bash
# The Debian package that `make package` makes, made here by cpack into a
# folder of the test's own: its control fields, and its files unpacked with
# dpkg -x into a temporary root, where the tool and the Python module run.
#
# deb_test.sh BUILD_DIR SOURCE_DIR WORK_DIR VERSION
set -euo pipefail
build=$1 source=$2 work=$3 version=$4
. "$source/tests/packaging/checks.sh"

fresh_folder "$work"
command -v dpkg-deb >/dev/null || fail "dpkg-deb is not installed"
"${CPACK:-cpack}" -G DEB --config "$build/CPackConfig.cmake" -B "$work/out" \
  >"$work/cpack.log" 2>&1 || fail "cpack failed: $(cat "$work/cpack.log")"

architecture=$(dpkg --print-architecture)
deb="$work/out/domparse_${version}_${architecture}.deb"
expect_file "$deb"

expect_equal "package name" "$(dpkg-deb -f "$deb" Package)" "domparse"
expect_equal "package version" "$(dpkg-deb -f "$deb" Version)" "$version"
expect_equal "package architecture" "$(dpkg-deb -f "$deb" Architecture)" "$architecture"
depends=$(dpkg-deb -f "$deb" Depends)
grep -q '^libc6 (>= [0-9.]*), libstdc++6' <<<"$depends" ||
  fail "the package does not depend on the C and C++ runtimes: $depends"

root="$work/root"
dpkg -x "$deb" "$root"
real="so.1.${version#*.}"
for file in usr/include/domparse.h usr/include/domparse_reader.h \
  "usr/lib/libdomparse.$real" "usr/lib/libdomparse_reader.$real" \
  usr/bin/domparse usr/share/man/man1/domparse.1 usr/share/doc/domparse/README.md \
  usr/lib/cmake/domparse/domparseConfig.cmake usr/lib/pkgconfig/domparse.pc \
  usr/lib/python3/dist-packages/domparse.py; do
  expect_file "$root/$file"
done
expect_link "$root/usr/lib/libdomparse.so.1" "libdomparse.$real"
expect_link "$root/usr/lib/libdomparse.so" "libdomparse.so.1"
if [ -f "$build/libdomparse_guarded.so.1" ]; then
  expect_file "$root/usr/lib/libdomparse_guarded.$real"
  expect_link "$root/usr/lib/libdomparse_guarded.so.1" "libdomparse_guarded.$real"
fi
# Nothing outside /usr, and no file of the build folder.
expect_equal "top folders of the package" "$(ls "$root")" "usr"
contents=$(dpkg-deb -c "$deb")
if grep -q "$build" <<<"$contents"; then
  fail "the package holds paths of the build folder"
fi

# The unpacked tool and Python module find the unpacked library beside them.
printf '%s' "$example_input" >"$work/input.html"
expect_equal "tree from the packaged tool" \
  "$(env -u LD_LIBRARY_PATH "$root/usr/bin/domparse" "$work/input.html")" "$example_tree"
python_tree=$(env -u LD_LIBRARY_PATH -u DOMPARSE_LIBRARY_DIR \
  PYTHONPATH="$root/usr/lib/python3/dist-packages" "${PYTHON:-python3}" -c '
import sys, domparse
document = domparse.parse(open(sys.argv[1], "rb").read(), guarded=False)
paragraph = document.children[0]
print(paragraph.name, paragraph.attributes[0].name, paragraph.attributes[0].value,
      [type(child).__name__ for child in paragraph.children], domparse.library_path())
' "$work/input.html")
expect_equal "tree from the packaged Python module" "$python_tree" \
  "p class x ['Text', 'Comment', 'Element'] $root/usr/lib/libdomparse.so.1"
if [ -f "$build/libdomparse_guarded.so.1" ]; then
  # The module's default, the guarded library, loads from the unpacked root
  # with the block functions of the unpacked libdomparse.so.1.
  guarded=$(env -u LD_LIBRARY_PATH -u DOMPARSE_LIBRARY_DIR \
    PYTHONPATH="$root/usr/lib/python3/dist-packages" "${PYTHON:-python3}" -c '
import domparse
print(domparse.parse(b"<i>x</i>").children[0].name, domparse.library_path(guarded=True))
try:
    domparse.parse(b"<p>x<")
except domparse.ParseError as error:
    print(error.result)
')
  expect_equal "guarded parses of the packaged Python module" "$guarded" \
    "i $root/usr/lib/libdomparse_guarded.so.1
5"
fi
echo "$deb unpacked into $root and checked"
