#!/usr/bin/env bash
# Builds the API reference with Doxygen from the public headers, the README and docs/*.md into
# build/docs/docs/html. Every Doxygen warning fails the build.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/require.sh build-docs cmake ninja doxygen

build=build/docs
cmake -S . -B "$build" -G Ninja -DTESSARINE_BUILD_TESTS=OFF -DTESSARINE_BUILD_EXAMPLES=OFF \
    -DTESSARINE_BUILD_TOOLS=OFF \
    >/dev/null
cmake --build "$build" --target docs
echo "API reference: $build/docs/html/index.html"
