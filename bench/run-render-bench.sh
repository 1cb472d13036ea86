#!/bin/sh
# Builds the render benchmark (Release) and runs it twice: with the normal
# software driver, and with GALLIUM_NOOP=1, where Mesa does all its GL work
# but draws nothing. Extra arguments go to the benchmark program.
set -e
cd "$(dirname "$0")/.."
cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release -DQELON_BUILD_TESTS=OFF >/dev/null
cmake --build build-release -j2 --target bench_render >/dev/null
echo "== normal driver"
./build-release/bench/bench_render --benchmark_repetitions=5 --benchmark_report_aggregates_only=true "$@"
echo "== GALLIUM_NOOP=1"
GALLIUM_NOOP=1 ./build-release/bench/bench_render --benchmark_repetitions=5 --benchmark_report_aggregates_only=true "$@"
