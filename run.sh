#!/usr/bin/env bash
# Installs what is missing, builds Dorvik in Release and opens the window.
set -euo pipefail
cd "$(dirname "$0")"
scripts/bootstrap
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release \
      -DDORVIK_BUILD_TESTS=OFF -DDORVIK_BUILD_BENCH=OFF >/dev/null
cmake --build build/release --target dorvik
exec build/release/src/dorvik "$@"
