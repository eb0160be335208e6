"""The tensors of a model, and the conversion of arrays for them."""

from __future__ import annotations

import dataclasses
import reprlib
from typing import Any, Mapping, Optional

import numpy as np

from ._library import Description

# The keys are the library's numbers.
DTYPES: dict[int, np.dtype[Any]] = {
    number: np.dtype(name)
    for number, name in enumerate(
        ("float32", "float16", "int32", "uint8", "int64", "bool", "int16", "int8", "float64"), start=1
    )
}


@dataclasses.dataclass(frozen=True)
class Tensor:
    """An input or an output of a model."""

    name: str
    """Its name in the model."""
    dtype: Optional[np.dtype[Any]]
    """The type of its elements; ``None`` if the library does not support it."""
    shape: tuple[Optional[int], ...]
    """Its dimensions, outermost first; ``None`` for a dynamic dimension."""
    nbytes: int
    """The bytes of all elements; 0 if the data cannot be copied."""
    problem: Optional[str] = None
    """Why the data cannot be copied and what to do; ``None`` if it can."""

    def __str__(self) -> str:
        dimensions = ", ".join("?" if dimension is None else str(dimension) for dimension in self.shape)
        return f"{self.name!r} {self.dtype or 'unknown element type'} [{dimensions}]"


def tensor_of(description: Description) -> Tensor:
    shape = tuple(None if dimension < 0 else int(dimension) for dimension in description.dimensions[:description.rank])
    problem = description.problem.decode() if description.problem else None
    dtype = DTYPES.get(description.element_type)
    return Tensor(description.name.decode(), dtype, shape, description.byte_size, problem)


def brief(value: object) -> str:
    """The value in an error message."""
    if isinstance(value, np.ndarray):
        return f"an array of {value.dtype} {list(value.shape)}"
    return reprlib.repr(value)


def _typed(value: Any, needs: str, dtype: np.dtype[Any]) -> np.ndarray[Any, Any]:
    """An array of plain numbers in lists. They have no element type: they get this one if it holds them."""
    try:
        plain = np.asarray(value)
    except ValueError as error:  # lists of different lengths
        raise ValueError(f"{needs}, but got lists of different lengths: {error}") from None
    if (plain.dtype.kind not in "biuf" or (plain.dtype.kind == "f" and dtype.kind != "f")
            or ((plain.dtype.kind == "b") != (dtype.kind == "b") and plain.size)):
        raise TypeError(f"{needs}, but got {brief(value)} of type {plain.dtype}")
    with np.errstate(over="ignore"):
        converted = plain.astype(dtype)
    is_kept = np.isfinite(converted) | ~np.isfinite(plain) if dtype.kind == "f" else converted == plain
    if not np.all(is_kept):
        raise ValueError(f"{needs}, but {plain[~is_kept].flat[0]} does not fit into {dtype}")
    return converted


def convert(value: Any, label: str, dtype: np.dtype[Any], shape: tuple[int, ...]) -> np.ndarray[Any, Any]:
    """The value as an array of this type and shape, in C order; the value itself if it is one. Raises ``TypeError`` or
    ``ValueError`` if the conversion would lose something."""
    needs = f"{label} needs {dtype} {list(shape)}"
    if isinstance(value, (list, tuple, bool, int, float)):
        array = _typed(value, needs, dtype)
    elif isinstance(value, Mapping):
        raise TypeError(f"{needs}, but got a {type(value).__name__}: pass inputs by name as run(**inputs)")
    else:
        try:
            array = np.asarray(value)
        except Exception as error:
            raise TypeError(f"{needs}, but got {brief(value)}: {error}") from error
        if array.dtype.kind not in "biufc":
            raise TypeError(f"{needs}, but got {brief(value)}: pass an array of numbers")
        if not np.can_cast(array.dtype, dtype, "safe"):
            raise TypeError(f"{needs}, but got {array.dtype}: use .astype({dtype.name!r}) if its values fit")
    if array.shape != shape:
        raise ValueError(f"{needs}, but got the shape {list(array.shape)}")
    return np.ascontiguousarray(array, dtype=dtype)


def check_target(value: Any, label: str, dtype: np.dtype[Any], shape: tuple[int, ...]) -> None:
    """Raises unless the value is an array that the library can write the tensor into."""
    needs = f"out for {label} needs {dtype} {list(shape)}"
    if not isinstance(value, np.ndarray):
        raise TypeError(f"{needs}, but got {brief(value)}: pass a numpy array")
    if value.dtype != dtype:
        raise TypeError(f"{needs}, but got {value.dtype}")
    if value.shape != shape:
        raise ValueError(f"{needs}, but got the shape {list(value.shape)}")
    if not value.flags.c_contiguous or not value.flags.writeable:
        raise ValueError(f"{needs}, in C order and writeable: make it with numpy.empty")
