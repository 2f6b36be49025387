#!/usr/bin/env bash
# Installs the library into a temporary prefix and builds on it the way its users do:
#  - the install tree: SONAME link, headers, CMake package, pkg-config file, nothing of the
#    build tree leaking into the exported targets;
#  - examples/ as a separate CMake project with find_package(Tessarine 1.0 REQUIRED), once
#    with g++ and once with clang++, and its tests; a request for version 2 must fail;
#  - the example host of each compiler with the plug-in of the other, on the sample file;
#  - the minimal program through `pkg-config --cflags --libs tessarine`, and through
#    add_subdirectory() of the source tree;
#  - the installed tessarine-ini.
# Usage: tools/check-install.sh [work directory, kept afterwards]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
tools/ensure-packages.sh g++ clang cmake ninja-build pkg-config python3 libgtest-dev

if [ $# -gt 0 ]; then
    work=$(mkdir -p "$1" && cd "$1" && pwd)
else
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
fi
prefix=$work/prefix

step() { echo "=== $*"; }
fail() {
    echo "check-install: $*" >&2
    exit 1
}

step "library, installed into $prefix"
cmake -S "$root" -B "$work/library" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_COMPILER=g++ -DCMAKE_INSTALL_PREFIX="$prefix" \
    -DTESSARINE_BUILD_TESTS=OFF -DTESSARINE_BUILD_EXAMPLES=ON >/dev/null
cmake --build "$work/library" >/dev/null
cmake --install "$work/library" >/dev/null

step "install tree"
library=$(find "$prefix" -name 'libTessarine.so.1.0.0' -print -quit)
[ -n "$library" ] || fail "libTessarine.so.1.0.0 is not installed"
libdir=$(dirname "$library")
[ "$(readlink "$libdir/libTessarine.so.1")" = libTessarine.so.1.0.0 ] || fail "no libTessarine.so.1 link"
[ "$(readlink "$libdir/libTessarine.so")" = libTessarine.so.1 ] || fail "no libTessarine.so link"
soname=$(objdump -p "$library" | awk '/SONAME/ { print $2 }')
[ "$soname" = libTessarine.so.1 ] || fail "SONAME is '$soname'"
for header in Tessarine Constants Plugin Expression ExpressionPool String StringVector \
    VectorString IniFileReader Configuration UnknownSoftwareRepository; do
    [ -f "$prefix/include/Tessarine/$header.h" ] || fail "header $header.h is not installed"
done
config_dir=$libdir/cmake/Tessarine
for file in TessarineConfig.cmake TessarineConfigVersion.cmake TessarineTargets.cmake; do
    [ -f "$config_dir/$file" ] || fail "$file is not installed"
done
if grep -l -E "tessarine_warnings|tessarine_sanitize|$root" "$config_dir"/*.cmake; then
    fail "the exported targets refer to the build tree"
fi
pc_dir=$libdir/pkgconfig
[ -f "$pc_dir/tessarine.pc" ] || fail "tessarine.pc is not installed"

examples() { # compiler
    step "examples with $1, as a separate project"
    cmake -S "$root/examples" -B "$work/examples-$1" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_CXX_COMPILER="$1" -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_CXX_FLAGS="-Werror" >/dev/null
    cmake --build "$work/examples-$1" >/dev/null
    ctest --test-dir "$work/examples-$1" --output-on-failure --no-tests=error |
        tail -n 3
}
examples g++
examples clang++

step "find_package(Tessarine 2) must fail against version 1"
mkdir -p "$work/version2"
cat >"$work/version2/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(Version2 LANGUAGES NONE)
find_package(Tessarine 2.0 REQUIRED)
CMAKE
if cmake -S "$work/version2" -B "$work/version2/build" -DCMAKE_PREFIX_PATH="$prefix" \
    >/dev/null 2>&1; then
    fail "version 1.0.0 was accepted for a request of version 2.0"
fi

cross() { # host compiler, plug-in compiler
    step "host built with $1, plug-in built with $2"
    "$work/examples-$1/tessarine-example-host" --plugins "$work/examples-$2/plugins" \
        "$root/examples/sample.ini" | diff -u "$root/examples/sample.expected" - ||
        fail "host of $1 with plug-in of $2 gave a different result"
}
cross g++ clang++
cross clang++ g++

step "minimal program through pkg-config"
export PKG_CONFIG_PATH=$pc_dir
flags=$(pkg-config --cflags --libs tessarine)
echo "pkg-config: Tessarine $(pkg-config --modversion tessarine): $flags"
# shellcheck disable=SC2086 # the flags are separate words
g++ -std=c++17 -Wall -Wextra -Wpedantic -Werror "$root/examples/minimal.cpp" $flags \
    -Wl,-rpath,"$(pkg-config --variable=libdir tessarine)" -o "$work/minimal"
"$work/minimal"

step "minimal program through add_subdirectory()"
mkdir -p "$work/subdirectory"
cat >"$work/subdirectory/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(Subdirectory LANGUAGES CXX)
add_subdirectory("$root" tessarine)
add_executable(minimal "$root/examples/minimal.cpp")
target_link_libraries(minimal PRIVATE Tessarine::Tessarine)
CMAKE
cmake -S "$work/subdirectory" -B "$work/subdirectory/build" -G Ninja -DCMAKE_CXX_COMPILER=g++ \
    >/dev/null
cmake --build "$work/subdirectory/build" >/dev/null
"$work/subdirectory/build/minimal" >/dev/null

step "installed tessarine-ini"
value=$("$prefix/bin/tessarine-ini" --get "same release" right "$root/examples/sample.ini")
[ "$value" = 2.0.0 ] || fail "tessarine-ini --get gave '$value'"

echo "check-install: all checks passed"
