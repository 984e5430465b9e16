#!/usr/bin/env bash
# Resident memory of the whole window with a folder of 100,000 files open in
# both panes, above the same window on an empty folder, beside Midnight
# Commander doing the same in a terminal (when `mc` is installed). The
# window runs offscreen; each figure is read from /proc once the process's
# resident size has held still for two seconds, which is when both panes are
# listed and the freed heap is handed back.
# Needs a built tree: ./test.sh or
#   cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release && cmake --build build/release
# DORVIK_BEFORE names a second build of the program to measure in the same
# run; RUNS sets how many times each figure is taken (3).
set -euo pipefail
cd "$(dirname "$0")/.."
program=${DORVIK:-build/release/src/dorvik}
before=${DORVIK_BEFORE:-}
[[ -x $program ]] || { echo "build the program first ($program)"; exit 1; }

work=$(mktemp -d /tmp/dorvik-memory-XXXXXX)
trap 'rm -rf "$work"' EXIT
mkdir "$work/empty" "$work/large"
(cd "$work/large" && seq -f 'file%g.txt' 1 100000 | xargs touch)

# Prints the resident size in kB of pid once it has held still.
settled_resident() {
  local pid=$1 previous=0 still=0 now
  for _ in $(seq 1 240); do
    sleep 0.25
    now=$(awk '/^VmRSS/{print $2}' "/proc/$pid/status")
    if [[ $now == "$previous" ]]; then still=$((still + 1)); else still=0; fi
    previous=$now
    ((still >= 8)) && break
  done
  echo "$previous"
}

# The window started on folder, with a home of its own.
window_resident() {
  local binary=$1 folder=$2 home pid size
  home=$(mktemp -d "$work/home-XXXXXX")
  XDG_CONFIG_HOME=$home/config XDG_STATE_HOME=$home/state XDG_CACHE_HOME=$home/cache \
    QT_QPA_PLATFORM=offscreen "$binary" "$folder" >/dev/null 2>&1 &
  pid=$!
  size=$(settled_resident "$pid")
  kill "$pid"; wait "$pid" 2>/dev/null || true
  echo "$size"
}

# Midnight Commander in a terminal of its own, both panels on folder.
mc_resident() {
  local folder=$1 home pid size
  home=$(mktemp -d "$work/home-XXXXXX")
  (sleep 60 | HOME=$home TERM=xterm script -qfc \
     "stty rows 50 cols 160; exec mc -u '$folder' '$folder'" /dev/null >/dev/null 2>&1) &
  for _ in $(seq 1 40); do sleep 0.25; pid=$(pgrep -n -x mc) && break; done
  size=$(settled_resident "$pid")
  kill "$pid" 2>/dev/null || true
  echo "$size"
}

report() {
  awk -v label="$1" -v idle="$2" -v large="$3" 'BEGIN {
    printf "%-10s idle %7.1f MB, both panes on 100,000 files %7.1f MB, above idle %6.1f MB\n",
      label, idle / 1024, large / 1024, (large - idle) / 1024 }'
}

for run in $(seq 1 "${RUNS:-3}"); do
  echo "run $run"
  report dorvik "$(window_resident "$program" "$work/empty")" \
    "$(window_resident "$program" "$work/large")"
  if [[ -n $before ]]; then
    report before "$(window_resident "$before" "$work/empty")" \
      "$(window_resident "$before" "$work/large")"
  fi
  if command -v mc >/dev/null; then
    report mc "$(mc_resident "$work/empty")" "$(mc_resident "$work/large")"
  fi
done
echo "goal: dorvik at most 40 MB above idle, and below mc"
