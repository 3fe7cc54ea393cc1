#!/usr/bin/env bash
# Checks the documents and runs their examples (scripts/check_docs.py).
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
need_packages g++ cmake make python3 mandoc man-db

cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target vek_build_librar_ctg
g++ -std=c++20 -I. examples/split_name/split_name.cpp build/release/libvekcore.a -pthread \
    -o build/release/split_name
scripts/check_docs.py build/release/apps/custtools/cust_appl/vek_build_librar_ctg build/release
