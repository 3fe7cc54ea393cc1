#!/usr/bin/env bash
# Builds and runs every test for 32-bit hosts, little-endian (i686) and big-endian (powerpc, under
# qemu), and compares what their tools and this host's make of one library.
#
#   scripts/test-ports.sh [CMake options]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
need_packages g++ cmake make g++-i686-linux-gnu g++-powerpc-linux-gnu googletest qemu-user

for port in i686 powerpc; do
    ./scripts/test.sh "$port" "$@"
done
cmake --preset release "$@" >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target vek_build_librar_ctg

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
library=$scratch/mylib

# Every extension in both cases, versions, and numbers that no version or integer holds.
mkdir -p "$library"/{upper,lower,numbers}
while read -r code extension _; do
    [ "$code" != "#" ] || continue
    : >"$library/upper/PART.$extension"
    : >"$library/lower/part.${extension,,}.7"
done <tests/support/object_types.txt
for number in 0 01 1 9 32767 32768 -2 -32768 -32769 65537 2147483647 2147483648 4294967297 \
    20231231235959 9223372036854775807 9223372036854775808 20231231235959123456; do
    : >"$library/numbers/bolt.prt.$number"
    : >"$library/numbers/nut$number.prt"
    : >"$library/numbers/u.$number"
done

# Usage: catalog PORT [EMULATOR]
catalog() {
    local port=$1 status=0
    shift
    VEK_LIBRARY_DIR=$library "$@" "build/$port/apps/custtools/cust_appl/vek_build_librar_ctg" \
        >"$scratch/$port.out" || status=$?
    [ "$status" -eq 1 ]
    mv "$library/mylib.ctg.1" "$scratch/$port.ctg"
}

catalog release
catalog i686
catalog powerpc qemu-ppc
for port in i686 powerpc; do
    cmp "$scratch/release.out" "$scratch/$port.out"
    cmp "$scratch/release.ctg" "$scratch/$port.ctg"
done
echo "The catalogs and the messages of the three hosts are the same: $(wc -l <"$scratch/release.ctg") lines."
