#!/usr/bin/env bash
# Fails if a file of the product includes a header of a layer above its own (docs/architecture.md).
# There are no exceptions: what a layer needs from above it declares in a header of its own.
set -euo pipefail
cd "$(dirname "$0")/.."

# The folders of each layer, from the lowest.
layers=(
    "basictk coretools/ctplatform"
    "coretools/ctmemmgr coretools/ctmisc coretools/ctsigutil coretools/ctsyscall coretools/apfutil"
    "coretools/ctwcfun coretools/ctstrutil coretools/genutil1 coretools/cttime"
    "coretools/ctfileutil"
    "coretools/ctpfa"
    "coretools/ctpfafs coretools/ctdci"
    "apps/lib_ctg"
    "apps/custtools"
)

declare -A layer_of
for i in "${!layers[@]}"; do
    for folder in ${layers[i]}; do
        layer_of[$folder]=$i
    done
done

# Prints the layer of a file, nothing if its folder is in none.
layer() {
    local folder=${1%/*}
    while [ "$folder" != . ] && [ -z "${layer_of[$folder]:-}" ]; do
        folder=$(dirname "$folder")
    done
    echo "${layer_of[$folder]:-}"
}

status=0
while IFS=: read -r file _ include; do
    header=${include#*\"}
    header=${header%%\"*}
    from=$(layer "$file")
    to=$(layer "$header")
    if [ -z "$from" ] || [ -z "$to" ]; then
        echo "$file: \"$header\": the folder is in no layer"
        status=1
    elif [ "$to" -gt "$from" ]; then
        echo "$file includes \"$header\" of a higher layer"
        status=1
    fi
done < <(git grep -n '^ *# *include "' -- 'apps/*.h' 'apps/*.cpp' 'apps/*.def' 'basictk/*' 'coretools/*')
exit $status
