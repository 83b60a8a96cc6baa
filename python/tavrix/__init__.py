"""Tavrix: raw frames of single-sensor colour cameras, from numpy.

Demosaic Bayer mosaics into colour images, balance colours automatically,
unpack camera sample layouts and compress buffers losslessly:

    >>> import numpy as np, tavrix
    >>> raw = np.fromfile("frame.raw", np.uint16).reshape(3072, 4096)
    >>> bgr = tavrix.demosaic(raw, pattern="RGGB", bits=12, algorithm="laplacian1")
    >>> bgr.shape, bgr.dtype
    ((3072, 4096, 3), dtype('uint16'))

Colour images are (height, width, 3 or 4) arrays with the channels in blue,
green, red order, as OpenCV keeps them (``bgr[..., ::-1]`` is RGB). Arrays are
read and written in place, never copied on the way in: rows may be padded (a
slice of a wider array) but the samples of a row must be contiguous. The GIL is
released while the library works, so threads of the caller run meanwhile, and
``threads=`` spreads one call over the cores with the same result byte for byte.

A call the library refuses raises ValueError with its reason (a wrong dtype:
TypeError); nothing is written then.
"""

from ._tavrix import (  # noqa: F401
    ALGORITHMS,
    CODECS,
    ESTIMATORS,
    balance,
    compress,
    decompress,
    demosaic,
    estimate_balance,
    hardware_threads,
    pack,
    pattern,
    unpack,
)

__all__ = [
    "ALGORITHMS",
    "CODECS",
    "ESTIMATORS",
    "balance",
    "compress",
    "decompress",
    "demosaic",
    "estimate_balance",
    "hardware_threads",
    "pack",
    "pattern",
    "unpack",
]
__version__ = "0.1.0"
