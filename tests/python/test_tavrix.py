"""The Python module against the C++ interface and the command-line tool, and its errors."""

import os
import subprocess
import sys

import numpy as np
import pytest

import tavrix

ORIGINS = {"GB": 1, "GR": 2, "BG": 4, "RG": 8}
ALGORITHMS = {"fast": 0, "bilinear": 1, "laplacian1": 2, "laplacian2": 3, "directional": 16}
FORMATS = {"bgr24": 24, "bgrx32": 32, "bgr48": 48}


def mosaic(height, width, bits, seed):
    rng = np.random.default_rng(seed)
    dtype = np.uint8 if bits == 8 else np.uint16
    return rng.integers(0, 1 << bits, size=(height, width), dtype=dtype)


def interface_output(tmp_path, raw, bits, origin, algorithm, output, threads):
    """What the C++ interface makes of `raw`, as raw bytes."""
    src, dst = tmp_path / "in.raw", tmp_path / "out.raw"
    raw.tofile(src)
    subprocess.run([os.environ["TAVRIX_INTERFACE_DUMP"], str(src), str(dst), str(raw.shape[1]),
                    str(raw.shape[0]), str(raw.itemsize), str(bits), str(ORIGINS[origin]),
                    str(ALGORITHMS[algorithm]), str(FORMATS[output]), str(threads)], check=True)
    return dst.read_bytes()


@pytest.mark.skipif("TAVRIX_INTERFACE_DUMP" not in os.environ, reason="built by CMake")
@pytest.mark.parametrize("algorithm", list(ALGORITHMS))
@pytest.mark.parametrize("bits,output", [(8, "bgr24"), (8, "bgrx32"), (12, "bgr24"),
                                         (12, "bgrx32"), (12, "bgr48"), (16, "bgr48")])
def test_same_bytes_as_the_cpp_interface(tmp_path, algorithm, bits, output):
    for i, origin in enumerate(ORIGINS):
        raw = mosaic(22, 34, bits, seed=i)
        got = tavrix.demosaic(raw, pattern=origin, algorithm=algorithm, bits=bits, output=output)
        assert got.tobytes() == interface_output(tmp_path, raw, bits, origin, algorithm, output, 1)


def read_pnm(path):
    data = path.read_bytes()
    fields, pos = [], 0
    while len(fields) < 4:  # magic, width, height, maxval
        while data[pos:pos + 1].isspace():
            pos += 1
        end = pos
        while not data[end:end + 1].isspace():
            end += 1
        fields.append(data[pos:end])
        pos = end
    pos += 1
    width, height, maxval = int(fields[1]), int(fields[2]), int(fields[3])
    dtype = np.uint8 if maxval < 256 else ">u2"
    return np.frombuffer(data[pos:], dtype=dtype).reshape(height, width, 3)


@pytest.mark.skipif("TAVRIX_CLI" not in os.environ, reason="built with the tool")
@pytest.mark.parametrize("algorithm", list(ALGORITHMS))
def test_same_pixels_as_the_tool(tmp_path, algorithm):
    raw = mosaic(24, 32, 8, seed=7)
    (tmp_path / "m.pgm").write_bytes(b"P5\n32 24\n255\n" + raw.tobytes())
    subprocess.run([os.environ["TAVRIX_CLI"], "demosaic", "m.pgm", "m.ppm", "--pattern", "BG",
                    "--algorithm", algorithm, "--quiet"], cwd=tmp_path, check=True)
    rgb = read_pnm(tmp_path / "m.ppm")
    bgr = tavrix.demosaic(raw, pattern="BG", algorithm=algorithm)
    np.testing.assert_array_equal(bgr[..., ::-1], rgb)


def test_padded_rows_give_the_packed_result():
    raw = mosaic(30, 40, 12, seed=3)
    wide = np.zeros((30, 53), np.uint16)
    wide[:, :40] = raw
    packed = tavrix.demosaic(raw, pattern="GR", algorithm="laplacian2", bits=12)
    padded_in = tavrix.demosaic(wide[:, :40], pattern="GR", algorithm="laplacian2", bits=12)
    canvas = np.zeros((30, 45, 3), np.uint16)
    into = tavrix.demosaic(raw, pattern="GR", algorithm="laplacian2", bits=12,
                           out=canvas[:, :40])
    np.testing.assert_array_equal(packed, padded_in)
    np.testing.assert_array_equal(packed, into)
    assert not canvas[:, 40:].any(), "nothing is written beside the view"


@pytest.mark.parametrize("algorithm", list(ALGORITHMS))
def test_threads_give_the_bytes_of_one_thread(algorithm):
    raw = mosaic(70, 36, 12, seed=5)
    one = tavrix.demosaic(raw, pattern="RG", algorithm=algorithm, bits=12)
    for threads in (2, 3, 8, 0):
        np.testing.assert_array_equal(
            one, tavrix.demosaic(raw, pattern="RG", algorithm=algorithm, bits=12, threads=threads))


def test_pattern_names_select_the_same_phase():
    raw = mosaic(16, 16, 8, seed=9)
    rg = tavrix.demosaic(raw, pattern="RG")
    for name in ("RGGB", 8, "BayerRG8", "SRGGB8", "COLOR_BayerBG2BGR", "0112"):
        np.testing.assert_array_equal(rg, tavrix.demosaic(raw, pattern=name))
    assert tavrix.pattern("BayerGB12p") == {"origin": "GB", "packing": "mono12p", "bits": 12}


def test_decimation_keeps_every_nth_column_and_row():
    raw = mosaic(16, 16, 8, seed=11)
    full = tavrix.demosaic(raw, output="bgrx32")
    half = tavrix.demosaic(raw, output="bgrx32", sample_factor=2)
    assert half.shape == (8, 8, 4)
    np.testing.assert_array_equal(half[:7, :7, :3], full[0:14:2, 0:14:2, :3])


def test_matrix_corrects_colours():
    raw = np.full((8, 8), 100, np.uint8)
    doubled = tavrix.demosaic(raw, matrix=np.eye(3) * 2)
    assert (doubled[:7, :7] == 200).all()


ERRORS = [
    ("float samples", lambda: tavrix.demosaic(np.zeros((8, 8), np.float32)), TypeError, "uint8"),
    ("1-D mosaic", lambda: tavrix.demosaic(np.zeros(64, np.uint8)), ValueError, "2-D"),
    ("odd width", lambda: tavrix.demosaic(np.zeros((8, 7), np.uint8)), ValueError, "7x8"),
    ("too small", lambda: tavrix.demosaic(np.zeros((2, 8), np.uint8)), ValueError, "8x2"),
    ("columns not contiguous", lambda: tavrix.demosaic(np.zeros((8, 16), np.uint8)[:, ::2]),
     ValueError, "contiguous"),
    ("transposed", lambda: tavrix.demosaic(np.zeros((8, 8), np.uint16).T), ValueError,
     "contiguous"),
    ("8-bit to 48-bit", lambda: tavrix.demosaic(np.zeros((8, 8), np.uint8), output="bgr48"),
     ValueError, "48"),
    ("bit depth", lambda: tavrix.demosaic(np.zeros((8, 8), np.uint16), bits=17), ValueError, "17"),
    ("algorithm name", lambda: tavrix.demosaic(np.zeros((8, 8), np.uint8), algorithm="vng"),
     ValueError, "laplacian2"),
    ("pattern name", lambda: tavrix.demosaic(np.zeros((8, 8), np.uint8), pattern="XYZW"),
     ValueError, "XYZW"),
    ("origin number", lambda: tavrix.demosaic(np.zeros((8, 8), np.uint8), pattern=3),
     ValueError, "3"),
    ("small out", lambda: tavrix.demosaic(np.zeros((8, 8), np.uint8),
                                          out=np.zeros((6, 8, 3), np.uint8)), ValueError, "8x6"),
    ("out of the wrong record", lambda: tavrix.demosaic(np.zeros((8, 8), np.uint8),
                                                        out=np.zeros((8, 8, 3), np.uint16)),
     ValueError, "bgr24"),
    ("read-only out", lambda: tavrix.demosaic(
        np.zeros((8, 8), np.uint8), out=np.broadcast_to(np.zeros((1, 1, 3), np.uint8), (8, 8, 3))),
     ValueError, ""),
    ("threads", lambda: tavrix.demosaic(np.zeros((8, 8), np.uint8), threads=-1), ValueError, "-1"),
    ("grey image", lambda: tavrix.balance(np.zeros((8, 8), np.uint8)), TypeError, "(8, 8)"),
    ("two channels", lambda: tavrix.balance(np.zeros((8, 8, 2), np.uint8)), ValueError, "(8, 8, 2)"),
    ("estimator", lambda: tavrix.balance(np.zeros((8, 8, 3), np.uint8), estimator="max"),
     ValueError, "grayworld"),
    ("codec", lambda: tavrix.compress(b"abc", codec="zip"), ValueError, "lz77"),
    ("damaged stream", lambda: tavrix.decompress(b"\x09\x00\x00\x00\x01", codec="rle", size=99),
     ValueError, ""),
    ("strided buffer", lambda: tavrix.compress(np.zeros((4, 4), np.uint8)[:, ::2]), ValueError,
     "contiguous"),
    ("short packed buffer", lambda: tavrix.unpack(b"\x00" * 8, packing="raw12", width=4,
                                                  height=2), ValueError, "12"),
    ("packing", lambda: tavrix.unpack(b"", packing="raw11", width=4, height=1), ValueError,
     "raw11"),
]


@pytest.mark.parametrize("why,call,error,says", ERRORS, ids=[e[0] for e in ERRORS])
def test_errors_say_why(why, call, error, says):
    with pytest.raises(error) as caught:
        call()
    assert says in str(caught.value)


def test_refused_call_writes_nothing():
    out = np.full((8, 8, 3), 0xA5, np.uint8)
    with pytest.raises(ValueError):
        tavrix.demosaic(np.zeros((8, 8), np.uint8), pattern=3, out=out)
    with pytest.raises(ValueError):
        tavrix.demosaic(np.zeros((8, 10), np.uint8), out=out)
    assert (out == 0xA5).all()


@pytest.mark.parametrize("codec", tavrix.CODECS)
def test_compress_round_trips(codec):
    rng = np.random.default_rng(1)
    cases = [b"", b"\x00" * 5000, rng.integers(0, 256, 70000, dtype=np.uint8).tobytes(),
             bytearray(b"abcabcabcabd" * 300), mosaic(64, 48, 12, seed=2)]
    for data in cases:
        stream = tavrix.compress(data, codec=codec)
        size = len(bytes(data)) if not isinstance(data, np.ndarray) else data.nbytes
        back = tavrix.decompress(stream, codec=codec, size=size)
        assert back == (data.tobytes() if isinstance(data, np.ndarray) else bytes(data))


def test_balance_copies_unless_asked_to_work_in_place():
    rng = np.random.default_rng(4)
    image = rng.integers(0, 200, size=(32, 32, 3), dtype=np.uint8)
    image[..., 2] //= 2  # a cast to blue-green: grey world lifts red
    before = image.copy()
    balanced = tavrix.balance(image, estimator="grayworld")
    np.testing.assert_array_equal(image, before)
    assert balanced[..., 2].mean() > image[..., 2].mean()
    same = tavrix.balance(image, estimator="grayworld", in_place=True)
    assert same is image
    np.testing.assert_array_equal(image, balanced)
    red, green, blue, changed = tavrix.estimate_balance(before, estimator="grayworld")
    assert changed and red.shape == (65536,)
    np.testing.assert_array_equal(balanced[..., 2], red[before[..., 2]].astype(np.uint8))


PACKINGS = [("raw10", 10, 4), ("raw12", 12, 2), ("raw14", 14, 4), ("mono10p", 10, 4),
            ("mono12p", 12, 2), ("mono12packed", 12, 2), ("msb16", 12, 1), ("be16", 12, 1),
            ("plain16", 12, 1)]


@pytest.mark.parametrize("packing,bits,group", PACKINGS)
def test_pack_and_unpack_round_trip(packing, bits, group):
    samples = mosaic(6, 8 * group, bits, seed=bits).astype(np.uint16)
    stream = tavrix.pack(samples, packing=packing, bits=bits)
    np.testing.assert_array_equal(samples, tavrix.unpack(stream, packing=packing, bits=bits,
                                                         width=samples.shape[1], height=6))


@pytest.mark.parametrize("packing,bits,group", PACKINGS[:6])
def test_demosaic_straight_from_a_camera_layout(packing, bits, group):
    samples = mosaic(20, 8 * group, bits, seed=bits + 1).astype(np.uint16)
    stream = tavrix.pack(samples, packing=packing, bits=bits)
    expect = tavrix.demosaic(samples, pattern="GR", algorithm="laplacian1", bits=bits)
    got = tavrix.demosaic(stream, pattern="GR", algorithm="laplacian1", packing=packing,
                          width=samples.shape[1], height=20, threads=2)
    np.testing.assert_array_equal(expect, got)
    rows = np.frombuffer(stream, np.uint8).reshape(20, -1)
    padded = np.zeros((20, rows.shape[1] + 5), np.uint8)
    padded[:, :rows.shape[1]] = rows
    np.testing.assert_array_equal(expect, tavrix.demosaic(
        padded[:, :rows.shape[1]], pattern="GR", algorithm="laplacian1", packing=packing,
        width=samples.shape[1], height=20))


def test_raw12_bytes_by_hand():
    # Two samples, 0xABC and 0x123: high bytes first, then the low nibbles (second's above).
    stream = tavrix.pack(np.array([[0xABC, 0x123]], np.uint16), packing="raw12")
    assert stream == bytes([0xAB, 0x12, 0x3C])


@pytest.mark.skipif("TAVRIX_EXAMPLES" not in os.environ, reason="needs the example folder")
def test_dask_example_develops_a_folder(tmp_path):
    pytest.importorskip("dask.distributed")
    raw_dir, out_dir = tmp_path / "raw", tmp_path / "out"
    raw_dir.mkdir()
    frames = [mosaic(48, 64, 12, seed=s) for s in range(3)]
    for i, frame in enumerate(frames):
        frame.astype("<u2").tofile(raw_dir / f"f{i}.raw")
    script = os.path.join(os.environ["TAVRIX_EXAMPLES"], "dask_frames.py")
    done = subprocess.run([sys.executable, script, str(raw_dir), str(out_dir), "--width", "64",
                           "--height", "48", "--bits", "12", "--workers", "2", "--codec", "lz77"],
                          capture_output=True, text=True, timeout=300)
    assert done.returncode == 0, done.stderr
    assert "3 frames" in done.stdout
    for i, frame in enumerate(frames):
        expect = tavrix.demosaic(frame, pattern="RGGB", algorithm="laplacian1", bits=12)
        stream = (out_dir / f"f{i}.lz77").read_bytes()
        back = tavrix.decompress(stream, codec="lz77", size=expect.nbytes)
        assert back == expect.tobytes()
