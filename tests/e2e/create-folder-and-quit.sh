#!/usr/bin/env bash
# Starts dorvik on its own X display with a fresh home folder, checks the
# window's first size, types K, a folder name and Return, then Q and Y. Passes
# when the folder is on disk and the program has ended by itself.
set -euo pipefail
source "$(dirname "$0")/session.sh"

folder_name="e2e-folder"
start_dorvik

# A new window comes up with a screen of 1100 by 680 below its menu bar.
geometry=$(xdotool getwindowgeometry "$(xdotool search --onlyvisible --name '^Dorvik$' | head -1)")
[[ "$geometry" =~ Geometry:\ 1100x([0-9]+) ]] || fail "the window came up as: $geometry"
height=${BASH_REMATCH[1]}
((height > 680 && height <= 720)) || fail "the window came up $height high, not 680 and a menu bar"

xdotool key --delay 100 k
sleep 0.5
xdotool type --delay 60 "$folder_name"
sleep 0.3
screenshot prompt
xdotool key Return
sleep 1
[[ -d "$home/$folder_name" ]] || fail "the folder $folder_name was not created"
screenshot created

quit_dorvik
echo "PASS: $folder_name created, program ended"
