#!/usr/bin/env python3
"""Demosaics and compresses a folder of raw frames with Dask, one task per frame.

Each task reads its frame from disk, demosaics it with tavrix, compresses the
colour image losslessly and writes it beside the others; only file names and
sizes travel through the scheduler. Without --scheduler the frames run on a
local cluster of --workers processes on this machine; with
--scheduler tcp://host:8786 they run on that dask.distributed cluster, whose
workers must have tavrix installed and see the same folders (a shared disk).

    python3 dask_frames.py raw/ developed/ --width 4096 --height 3072 --bits 12 \\
        --pattern RGGB --algorithm laplacian1 --workers 2

A frame is a headerless file (*.raw) of little-endian 16-bit samples (bits > 8)
or bytes (bits = 8). An output is NAME.<codec> holding the compressed
(height, width, 3) image; decompress it with
tavrix.decompress(stream, codec=..., size=height * width * 3 * bytes per channel).
"""

import argparse
import os
import sys
import time
from pathlib import Path

import numpy as np


def develop(path, out_dir, width, height, bits, pattern, algorithm, codec):
    """One frame: read, demosaic, compress, write. Returns (name, raw bytes, stream bytes)."""
    import tavrix  # imported in the worker

    raw = np.fromfile(path, dtype=np.uint8 if bits == 8 else "<u2")
    if raw.size != width * height:
        raise ValueError(f"{path}: holds {raw.size} samples, not {width} x {height}")
    samples = raw.astype(np.uint8 if bits == 8 else np.uint16, copy=False)
    image = tavrix.demosaic(samples.reshape(height, width), pattern=pattern,
                            algorithm=algorithm, bits=bits)
    stream = tavrix.compress(image, codec=codec)
    target = Path(out_dir) / (Path(path).stem + "." + codec)
    tmp = target.with_suffix(target.suffix + ".part")
    tmp.write_bytes(stream)
    os.replace(tmp, target)
    return Path(path).name, raw.nbytes, len(stream)


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("input_dir")
    parser.add_argument("output_dir")
    parser.add_argument("--width", type=int, required=True)
    parser.add_argument("--height", type=int, required=True)
    parser.add_argument("--bits", type=int, default=12)
    parser.add_argument("--pattern", default="RGGB")
    parser.add_argument("--algorithm", default="laplacian1")
    parser.add_argument("--codec", default="huffman", choices=["huffman", "lz77", "rle"])
    parser.add_argument("--scheduler", help="address of a dask.distributed scheduler")
    parser.add_argument("--workers", type=int, default=2, help="local worker processes")
    args = parser.parse_args(argv)

    from dask.distributed import Client, LocalCluster

    frames = sorted(str(p) for p in Path(args.input_dir).glob("*.raw"))
    if not frames:
        print(f"{args.input_dir}: no *.raw frames", file=sys.stderr)
        return 2
    Path(args.output_dir).mkdir(parents=True, exist_ok=True)

    if args.scheduler:
        cluster, client = None, Client(args.scheduler)
    else:
        # One thread per worker process: the library's own threads stay at one
        # per call, so the workers use the cores without oversubscribing them.
        cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1, processes=True,
                               dashboard_address=None)
        client = Client(cluster)
    try:
        client.wait_for_workers(1 if args.scheduler else args.workers)
        start = time.perf_counter()
        futures = [client.submit(develop, f, os.path.abspath(args.output_dir), args.width,
                                 args.height, args.bits, args.pattern, args.algorithm,
                                 args.codec, pure=False) for f in frames]
        results = client.gather(futures)
        seconds = time.perf_counter() - start
    finally:
        client.close()
        if cluster is not None:
            cluster.close()
    raw_bytes = sum(r[1] for r in results)
    stream_bytes = sum(r[2] for r in results)
    print(f"{len(results)} frames, {raw_bytes / 1e6:.1f} MB raw -> {stream_bytes / 1e6:.1f} MB "
          f"compressed colour in {seconds:.2f} s ({len(results) / seconds:.2f} frames/s)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
