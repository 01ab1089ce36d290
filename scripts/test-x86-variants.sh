#!/usr/bin/env bash
# The suite on x86-64 with and without fused multiply-add, beside the plain
# Release build of scripts/test.sh (baseline x86-64, no FMA instructions):
# 1. a build for x86-64-v3 (FMA and AVX2 instructions available to the
#    compiler, still -ffp-contract=off, so only explicit std::fma fuses);
# 2. the Release build of scripts/test.sh run again with glibc's maths functions forced onto
#    their code paths without FMA (GLIBC_TUNABLES), to catch a result that
#    follows the last bit of the maths library's own fused variants.
# The golden hashes must hold in both.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)
if [ "$(uname -m)" != x86_64 ]; then
  echo "not an x86-64 machine: nothing to do"
  exit 0
fi
scripts/fetch-photos.sh >/dev/null
echo "== x86-64-v3 build (FMA instructions)"
cmake -S . -B build/x86-v3 -DCMAKE_BUILD_TYPE=Release -DOX_BUILD_BENCHMARKS=OFF \
  -DCMAKE_C_FLAGS=-march=x86-64-v3 -DCMAKE_CXX_FLAGS=-march=x86-64-v3 >/dev/null
cmake --build build/x86-v3 -j "$jobs"
ctest --test-dir build/x86-v3 -j "$jobs" --output-on-failure

echo "== Release build, maths library without its FMA paths"
# The Release build scripts/test.sh made, when there is one.
release=build/test-release
if [ ! -f "$release/CMakeCache.txt" ]; then
  cmake -S . -B "$release" -DCMAKE_BUILD_TYPE=Release -DOX_BUILD_BENCHMARKS=OFF >/dev/null
fi
cmake --build "$release" -j "$jobs"
GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-FMA ctest --test-dir "$release" -j "$jobs" --output-on-failure
