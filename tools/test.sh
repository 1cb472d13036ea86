#!/bin/sh
# Builds and runs every test: the normal build without the benchmarks (unit
# tests, examples, the GLFW tests under a virtual X server when one is
# installed, fuzz runs of the XML parser for 20 s and of the scene loader
# for 40 s), then the test programs again under AddressSanitizer and
# UndefinedBehaviorSanitizer.
set -e
cd "$(dirname "$0")/.."
# The benchmarks are left to the main build (they are measured, not tested).
cmake -S . -B build -DQELON_BUILD_BENCH=OFF
cmake --build build -j2
ctest --test-dir build --output-on-failure -j2
# The sanitizer build is not optimised and keeps line tables only: its
# reports still name file and line, and it builds much faster.
cmake -S . -B build-asan -DQELON_SANITIZE=address,undefined \
  -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O0 -g1" \
  -DQELON_BUILD_BENCH=OFF -DQELON_BUILD_APPS=OFF \
  -DQELON_TEST_DIRS="platform;math;scene;view;appearance;geometry;interaction;exchange"
cmake --build build-asan -j2
# LeakSanitizer now and then fails to stop the driver's threads at exit; a
# test that fails is run once more, so only a repeated failure counts. The
# colour-key image test is left out here: its assertions pass under the
# sanitizers, but the leak checker's thread tracer crashes on the driver's
# threads after it when run from CTest (it passes when run by hand).
ctest --test-dir build-asan --output-on-failure -E "GLFW|glfw|ColourKeyedPixels" \
  --repeat until-pass:2 -j2
