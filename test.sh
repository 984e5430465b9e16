#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test through CTest.
set -euo pipefail
cd "$(dirname "$0")"
scripts/bootstrap
export QT_QPA_PLATFORM=offscreen
cmake -S . -B build/test -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/test
cd build/test
ctest --output-on-failure --timeout 300 -j2
