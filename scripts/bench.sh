#!/usr/bin/env bash
# Whole runs of the tool beside the plain loop of bench/bare_loop.cpp and those of find, bfs, fd and
# updatedb that are installed, in turn, on trees of named shapes (bench/make_tree.cpp). Prints
# medians, and ratios of medians to the tool's.
#
#   scripts/bench.sh [-r RUNS] [-c] [-k] [SHAPE[:COUNT]...]     11 runs of every shape
#
#   -c  with a cold cache: the host's caches are dropped before every run (needs root)
#   -k  as on a host whose listings do not tell directories from files
set -euo pipefail
cd "$(dirname "$0")/.."

runs=11 cold=false preload=
while getopts r:ck option; do
    case $option in
    r) runs=$OPTARG ;;
    c) cold=true ;;
    k) preload=$PWD/build/bench/bench/libno_kinds.so ;;
    *) exit 1 ;;
    esac
done
shift $((OPTIND - 1))
shapes=("$@")
[ $# -gt 0 ] || shapes=(library members directories deep duplicates mixed versions)

. scripts/packages.sh
need_packages g++ cmake make libbenchmark-dev
cmake --preset bench >/dev/null
cmake --build --preset bench --parallel "$(nproc)" \
    --target vek_build_librar_ctg make_tree bare_loop measure no_kinds >/dev/null
programs=$PWD/build/bench/bench
tool=$PWD/build/bench/apps/custtools/cust_appl/vek_build_librar_ctg

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fd=$(command -v fd || command -v fdfind || true)
# A command line for each name; LIBRARY is the tree.
declare -A commands=(
    [tool]="exec $tool"
    [bare_loop]="exec $programs/bare_loop \$LIBRARY $scratch/bare_loop.ctg"
    [find]="find \$LIBRARY -type f -printf '%f %h\n' | sort"
    [bfs]="bfs \$LIBRARY -type f -printf '%f %h\n' | sort"
    [fd]="$fd -u --type f . \$LIBRARY | sort"
    [updatedb]="rm -f $scratch/locate.db; exec updatedb -l 0 -U \$LIBRARY -o $scratch/locate.db \
        --prunepaths '' --prunefs '' --prunenames ''"
)
names=(tool bare_loop)
for name in find bfs updatedb; do
    [ -z "$(command -v $name)" ] || names+=("$name")
done
[ -z "$fd" ] || names+=(fd)

processor=$(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -n 1)
echo "commit $(git rev-parse --short HEAD)$(git diff --quiet HEAD || echo ' with changes')," \
    "$processor x $(nproc), $(stat -f -c %T "$scratch"), $($cold && echo cold || echo warm) cache," \
    "medians of $runs"

median() { # of a column of measurements
    awk -v column="$1" '{ print $column }' "$2" | sort -n | sed -n "$(((runs + 1) / 2))p"
}

for shape in "${shapes[@]}"; do
    export LIBRARY=$scratch/$shape/library
    mkdir "$scratch/$shape"
    "$programs/make_tree" "$shape" "$LIBRARY"
    sync
    for ((run = 0; run <= runs; run++)); do
        for name in "${names[@]}"; do
            ! $cold || echo 3 >/proc/sys/vm/drop_caches
            LD_PRELOAD=$preload VEK_LIBRARY_DIR=$LIBRARY \
                "$programs/measure" sh -c "${commands[$name]}" >"$scratch/figures"
            # The first round only fills the caches.
            [ "$run" -eq 0 ] || cat "$scratch/figures" >>"$scratch/$shape/$name"
        done
    done
    cmp "$LIBRARY/library.ctg.1" "$scratch/bare_loop.ctg"

    set -- $(head -n 1 "$LIBRARY/library.ctg.1")
    echo
    echo "$shape: $(find "$LIBRARY" | wc -l) entries, $2 members"
    printf '  %-10s %9s %9s %8s %8s %7s\n' '' 'wall us' 'cpu us' 'KiB' 'faults' 'tool/it'
    tool_wall=$(median 1 "$scratch/$shape/tool")
    for name in "${names[@]}"; do
        figures=$scratch/$shape/$name
        wall=$(median 1 "$figures")
        printf '  %-10s %9d %9d %8d %8d %7s\n' "$name" "$wall" "$(median 2 "$figures")" \
            "$(median 3 "$figures")" "$(median 4 "$figures")" \
            "$(awk -v a="$tool_wall" -v b="$wall" 'BEGIN { printf "%.2f", a / b }')"
    done
    rm -rf "${scratch:?}/$shape"
done
