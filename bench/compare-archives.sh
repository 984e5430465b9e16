#!/usr/bin/env bash
# Times the ZIP reader and the text decoder of `dorvik-tool` against peer tools:
#  - listing a generated ZIP of 100,000 members: `dorvik-tool archive-list`
#    against `unzip -Z1` and `bsdtar -tf`;
#  - 10 MB of CP932 and of EUC-JP text: `dorvik-tool decode` (detects and
#    decodes the whole file) against `nkf --guess` and `uchardet` (detect only).
# Needs a built tree: ./test.sh or
#   cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release && cmake --build build/release
# The listing from the in-process cache is measured by bench/zip_bench.cpp.
set -euo pipefail
cd "$(dirname "$0")/.."
tool=${DORVIK_TOOL:-build/release/tools/dorvik-tool}
[[ -x $tool ]] || { echo "build dorvik-tool first ($tool)"; exit 1; }
for program in hyperfine unzip bsdtar nkf uchardet iconv python3; do
  command -v $program >/dev/null || { echo "$program is missing: scripts/bootstrap installs it"; exit 1; }
done

work=$(mktemp -d /tmp/dorvik-compare-XXXXXX)
trap 'rm -rf "$work"' EXIT

# 100,000 small deflated members in 100 folders, Info-ZIP compatible.
python3 - "$work/big.zip" <<'PY'
import sys, zipfile
with zipfile.ZipFile(sys.argv[1], "w", zipfile.ZIP_DEFLATED) as z:
    for i in range(100_000):
        z.writestr(f"folder{i // 1000:03d}/file{i:06d}.txt", f"member {i}\n")
PY

# About 10 MB of Japanese prose with ASCII, in UTF-8 first.
python3 - "$work/text.utf8" <<'PY'
import random, sys
random.seed(7)
words = ["日本語", "テキスト", "の", "を", "です。", "ファイル", "文字コード", "判定", "、",
         "漢字", "かな", "ｶﾀｶﾅ", "東京", "大阪", "ABC", " 123 ", "表示", "ソフト", "\n"]
out, size = [], 0
while size < 10_000_000:
    w = random.choice(words)
    out.append(w)
    size += len(w.encode("cp932"))
open(sys.argv[1], "w", encoding="utf-8").write("".join(out))
PY
iconv -f UTF-8 -t CP932 "$work/text.utf8" >"$work/text.cp932"
iconv -f UTF-8 -t EUC-JP "$work/text.utf8" >"$work/text.eucjp"

report() {
  python3 - "$1" "$2" <<'PY'
import json, sys
results = json.load(open(sys.argv[1]))["results"]
base = results[0]["mean"]
print(sys.argv[2])
for r in results:
    print(f"  {r['command']:<22} {r['mean']*1000:9.1f} ms ± {r['stddev']*1000:5.1f}   ratio to dorvik {r['mean']/base:6.2f}")
PY
}

json=$(mktemp)
hyperfine --warmup 2 --runs 10 --export-json "$json" \
  -n "dorvik archive-list" "$tool archive-list $work/big.zip" \
  -n "unzip -Z1" "unzip -Z1 $work/big.zip" \
  -n "bsdtar -tf" "bsdtar -tf $work/big.zip" >/dev/null
report "$json" "Listing a ZIP of 100,000 members (first listing in a new process):"
# Without ZIP64 the end record's entry count of 0xFFFF means 65,535 entries.
printf '  members listed: dorvik %s, unzip %s, bsdtar %s\n' "$("$tool" archive-list "$work/big.zip" | wc -l)" \
  "$(unzip -Z1 "$work/big.zip" | wc -l)" "$(bsdtar -tf "$work/big.zip" | wc -l)"

for kind in cp932 eucjp; do
  hyperfine --warmup 1 --runs 10 --export-json "$json" \
    -n "dorvik decode" "$tool decode $work/text.$kind" \
    -n "nkf --guess" "nkf --guess $work/text.$kind" \
    -n "uchardet" "uchardet $work/text.$kind" >/dev/null
  report "$json" "Detecting $(du -h "$work/text.$kind" | cut -f1) of $kind text (dorvik also decodes all of it):"
  printf '  labels: dorvik %s, nkf %s, uchardet %s\n' "$("$tool" decode "$work/text.$kind" | head -n 1)" \
    "$(nkf --guess "$work/text.$kind")" "$(uchardet "$work/text.$kind")"
done
rm -f "$json"
