#!/usr/bin/env bash
# Cross-builds the library and its tests for 64-bit ARM Linux and runs the whole
# suite under user-mode emulation (qemu-aarch64), where the dispatch takes the NEON
# paths. Emulation checks results, not speed. The fuzz and sanitizer runs stay on
# the build machine.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${TAVRIX_AARCH64_BUILD:-$root/build-aarch64}
jobs=$(nproc)
if ! command -v aarch64-linux-gnu-g++ >/dev/null || ! command -v qemu-aarch64 >/dev/null; then
  echo "aarch64-linux-gnu-g++ or qemu-aarch64 is missing (scripts/deps.sh installs them)" >&2
  exit 1
fi
cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchains/aarch64-linux-gnu.cmake" \
  -DCMAKE_BUILD_TYPE=Release -DTAVRIX_BUILD_TESTS=ON -DTAVRIX_BUILD_EXAMPLES=OFF \
  -DTAVRIX_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build "$build" -j"$jobs"
ctest --test-dir "$build" -j"$jobs" --output-on-failure
qemu-aarch64 -L /usr/aarch64-linux-gnu "$build/tests/cpu/tavrix_dispatch_test" \
  --gtest_filter=Dispatch.PrintsThePathsOfThisCpu | grep 'vector paths'
