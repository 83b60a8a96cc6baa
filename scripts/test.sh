#!/usr/bin/env bash
# Builds everything and runs every test: a Release build (with the Python module and
# its pytest suite), the Python package installed with pip into a new virtual
# environment, the same suite cross-built for aarch64 and run under emulation, a
# smoke run of the fuzz targets (when clang is there), the threaded tests under
# ThreadSanitizer, then the whole suite built with AddressSanitizer and
# UndefinedBehaviorSanitizer (any report fails).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
jobs=$(nproc)
"$root/scripts/deps.sh"

echo "== Release build and tests"
# Debian's Python, which has numpy and pybind11 (a python3 earlier on PATH may lack them).
python=/usr/bin/python3
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release -DTAVRIX_BUILD_TESTS=ON \
  -DTAVRIX_BUILD_EXAMPLES=ON -DTAVRIX_BUILD_BENCHMARKS=ON -DTAVRIX_BUILD_PYTHON=ON \
  -DPython_EXECUTABLE="$python" >/dev/null
cmake --build "$root/build" -j"$jobs"
ctest --test-dir "$root/build" -j"$jobs" --output-on-failure
"$root/build/tests/cpu/tavrix_dispatch_test" --gtest_filter=Dispatch.PrintsThePathsOfThisCpu |
  grep 'vector paths'

echo "== Python package: pip install --no-build-isolation into a new virtual environment"
venv=$(mktemp -d)
"$python" -m venv --system-site-packages "$venv"
(cd "$root" && "$venv/bin/pip" install -q --no-build-isolation .)
(cd "$venv" && "$venv/bin/python" -c 'import numpy, tavrix
print("installed:", tavrix.__file__, tavrix.demosaic(numpy.zeros((8, 8), numpy.uint8)).shape)')
rm -rf "$venv"

echo "== aarch64 cross build, tests under emulation (no fuzz or sanitizer runs there)"
"$root/scripts/test-aarch64.sh"

echo "== Fuzz targets: smoke run (clang, libFuzzer)"
if command -v clang++ >/dev/null; then
  "$root/fuzz/run.sh"
else
  echo "clang++ is not installed: fuzz smoke run skipped"
fi

echo "== ThreadSanitizer build and the tests that run threads"
cmake -S "$root" -B "$root/build-tsan" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAVRIX_SANITIZE_THREAD=ON \
  -DTAVRIX_BUILD_TESTS=ON -DTAVRIX_BUILD_EXAMPLES=OFF -DTAVRIX_BUILD_TOOLS=OFF >/dev/null
cmake --build "$root/build-tsan" -j"$jobs" --target tavrix_api_test
TSAN_OPTIONS=halt_on_error=1 "$root/build-tsan/tests/api/tavrix_api_test" \
  --gtest_filter='*Threads*:*Batch*' --gtest_brief=1

echo "== Sanitizer build (ASan + UBSan) and tests"
cmake -S "$root" -B "$root/build-sanitize" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAVRIX_SANITIZE=ON \
  -DTAVRIX_BUILD_TESTS=ON -DTAVRIX_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$root/build-sanitize" -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir "$root/build-sanitize" -j"$jobs" --output-on-failure

