#!/usr/bin/env bash
# Copy speed of dorvik-tool against cp -a: one 1 GiB file, and a tree of
# 10,000 small files. Prints both times and their ratio for each case.
# usage: bench/compare-copy.sh [BUILD_DIR]   (default: build)
set -euo pipefail

here="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$here/build}"
tool="$build/tools/dorvik-tool"
[[ -x "$tool" ]] || { echo "dorvik-tool not built in $build" >&2; exit 1; }

work="$(mktemp -d "${TMPDIR:-/tmp}/dorvik-copy-bench-XXXXXX")"
trap 'rm -rf "$work"' EXIT

mkdir -p "$work/src/tree"
head -c $((1024 * 1024 * 1024)) /dev/urandom > "$work/src/big.bin"
for d in $(seq 0 99); do
    mkdir -p "$work/src/tree/d$d"
    for f in $(seq 0 99); do
        printf 'file %d/%d %0200d\n' "$d" "$f" 0 > "$work/src/tree/d$d/f$f.txt"
    done
done
sync

# Seconds taken by a command, best of three runs, each into a fresh folder.
best_of_three() {
    local best="" run dest start end took
    for run in 1 2 3; do
        dest="$work/dest-$run-$RANDOM"
        mkdir -p "$dest"
        start=$(date +%s.%N)
        "$@" "$dest"
        end=$(date +%s.%N)
        took=$(echo "$end - $start" | bc -l)
        rm -rf "$dest"
        sync
        if [[ -z "$best" ]] || (( $(echo "$took < $best" | bc -l) )); then best=$took; fi
    done
    echo "$best"
}

dorvik_copy() { "$tool" copy "$1" "$2"; }
cp_copy() { cp -a "$1" "$2/"; }

for item in big.bin tree; do
    ours=$(best_of_three dorvik_copy "$work/src/$item")
    theirs=$(best_of_three cp_copy "$work/src/$item")
    printf '%-8s dorvik-tool %.3fs  cp -a %.3fs  ratio %.2f\n' "$item" "$ours" "$theirs" \
        "$(echo "$ours / $theirs" | bc -l)"
done
