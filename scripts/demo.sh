#!/usr/bin/env bash
# Sets up a fresh machine, builds the library and its tools, and runs the
# demo.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/fetch-photos.sh >/dev/null
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/release -j "$(nproc)"
if [ -x build/release/tools/oxfx ]; then
  build/release/tools/oxfx demo "${1:-demo-out}"
else
  cmake --install build/release --prefix build/prefix >/dev/null
  cmake -S tests/consumer -B build/example -DCMAKE_PREFIX_PATH="$PWD/build/prefix" >/dev/null
  cmake --build build/example >/dev/null
  build/example/consumer
fi
