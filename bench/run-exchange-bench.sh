#!/bin/sh
# Builds the exchange benchmark (Release) and runs it with repetitions; the
# program prints the medians, the ratios and the verdicts at the end. Extra
# arguments go to the benchmark program (e.g. --benchmark_filter=/10000).
set -e
cd "$(dirname "$0")/.."
build=${BUILD_DIR:-build-release}
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DQELON_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j2 --target bench_exchange >/dev/null
"$build"/bench/bench_exchange --benchmark_repetitions=5 \
  --benchmark_report_aggregates_only=true "$@"
