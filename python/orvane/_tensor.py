"""What a model's tensors are, and how arrays become what they want."""

from __future__ import annotations

import dataclasses
from typing import Any, Optional

import numpy as np

# By the numbers that the library gives them.
DTYPES: dict[int, np.dtype[Any]] = {
    number: np.dtype(name)
    for number, name in enumerate(
        ("float32", "float16", "int32", "uint8", "int64", "bool", "int16", "int8", "float64"), start=1
    )
}


@dataclasses.dataclass(frozen=True)
class Tensor:
    """An input or an output of a model."""

    #: the model's name for it
    name: str
    #: the type of its elements; ``None`` for one that numpy or the library does not have, which cannot be copied
    dtype: Optional[np.dtype[Any]]
    #: its dimensions, outermost first; ``None`` for a dynamic one
    shape: tuple[Optional[int], ...]
    #: bytes of all elements; 0 for what cannot be copied
    nbytes: int

    def dimensions(self) -> str:
        """The shape as a text, with ``?`` for a dynamic dimension."""
        return "[" + ", ".join("?" if dimension is None else str(dimension) for dimension in self.shape) + "]"

    def __str__(self) -> str:
        return f"{self.name!r} {self.dtype or 'unknown element type'} {self.dimensions()}"


def _typed(value: Any, label: str, wanted: np.dtype[Any]) -> np.ndarray[Any, Any]:
    """Of plain numbers in lists, which have no element type: the wanted one, if it holds them."""
    try:
        plain = np.asarray(value)
    except ValueError as error:  # lists of different lengths
        raise ValueError(f"{label} wants {wanted}, and got what is no array: {error}") from None
    if plain.dtype.kind not in "biuf" or (plain.dtype.kind == "f" and wanted.kind != "f"):
        raise TypeError(f"{label} wants {wanted}, and got {plain.dtype}")
    if (plain.dtype.kind == "b") != (wanted.kind == "b") and plain.size:
        raise TypeError(f"{label} wants {wanted}, and got {plain.dtype}")
    with np.errstate(over="ignore"):
        converted = plain.astype(wanted)
    is_kept = np.isfinite(converted) | ~np.isfinite(plain) if wanted.kind == "f" else converted == plain
    if not np.all(is_kept):
        raise ValueError(f"{label} wants {wanted}, which does not hold {plain[~is_kept].flat[0]}")
    return converted


def convert(value: Any, label: str, dtype: np.dtype[Any], shape: tuple[int, ...]) -> np.ndarray[Any, Any]:
    """The value as the bytes that the library reads: of this type and shape, in C order. Raises where that loses
    something. What is so already is not copied."""
    if isinstance(value, (list, tuple, bool, int, float)):
        array = _typed(value, label, dtype)
    else:
        try:
            array = np.asarray(value)
        except Exception as error:
            raise TypeError(f"{label} wants {dtype} {list(shape)}, and got {type(value).__name__}: {error}") from error
        if not np.can_cast(array.dtype, dtype, "safe"):
            raise TypeError(f"{label} wants {dtype}, and got {array.dtype}: convert it with .astype, if its values fit")
    if array.ndim != len(shape):
        raise ValueError(f"{label} wants {len(shape)} dimensions, {list(shape)}, and got {array.ndim}, "
                         f"{list(array.shape)}")
    if array.shape != shape:
        raise ValueError(f"{label} wants the shape {list(shape)}, and got {list(array.shape)}")
    return np.ascontiguousarray(array, dtype=dtype)


def check_target(value: Any, label: str, dtype: np.dtype[Any], shape: tuple[int, ...]) -> None:
    """Raises unless the value is an array that the library can write the tensor into."""
    if not isinstance(value, np.ndarray):
        raise TypeError(f"{label}: out takes numpy arrays, not {type(value).__name__}")
    if value.dtype != dtype:
        raise TypeError(f"{label} is {dtype}, and out has {value.dtype}")
    if value.shape != shape:
        raise ValueError(f"{label} has the shape {list(shape)}, and out has {list(value.shape)}")
    if not value.flags.c_contiguous or not value.flags.writeable:
        raise ValueError(f"{label}: out must be in C order and writeable; make it with numpy.empty")
