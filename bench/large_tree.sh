#!/usr/bin/env bash
# The whole tool on 80,000 files in 2,000 directories, beside `find ROOT -type f | sort` on the
# same tree: both in turn, a number of times, with the medians and their ratio at the end.
#   bench/large_tree.sh TOOL [RUNS]
set -euo pipefail
tool=$(realpath "${1:?the built vek_build_librar_ctg}")
runs=${2:-11}
root=$(mktemp -d)/library
trap 'rm -rf "$(dirname "$root")"' EXIT

extensions=(prt asm drw sec lay mfg frm igs txt PRT.3)
for a in $(seq -w 0 39); do
  for b in $(seq -w 0 49); do
    directory=$root/family_$a/group_$b
    mkdir -p "$directory"
    files=()
    for i in $(seq 0 39); do
      files+=("$directory/part_${a}_${b}_$i.${extensions[i % 10]}")
    done
    : | tee "${files[@]}"
  done
done

seconds() { # of a command, in microseconds
  local start end
  start=$(date +%s%N)
  "$@" >/dev/null
  end=$(date +%s%N)
  echo $(((end - start) / 1000))
}
run_tool() { VEK_LIBRARY_DIR=$root "$tool" || [ $? -eq 1 ]; }
run_find() { find "$root" -type f | sort; }
median() { sort -n | sed -n "$(((runs + 1) / 2))p"; }

run_find >/dev/null
for ((i = 0; i < runs; i++)); do
  seconds run_tool >>"$root/../tool"
  seconds run_find >>"$root/../find"
done
tool_median=$(median <"$root/../tool")
find_median=$(median <"$root/../find")
head -n 1 "$root/library.ctg.1"
echo "tool $tool_median us, find | sort $find_median us (medians of $runs runs in turn)"
awk -v t="$tool_median" -v f="$find_median" 'BEGIN { printf "ratio %.2f\n", t / f }'
