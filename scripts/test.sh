#!/usr/bin/env bash
# Builds the library twice from scratch, in folders of its own that it
# deletes first (build/test-release, and build/test-asan with
# AddressSanitizer + UndefinedBehaviorSanitizer), and runs the whole test
# suite in each. build/release and the photographs in build/photos are left
# as they are.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/test-bindings.sh --install-only
scripts/fetch-photos.sh >/dev/null
# Golden tests fail, instead of skipping, when a photograph is missing.
export OX_REQUIRE_PHOTOS=${OX_REQUIRE_PHOTOS:-1}
jobs=$(nproc)
run_suite() {
  local dir=$1; shift
  rm -rf "$dir"
  cmake -S . -B "$dir" -DOX_BUILD_BENCHMARKS=OFF "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir "$dir" -j "$jobs" --output-on-failure
}
echo "== Release build"
run_suite build/test-release -DCMAKE_BUILD_TYPE=Release
echo "== AddressSanitizer + UndefinedBehaviorSanitizer build"
run_suite build/test-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOX_SANITIZE=ON
echo "== Fuzz smoke (libFuzzer, every target for 30 s)"
scripts/fuzz.sh --smoke 30
