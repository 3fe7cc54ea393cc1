#!/usr/bin/env bash
# Makes the Debian packages in build/packages and checks them with lintian.
#
#   scripts/package.sh          make and check
#   scripts/package.sh --try    also install them, catalog a library, show the manual pages, build
#                               examples/list_directory, purge them, and see that nothing is left
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
need_packages g++ cmake make lintian

out=$PWD/build/packages
rm -rf "$out"
cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target vek_build_librar_ctg
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null || date +%s) \
    cpack --config build/release/CPackConfig.cmake -B "$out" >/dev/null
rm -r "$out/_CPack_Packages"
lintian --allow-root --fail-on error "$out"/*.deb
ls "$out"/*.deb
[ "${1:-}" = --try ] || exit 0

need_packages man-db
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
packages=(vek-build-librar-ctg libvekcore-dev)

# What the packages hold and the host did not have before them.
for package in "$out"/*.deb; do
    dpkg-deb --fsys-tarfile "$package" | tar -t | sed 's/^\.//'
done | sort -u | while read -r path; do
    [ -e "$path" ] || echo "$path"
done >"$scratch/new"
[ -s "$scratch/new" ] || { echo "Already installed: purge the packages first"; exit 1; }

# Small Debian images leave out documents and manual pages unless they are asked for.
as_root apt-get install -y -qq -o DPkg::Options::=--path-include='/usr/share/*' "$out"/*.deb

while read -r path; do
    [ -e "$path" ] || { echo "Not installed: $path"; exit 1; }
done <"$scratch/new"

cp -r /usr/share/doc/vek-build-librar-ctg/examples "$scratch"
status=0
VEK_LIBRARY_DIR="$scratch/examples/mylib" vek_build_librar_ctg || status=$?
[ "$status" -eq 1 ]
head -n 1 "$scratch/examples/mylib/mylib.ctg.1"
for page in /usr/share/man/man[1-9]/vek_*.gz; do
    name=$(basename "$page" .gz)
    man "${name##*.}" "${name%.*}" | sed -n 1,4p
done
cmake -S "$scratch/examples/list_directory" -B "$scratch/build" >/dev/null
cmake --build "$scratch/build"
"$scratch/build/list_directory" "$scratch/examples/mylib"

as_root apt-get purge -y -qq "${packages[@]}"
while read -r path; do
    [ ! -e "$path" ] || { echo "Left behind: $path"; exit 1; }
done <"$scratch/new"
for package in "${packages[@]}"; do
    if dpkg-query -s "$package" >/dev/null 2>&1; then echo "Still known: $package"; exit 1; fi
done
echo "Installed, tried and purged; nothing is left."
