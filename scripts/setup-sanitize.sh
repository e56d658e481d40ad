#!/usr/bin/env bash
# Makes sure the Debian packages of the sanitizer and fuzzing builds are
# installed: clang with its sanitizer and libFuzzer runtimes, and llvm for the
# symbolizer that turns a finding's stack into file names and lines. As root it
# installs what is missing (running apt-get update first); as any other user it
# prints the one command that would do it and fails.
set -euo pipefail

packages=(clang libclang-rt-14-dev llvm)

exec bash "$(dirname "$0")/install-packages.sh" "domparse: missing Debian packages" "${packages[@]}"
