#!/usr/bin/env bash
# Makes sure the Debian packages the build and the tests need are installed.
# As root it installs what is missing (running apt-get update first); as any
# other user it prints the one command that would do it and fails.
set -euo pipefail

packages=(g++ cmake make libgtest-dev python3 binutils pkg-config)

exec bash "$(dirname "$0")/install-packages.sh" "domparse: missing Debian packages" "${packages[@]}"
