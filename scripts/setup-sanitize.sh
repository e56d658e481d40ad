#!/usr/bin/env bash
# Makes sure the Debian packages of the sanitizer and fuzzing builds are
# installed: clang with its sanitizer and libFuzzer runtimes, and llvm for the
# symbolizer that turns a finding's stack into file names and lines. As root it
# installs what is missing (running apt-get update first); as any other user it
# prints the one command that would do it and fails.
set -euo pipefail

packages=(clang libclang-rt-14-dev llvm)

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
  echo "domparse: missing Debian packages: ${missing[*]}" >&2
  echo "Install them with:  sudo apt-get update && sudo $command" >&2
  exit 1
fi

echo "domparse: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
apt-get update
$command
