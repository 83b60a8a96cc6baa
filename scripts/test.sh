#!/usr/bin/env bash
# Builds everything and runs every test: a Release build, the same suite cross-built
# for aarch64 and run under emulation, a smoke run of the fuzz targets (when clang
# is there), then the whole suite built with AddressSanitizer and
# UndefinedBehaviorSanitizer (any report fails).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
jobs=$(nproc)
"$root/scripts/deps.sh"

echo "== Release build and tests"
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release -DTAVRIX_BUILD_TESTS=ON \
  -DTAVRIX_BUILD_EXAMPLES=ON -DTAVRIX_BUILD_BENCHMARKS=ON >/dev/null
cmake --build "$root/build" -j"$jobs"
ctest --test-dir "$root/build" -j"$jobs" --output-on-failure
"$root/build/tests/cpu/tavrix_dispatch_test" --gtest_filter=Dispatch.PrintsThePathsOfThisCpu |
  grep 'vector paths'

echo "== aarch64 cross build, tests under emulation (no fuzz or sanitizer runs there)"
"$root/scripts/test-aarch64.sh"

echo "== Fuzz targets: smoke run (clang, libFuzzer)"
if command -v clang++ >/dev/null; then
  "$root/fuzz/run.sh"
else
  echo "clang++ is not installed: fuzz smoke run skipped"
fi

echo "== Sanitizer build (ASan + UBSan) and tests"
cmake -S "$root" -B "$root/build-sanitize" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAVRIX_SANITIZE=ON \
  -DTAVRIX_BUILD_TESTS=ON -DTAVRIX_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$root/build-sanitize" -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir "$root/build-sanitize" -j"$jobs" --output-on-failure

