#!/usr/bin/env bash
# ThreadSanitizer build of the library and the runtime tests, whose
# threads test calls the effects and the heavy filters from four threads
# while a fifth changes the settings and the logger registry. Any report
# fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build/tsan}
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOX_SANITIZE=thread \
  -DOX_BUILD_BENCHMARKS=OFF -DOX_BUILD_TOOLS=OFF >/dev/null
cmake --build "$dir" -j "$(nproc)" --target ox_runtime_tests
TSAN_OPTIONS=halt_on_error=1:exitcode=66 ctest --test-dir "$dir" -R '^runtime$' --output-on-failure
