#!/usr/bin/env bash
# Installs the built library into a temporary prefix, then builds and runs a
# consumer project against it twice: through find_package and through pkg-config.
set -euo pipefail
build_dir=$1 source_dir=$2 cxx=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null

cmake -S "$source_dir/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
cmake --build "$work/consumer" >/dev/null
LD_LIBRARY_PATH="$work/prefix/lib:$work/prefix/lib64:${LD_LIBRARY_PATH:-}" "$work/consumer/consumer"

if command -v pkg-config >/dev/null; then
  pcdir=$(dirname "$(find "$work/prefix" -name tavrix.pc | head -n 1)")
  flags=$(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs tavrix)
  "$cxx" -std=c++11 "$source_dir/consumer/main.cpp" $flags -o "$work/pc-consumer"
  LD_LIBRARY_PATH="$work/prefix/lib:$work/prefix/lib64:${LD_LIBRARY_PATH:-}" "$work/pc-consumer"
else
  echo "pkg-config is not installed: the pkg-config half was not checked" >&2
  exit 1
fi
