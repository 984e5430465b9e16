#!/usr/bin/env bash
# Times the viewer's text load of a 1 GiB file: `dorvik-tool preview-text`
# reads only the 64 KiB head, so the time must not grow with the file. The
# file is sparse (all zero bytes but its first line), so making it costs no
# disk; `head -c 65536` of the same file is the floor to compare with.
# Needs a built dorvik-tool (DORVIK_TOOL, default build/release/tools/dorvik-tool).
set -euo pipefail
cd "$(dirname "$0")/.."
tool=$(realpath "${DORVIK_TOOL:-build/release/tools/dorvik-tool}")
[[ -x $tool ]] || { echo "build dorvik-tool first ($tool)"; exit 1; }
for program in hyperfine python3; do
  command -v $program >/dev/null || { echo "$program is missing: scripts/bootstrap installs it"; exit 1; }
done

work=$(mktemp -d /tmp/dorvik-text-head-XXXXXX)
trap 'rm -rf "$work"' EXIT
# Text of 64 KiB and more at the head, then a hole up to 1 GiB.
python3 -c 'import sys; sys.stdout.write("A line of plain text for the viewer.\n" * 2000)' >"$work/big.txt"
truncate -s 1G "$work/big.txt"
echo "file: $(stat -c %s "$work/big.txt") bytes, $(du -k "$work/big.txt" | cut -f1) KiB on disk"
echo "load: $("$tool" preview-text "$work/big.txt")"

hyperfine -N --warmup 2 --runs 20 --export-json "$work/result.json" \
  "$tool preview-text $work/big.txt" \
  "head -c 65536 $work/big.txt"

python3 - "$work/result.json" <<'PY'
import json, sys
ours, floor = (r["mean"] for r in json.load(open(sys.argv[1]))["results"])
print(f"dorvik-tool preview-text {ours * 1000:.1f} ms, head -c 65536 {floor * 1000:.1f} ms")
PY
