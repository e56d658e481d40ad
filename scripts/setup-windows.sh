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
missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  if [ "$status" != "install ok installed" ]; then
    missing+=("$package")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

command="apt-get install -y --no-install-recommends ${missing[*]}"
if [ "$(id -u)" -ne 0 ]; then
  echo "domparse: missing Debian packages for the Windows build: ${missing[*]}" >&2
  echo "Install them with:  sudo apt-get update && sudo $command" >&2
  exit 1
fi

echo "domparse: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
apt-get update
$command
