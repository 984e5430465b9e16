#!/usr/bin/env bash
# A file whose name is not UTF-8 is trashed from the real window with D and Y:
# it leaves its folder and stands in the Trash under the same bytes, with
# the restore path percent-encoded byte for byte.
set -euo pipefail
source "$(dirname "$0")/session.sh"

name=$(printf 'bad\xff\xfe.txt')
start_folder="$home/files"
mkdir -p "$start_folder"
printf 'bytes' >"$start_folder/$name"
export XDG_DATA_HOME="$home/data"
trash="$XDG_DATA_HOME/Trash"
start_dorvik

# The cursor starts on "..": the file is the row below it.
xdotool key --delay 150 Down d
screenshot question
xdotool key --delay 150 y
for _ in $(seq 1 100); do
  [[ -e "$trash/files/$name" ]] && break
  sleep 0.1
done
screenshot trashed
[[ -e "$trash/files/$name" ]] || fail "the file is not in the Trash under its own bytes"
[[ ! -e "$start_folder/$name" ]] || fail "the file is still in its folder"
grep -q "^Path=$start_folder/bad%FF%FE.txt\$" "$trash/info/$name.trashinfo" ||
  fail "the restore path lost the bytes: $(cat "$trash/info/"* 2>/dev/null)"

quit_dorvik
echo "PASS: a name that is not UTF-8 went to the Trash with its bytes"
