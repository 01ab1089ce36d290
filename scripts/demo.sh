#!/usr/bin/env bash
# Sets up a fresh machine, builds the library and oxfx (nothing else: no
# tests, no benchmarks), and runs the demo: the three effects of a sample
# photograph (build/photos, fetched below; a generated scene when none could
# be had) into demo-out/ or the folder given as the first argument.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
photos=$(scripts/fetch-photos.sh)
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/release -j "$(nproc)" --target oxfx
sample=()
[ -s "$photos/coffee.png" ] && sample=(--photo "$photos/coffee.png")
build/release/tools/oxfx demo "${1:-demo-out}" "${sample[@]}"
