#!/usr/bin/env bash
# Builds the library and the demonstration program (Release) and runs it.
# Pictures go to ./demo-output (or the folder given as the first argument).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/deps.sh"
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release -DTAVRIX_BUILD_EXAMPLES=ON >/dev/null
cmake --build "$root/build" -j"$(nproc)" --target tavrix_demo
"$root/build/examples/tavrix_demo" "${1:-demo-output}"
