"""Arguments from outside.  Arrays: NumPy would convert text, truth values and complex numbers, too."""

from __future__ import annotations

import numpy as np


def real_array(values, what: str, dtype=np.float64) -> np.ndarray:
    """`values` as an array of this type; TypeError for what are no real numbers."""
    array = np.asarray(values)
    if array.dtype.kind not in "fiu":
        raise TypeError(f"{what} are real numbers, not {array.dtype}")
    return np.ascontiguousarray(array, dtype=dtype)


def whole_array(values, what: str) -> np.ndarray:
    """`values` as int64; TypeError for what are no whole numbers."""
    array = np.asarray(values)
    if array.dtype.kind not in "iu":
        raise TypeError(f"{what} are whole numbers, not {array.dtype}")
    return np.ascontiguousarray(array, dtype=np.int64)


def thread_count(threads: int | None) -> int:
    """A number of threads for the library, for which 0 is as many as there are processors."""
    if threads is None:
        return 0
    if threads < 1:
        raise ValueError("threads is at least 1")
    return threads
