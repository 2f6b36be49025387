#!/usr/bin/env bash
# Builds the properties-file fuzzer with clang and runs it for a bounded time on a scratch copy
# of the seed corpus. Fails on any crash, leak, sanitizer report or time-out.
#   usage: fuzz/run-ini-fuzz.sh SECONDS
set -euo pipefail
seconds=${1:?usage: run-ini-fuzz.sh SECONDS}
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

tools/require.sh run-ini-fuzz clang++ cmake ninja
if ! clang++ -x c++ -fsanitize=fuzzer -o /dev/null - 2>/dev/null <<<'
extern "C" int LLVMFuzzerTestOneInput(unsigned char const*, unsigned long) { return 0; }'; then
    echo "run-ini-fuzz: clang++ $(clang++ -dumpversion) cannot link libFuzzer programs;" \
        "its runtime libraries are not installed" >&2
    exit 1
fi
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target ini_fuzz

work=$(mktemp -d "${TMPDIR:-/tmp}/ini-fuzz.XXXXXX")
cp -r "$root/fuzz/corpus/ini" "$work/corpus"
# Inputs up to 8 KiB, so that rows, continuations and CR LF pairs cross buffer refills.
if build/fuzz/fuzz/ini_fuzz -max_total_time="$seconds" -max_len=8192 -timeout=10 \
    -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$work/" "$work/corpus" \
    >"$work/log" 2>&1; then
    tail -n 15 "$work/log"
    rm -rf "$work"
    echo "ini fuzz: no finding in ${seconds}s"
else
    tail -n 60 "$work/log"
    echo "ini fuzz: FAILED; log, corpus and reproducer kept in $work" >&2
    exit 1
fi
