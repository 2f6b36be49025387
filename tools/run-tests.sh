#!/usr/bin/env bash
# Builds the library and every test with warnings as errors under g++ and under clang++,
# runs the tests with each, then runs them again under AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs the threads test under ThreadSanitizer. Installs whatever
# build tools are missing first (apt-get, as root or through sudo).
set -euo pipefail
cd "$(dirname "$0")/.."

tools/ensure-packages.sh build-essential g++ clang cmake ninja-build libgtest-dev libgmock-dev \
    pkg-config python3 locales

for preset in ci-gcc ci-clang asan tsan; do
    echo "=== $preset ==="
    cmake --workflow --preset "$preset" --fresh
done
