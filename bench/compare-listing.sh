#!/usr/bin/env bash
# Times `dorvik-tool list` against `ls -l --sort=version` on a generated folder
# of 100,000 files and prints the ratio. Needs a built tree: ./test.sh or
#   cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release && cmake --build build/release
set -euo pipefail
cd "$(dirname "$0")/.."
tool=${DORVIK_TOOL:-build/release/tools/dorvik-tool}
[[ -x $tool ]] || { echo "build dorvik-tool first ($tool)"; exit 1; }
command -v hyperfine >/dev/null || { echo "hyperfine is missing: scripts/bootstrap installs it"; exit 1; }

folder=$(mktemp -d /tmp/dorvik-compare-XXXXXX)
trap 'rm -rf "$folder"' EXIT
(cd "$folder" && seq -f 'file%g.txt' 1 100000 | xargs touch)

json=$(mktemp)
hyperfine --warmup 2 --runs 10 --export-json "$json" \
  -n dorvik "$tool list $folder" \
  -n ls "ls -l --sort=version $folder" >/dev/null
python3 - "$json" <<'PY'
import json, sys
r = {x["command"]: x["mean"] for x in json.load(open(sys.argv[1]))["results"]}
print(f"dorvik-tool list : {r['dorvik']*1000:8.1f} ms")
print(f"ls -l            : {r['ls']*1000:8.1f} ms")
print(f"ratio            : {r['dorvik']/r['ls']:.2f}x (goal: within 1.5x)")
PY
rm -f "$json"
