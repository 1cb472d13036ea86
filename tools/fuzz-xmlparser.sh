#!/bin/sh
# Fuzzes the XML parser, or the scene loader, for a while under
# AddressSanitizer and UndefinedBehaviorSanitizer with clang's libFuzzer.
#
#   sh tools/fuzz-xmlparser.sh [SECONDS [WORKDIR [TARGET]]]
#
# TARGET is xmlparser (the default: tests/exchange/fuzz/fuzz_xmlparser.cpp,
# seeds in tests/exchange/fuzz_corpus) or exchange (the loader:
# fuzz_exchange.cpp, seeds in tests/exchange/fuzz_corpus_exchange).
# Compiles the sources the target needs and the target itself into WORKDIR
# (default: a folder under $TMPDIR or /tmp), then runs it for SECONDS
# (default 60) from the seed corpus. New inputs go to WORKDIR/corpus, a
# failing input to WORKDIR/crash-*. Exits 0 when nothing was found, 1 on a
# finding, and 77 (skipped) when clang or its libFuzzer runtime is missing
# (packages clang, libclang-rt-14-dev).
set -eu

seconds=${1:-60}
target=${3:-xmlparser}
root=$(cd "$(dirname "$0")/.." && pwd)
work=${2:-${TMPDIR:-/tmp}/qelon-fuzz-$target}
mkdir -p "$work"

case $target in
  xmlparser)
    sources="$root/qelon/exchange/xmlparser.cpp $root/qelon/exchange/qelpersistent.cpp
      $root/qelon/platform/qelcomponent.cpp"
    libs=""
    corpus=$root/tests/exchange/fuzz_corpus
    dict=$root/tests/exchange/fuzz/xml.dict
    maxlen=4096 ;;
  exchange)
    # The library without the view and the window systems, which loading
    # never reaches.
    sources=$(ls "$root"/qelon/*/*.cpp |
      grep -v -E '/view/qelview|/platform/(qelws|qelwindowsystem|qelegl|qelinput|qelpixelformat)')
    libs=$(pkg-config --libs gl glu stb 2>/dev/null || echo -lGL -lGLU -lstb)
    corpus=$root/tests/exchange/fuzz_corpus_exchange
    dict=$root/tests/exchange/fuzz/exchange.dict
    maxlen=16384 ;;
  *)
    echo "unknown target '$target' (xmlparser or exchange)" >&2
    exit 2 ;;
esac

cxx=""
for candidate in ${FUZZ_CXX:-} clang++ clang++-14; do
  if command -v "$candidate" >/dev/null 2>&1; then cxx=$candidate; break; fi
done
if [ -z "$cxx" ]; then
  echo "SKIPPED: clang++ not found; install the packages clang and libclang-rt-14-dev"
  exit 77
fi

flags="-std=c++20 -O1 -gline-tables-only -fno-omit-frame-pointer \
-fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all"
version=$(sed -n 's/^project(qelon VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
defines="-DGL_GLEXT_PROTOTYPES -DQELON_VERSION=\"$version\" \
$(pkg-config --cflags stb 2>/dev/null || echo -I/usr/include/stb)"

# A compiler without the libFuzzer runtime fails on the smallest target.
printf 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }\n' \
  > "$work/probe.cpp"
if ! $cxx $flags "$work/probe.cpp" -o "$work/probe" >"$work/probe.log" 2>&1; then
  echo "SKIPPED: $cxx cannot build a libFuzzer target (install libclang-rt-14-dev):"
  cat "$work/probe.log"
  exit 77
fi

# One object per source, on every core.
start=$(date +%s)
rm -rf "$work/obj"
mkdir -p "$work/obj"
export cxx flags defines root work
if ! printf '%s\n' $sources "$root/tests/exchange/fuzz/fuzz_$target.cpp" |
  xargs -P "$(nproc 2>/dev/null || echo 2)" -n 1 sh -c \
    'exec $cxx $flags $defines -I"$root" -c "$1" -o "$work/obj/$(basename "$1" .cpp).o"' sh
then
  echo "FAILED: the fuzz target $target does not compile"
  exit 1
fi
$cxx $flags "$work"/obj/*.o $libs -o "$work/fuzz_$target"
built=$(date +%s)
echo "built $work/fuzz_$target with $cxx in $((built - start)) s"

# A fresh corpus each run, so that the run starts from the committed seeds.
rm -rf "$work/corpus" "$work"/crash-* "$work"/leak-* "$work"/timeout-* "$work"/oom-*
mkdir -p "$work/corpus"
status=0
"$work/fuzz_$target" -max_total_time="$seconds" -max_len=$maxlen -timeout=10 \
  -rss_limit_mb=2048 -print_final_stats=1 -dict="$dict" \
  -artifact_prefix="$work/" "$work/corpus" "$corpus" \
  </dev/null >"$work/fuzz.log" 2>&1 || status=$?

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
