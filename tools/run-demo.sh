#!/usr/bin/env bash
# The demo for a fresh machine: installs the build tools that are missing (apt-get, as root or
# through sudo), builds the library with the example plug-in and host in build/demo, and runs
# the host with the plug-in on the shipped sample file, examples/sample.ini.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/ensure-packages.sh build-essential g++ cmake ninja-build

build=build/demo
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DTESSARINE_BUILD_TESTS=OFF -DTESSARINE_BUILD_EXAMPLES=ON -DTESSARINE_BUILD_TOOLS=OFF \
    >/dev/null
cmake --build "$build" --target tessarine-example-host comparison_plugin

echo
echo "$build/examples/tessarine-example-host examples/sample.ini"
"$build/examples/tessarine-example-host" examples/sample.ini
