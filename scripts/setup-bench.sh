#!/usr/bin/env bash
# Makes sure the Debian packages of the benchmark are installed: the two peer
# parsers it measures the library against (gumbo and libxml2's HTML parser)
# and pkg-config, through which the benchmark's build finds them. They are
# benchmark-only dependencies: the library, the tool and the tests never use
# them. As root this installs what is missing (running apt-get update first);
# as any other user it prints the one command that would do it and fails.
set -euo pipefail

packages=(libgumbo-dev libxml2-dev pkg-config)

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
  echo "domparse bench: missing Debian packages: ${missing[*]}" >&2
  echo "Install them with:  sudo apt-get update && sudo $command" >&2
  exit 1
fi

echo "domparse bench: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
apt-get update
$command
