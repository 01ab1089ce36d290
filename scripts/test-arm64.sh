#!/usr/bin/env bash
# Cross-builds the library, the tools and the whole test suite for 64-bit
# Arm with Debian's g++-aarch64-linux-gnu and runs every test, golden hashes
# of the photographs included, under qemu-user: the outputs must be the
# same bytes as on x86-64.
#
# GoogleTest, libpng and libjpeg come from Debian's multiarch ":arm64"
# packages: the image libraries can only come that way, and GoogleTest then
# comes the same way too, the very version the host suite uses. The
# programs run with / as the emulator's root, so they load Debian's own
# arm64 C library, maths library and C++ runtime.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build/arm64}

scripts/apt-install.sh g++-aarch64-linux-gnu qemu-user libc6:arm64 libstdc++6:arm64 \
  libgtest-dev:arm64 libpng-dev:arm64 libjpeg-dev:arm64

scripts/fetch-photos.sh >/dev/null
cmake -S . -B "$dir" -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/aarch64-linux-gnu.cmake" -DCMAKE_BUILD_TYPE=Release \
  -DOX_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build "$dir" -j "$(nproc)"
ctest --test-dir "$dir" -j "$(nproc)" --output-on-failure
