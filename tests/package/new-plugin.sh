#!/usr/bin/env bash
# A plug-in project as `tessarine-plugin new` writes it, built on the installed package the way
# its author builds it: configure, build, ctest (whose test runs `tessarine-plugin check`), then
# `tessarine-plugin run` on the module. Of its own code, the module exports its three entry points
# and nothing else (libstdc++ marks its own templates visible, which no build setting hides, and
# AddressSanitizer adds a marker of its own beside an exported variable).
# Arguments: the installed tool, the prefix, a scratch directory, the CMake generator, the C++
# compiler and its flags.
set -euo pipefail
tool=$1 prefix=$2 dir=$3 generator=$4 compiler=$5 flags=$6

rm -rf "$dir"
"$tool" new demo "$dir" >/dev/null
# A helper with external linkage, as authors write them beside the generated class: the hidden
# visibility that tessarine_add_plugin sets keeps it out of the module's exports.
printf '\nint demoHelper();\nint demoHelper() { return 1; }\n' >>"$dir/DemoPlugin.cpp"
cmake -S "$dir" -B "$dir/build" -G "$generator" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$dir/build"
ctest --test-dir "$dir/build" --output-on-failure --no-tests=error

exports=$(nm -DC --defined-only "$dir/build/demo.so" | cut -d' ' -f3- | grep -Ev '(^| )std::|^__odr_asan' |
    sort | tr '\n' ' ')
expected="tessarine_create_plugin tessarine_destroy_plugin tessarine_plugin_version_major "
if [[ $exports != "$expected" ]]; then
    echo "demo.so exports: $exports" >&2
    exit 1
fi
result=$("$tool" run "$dir/build/demo.so" Greeting who=tester)
if [[ $result != "hello, tester" ]]; then
    echo "tessarine-plugin run printed: $result" >&2
    exit 1
fi
echo "$result"
