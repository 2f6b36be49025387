#!/usr/bin/env bash
# Builds the Debian packages libtessarine1, libtessarine-dev and tessarine-tools with CPack from
# an optimised build for the prefix /usr (in build/deb), with the distribution's hardening
# flags, leaves the three .deb files in build/packages/ and checks them with lintian: any error
# or warning fails.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/require.sh build-packages cmake ninja g++ help2man gzip dpkg-shlibdeps fakeroot lintian

build=build/deb
out=build/packages
# The compiler and linker flags of Debian's own package builds, with every hardening option;
# given to this tree only, on its command line.
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
ldflags=$(dpkg-buildflags --get LDFLAGS)
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_CXX_FLAGS="$(dpkg-buildflags --get CXXFLAGS) $(dpkg-buildflags --get CPPFLAGS)" \
    -DCMAKE_EXE_LINKER_FLAGS="$ldflags" -DCMAKE_SHARED_LINKER_FLAGS="$ldflags" \
    -DTESSARINE_BUILD_TESTS=OFF -DTESSARINE_BUILD_EXAMPLES=OFF -DTESSARINE_BUILD_TOOLS=ON \
    >/dev/null
cmake --build "$build"
# fakeroot makes root the owner of every file in the archives.
(cd "$build" && fakeroot cpack -G DEB -B "$PWD/cpack" >/dev/null)

rm -rf "$out"
mkdir -p "$out"
mv "$build"/cpack/*.deb "$out"/
ls "$out"/*.deb

# Information tags are shown (the README names those that remain, and why); errors and
# warnings fail.
lintian --info --display-info --fail-on error,warning "$out"/*.deb
