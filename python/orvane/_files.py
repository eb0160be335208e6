"""Functions for devices and model files that do not run a model."""

from __future__ import annotations

import concurrent.futures
from typing import Any, NamedTuple, Optional

from ._arguments import PathLike, check_key, encode
from ._library import DeviceSink, TensorSink, check, library
from ._tensor import Tensor, tensor_of


def encrypt(source: PathLike, target: PathLike, key: bytes, *, pad: bool = False) -> None:
    """Encrypts a model file, for ``Model(key=...)``.

    The cipher cannot restore a file whose last 4 MiB piece has 1 to 15 bytes: such a file is refused unless ``pad``.

    Args:
        source: The model file.
        target: The encrypted file. It may be ``source``. It appears whole or not at all.
        key: 1 to 4 bytes.
        pad: Pads a file of such a length with bytes that model readers skip.
    """
    check(library.orvane_encrypt_file(encode(source, "source"), encode(target, "target"), check_key(key),
                                      len(key), bool(pad), None, None))


def decrypt(source: PathLike, target: PathLike, key: bytes) -> None:
    """Decrypts a file that ``encrypt`` wrote. It cannot check the key: with a wrong key it writes a useless file."""
    check(library.orvane_decrypt_file(encode(source, "source"), encode(target, "target"), check_key(key),
                                      len(key), None, None))


class Device(NamedTuple):
    """A device that can run models."""

    name: str
    """For ``Model(device=...)``."""
    full_name: str
    """The name of the processor or card; may be empty."""


_ADD_DEVICE = DeviceSink(dict.__setitem__)  # not a Python function, in which a signal handler could raise


def devices() -> list[Device]:
    """Lists the devices of this machine that can run models."""
    found: dict[bytes, bytes] = {}
    check(library.orvane_list_devices(_ADD_DEVICE, found))
    return [Device(name.decode(), full_name.decode()) for name, full_name in found.items()]


class Tensors(NamedTuple):
    """The tensors of a model file.

    Attributes:
        inputs: The inputs, in the model's order.
        outputs: The outputs, in the model's order.
    """

    inputs: tuple[Tensor, ...]
    outputs: tuple[Tensor, ...]


def describe(path: PathLike) -> Tensors:
    """Reads a model file, without compiling it, and returns its inputs and outputs.

    OpenVINO reads the file in this process: no host process protects your program from a damaged file.
    """
    sides: tuple[list[Tensor], list[Tensor]] = ([], [])

    def add(_user: Optional[int], side: int, description: Any) -> None:
        sides[side].append(tensor_of(description.contents))

    # A thread, because a signal handler that raises in a callback would go unnoticed; other threads run no handlers.
    encoded = encode(path, "path")
    with concurrent.futures.ThreadPoolExecutor(1) as threads:
        threads.submit(lambda: check(library.orvane_describe_file(encoded, TensorSink(add), None))).result()
    return Tensors(*map(tuple, sides))
