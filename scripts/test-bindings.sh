#!/usr/bin/env bash
# The C# and Python binding tests. Installs what they need from Debian when
# it is missing (Mono's compiler and runtime, NumPy, pytest), then configures
# and builds the Release tree and runs the tests labelled "bindings".
#   scripts/test-bindings.sh                 install, build, run
#   scripts/test-bindings.sh --install-only  install only (scripts/test.sh
#                                            runs the tests in its suite)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/apt-install.sh mono-mcs mono-runtime python3-numpy python3-pytest
# Debian's interpreter has the packages above; another python3 may come first on PATH.
for tool in mcs mono; do
  command -v "$tool" >/dev/null || { echo "test-bindings: $tool is missing" >&2; exit 1; }
done
/usr/bin/python3 -c "import numpy, pytest" || { echo "test-bindings: /usr/bin/python3 lacks numpy or pytest" >&2; exit 1; }
[ "${1:-}" = "--install-only" ] && exit 0

scripts/fetch-photos.sh >/dev/null
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DOX_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build/release -j "$(nproc)"
registered=$(ctest --test-dir build/release -N -L bindings | grep -c 'Test *#' || true)
if [ "$registered" -lt 3 ]; then
  echo "test-bindings: only $registered binding tests registered (see the cmake output)" >&2
  exit 1
fi
ctest --test-dir build/release -L bindings --output-on-failure --no-tests=error
