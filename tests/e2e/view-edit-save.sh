#!/usr/bin/env bash
# A Shift_JIS memo in the VIEWER (Enter), then E, a line typed at its end and
# Ctrl+S: the file on disk stays Shift_JIS with the line added. G then shows
# the GALLERY over the folder's picture. Screenshots of each step are kept.
set -euo pipefail
source "$(dirname "$0")/session.sh"

start_folder="$home/work"
mkdir -p "$start_folder"
printf 'こんにちは\n' | iconv -f UTF-8 -t SHIFT_JIS >"$start_folder/memo.txt"
convert -size 64x48 xc:orange "$start_folder/picture.png"
start_dorvik

xdotool key --delay 150 Down Return
sleep 1
screenshot viewer
xdotool key --delay 150 e ctrl+End
xdotool type --delay 60 "added"
xdotool key --delay 150 ctrl+s
sleep 1
screenshot saved
expected=$(printf 'こんにちは\nadded' | iconv -f UTF-8 -t SHIFT_JIS | od -An -tx1)
actual=$(od -An -tx1 "$start_folder/memo.txt")
[[ "$actual" == "$expected" ]] || fail "memo.txt holds$actual, not$expected"

xdotool key --delay 150 Escape Tab g
sleep 1.5
screenshot gallery
xdotool key --delay 150 Escape
sleep 0.5
# Ctrl+Q is the desktop's Quit: the program ends without the QUIT dialog.
xdotool key --delay 150 ctrl+q
wait_for_exit
echo "PASS: viewed, edited and saved in Shift_JIS, gallery shown, program ended by Ctrl+Q"
