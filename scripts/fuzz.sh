#!/usr/bin/env bash
# Builds the fuzzers and runs each over its seed corpus.
#   scripts/fuzz.sh [SECONDS] [FUZZER...]     60 seconds each, all of them
# New inputs are kept in build/fuzz/corpus, a failing one in build/fuzz/findings.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
shift || true
fuzzers=("$@")
[ ${#fuzzers[@]} -gt 0 ] || fuzzers=(path format text tree)

need=()
command -v clang++ >/dev/null || need+=(clang)
command -v cmake >/dev/null || need+=(cmake)
dpkg -s libclang-rt-14-dev >/dev/null 2>&1 || need+=(libclang-rt-14-dev)
if [ ${#need[@]} -gt 0 ]; then
  sudo=$([ "$(id -u)" -eq 0 ] || echo sudo)
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${need[@]}"
fi

cmake --preset fuzz
cmake --build --preset fuzz -j"$(nproc)"

for fuzzer in "${fuzzers[@]}"; do
  corpus=build/fuzz/corpus/$fuzzer
  mkdir -p "$corpus" build/fuzz/findings
  echo "fuzz_$fuzzer for $seconds s"
  # The layers keep what they make for the life of the process: leaks are valgrind's question.
  HOME=/home/fuzz ASAN_OPTIONS=detect_leaks=0 "build/fuzz/fuzz/fuzz_$fuzzer" \
    -max_total_time="$seconds" -max_len=1024 -timeout=20 -print_final_stats=1 -verbosity=0 \
    -close_fd_mask=1 -artifact_prefix=build/fuzz/findings/"$fuzzer"- \
    "$corpus" "fuzz/corpus/$fuzzer"
done
