# Shared checks of the packaging tests, sourced by each script. Every failed
# check prints what was expected and ends the test with status 1.

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

# A fresh, empty folder.
fresh_folder() {
  rm -rf "$1"
  mkdir -p "$1"
}

expect_file() {
  [ -f "$1" ] || fail "missing file $1"
}

# expect_link PATH TARGET: PATH is a symbolic link whose text is TARGET.
expect_link() {
  [ -L "$1" ] || fail "$1 is not a symbolic link"
  local target
  target=$(readlink "$1")
  [ "$target" = "$2" ] || fail "$1 links to '$target', not to '$2'"
}

# expect_equal WHAT ACTUAL EXPECTED
expect_equal() {
  if [ "$2" != "$3" ]; then
    printf 'FAIL: %s\n--- expected:\n%s\n--- actual:\n%s\n' "$1" "$3" "$2" >&2
    exit 1
  fi
}

# The SONAME of a shared library, through readelf (binutils).
soname_of() {
  readelf -d "$1" | sed -n 's/.*Library soname: \[\(.*\)\]/\1/p'
}

# The defined dynamic symbols of a shared library, one per line, sorted.
exports_of() {
  nm -D --defined-only "$1" | awk '{print $3}' | sort
}

# A document with every kind of line in the tree: an element with an
# attribute, a text, a comment, and prefixed names. The tool prints its tree;
# the example host prints the same lines and then the count of nodes.
example_input='<p class="x">Hi<!--c--><my:tag my:att="1">t</my:tag></p>'
example_tree='<p class="x">
  "Hi"
  <!--c-->
  <my:tag my:att="1">
    "t"'
example_host_output="$example_tree
5 nodes"
