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

# Seconds one copy takes, into a fresh folder removed afterwards.
time_one() {
    local dest="$work/dest-$RANDOM$RANDOM" start end
    mkdir -p "$dest"
    start=$(date +%s.%N)
    "$@" "$dest"
    end=$(date +%s.%N)
    rm -rf "$dest"
    sync
    echo "$end - $start" | bc -l
}

smaller() { if (( $(echo "$1 < $2" | bc -l) )); then echo "$1"; else echo "$2"; fi; }

dorvik_copy() { "$tool" copy "$1" "$2"; }
cp_copy() { cp -a "$1" "$2/"; }

# Best of three for each, the two tools taking turns so that a busy moment of
# the machine does not fall on one of them alone.
for item in big.bin tree; do
    ours=999999
    theirs=999999
    for run in 1 2 3; do
        ours=$(smaller "$ours" "$(time_one dorvik_copy "$work/src/$item")")
        theirs=$(smaller "$theirs" "$(time_one cp_copy "$work/src/$item")")
    done
    printf '%-8s dorvik-tool %.3fs  cp -a %.3fs  ratio %.2f\n' "$item" "$ours" "$theirs" \
        "$(echo "$ours / $theirs" | bc -l)"
done
