#!/usr/bin/env bash
# Makes sure the Debian packages the Windows build and its test runs need are
# installed: the mingw-w64 cross compiler for 64-bit Windows, Wine to run what
# it builds, and GoogleTest's sources to build the test framework with the same
# compiler. As root it installs what is missing (running apt-get update first);
# as any other user it prints the one command that would do it and fails.
set -euo pipefail

packages=(g++-mingw-w64-x86-64 binutils-mingw-w64-x86-64 wine64 wine googletest cmake make)

# The 64-bit Wine of Debian's packages is enough: the library, the tool and the
# tests are all 64-bit. Without i386 as a foreign architecture, `wine` cannot
# pull in its 32-bit half, and apt leaves it out.
exec bash "$(dirname "$0")/install-packages.sh" "domparse: missing Debian packages for the Windows build" "${packages[@]}"
