#!/usr/bin/env bash
# Tavrix beside OpenCV, zlib, lz4 and zstd, in one run: installs the peers' development
# packages when they are missing (Debian), builds the comparison benchmark in Release
# and runs it. Arguments go to the program (e.g. --frames=1920x1080, --quality=only,
# --benchmark_filter=demosaic). The Markdown report lands in $build/compare-report.md.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${TAVRIX_BENCH_BUILD:-$root/build-bench}
"$root/scripts/deps.sh"

peers=(libopencv-dev libopencv-contrib-dev zlib1g-dev liblz4-dev libzstd-dev)
missing=()
for p in "${peers[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing the peers: ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
fi

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DTAVRIX_BUILD_BENCHMARKS=ON \
  -DTAVRIX_BUILD_TESTS=OFF -DTAVRIX_BUILD_EXAMPLES=OFF -DTAVRIX_BUILD_TOOLS=OFF >/dev/null
cmake --build "$build" -j"$(nproc)" --target tavrix_compare_bench
"$build/bench/tavrix_compare_bench" --report="$build/compare-report.md" "$@"
echo "Report: $build/compare-report.md"
