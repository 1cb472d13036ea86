#!/bin/sh
# Fuzzes the XML parser for a while under AddressSanitizer and
# UndefinedBehaviorSanitizer with clang's libFuzzer.
#
#   sh tools/fuzz-xmlparser.sh [SECONDS [WORKDIR]]
#
# Compiles just the parser, the component base and the fuzz target into
# WORKDIR (default: a folder under $TMPDIR or /tmp), then runs the target for
# SECONDS (default 60) from the seed corpus in tests/exchange/fuzz_corpus.
# New inputs go to WORKDIR/corpus, a failing input to WORKDIR/crash-*.
# Exits 0 when nothing was found, 1 on a finding, and 77 (skipped) when clang
# or its libFuzzer runtime is missing (packages clang, libclang-rt-14-dev).
set -eu

seconds=${1:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
work=${2:-${TMPDIR:-/tmp}/qelon-fuzz-xmlparser}
mkdir -p "$work"

cxx=""
for candidate in ${FUZZ_CXX:-} clang++ clang++-14; do
  if command -v "$candidate" >/dev/null 2>&1; then cxx=$candidate; break; fi
done
if [ -z "$cxx" ]; then
  echo "SKIPPED: clang++ not found; install the packages clang and libclang-rt-14-dev"
  exit 77
fi

flags="-std=c++20 -O1 -g -fno-omit-frame-pointer -fsanitize=fuzzer,address,undefined \
-fno-sanitize-recover=all"

# A compiler without the libFuzzer runtime fails on the smallest target.
printf 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }\n' \
  > "$work/probe.cpp"
if ! $cxx $flags "$work/probe.cpp" -o "$work/probe" >"$work/probe.log" 2>&1; then
  echo "SKIPPED: $cxx cannot build a libFuzzer target (install libclang-rt-14-dev):"
  cat "$work/probe.log"
  exit 77
fi

start=$(date +%s)
$cxx $flags -I"$root" \
  "$root/tests/exchange/fuzz/fuzz_xmlparser.cpp" \
  "$root/qelon/exchange/xmlparser.cpp" \
  "$root/qelon/platform/qelcomponent.cpp" \
  -o "$work/fuzz_xmlparser"
built=$(date +%s)
echo "built $work/fuzz_xmlparser with $cxx in $((built - start)) s"

# A fresh corpus each run, so that the run starts from the committed seeds.
rm -rf "$work/corpus" "$work"/crash-* "$work"/leak-* "$work"/timeout-* "$work"/oom-*
mkdir -p "$work/corpus"
status=0
"$work/fuzz_xmlparser" -max_total_time="$seconds" -max_len=4096 -timeout=10 \
  -rss_limit_mb=2048 -print_final_stats=1 -dict="$root/tests/exchange/fuzz/xml.dict" \
  -artifact_prefix="$work/" "$work/corpus" "$root/tests/exchange/fuzz_corpus" \
  >"$work/fuzz.log" 2>&1 || status=$?

if [ "$status" -ne 0 ]; then
  echo "FAILED: the fuzzer found a problem (exit $status); the end of $work/fuzz.log:"
  tail -n 80 "$work/fuzz.log"
  ls "$work" | grep -E '^(crash|leak|timeout|oom)-' | sed "s|^|input: $work/|" || true
  exit 1
fi
runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/fuzz.log")
grep -E '^Done [0-9]+ runs' "$work/fuzz.log" || true
echo "PASSED: $runs executions in $seconds s without a sanitizer report" \
  "($(ls "$work/corpus" | wc -l) new corpus inputs)"
