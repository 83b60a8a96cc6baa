#!/usr/bin/env bash
# Builds the fuzz targets with clang (ASan + UBSan + libFuzzer) and runs each.
#
#   fuzz/run.sh                 smoke run: a fixed number of inputs per target (CI)
#   fuzz/run.sh --time SECONDS  run each target for that long (default 600), new inputs
#                               go to build-fuzz/corpus/TARGET beside the seeds
#   fuzz/run.sh --seeds         regenerate the committed seed corpora in fuzz/corpus/
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build-fuzz"
targets=(convert_fuzz balance_fuzz decode_fuzz roundtrip_fuzz formats_fuzz)
mode=smoke seconds=600
case "${1:-}" in
  --time) mode=long; seconds=${2:-600} ;;
  --seeds) mode=seeds ;;
  "") ;;
  *) echo "usage: fuzz/run.sh [--time SECONDS | --seeds]" >&2; exit 2 ;;
esac

if ! command -v clang++ >/dev/null; then
  echo "clang++ is not installed: no fuzzing" >&2
  exit 1
fi
CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAVRIX_BUILD_FUZZERS=ON \
  -DTAVRIX_BUILD_TESTS=OFF -DTAVRIX_BUILD_EXAMPLES=OFF -DTAVRIX_BUILD_TOOLS=OFF >/dev/null
cmake --build "$build" -j"$(nproc)"

if [ "$mode" = seeds ]; then
  rm -rf "$root/fuzz/corpus"
  "$build/fuzz/make_seeds" "$root/fuzz/corpus"
  exit 0
fi
for t in "${targets[@]}"; do
  echo "== $t"
  if [ "$mode" = smoke ]; then
    # The seeds, then a fixed number of mutations. libFuzzer adds new inputs to the
    # first corpus folder it is given: a scratch one, so the seeds stay as committed.
    log=$(mktemp)
    scratch=$(mktemp -d)
    if ! "$build/fuzz/$t" -runs=3000 -seed=1 -print_final_stats=1 "$scratch" \
        "$root/fuzz/corpus/$t" >"$log" 2>&1; then
      cat "$log" >&2
      echo "$t failed" >&2
      exit 1
    fi
    grep -E "^stat::number_of_executed_units" "$log" || true
    rm -rf "$log" "$scratch"
  else
    mkdir -p "$build/corpus/$t"
    "$build/fuzz/$t" -max_total_time="$seconds" -print_final_stats=1 \
      "$build/corpus/$t" "$root/fuzz/corpus/$t" 2>&1 | tail -n 12
  fi
done
