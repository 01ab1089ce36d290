#!/usr/bin/env bash
# Builds the library twice from scratch (Release, and AddressSanitizer +
# UndefinedBehaviorSanitizer) and runs the whole test suite in each.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/test-bindings.sh --install-only
scripts/fetch-photos.sh >/dev/null
jobs=$(nproc)
run_suite() {
  local dir=$1; shift
  cmake -S . -B "$dir" -DOX_BUILD_BENCHMARKS=OFF "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir "$dir" -j "$jobs" --output-on-failure
}
echo "== Release build"
run_suite build/release -DCMAKE_BUILD_TYPE=Release
echo "== AddressSanitizer + UndefinedBehaviorSanitizer build"
run_suite build/asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOX_SANITIZE=ON
