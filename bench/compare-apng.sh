#!/usr/bin/env bash
# Times the composition of every frame of an APNG: `dorvik-tool apng-frames`
# (parse, standalone PNG per frame, compose, write RGBA PNGs) against
# `apngdis`, which does the same for the APNG's own reference frames.
# The APNG has 100 frames of 512x512, made by apngasm from frames ImageMagick
# draws: a disc moving over a gradient, so every frame differs from the last.
# Needs a built dorvik-tool (DORVIK_TOOL, default build/release/tools/dorvik-tool).
set -euo pipefail
cd "$(dirname "$0")/.."
tool=$(realpath "${DORVIK_TOOL:-build/release/tools/dorvik-tool}")
[[ -x $tool ]] || { echo "build dorvik-tool first ($tool)"; exit 1; }
for program in hyperfine apngasm apngdis convert python3; do
  command -v $program >/dev/null || { echo "$program is missing: scripts/bootstrap installs it"; exit 1; }
done

work=$(mktemp -d /tmp/dorvik-compare-apng-XXXXXX)
trap 'rm -rf "$work"' EXIT
cd "$work"

convert -size 512x512 gradient:navy-orange background.png
for i in $(seq 0 99); do
  x=$((56 + i * 4)) y=$((256 + (i % 20) * 8 - 80))
  convert background.png -fill 'rgba(255,255,255,0.8)' -draw "circle $x,$y $((x + 40)),$y" \
    "$(printf 'frame%03d.png' "$i")"
done
apngasm anim.png frame*.png -z0 -kc >/dev/null
echo "APNG: $(stat -c %s anim.png) bytes, $("$tool" apng-info anim.png)"

hyperfine --warmup 1 --runs 5 --export-json result.json \
  --prepare 'rm -rf out split; mkdir split' \
  "$tool apng-frames anim.png out" \
  'cp anim.png split/anim.png && apngdis split/anim.png frame'

python3 - result.json <<'PY'
import json, sys
ours, theirs = (r["mean"] for r in json.load(open(sys.argv[1]))["results"])
print(f"dorvik-tool apng-frames {ours * 1000:.0f} ms, apngdis {theirs * 1000:.0f} ms, "
      f"ratio {ours / theirs:.2f}")
PY
