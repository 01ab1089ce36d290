#!/usr/bin/env bash
# libFuzzer targets of tests/fuzz, built with clang into build/fuzz.
#
#   scripts/fuzz.sh TARGET SECONDS   run one target that long (its corpus
#                                    grows in build/fuzz/corpus/TARGET)
#   scripts/fuzz.sh --smoke [SECONDS] every target for SECONDS (default 30),
#                                    two at a time; non-zero on any finding
#   scripts/fuzz.sh --list           the target names
#   scripts/fuzz.sh --seeds          rewrite the committed seed corpus (the
#                                    inputs of past findings, finding-*, stay)
#
# A finding leaves its input in build/fuzz/findings/ and the run's log in
# build/fuzz/logs/. Replay one with: build/fuzz/tests/fuzz/fuzz_TARGET FILE
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
build=$root/build/fuzz
seeds=$root/tests/fuzz/corpus
targets=(image_dump volume_dump picture_reader effects resize lens convert blur convolution bilateral bilateral3d)

usage() {
  sed -n '3,13p' "$0" | sed 's/^# \{0,1\}//' >&2
  exit 2
}

build_targets() {
  scripts/install-deps.sh
  if [ ! -f "$build/CMakeCache.txt" ]; then
    CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOX_FUZZ=ON \
      -DOX_BUILD_TESTS=OFF -DOX_BUILD_BENCHMARKS=OFF -DOX_BUILD_TOOLS=OFF >/dev/null
  fi
  cmake --build "$build" -j "$(nproc)" >/dev/null
}

# run_one TARGET SECONDS: fuzzes into a work corpus that starts from the
# committed seeds; prints one summary line; the status is libFuzzer's.
run_one() {
  local name=$1 seconds=$2
  local work=$build/corpus/$name log=$build/logs/$name.log
  mkdir -p "$work" "$build/findings" "$build/logs"
  local status=0
  # Exceptions are handled by the library itself; leaks are findings too.
  ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 UBSAN_OPTIONS=print_stacktrace=1 \
    "$build/tests/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=25 -rss_limit_mb=3072 \
      -print_final_stats=1 -artifact_prefix="$build/findings/$name-" "$work" "$seeds/$name" >"$log" 2>&1 || status=$?
  local runs
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  if [ "$status" -eq 0 ]; then
    echo "fuzz $name: ${runs:-?} executions in ${seconds} s, no finding"
  else
    echo "fuzz $name: FINDING after ${runs:-?} executions (exit $status); log $log"
    grep -E '^(==[0-9]+==ERROR|SUMMARY|.*runtime error|.*property failed|artifact_prefix|Test unit written)' "$log" | head -8 | sed 's/^/  /'
  fi
  return "$status"
}

case "${1:-}" in
  --list) printf '%s\n' "${targets[@]}" ;;
  --seeds)
    build_targets
    # The inputs of past findings (finding-*) stay.
    [ -d "$seeds" ] && find "$seeds" -type f ! -name 'finding-*' -delete
    "$build/tests/fuzz/fuzz_make_seeds" "$seeds"
    ;;
  --smoke)
    seconds=${2:-30}
    build_targets
    export -f run_one
    export build seeds
    # Two targets at a time: the machine has two cores.
    if printf '%s\n' "${targets[@]}" | xargs -P 2 -I{} bash -c 'run_one "$1" "$2"' _ {} "$seconds"; then
      echo "fuzz smoke: ${#targets[@]} targets, no finding"
    else
      echo "fuzz smoke: a target found something (inputs in $build/findings)"
      exit 1
    fi
    ;;
  ""|-h|--help) usage ;;
  *)
    [ $# -eq 2 ] || usage
    [[ " ${targets[*]} " == *" $1 "* ]] || { echo "unknown target $1 (see --list)" >&2; exit 2; }
    build_targets
    run_one "$1" "$2"
    ;;
esac
