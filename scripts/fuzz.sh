#!/usr/bin/env bash
# Builds the fuzzers and runs each over its seed corpus.
#   scripts/fuzz.sh [SECONDS] [FUZZER...]     60 seconds each, all of them
# FUZZ_SEED makes the course of a run repeatable.
# New inputs are kept in build/fuzz/corpus, a failing one in build/fuzz/findings.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
shift || true
fuzzers=("$@")
[ ${#fuzzers[@]} -gt 0 ] || fuzzers=(path format text tree)

. scripts/packages.sh
need_packages clang cmake make libclang-rt-14-dev

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --parallel "$(nproc)"

for fuzzer in "${fuzzers[@]}"; do
  corpus=build/fuzz/corpus/$fuzzer
  mkdir -p "$corpus" build/fuzz/findings
  echo "fuzz_$fuzzer for $seconds s"
  # The layers keep what they make for the life of the process: leaks are valgrind's question.
  HOME=/home/fuzz ASAN_OPTIONS=detect_leaks=0 "build/fuzz/fuzz/fuzz_$fuzzer" \
    -seed="${FUZZ_SEED:-0}" -max_total_time="$seconds" -max_len=1024 -timeout=20 \
    -print_final_stats=1 -verbosity=0 -close_fd_mask=1 -artifact_prefix=build/fuzz/findings/"$fuzzer"- \
    "$corpus" "fuzz/corpus/$fuzzer"
done
