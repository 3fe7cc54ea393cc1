#!/usr/bin/env bash
# Checks the documents and runs their examples (scripts/check_docs.py).
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
need_packages g++ cmake make python3 mandoc man-db

cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target vek_build_librar_ctg
scripts/check_docs.py build/release/apps/custtools/cust_appl/vek_build_librar_ctg
