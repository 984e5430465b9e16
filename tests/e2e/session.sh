# Shared by the end-to-end scripts: runs the script again under xvfb-run,
# starts dorvik with a fresh home folder, gives its window the keyboard, takes
# screenshots, and quits with Q, Y (quit_dorvik) or waits for the program to
# end (wait_for_exit). Source it with the binary and the artifact folder as $1
# and $2; set start_folder before calling start_dorvik to open somewhere else
# than the home folder.

binary=$1
artifacts=$2

if [[ "${DORVIK_E2E_INNER:-}" != 1 ]]; then
  for tool in xvfb-run xdotool xwd; do
    command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed"; exit 77; }
  done
  export DORVIK_E2E_INNER=1
  exec xvfb-run -a -s "-screen 0 1280x800x24" "$0" "$@"
fi

mkdir -p "$artifacts"
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT

screenshot() {
  local name=$1
  xwd -root -silent -out "$artifacts/$name.xwd"
  if command -v convert >/dev/null; then
    convert "xwd:$artifacts/$name.xwd" "$artifacts/$name.png" && rm -f "$artifacts/$name.xwd"
  fi
}

fail() {
  echo "FAIL: $*"
  screenshot failure || true
  kill "$pid" 2>/dev/null || true
  exit 1
}

start_dorvik() {
  mkdir -p "$home/run" "$home/.config/Dorvik" && chmod 700 "$home/run"
  if [[ -n "${start_folder:-}" ]]; then
    printf '[General]\nstartupDirectory=%s\n' "$start_folder" >"$home/.config/Dorvik/Dorvik.ini"
  fi
  env -u QT_QPA_PLATFORM HOME="$home" XDG_CONFIG_HOME="$home/.config" \
    XDG_RUNTIME_DIR="$home/run" "$binary" &
  pid=$!
  local window=""
  for _ in $(seq 1 100); do
    window=$(xdotool search --onlyvisible --name '^Dorvik$' 2>/dev/null | head -1 || true)
    [[ -n "$window" ]] && break
    sleep 0.1
  done
  [[ -n "$window" ]] || fail "the window did not appear"
  # There is no window manager to give the window the keyboard. The window
  # can be found a moment before it is mapped, and focusing an unmapped window
  # is an X error, so try again until it takes.
  local focused=""
  for _ in $(seq 1 50); do
    if timeout 5 xdotool windowfocus --sync "$window" 2>/dev/null; then
      focused=1
      break
    fi
    sleep 0.1
  done
  [[ -n "$focused" ]] || fail "the window could not be given the keyboard"
  sleep 1
}

quit_dorvik() {
  xdotool key --delay 100 q
  sleep 0.5
  screenshot quit-dialog
  xdotool key --delay 100 y
  wait_for_exit
}

wait_for_exit() {
  for _ in $(seq 1 50); do
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.1
  done
  if kill -0 "$pid" 2>/dev/null; then
    fail "the program did not end"
  fi
  wait "$pid" || fail "the program ended with status $?"
}
