#!/usr/bin/env bash
# Installs the Debian packages the build, tests, benchmarks and tools need,
# and only those that are missing. Needs root (or sudo) when something is.
set -euo pipefail
packages=(cmake make g++ gcc pkg-config libgtest-dev libbenchmark-dev libpng-dev libjpeg-dev)
# clang and its sanitizer and libFuzzer runtimes: the fuzz targets only.
packages+=(clang libclang-rt-dev)
"$(dirname "$0")/apt-install.sh" "${packages[@]}"
