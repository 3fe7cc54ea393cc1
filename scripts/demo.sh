#!/usr/bin/env bash
# Builds the tool, catalogs a copy of the example library and shows what came out.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
need_packages g++ cmake make

cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target vek_build_librar_ctg
tool=$PWD/build/release/apps/custtools/cust_appl/vek_build_librar_ctg

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cp -r examples/mylib "$scratch"

printf '\n$ VEK_LIBRARY_DIR=%s vek_build_librar_ctg\n' "$scratch/mylib"
status=0
VEK_LIBRARY_DIR="$scratch/mylib" "$tool" || status=$?
printf '(exit status %d: 1 says that the catalog was built)\n' "$status"

printf '\n$ cat %s\n' "$scratch/mylib/mylib.ctg.1"
sed 's/ *$//' "$scratch/mylib/mylib.ctg.1"
[ "$status" -eq 1 ]
