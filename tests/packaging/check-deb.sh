#!/usr/bin/env bash
# Builds the Debian package with CPack and checks it with lintian: no errors,
# dependencies found by dpkg-shlibdeps, the tools as recommendations.
set -euo pipefail
build=$1
if ! command -v lintian >/dev/null; then
    echo "SKIPPED: lintian cannot be found (scripts/bootstrap installs it)"
    exit 77
fi
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

cpack -G DEB -B "$out" --config "$build/CPackConfig.cmake" >"$out/cpack.log" 2>&1 ||
    { cat "$out/cpack.log" >&2; fail "cpack failed"; }
deb=$(find "$out" -maxdepth 1 -name 'dorvik_*.deb' -print -quit)
[[ -n $deb ]] || fail "no package was made"

depends=$(dpkg-deb -f "$deb" Depends)
[[ $depends == *libqt6widgets6* && $depends == *libc6* ]] ||
    fail "dependencies not read from the binary: $depends"
recommends=$(dpkg-deb -f "$deb" Recommends)
[[ $recommends == *unar* && $recommends == *pandoc* ]] || fail "recommends: $recommends"
[[ -n $(dpkg-deb -f "$deb" Maintainer) && $(dpkg-deb -f "$deb" Section) == utils ]] ||
    fail "maintainer or section missing"
contents=$(dpkg-deb -c "$deb")
for path in usr/bin/dorvik usr/share/applications/ usr/share/doc/dorvik/copyright \
            usr/share/doc/dorvik/changelog.gz; do
    [[ $contents == *" ./$path"* ]] || fail "the package does not hold $path"
done

# lintian refuses to run as root unless told it may.
lintian --allow-root --fail-on error --tag-display-limit 0 "$deb"
echo "$(basename "$deb"): lintian reports no errors"
