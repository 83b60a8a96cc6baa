from typing import Literal, Optional, Sequence, Tuple, TypedDict, Union

import numpy as np
import numpy.typing as npt

Algorithm = Literal["fast", "bilinear", "laplacian1", "laplacian2", "directional"]
Output = Literal["", "bgr24", "bgrx32", "bgr48"]
Estimator = Literal["grayworld", "whiteworld", "scalebymax", "meanequalization", "stddev",
                    "meanstddev"]
Codec = Literal["huffman", "lz77", "rle"]
Packing = Literal["plain8", "plain16", "raw10", "raw12", "raw14", "mono10p", "mono12p",
                  "mono12packed", "msb16", "be16"]
Buffer = Union[bytes, bytearray, memoryview, npt.NDArray[np.generic]]

class PatternInfo(TypedDict):
    origin: Literal["GB", "GR", "BG", "RG"]
    packing: Optional[Packing]
    bits: int

ALGORITHMS: Tuple[str, ...]
ESTIMATORS: Tuple[str, ...]
CODECS: Tuple[str, ...]
__version__: str

def demosaic(
    raw: Union[npt.NDArray[np.uint8], npt.NDArray[np.uint16], Buffer],
    *,
    pattern: Union[str, int] = "GB",
    algorithm: Algorithm = "fast",
    bits: int = 0,
    output: Output = "",
    balance: Tuple[int, int, int] = (0, 0, 0),
    matrix: Optional[Union[Sequence[float], Sequence[Sequence[float]], npt.NDArray[np.float64]]] = None,
    sample_factor: int = 1,
    sample_bytes: Literal["whole", "high", "low"] = "whole",
    threads: int = 1,
    out: Optional[Union[npt.NDArray[np.uint8], npt.NDArray[np.uint16]]] = None,
    packing: Optional[Packing] = None,
    width: int = 0,
    height: int = 0,
    stride: int = 0,
) -> Union[npt.NDArray[np.uint8], npt.NDArray[np.uint16]]: ...
def balance(
    image: Union[npt.NDArray[np.uint8], npt.NDArray[np.uint16]],
    *,
    estimator: Estimator = "grayworld",
    depth: int = 0,
    in_place: bool = False,
    threads: int = 1,
) -> Union[npt.NDArray[np.uint8], npt.NDArray[np.uint16]]: ...
def estimate_balance(
    image: Union[npt.NDArray[np.uint8], npt.NDArray[np.uint16]],
    *,
    estimator: Estimator = "grayworld",
    depth: int = 0,
) -> Tuple[npt.NDArray[np.uint16], npt.NDArray[np.uint16], npt.NDArray[np.uint16], bool]: ...
def compress(data: Buffer, *, codec: Codec = "huffman") -> bytes: ...
def decompress(stream: Buffer, *, codec: Codec, size: int) -> bytes: ...
def unpack(buffer: Buffer, *, packing: Packing, width: int, height: int, bits: int = 0,
           stride: int = 0) -> npt.NDArray[np.uint16]: ...
def pack(samples: npt.NDArray[np.uint16], *, packing: Packing, bits: int = 0) -> bytes: ...
def pattern(name: str) -> PatternInfo: ...
def hardware_threads() -> int: ...
