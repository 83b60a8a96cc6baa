#!/usr/bin/env python3
"""What the Python module adds to a demosaic call, and Dask's scaling over workers.

    bench/python/binding_overhead.py BUILD_DIR [--frames 16] [--skip-dask]

BUILD_DIR is a CMake build with -DTAVRIX_BUILD_PYTHON=ON -DTAVRIX_BUILD_TESTS=ON.
First it times tavrix.demosaic (into a preallocated array) against the same call
from C++ (tests/python/interface_dump with TAVRIX_REPEAT), interleaved, medians,
on a 4096 x 3072 12-bit mosaic. Then it runs examples/python/dask_frames.py over
--frames frames of that size with one worker and with two, interleaved.
"""

import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import numpy as np

ROOT = Path(__file__).resolve().parents[2]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("--frames", type=int, default=16)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--skip-dask", action="store_true")
    args = parser.parse_args()
    build = Path(args.build).resolve()
    sys.path.insert(0, str(build / "python"))
    import tavrix

    width, height, bits = 4096, 3072, 12
    rng = np.random.default_rng(0)
    raw = rng.integers(0, 1 << bits, size=(height, width), dtype=np.uint16)
    dump = build / "tests" / "python" / "tavrix_interface_dump"
    with tempfile.TemporaryDirectory() as tmp:
        src = Path(tmp) / "frame.raw"
        raw.tofile(src)
        print("| algorithm | output | C++ ms | Python ms | Python / C++ |")
        print("|---|---|---|---|---|")
        for algorithm, code in (("fast", 0), ("laplacian1", 2), ("laplacian2", 3)):
            for output, fmt in (("bgr24", 24), ("bgr48", 48)):
                out = np.zeros((height, width, 3), np.uint16 if fmt == 48 else np.uint8)
                cpp, py = [], []
                for _ in range(args.rounds):
                    env = dict(os.environ, TAVRIX_REPEAT="5")
                    line = subprocess.run([str(dump), str(src), os.devnull, str(width), str(height),
                                           "2", str(bits), "8", str(code), str(fmt), "1"],
                                          env=env, capture_output=True, text=True, check=True)
                    cpp.append(float(line.stdout.split()[0]))
                    times = []
                    for _ in range(5):
                        start = time.perf_counter()
                        tavrix.demosaic(raw, pattern="RG", algorithm=algorithm, bits=bits,
                                        output=output, out=out)
                        times.append(time.perf_counter() - start)
                    py.append(statistics.median(times))
                c, p = statistics.median(cpp), statistics.median(py)
                print(f"| {algorithm} | {output} | {c * 1e3:.1f} | {p * 1e3:.1f} | {p / c:.3f} |")

        if args.skip_dask:
            return
        raw_dir = Path(tmp) / "raw"
        raw_dir.mkdir()
        for i in range(args.frames):
            rng.integers(0, 1 << bits, size=(height, width), dtype=np.uint16).tofile(
                raw_dir / f"f{i:02}.raw")
        script = ROOT / "examples" / "python" / "dask_frames.py"
        env = dict(os.environ, PYTHONPATH=str(build / "python"))
        rates = {1: [], 2: []}
        for _ in range(3):
            for workers in (1, 2):
                done = subprocess.run([sys.executable, str(script), str(raw_dir),
                                       str(Path(tmp) / f"out{workers}"), "--width", str(width),
                                       "--height", str(height), "--bits", str(bits),
                                       "--workers", str(workers)],
                                      env=env, capture_output=True, text=True, check=True)
                rate = float(done.stdout.split("(")[-1].split()[0])
                rates[workers].append(rate)
        one, two = statistics.median(rates[1]), statistics.median(rates[2])
        print(f"\nDask, {args.frames} frames of {width}x{height}: one worker {one:.2f} frames/s, "
              f"two {two:.2f} frames/s (best {max(rates[2]):.2f}): {two / one:.2f}x "
              f"(best {max(rates[2]) / max(rates[1]):.2f}x)")


if __name__ == "__main__":
    main()
