#!/usr/bin/env bash
# Regenerates the README gallery (docs/gallery/*.png): the demonstration chart,
# sampled into an 8-bit BG mosaic, demosaiced by the tavrix tool with each of
# the five algorithms; one crop of each, where colour edges meet the zone plate.
#
#   scripts/gallery.sh [BUILD_DIR]      (default: build)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
crop=${TAVRIX_GALLERY_CROP:-328,168,160,120}   # X,Y,W,H on the 1024 x 768 chart

cmake -S "$root" -B "$build" -DTAVRIX_BUILD_TOOLS=ON >/dev/null
cmake --build "$build" -j2 --target tavrix_cli tavrix_make_chart >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$build/tools/tavrix_make_chart" "$work/chart.pgm" 1024 768 8 BG
mkdir -p "$root/docs/gallery"
for algorithm in fast bilinear laplacian1 laplacian2 directional; do
  "$build/tools/tavrix" demosaic "$work/chart.pgm" "$root/docs/gallery/$algorithm.png" \
    --pattern BG --algorithm "$algorithm" --crop "$crop" --force --quiet
done
ls -l "$root/docs/gallery"
