"""Checks of arguments. Each error names the argument and its value."""

from __future__ import annotations

import math
import numbers
import os
from typing import Union

PathLike = Union[str, "os.PathLike[str]"]


def text_of(value: PathLike, name: str, kinds: str = "a string or a path") -> str:
    text = value.__fspath__() if isinstance(value, os.PathLike) else value
    if not isinstance(text, str):
        raise TypeError(f"{name} must be {kinds}, not {value!r}")
    if "\0" in text:
        raise ValueError(f"{name} contains a zero character: {value!r}")
    return text


def encode(value: PathLike, name: str, kinds: str = "a string or a path") -> bytes:
    """The text or path as the library takes it, in UTF-8 on every system."""
    return text_of(value, name, kinds).encode("utf-8", "surrogateescape")


def check_key(key: bytes) -> bytes:
    if not isinstance(key, bytes):
        raise TypeError(f"key must be bytes, such as b'key!', not {type(key).__name__}")  # the value is a secret
    return key


def check_count(count: int, name: str, least: int) -> int:
    if not isinstance(count, numbers.Integral) or count < least:
        raise ValueError(f"{name} must be a whole number of at least {least}, not {count!r}")
    return count


def check_callable(function: object, name: str) -> None:
    if not callable(function):
        raise TypeError(f"{name} must be a function, not {function!r}")


def milliseconds(seconds: float, name: str) -> int:
    if not isinstance(seconds, numbers.Real) or not 0 < seconds < 4_000_000:
        raise ValueError(f"{name} must be a number of seconds above 0 and below 4,000,000, not {seconds!r}")
    return math.ceil(seconds * 1000)
