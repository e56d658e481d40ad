#!/usr/bin/env bash
# Makes sure the Debian packages of the benchmark are installed: the two peer
# parsers it measures the library against (gumbo and libxml2's HTML parser)
# and pkg-config, through which the benchmark's build finds them. They are
# benchmark-only dependencies: the library, the tool and the tests never use
# them. As root this installs what is missing (running apt-get update first);
# as any other user it prints the one command that would do it and fails.
set -euo pipefail

packages=(libgumbo-dev libxml2-dev pkg-config)

exec bash "$(dirname "$0")/install-packages.sh" "domparse bench: missing Debian packages" "${packages[@]}"
