#!/usr/bin/env bash
# Times `dorvik-tool list` against `ls -l --sort=version` on a generated folder
# of 100,000 files and prints the ratios: wall clock, and CPU time (user and
# system), which a busy machine disturbs less. A repeat listing is the second
# of two listings in one process, when the rights memory holds every item.
# Needs a built tree: ./test.sh or
#   cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release && cmake --build build/release
# DORVIK_TOOL_BEFORE names a second build to time in the same run; RUNS sets
# the number of timed runs of each command (10).
set -euo pipefail
cd "$(dirname "$0")/.."
tool=${DORVIK_TOOL:-build/release/tools/dorvik-tool}
before=${DORVIK_TOOL_BEFORE:-}
[[ -x $tool ]] || { echo "build dorvik-tool first ($tool)"; exit 1; }
command -v hyperfine >/dev/null || { echo "hyperfine is missing: scripts/bootstrap installs it"; exit 1; }

folder=$(mktemp -d /tmp/dorvik-compare-XXXXXX)
json=$(mktemp)
trap 'rm -rf "$folder" "$json"' EXIT
(cd "$folder" && seq -f 'file%g.txt' 1 100000 | xargs touch)

commands=(-n ls "ls -l --sort=version $folder"
          -n dorvik "$tool list $folder"
          -n dorvik2 "$tool list --times 2 $folder")
if [[ -n $before ]]; then
  commands+=(-n before "$before list $folder" -n before2 "$before list --times 2 $folder")
fi
hyperfine --warmup 1 --runs ${RUNS:-10} --export-json "$json" "${commands[@]}" >/dev/null
python3 - "$json" <<'PY'
import json, sys
results = {x["command"]: x for x in json.load(open(sys.argv[1]))["results"]}
wall = {k: v["mean"] for k, v in results.items()}
cpu = {k: v["user"] + v["system"] for k, v in results.items()}
def show(name, label):
    if name not in wall:
        return
    print(f"{label:<40}: {wall[name]*1000:8.1f} ms wall, {cpu[name]*1000:8.1f} ms cpu, "
          f"ratio {wall[name]/wall['ls']:.2f}x wall, {cpu[name]/cpu['ls']:.2f}x cpu")
    repeat = name + "2"
    w, c = wall[repeat] - wall[name], cpu[repeat] - cpu[name]
    print(f"{label + ', repeat listing':<40}: {w*1000:8.1f} ms wall, {c*1000:8.1f} ms cpu, "
          f"ratio {w/wall['ls']:.2f}x wall, {c/cpu['ls']:.2f}x cpu")
print(f"{'ls -l --sort=version':<40}: {wall['ls']*1000:8.1f} ms wall, {cpu['ls']*1000:8.1f} ms cpu")
show("before", "before: dorvik-tool list")
show("dorvik", "dorvik-tool list")
print("goal: within 1.2x of ls -l; a repeat listing faster than ls -l")
PY
