#!/usr/bin/env bash
# Builds the library and every test with warnings as errors under g++ and under clang++,
# runs the tests with each, then runs them again under AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs the threads test under ThreadSanitizer; then builds the
# Debian packages and checks them with lintian.
# With --system-install it also installs the packages on this machine, uses and removes them
# (the tests labelled system-install, as CI runs them). Installs whatever build tools are
# missing first (apt-get, as root or through sudo).
#   usage: tools/run-tests.sh [--system-install]
set -euo pipefail
cd "$(dirname "$0")/.."

system_install=no
case "${1:-}" in
    "") ;;
    --system-install) system_install=yes ;;
    *) echo "usage: tools/run-tests.sh [--system-install]" >&2; exit 2 ;;
esac

tools/ensure-packages.sh build-essential g++ clang cmake ninja-build libgtest-dev libgmock-dev \
    pkg-config python3 locales help2man bash-completion dpkg-dev fakeroot lintian

for preset in ci-gcc ci-clang asan tsan; do
    echo "=== $preset ==="
    cmake --workflow --preset "$preset" --fresh
done

echo "=== Debian packages ==="
if [ $system_install = yes ]; then
    tools/ensure-packages.sh man-db
    # Builds and checks the packages first, then installs, uses and removes them.
    ctest --preset system-install
else
    tools/build-packages.sh
fi
