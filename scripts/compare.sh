#!/usr/bin/env bash
# Builds and runs ox_compare, which times the library against OpenCV
# single-threaded on the same inputs (build/compare). OpenCV (Debian's
# libopencv-dev) is needed by this program only and is installed here when
# it is missing. Arguments go to ox_compare: --help lists them.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh >&2
scripts/apt-install.sh libopencv-dev
scripts/fetch-photos.sh >/dev/null
cmake -S . -B build/compare -DCMAKE_BUILD_TYPE=Release -DOX_BUILD_BENCHMARKS=ON \
  -DOX_BUILD_TESTS=OFF -DOX_BUILD_TOOLS=OFF >/dev/null
cmake --build build/compare -j "$(nproc)" --target ox_compare >&2
exec build/compare/bench/compare/ox_compare "$@"
