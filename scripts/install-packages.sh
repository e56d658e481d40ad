#!/usr/bin/env bash
# Makes sure the Debian packages named as arguments are installed. As root it
# installs what is missing (running apt-get update first); as any other user
# it prints the one command that would do it and fails. The setup scripts
# call it with their lists:
#
#   install-packages.sh "WHO: missing Debian packages" PACKAGE...
#
# The first argument opens the message that names the missing packages.
set -euo pipefail

message=$1
shift

missing=()
for package in "$@"; do
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
  echo "$message: ${missing[*]}" >&2
  echo "Install them with:  sudo apt-get update && sudo $command" >&2
  exit 1
fi

echo "domparse: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
apt-get update
$command
