#!/usr/bin/env bash
# Times `dorvik-tool search` against find and grep on a generated tree of
# 200,000 small text files (200 folders of 10 folders of 100 files) and prints
# the ratios: a name search against `find -iname`, a content search against
# `grep -rlis`, and a Japanese content search against `grep -rlis` too. One
# file in 50 also holds a line of Japanese in UTF-8, Shift_JIS or EUC-JP, so
# that the Japanese search tries the encoding detector on one file in 75
# (grep finds only the UTF-8 ones). The queries match fewer than the 500 hits
# at which the search stops, so every tool walks the whole tree. Needs a built tree:
#   cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release && cmake --build build/release
set -euo pipefail
cd "$(dirname "$0")/.."
tool=${DORVIK_TOOL:-build/release/tools/dorvik-tool}
[[ -x $tool ]] || { echo "build dorvik-tool first ($tool)"; exit 1; }
command -v hyperfine >/dev/null || { echo "hyperfine is missing: scripts/bootstrap installs it"; exit 1; }

tree=$(mktemp -d /tmp/dorvik-search-XXXXXX)
trap 'rm -rf "$tree"' EXIT
python3 - "$tree" <<'PY'
import os, sys
root = sys.argv[1]
n = 0
for a in range(200):
    for b in range(10):
        folder = os.path.join(root, f"top{a:03d}", f"sub{b}")
        os.makedirs(folder)
        for c in range(100):
            n += 1
            name = f"Report-{n}.txt" if n % 1000 == 0 else f"file{n}.txt"
            body = f"line {n} of some ordinary text\n" * 8
            if n % 997 == 0:
                body += "the Zebra crossing\n"
            data = body.encode()
            if n % 50 == 0:
                line = "吾輩は猫である。\n" if n % 1000 == 0 else "名前はまだ無い。\n"
                data += line.encode(("utf-8", "shift_jis", "euc_jp")[n // 50 % 3])
            with open(os.path.join(folder, name), "wb") as out:
                out.write(data)
PY
echo "tree: $(find "$tree" -type f | wc -l) files"

# The same hits from both sides before any timing.
[[ $($tool search "$tree" --query report | wc -l) == $(find "$tree" -iname '*report*' | wc -l) ]]
[[ $($tool search "$tree" --query zebra --content | wc -l) == $(grep -rlis zebra "$tree" | wc -l) ]]
echo "吾輩: $($tool search "$tree" --query 吾輩 --content | wc -l) hits, grep: $(grep -rlis 吾輩 "$tree" | wc -l)"

json=$(mktemp)
ratio() {
  python3 - "$json" "$1" "$2" "$3" <<'PY'
import json, sys
r = {x["command"]: x["mean"] for x in json.load(open(sys.argv[1]))["results"]}
a, b, goal = sys.argv[2], sys.argv[3], sys.argv[4]
print(f"{a:28s}: {r[a]*1000:8.1f} ms")
print(f"{b:28s}: {r[b]*1000:8.1f} ms")
print(f"ratio                       : {r[a]/r[b]:.2f}x (goal: within {goal}x)")
PY
}
hyperfine --warmup 2 --runs 10 --export-json "$json" \
  -n "dorvik-tool search (name)" "$tool search $tree --query report" \
  -n "find -iname" "find $tree -iname '*report*'" >/dev/null
ratio "dorvik-tool search (name)" "find -iname" 1.5
hyperfine --warmup 2 --runs 10 --export-json "$json" \
  -n "dorvik-tool search (content)" "$tool search $tree --query zebra --content" \
  -n "grep -rlis" "grep -rlis zebra $tree" >/dev/null
ratio "dorvik-tool search (content)" "grep -rlis" 2
hyperfine --warmup 2 --runs 10 --export-json "$json" \
  -n "dorvik-tool search (吾輩)" "$tool search $tree --query 吾輩 --content" \
  -n "grep -rlis 吾輩" "grep -rlis 吾輩 $tree" >/dev/null
ratio "dorvik-tool search (吾輩)" "grep -rlis 吾輩" 2
rm -f "$json"
