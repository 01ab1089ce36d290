#!/usr/bin/env bash
# Installs the Debian packages the build, tests, benchmarks and tools need,
# and only those that are missing. Needs root (or sudo) when something is.
set -euo pipefail
packages=(cmake make g++ gcc pkg-config libgtest-dev libbenchmark-dev libpng-dev libjpeg-dev)
# clang and its sanitizer and libFuzzer runtimes: the fuzz targets only.
packages+=(clang libclang-rt-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "installing: ${missing[*]}"
  sudo=""; [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
fi
