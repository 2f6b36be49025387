#!/usr/bin/env bash
# Builds a fuzz target with clang and runs it for a bounded time on a scratch copy of its seed
# corpus. Fails on any crash, leak, sanitizer report, broken oracle or time-out.
#   usage: fuzz/run-fuzz.sh TARGET SECONDS    (TARGET: ini, inspector, list or string)
set -euo pipefail
usage="usage: run-fuzz.sh TARGET SECONDS"
target=${1:?$usage}
seconds=${2:?$usage}
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
if [ ! -f "fuzz/${target}_fuzz.cpp" ]; then
    echo "run-fuzz: no fuzz target $target" >&2
    exit 2
fi
case $target in
    # Files up to 8 KiB, so that rows, continuations and CR LF pairs cross buffer refills.
    ini | inspector) max_len=8192 ;;
    *) max_len=1024 ;;
esac

tools/require.sh run-fuzz clang++ cmake ninja
# Configuring fails, with the reason, where clang cannot link libFuzzer programs.
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target "${target}_fuzz"

work=$(mktemp -d "${TMPDIR:-/tmp}/${target}-fuzz.XXXXXX")
cp -r "$root/fuzz/corpus/$target" "$work/corpus"
if "build/fuzz/fuzz/${target}_fuzz" -max_total_time="$seconds" -max_len="$max_len" -timeout=10 \
    -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$work/" "$work/corpus" \
    >"$work/log" 2>&1; then
    tail -n 15 "$work/log"
    rm -rf "$work"
    echo "$target fuzz: no finding in ${seconds}s"
else
    tail -n 60 "$work/log"
    echo "$target fuzz: FAILED; log, corpus and reproducer kept in $work" >&2
    exit 1
fi
