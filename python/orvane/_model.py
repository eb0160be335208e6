"""A loaded model."""

from __future__ import annotations

import asyncio
import ctypes
import math
import os
import threading
from typing import Any, Mapping, NoReturn, Optional, Sequence, Union

import numpy as np

from ._library import Buffer, Description, HostEnded, Options, PathLike, check, check_key, encode, library
from ._static import Shapes, StaticModel, static_model
from ._tensor import DTYPES, Tensor, check_target, convert

Array = np.ndarray[Any, Any]

_forks = 0


def _count_fork() -> None:
    global _forks
    _forks += 1


if hasattr(os, "register_at_fork"):
    os.register_at_fork(after_in_child=_count_fork)


class ForkGuard:
    """Tells the process that made something from one that was forked from it, where its threads and hosts are not."""

    def __init__(self) -> None:
        self._made_at = _forks

    def is_copy(self) -> bool:
        return self._made_at != _forks

    def check(self) -> None:
        if self._made_at != _forks:
            raise RuntimeError("this process was forked from the one that loaded the model: load it here, after the "
                               "fork, or let multiprocessing start processes by \"spawn\"")


def refuse_copy(self: object) -> NoReturn:
    """``__reduce__`` of an object that owns a handle: ``copy`` and ``pickle`` call it."""
    raise TypeError(f"a {type(self).__name__} cannot be copied or pickled: pass the path of the model file, and load it "
                    "again there")


class _Side:
    """The inputs or the outputs of a model, and the structures that tell the library where their bytes are."""

    def __init__(self, handle: int, side: int) -> None:
        self.word = ("input", "output")[side]
        self.tensors = tuple(_describe(handle, side, i) for i in range(library.orvane_tensor_count(handle, side)))
        self.buffers = (Buffer * len(self.tensors))()
        self.slots = list(self.buffers)  # the same ones, which an array makes anew whenever it is asked
        for i, (tensor, buffer) in enumerate(zip(self.tensors, self.slots)):
            buffer.struct_size, buffer.index, buffer.bytes = ctypes.sizeof(Buffer), i, tensor.nbytes
        problems = [f"{self._label(i)} {self._why_not(tensor)}" for i, tensor in enumerate(self.tensors)
                    if tensor.nbytes == 0]
        self.problem = "; ".join(problems)
        #: what messages call each, its type and its shape; only those that can be copied have them
        self.ports = [(self._label(i), tensor.dtype, tuple(size for size in tensor.shape if size is not None))
                      for i, tensor in enumerate(self.tensors) if tensor.dtype is not None]

    def _label(self, index: int) -> str:
        return f"{self.word} {index} {self.tensors[index].name!r}"

    def _why_not(self, tensor: Tensor) -> str:
        if tensor.dtype is None:
            return "has an element type that is unknown here: export the model with another"
        if None in tensor.shape and self.word == "output":
            return f"has a shape that depends on the data, {tensor.dimensions()}: export the model with a fixed one"
        if None in tensor.shape:
            example = ", ".join("1" if dimension is None else str(dimension) for dimension in tensor.shape)
            return (f"has a dynamic shape, {tensor.dimensions()}: load the model with one that fits, such as "
                    f"shapes={{{tensor.name!r}: ({example},)}}")
        if tensor.shape == ():
            return "has no dimensions: export the model with [1]"
        if 0 in tensor.shape:
            return "has no elements"
        return "is too large: in this process, host=False, there is more room"


def _address(array: Array) -> int:
    """Of the array's bytes, which are in C order. The first way takes a third of the time of the other."""
    if array.flags.writeable:
        return ctypes.addressof(ctypes.c_char.from_buffer(array))  # type: ignore[arg-type]  # a buffer
    return array.ctypes.data


def _describe(handle: int, side: int, index: int) -> Tensor:
    told = Description(struct_size=ctypes.sizeof(Description))
    check(library.orvane_describe(handle, side, index, told))
    shape = tuple(None if dimension < 0 else int(dimension) for dimension in told.dimensions[:told.rank])
    return Tensor(told.name.decode(), DTYPES.get(told.element_type), shape, told.byte_size)


def _milliseconds(seconds: float) -> int:
    if not 0 < seconds < 4_000_000:
        raise ValueError(f"time_limit is a number of seconds above 0 and below 4,000,000, not {seconds!r}")
    return math.ceil(seconds * 1000)


def _options(path: PathLike, host: Union[bool, PathLike], device: Optional[str], cache: Optional[PathLike],
             make_cache: bool, key: Optional[bytes], time_limit: Optional[float]) -> Options:
    options = Options(struct_size=ctypes.sizeof(Options), model_path=encode(path), make_cache=make_cache)
    if host is not False:
        options.host_program = b"" if host is True else encode(host)
    if device is not None:
        options.device = device.encode()
    if cache is not None:
        options.cache_path = encode(cache)
    if key is not None:
        options.key, options.key_size = check_key(key), len(key)
    if time_limit is not None:
        options.time_limit_ms = _milliseconds(time_limit)
    return options


class Model:
    """A model that is loaded, in this process or in a host process of its own.

    Several threads may use it; they run one after the other.

    Args:
        path: The model file that OpenVINO reads: ``.xml`` with its ``.bin``, ``.onnx``, ``.tflite``, ``.pb``.
        host: ``True`` runs it in a host process, whose death is an exception; a path names another host program.
        device: A device of OpenVINO; the CPU unless given.
        cache: File for the compiled model, which is loaded from there when it exists.
        make_cache: Writes that file when it does not exist; whole, or not at all.
        key: The model file is encrypted with this key of 1 to 4 bytes.
        time_limit: Seconds that one call may wait for the host, loading included; then the host is ended.
        shapes: Fixed shapes for dynamic inputs, by name or index. This process reads the model with OpenVINO's own
            package, and writes a temporary copy with these shapes. ``close`` or the end of the program removes it.
        retries: How often a run whose host ends is tried again, on a new host.

    Raises:
        Error: The model cannot be loaded.
    """

    _handle: Optional[int] = None
    _static: Optional[StaticModel] = None
    __reduce__ = refuse_copy

    def __init__(self, path: PathLike, *, host: Union[bool, PathLike] = False, device: Optional[str] = None,
                 cache: Optional[PathLike] = None, make_cache: bool = False, key: Optional[bytes] = None,
                 time_limit: Optional[float] = None, shapes: Optional[Shapes] = None, retries: int = 0) -> None:
        if retries < 0 or (retries and host is False):
            raise ValueError("retries is how often a run is tried again on a new host: 0 or more, and with a host only")
        self._static = static_model(path, shapes, key)
        self._name = os.path.basename(os.fspath(path))
        self._retries = retries
        self._forked = ForkGuard()
        self._turn = threading.Lock()  # of the thread that uses the model
        self._life = threading.Lock()  # held for ending the host, and for the model's end
        handle = ctypes.c_void_p()
        file = self._static.file if self._static else path
        try:
            check(library.orvane_open(_options(file, host, device, cache, make_cache, key, time_limit), handle))
            self._handle = handle.value
            self._look(self._usable())
        except BaseException:
            self.close()
            raise

    def _look(self, handle: int) -> None:
        self._inputs, self._outputs = _Side(handle, 0), _Side(handle, 1)
        self._problem = "; ".join(side.problem for side in (self._inputs, self._outputs) if side.problem)

    def _usable(self) -> int:
        if self._handle is None:
            raise ValueError("the model is closed: load it again")
        return self._handle

    @property
    def inputs(self) -> tuple[Tensor, ...]:
        """The model's inputs, in its order."""
        return self._inputs.tensors

    @property
    def outputs(self) -> tuple[Tensor, ...]:
        """The model's outputs, in its order."""
        return self._outputs.tensors

    def run(self, *arrays: Any, out: Union[None, Array, Sequence[Array]] = None, **by_name: Any) -> list[Array]:
        """Runs the model once.

        Args:
            arrays: The inputs, in the model's order: arrays, or what numpy makes arrays of, of the input's shape, in any
                memory order. Their element type is the input's, or one whose values it holds without loss.
            out: Where the outputs go: an array for each, of its type and shape, in C order; or the only one.
            by_name: The other inputs, by their names.

        Returns:
            The outputs, in the model's order: new arrays, or those of ``out``.

        Raises:
            TypeError, ValueError: An input is missing or is not what the model wants; the text names it.
            HostEnded: The host process has ended, more often than ``retries`` allows.
            Error: The model failed.
        """
        self._forked.check()  # before the lock, which another thread may have held when the process was copied
        by_position: Sequence[Any] = arrays
        if by_name or len(arrays) != len(self._inputs.tensors):
            by_position = self._in_order(arrays, by_name)
        with self._turn:
            handle = self._usable()
            if self._problem:
                raise ValueError(self._problem)
            sent = self._point_at_inputs(by_position)
            results = self._point_at_outputs(out)
            self._infer(handle, len(sent), len(results))
        return results

    async def run_async(self, *arrays: Any, out: Union[None, Array, Sequence[Array]] = None,
                        **by_name: Any) -> list[Array]:
        """``run``, on a thread, while other tasks go on.

        A task that is cancelled no longer waits, but what runs, runs on: ``interrupt`` ends it, with its host.
        """
        return await asyncio.to_thread(self.run, *arrays, out=out, **by_name)

    def _in_order(self, arrays: Sequence[Any], by_name: Mapping[str, Any]) -> Sequence[Any]:
        names = [tensor.name for tensor in self._inputs.tensors]
        if len(arrays) > len(names):
            raise TypeError(f"the model has {len(names)} inputs, {names}, and {len(arrays)} arrays were given")
        rest = names[len(arrays):]
        if unknown := [name for name in by_name if name not in rest]:
            raise TypeError(f"there is no input {unknown[0]!r}" + (", or it was given twice" if unknown[0] in names else
                                                                   f": the model has {names}"))
        if missing := [name for name in rest if name not in by_name]:
            raise TypeError(f"nothing was given for {', '.join(map(repr, missing))}: the model has the inputs {names}")
        return (*arrays, *(by_name[name] for name in rest))

    def _point_at_inputs(self, arrays: Sequence[Any]) -> list[Array]:
        sent = []
        for array, (label, dtype, shape), buffer in zip(arrays, self._inputs.ports, self._inputs.slots):
            if not (type(array) is np.ndarray and array.dtype == dtype and array.shape == shape
                    and array.flags.c_contiguous):
                array = convert(array, label, dtype, shape)
            buffer.data = _address(array)
            sent.append(array)
        return sent

    def _point_at_outputs(self, out: Union[None, Array, Sequence[Array]]) -> list[Array]:
        ports = self._outputs.ports
        if out is None:
            results = [np.empty(shape, dtype) for _, dtype, shape in ports]
        else:
            results = [out] if isinstance(out, np.ndarray) else list(out)
            if len(results) != len(ports):
                raise ValueError(f"the model has {len(ports)} outputs, and out has {len(results)} arrays")
            for array, (label, dtype, shape) in zip(results, ports):
                check_target(array, label, dtype, shape)
        for array, buffer in zip(results, self._outputs.slots):
            buffer.data = _address(array)
        return results

    def _infer(self, handle: int, inputs: int, outputs: int) -> None:
        for attempt in range(self._retries + 1):
            try:
                if attempt:
                    check(library.orvane_restart(handle))
                check(library.orvane_infer(handle, self._inputs.buffers, inputs, self._outputs.buffers, outputs))
                return
            except HostEnded:
                if attempt == self._retries:
                    raise

    def restart(self) -> None:
        """Loads the model again, in a new host process where it has one: after ``HostEnded``."""
        self._forked.check()
        with self._turn:
            handle = self._usable()
            check(library.orvane_restart(handle))
            self._look(handle)

    def interrupt(self) -> None:
        """Ends the host process, from any thread: a call that waits for it raises ``HostEnded`` within 0.2 s, and
        so does the next one. Does nothing for a model in this process."""
        self._forked.check()
        with self._life:
            if self._handle is not None:
                library.orvane_interrupt(self._handle)

    def close(self) -> None:
        """Ends the host process and frees the model, after the run that is under way. May be called again."""
        if self._handle is not None and not self._forked.is_copy():  # a copy has neither the host nor the threads
            with self._turn, self._life:
                handle, self._handle = self._handle, None
                library.orvane_close(handle)
        if self._static is not None:
            self._static.remove()

    def __enter__(self) -> Model:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __del__(self) -> None:
        self.close()

    def __repr__(self) -> str:
        inputs, outputs = ("; ".join(map(str, side.tensors)) for side in (self._inputs, self._outputs))
        return f"<orvane.Model {self._name!r}: {inputs} -> {outputs}>"
