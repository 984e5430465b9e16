#!/usr/bin/env bash
# A FIFO named like an archive, and another named like a text beside it: E
# on the text refuses to edit it, then the cursor stands on it with preview
# on (P), and Enter on the archive says it cannot be listed. Each message is
# closed with Return; Q and Y then end the program, and no archive tool is
# left running.
set -euo pipefail
source "$(dirname "$0")/session.sh"

start_folder="$home/work"
mkdir -p "$start_folder"
mkfifo "$start_folder/a-stuck.txt" "$start_folder/stuck.tgz"
start_dorvik

xdotool key --delay 150 Down e
sleep 0.5
screenshot edit-refused
xdotool key --delay 150 Return p
sleep 0.5
screenshot previewed
xdotool key --delay 150 Down Return
sleep 1
screenshot entered
xdotool key --delay 150 Return
sleep 0.3
quit_dorvik
if pgrep -f "$start_folder/stuck.tgz" >/dev/null; then
  pgrep -af "$start_folder/stuck.tgz"
  fail "a process still reads stuck.tgz after the program ended"
fi
echo "PASS: Enter on a FIFO named stuck.tgz, then Q and Y ended the program; no tool remains"
