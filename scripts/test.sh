#!/usr/bin/env bash
# Builds and runs every test.
#
#   scripts/test.sh [preset [CMake options]]     the preset is release unless one is named
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
need_packages g++ cmake make libgtest-dev

preset=${1:-release}
case $preset in
asan | clang) need_packages clang libclang-rt-14-dev ;;
esac
cmake --preset "$preset" -DBUILD_TESTING=ON "${@:2}" >/dev/null
cmake --build --preset "$preset" --parallel "$(nproc)"
ctest --preset "$preset" --parallel "$(nproc)" --no-tests=error
