#!/usr/bin/env bash
# fuzz/run.sh [SECONDS] fuzzes the description parser (default 60 s), then for half as long the simulated camera's
# commands. It fails on a crash, a leak, an input that takes over 10 s or memory beyond 2 GB.
#
# fuzz/run.sh SECONDS answers fuzzes the adapter with a camera whose answers go wrong, some two inputs a second.
# It begins with fuzz/answers.hex, needs the control port of GigE Vision, goes on after a finding, and fails in the end when there was one.
# `bin/camera_answers_fuzz FILE` plays an input again and leaves its fault script in answers_script.txt.
#
# Builds into build/fuzz with clang, starts from the descriptions in tests/data, and keeps what it finds in
# build/fuzz: inputs worth keeping in corpus, commands and answers, failing ones beside them.
set -euo pipefail
seconds=${1:-60}
source=$(cd "$(dirname "$0")/.." && pwd)
build=$source/build/fuzz
compiler=$(command -v clang++-14 || command -v clang++) || { echo "fuzz: clang is missing: install clang" >&2; exit 2; }
cmake -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER="$compiler" \
  -DVIREO_BUILD_FUZZERS=ON -DVIREO_BUILD_TESTS=OFF -DVIREO_SANITIZE=fuzzer-no-link,address,undefined >/dev/null
cmake --build "$build" --target xml_parser_fuzz camera_commands_fuzz camera_answers_fuzz
mkdir -p "$build/corpus" "$build/commands" "$build/answers"
cd "$build"
if [ "${2:-}" = answers ]; then
  # Inputs of earlier hours that each reach something new, one in a line.
  line=0
  while read -r hex; do
    line=$((line + 1))
    printf "${hex//??/\\x&}" >"answers/kept-$line"
  done <"$source/fuzz/answers.hex"
  bin/camera_answers_fuzz -max_total_time="$seconds" -timeout=150 -rss_limit_mb=3000 -max_len=25 -len_control=0 \
    -fork=1 -ignore_crashes=1 -ignore_timeouts=1 -verbosity=0 -print_final_stats=1 answers
  findings=$(find . -maxdepth 1 -name 'crash-*' -o -maxdepth 1 -name 'timeout-*' -o -maxdepth 1 -name 'leak-*')
  printf 'findings: %s\n' "${findings:-none}"
  [ -z "$findings" ]
  exit
fi
bin/xml_parser_fuzz -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=16384 \
  -dict="$source/fuzz/genicam.dict" -verbosity=0 -print_final_stats=1 corpus "$source/tests/data"
exec bin/camera_commands_fuzz -max_total_time="$((seconds / 2))" -timeout=10 -rss_limit_mb=2048 -max_len=4096 \
  -verbosity=0 -print_final_stats=1 commands
