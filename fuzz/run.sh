#!/usr/bin/env bash
# Fuzzes the description parser, then for half as long the simulated camera's commands: fuzz/run.sh [SECONDS]
# (default 60). Builds into build/fuzz with clang, starts from the descriptions in tests/data, keeps what it
# finds in build/fuzz/corpus and build/fuzz/commands, and fails on a crash, a leak, an input that takes over
# 10 s or memory beyond 2 GB; the input is then left in build/fuzz.
set -euo pipefail
seconds=${1:-60}
source=$(cd "$(dirname "$0")/.." && pwd)
build=$source/build/fuzz
compiler=$(command -v clang++-14 || command -v clang++) || { echo "fuzz: clang is missing: install clang" >&2; exit 2; }
cmake -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER="$compiler" \
  -DVIREO_BUILD_FUZZERS=ON -DVIREO_BUILD_TESTS=OFF -DVIREO_SANITIZE=fuzzer-no-link,address,undefined >/dev/null
cmake --build "$build" --target xml_parser_fuzz camera_commands_fuzz
mkdir -p "$build/corpus" "$build/commands"
cd "$build"
bin/xml_parser_fuzz -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=16384 \
  -dict="$source/fuzz/genicam.dict" -verbosity=0 -print_final_stats=1 corpus "$source/tests/data"
exec bin/camera_commands_fuzz -max_total_time="$((seconds / 2))" -timeout=10 -rss_limit_mb=2048 -max_len=4096 \
  -verbosity=0 -print_final_stats=1 commands
