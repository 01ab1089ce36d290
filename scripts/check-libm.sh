#!/usr/bin/env bash
# Runs tests/platform/libm_check.cpp on x86-64 as it is, on x86-64 with
# glibc's maths functions forced onto their paths without fused
# multiply-add (GLIBC_TUNABLES), and on arm64 under qemu-user (after
# scripts/test-arm64.sh has cross-built build/arm64), and compares what
# each found.
#   scripts/check-libm.sh [FAMILY...]   families: exp log gaussian lanczos
#                                       (default: all; exp and log try
#                                       every float and take minutes each)
# Exit status 1 when an "unsafe" argument turns up or when the families the
# library takes from the platform (exp, log, gaussian) differ between the
# runs. The lanczos family is glibc's own sin, which the library no longer
# uses: it is reported, not compared.
set -euo pipefail
cd "$(dirname "$0")/.."
families=("$@")
((${#families[@]})) || families=(exp log gaussian lanczos)
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DOX_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build/release --target ox_libm_check >/dev/null
runs=(x86-64 x86-64-without-fma)
if [ -f build/arm64/CMakeCache.txt ]; then
  cmake --build build/arm64 --target ox_libm_check >/dev/null
  runs+=(arm64)
else
  echo "build/arm64 missing (run scripts/test-arm64.sh first): arm64 skipped" >&2
fi
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
for run in "${runs[@]}"; do
  for f in "${families[@]}"; do
    case $run in
      x86-64) build/release/tests/ox_libm_check "$f" ;;
      x86-64-without-fma) GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-FMA build/release/tests/ox_libm_check "$f" ;;
      arm64) qemu-aarch64 -L / build/arm64/tests/ox_libm_check "$f" ;;
    esac
  done | tee "$out/$run" | sed "s/^/$run: /"
done
status=0
if grep -qE 'unsafe +[1-9]' "$out"/*; then
  echo "an argument rounds differently with some maths library" >&2
  status=1
fi
for run in "${runs[@]:1}"; do
  if ! diff <(grep -v lanczos "$out/x86-64") <(grep -v lanczos "$out/$run") >/dev/null; then
    echo "$run differs from x86-64 in a family the library takes from the platform" >&2
    status=1
  fi
done
exit $status
