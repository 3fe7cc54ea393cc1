#!/usr/bin/env bash
# Installs into a scratch directory, checks that every public header compiles alone, and builds and
# runs examples/list_directory against what was installed.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
need_packages g++ cmake make

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target vek_build_librar_ctg
cmake --install build/release --prefix "$prefix" >/dev/null

internal=$(find "$prefix/include" -name '*_internal.h')
[ -z "$internal" ] || { echo "Internal headers were installed: $internal"; exit 1; }
(cd "$prefix/include/vekcore" && find . -name '*.h' -printf '%P\n') | while read -r header; do
    echo "#include \"$header\"" | g++ -std=c++20 -Wall -Wextra -Wpedantic -Werror \
        -I"$prefix/include/vekcore" -fsyntax-only -x c++ -
done

cmake -S examples/list_directory -B "$scratch/build" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" >/dev/null
cmake --build "$scratch/build"

mkdir -p "$scratch/lib/sub"
touch "$scratch/lib/pump.asm.2" "$scratch/lib/readme.txt"
"$scratch/build/list_directory" "$scratch/lib" | LC_ALL=C sort -k2 | tee "$scratch/listing"
diff "$scratch/listing" - <<'EOF'
   1  pump.asm.2
  -6  readme.txt
  -5  sub
EOF
"$prefix/bin/vek_build_librar_ctg" -verify
