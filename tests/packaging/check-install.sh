#!/usr/bin/env bash
# Installs the build into a temporary DESTDIR and checks what the desktop
# reads there: the desktop entry, the AppStream data, the icon, the manual
# page and the program, which answers --help and --version without a display.
set -euo pipefail
build=$1
id=$2
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT

DESTDIR=$stage cmake --install "$build" --prefix /usr >/dev/null
root=$stage/usr
fail() { echo "FAIL: $*" >&2; exit 1; }

for file in bin/dorvik share/applications/$id.desktop share/metainfo/$id.metainfo.xml \
            share/icons/hicolor/scalable/apps/$id.svg share/man/man1/dorvik.1.gz; do
    [[ -f $root/$file ]] || fail "$file is not installed"
done
[[ -x $root/bin/dorvik ]] || fail "bin/dorvik is not executable"
[[ ! -e $root/bin/dorvik-tool ]] || fail "the developer tool is installed"

desktop=$root/share/applications/$id.desktop
desktop-file-validate "$desktop" || fail "desktop-file-validate refuses the entry"
grep -qx 'Exec=dorvik %f' "$desktop" || fail "the entry does not start dorvik with a folder"
grep -qx 'MimeType=inode/directory;' "$desktop" || fail "the entry is not offered for folders"
grep -qx "Icon=$id" "$desktop" || fail "the entry names another icon"
appstreamcli validate --no-net "$root/share/metainfo/$id.metainfo.xml" ||
    fail "appstreamcli refuses the metadata"
grep -q '<svg' "$root/share/icons/hicolor/scalable/apps/$id.svg" || fail "the icon is no SVG"
gzip -t "$root/share/man/man1/dorvik.1.gz" || fail "the manual page is not gzip"

# Help and version need no window system.
no_display=(env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM)
version=$("${no_display[@]}" "$root/bin/dorvik" --version) || fail "--version failed"
[[ $version =~ ^Dorvik\ [0-9]+\.[0-9]+ ]] || fail "--version printed: $version"
help=$("${no_display[@]}" "$root/bin/dorvik" --help) || fail "--help failed"
[[ $help == "Usage: "*"dorvik [options] [folder]"* ]] || fail "--help printed: $help"
if QT_QPA_PLATFORM=offscreen "$root/bin/dorvik" --no-such-option 2>/dev/null; then
    fail "an unknown option was accepted"
fi
# A folder that can't be opened is said on standard error, and the program
# goes on in the start folder.
export XDG_CONFIG_HOME=$stage/config XDG_STATE_HOME=$stage/state XDG_DATA_HOME=$stage/data
QT_QPA_PLATFORM=offscreen "$root/bin/dorvik" "$stage/no-such-folder" 2>"$stage/stderr" &
program=$!
for _ in $(seq 200); do
    grep -q 'no-such-folder' "$stage/stderr" && break
    kill -0 "$program" 2>/dev/null || break
    sleep 0.1
done
kill -0 "$program" 2>/dev/null || fail "the program ended: $(cat "$stage/stderr")"
kill "$program"
wait "$program" 2>/dev/null || true
grep -q "^dorvik: cannot open $stage/no-such-folder: No such file or directory; starting in " \
    "$stage/stderr" || fail "standard error said: $(cat "$stage/stderr")"
echo "installed tree, desktop entry and AppStream data are valid"
