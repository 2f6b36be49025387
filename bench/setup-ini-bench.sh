#!/usr/bin/env bash
# Installs what bench/ini_bench compares against, where it is missing: inih, SimpleIni (whose
# Debian header converts through ICU) and boost's property_tree, plus Google Benchmark, which
# the bench directory as a whole needs.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/ensure-packages.sh" libinih-dev libsimpleini-dev libboost-dev libicu-dev \
    libbenchmark-dev pkg-config
