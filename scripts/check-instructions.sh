#!/usr/bin/env bash
# Counts the instructions of a run over 2,000 files and fails if they exceed the figure below by
# more than a tenth. A change that makes runs cheaper lowers the figure; one that makes them dearer
# says why. Counted with g++ 12 and glibc 2.36 on x86-64.
set -euo pipefail
cd "$(dirname "$0")/.."
figure=14300000

. scripts/packages.sh
need_packages g++ cmake make valgrind
cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target vek_build_librar_ctg >/dev/null

scratch=$(mktemp -d /tmp/instructions.XXXXXX)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch"/library/family_{0..4}/group_{0..9}
number=0
for directory in "$scratch"/library/*/*; do
    touch "$directory"/part_$((number++))_{0..19}.{prt.2,ASM}
done
status=0
VEK_LIBRARY_DIR=$scratch/library valgrind --tool=callgrind --callgrind-out-file=/dev/null \
    build/release/apps/custtools/cust_appl/vek_build_librar_ctg 2>"$scratch/log" >/dev/null ||
    status=$?
[ "$status" -eq 1 ]
counted=$(sed -n 's/.*Collected : //p' "$scratch/log")
echo "$counted instructions, at most $figure and a tenth"
[ "$counted" -le $((figure + figure / 10)) ]
