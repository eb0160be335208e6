"""A loaded model."""

from __future__ import annotations

import asyncio
import ctypes
import math
import os
import threading
import time
from typing import Any, Callable, Mapping, Optional, Sequence, Union

import numpy as np

from ._arguments import PathLike, check_callable, check_count, check_key, encode, milliseconds, text_of
from ._errors import Error, HostEnd, HostEnded, Reason
from ._library import Buffer, Description, Options, check, library
from ._process import ForkGuard, calling, check_end, refuse_copy
from ._static import Shapes, StaticModel, static_model
from ._tensor import Tensor, brief, check_target, convert, tensor_of
from ._watch import ASK, Progress, Watch, answers, nothing

Array = np.ndarray[Any, Any]

# Ends whose reason is the host process itself: a new host process may succeed.
CRASHES = (HostEnd.EXIT, HostEnd.SIGNAL, HostEnd.UNKNOWN)


class _Side:
    """The inputs or the outputs of a model, and the structures that point the library to their arrays."""

    def __init__(self, handle: int, side: int) -> None:
        word = ("input", "output")[side]
        self.tensors = tuple(_describe(handle, side, i) for i in range(library.orvane_tensor_count(handle, side)))
        self.buffers = (Buffer * len(self.tensors))()
        self.slots = list(self.buffers)  # the same structures; indexing the array would make new objects each time
        for i, (tensor, buffer) in enumerate(zip(self.tensors, self.slots)):
            buffer.struct_size, buffer.index, buffer.bytes = ctypes.sizeof(Buffer), i, tensor.nbytes
        #: why the data of some tensors cannot be copied
        self.problem = "; ".join(tensor.problem for tensor in self.tensors if tensor.problem)
        #: label, type and shape of each tensor, if all can be copied
        self.ports = [(f'{word} {i} "{tensor.name}"', tensor.dtype, tuple(size or 0 for size in tensor.shape))
                      for i, tensor in enumerate(self.tensors) if tensor.dtype is not None]


def _address(array: Array) -> int:
    """The address of an array in C order. The first way takes a third of the time of the other."""
    if array.flags.writeable:
        return ctypes.addressof(ctypes.c_char.from_buffer(array))  # type: ignore[arg-type]  # a buffer
    return array.ctypes.data


def _describe(handle: int, side: int, index: int) -> Tensor:
    description = Description(struct_size=ctypes.sizeof(Description))
    check(library.orvane_describe(handle, side, index, description))
    return tensor_of(description)


def _options(path: PathLike, host: Union[bool, PathLike], device: Optional[str], cache: Optional[PathLike],
             make_cache: bool, key: Optional[bytes], time_limit: Optional[float],
             load_time_limit: Optional[float]) -> Options:
    options = Options(struct_size=ctypes.sizeof(Options), model_path=encode(path, "path"), make_cache=bool(make_cache),
                      progress=ASK)
    if host is not False:
        options.host_program = b"" if host is True else encode(host, "host", "True, False or a path")
    if device is not None:
        options.device = encode(device, "device", "a string")
    if cache is not None:
        options.cache_path = encode(cache, "cache")
    if key is not None:
        options.key, options.key_size = check_key(key), len(key)
    if time_limit is not None:
        options.time_limit_ms = milliseconds(time_limit, "time_limit")
    if load_time_limit is not None:
        options.load_time_limit_ms = milliseconds(load_time_limit, "load_time_limit")
    return options


class Model:
    """A loaded model.

    It runs in this process or in its own host process. Several threads may use it; they run one after the other.

    Args:
        path: The model file: ``.xml`` with its ``.bin``, ``.onnx``, ``.tflite``, ``.pb`` or ``.pdmodel``.
        host: ``True`` runs the model in a host process: if it crashes there, your call raises ``HostEnded``. A path
            selects another host program.
        device: A device of OpenVINO; by default, the CPU.
        cache: A file for the compiled model. If it exists, the model is loaded from it.
        make_cache: Writes that file if it does not exist.
        key: The 1 to 4 bytes with which ``encrypt`` has encrypted the model file.
        time_limit: Seconds that a call may wait for the host process. After that the library ends the host process.
        load_time_limit: The same for loading; by default, ``time_limit``.
        shapes: Fixed shapes for dynamic inputs, by name or index. OpenVINO reads the model in this process and writes a
            temporary copy with these shapes. ``close`` or the end of the program removes it.
        retries: How often ``run`` loads the model in a new host process and runs it again after a crash. ``run`` does
            not try again after ``interrupt``, or when its attempts together have taken ``time_limit``.
        progress: Called with a ``LoadStep`` at each step of loading, and about five times a second while a call
            waits for the host process. An exception that it raises cancels the call: the host process is ended, and the
            call raises that exception. It may call ``interrupt``, but no other method of this model.

    Raises:
        Error: The model cannot be loaded.
        NoSuchFile: There is no such model file.
        TypeError, ValueError: An argument is wrong.
    """

    __reduce__ = refuse_copy

    _handle: Optional[int] = None
    _static: Optional[StaticModel] = None

    def __init__(self, path: PathLike, *, host: Union[bool, PathLike] = False, device: Optional[str] = None,
                 cache: Optional[PathLike] = None, make_cache: bool = False, key: Optional[bytes] = None,
                 time_limit: Optional[float] = None, load_time_limit: Optional[float] = None,
                 shapes: Optional[Shapes] = None, retries: int = 0, progress: Optional[Progress] = None) -> None:
        if check_count(retries, "retries", 0) and host is False:
            raise ValueError(f"retries={retries} needs a host process: pass host=True, or leave retries out")
        if progress is not None:
            check_callable(progress, "progress")
        self._name = os.path.basename(text_of(path, "path"))
        self._has_host = host is not False
        self._host_ended = False
        self._retries = retries
        self._time_limit = math.inf if time_limit is None else time_limit
        self._interrupts = 0
        self._forked = ForkGuard()
        self._turn = threading.RLock()  # held by the thread that uses the model
        self._life = threading.RLock()  # held to end the host process and to close the model
        self._watch = Watch(progress)
        self._answers = answers(self._watch)
        next(self._answers)
        self._static = static_model(path, shapes, key)
        options = _options(self._static.file if self._static else path, host, device, cache, make_cache, key,
                           time_limit, load_time_limit)
        options.progress_user = id(self._answers)
        handle = ctypes.c_void_p()
        try:
            self._call(library.orvane_open, options, handle)
            self._handle = handle.value
            self._look(self._usable())
        except BaseException:
            self._handle = handle.value  # a signal handler may have raised just after the library had returned
            self.close()
            raise

    def _look(self, handle: int) -> None:
        self._inputs, self._outputs = _Side(handle, 0), _Side(handle, 1)
        self._problem = self._inputs.problem or self._outputs.problem
        if dynamic := {tensor.name: tuple(1 if size is None else size for size in tensor.shape)
                       for tensor in self.inputs if None in tensor.shape}:
            self._problem += f"; for example (adjust the sizes): Model(..., shapes={dynamic})"

    def _refuse_nested_call(self) -> None:
        if self in calling:  # the thread that holds `_turn` is inside the library
            raise RuntimeError("this thread is inside a call of the model: signal handlers, progress callbacks and log "
                               "callbacks may only call interrupt()")

    def _usable(self) -> int:
        self._refuse_nested_call()
        if self._handle is None:
            raise ValueError("the model is closed: load it again")
        return self._handle

    def _call(self, function: Any, *arguments: Any, check_on: Callable[[], object] = nothing) -> None:
        """Calls a function of the library. Raises its error, or the exception that a signal handler, ``progress`` or
        ``check_on`` has raised meanwhile."""
        self._watch.check_on = check_on
        try:
            calling.add(self)
            check_end()
            error = function(*arguments)
        finally:
            calling.discard(self)
        failure, self._watch.failure = self._watch.failure, None
        if error is None and failure is None:
            return
        try:
            check(error)
        except Error as failed:
            if failed.reason in (Reason.HOST_ENDED, Reason.CANCELLED):
                self._host_ended = self._has_host
            if failure is None:
                raise
        if failure is not None:
            try:
                raise failure
            finally:
                del failure  # it refers to this frame

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
            arrays: The inputs, in the model's order: arrays of the input's shape, or lists of numbers. The element type
                must be the input's, or convert to it without loss. Every memory order is accepted.
            out: Arrays for the outputs, of their types and shapes and in C order; they must not share memory. Or one
                array for the only output.
            by_name: The other inputs, by name.

        Returns:
            The outputs, in the model's order: new arrays, or those of ``out``.

        Raises:
            TypeError, ValueError: An input is missing or does not fit. The text names it.
            HostEnded: The host process has ended, more often than ``retries`` allows.
            Error: The model failed, or it has a tensor that cannot be copied.
        """
        self._forked.check()  # before the lock: another thread may have held it during the fork
        by_position: Sequence[Any] = arrays
        if by_name or len(arrays) != len(self._inputs.tensors):
            by_position = self._in_order(arrays, by_name)
        with self._turn:
            handle = self._usable()
            if self._problem:
                raise Error(self._problem, Reason.REFUSED)
            sent = self._point_at_inputs(by_position)
            results = self._point_at_outputs(out)
            call = (library.orvane_infer, handle, self._inputs.buffers, len(sent), self._outputs.buffers, len(results))
            if self._retries:
                self._call_with_retries(handle, call)
            else:
                self._call(*call)
        return results

    async def run_async(self, *arrays: Any, out: Union[None, Array, Sequence[Array]] = None,
                        **by_name: Any) -> list[Array]:
        """``run`` on another thread, for ``await``.

        If you cancel the task, the run continues. ``interrupt`` ends it, together with its host process.
        """
        return await asyncio.to_thread(self.run, *arrays, out=out, **by_name)

    def _in_order(self, arrays: Sequence[Any], by_name: Mapping[str, Any]) -> Sequence[Any]:
        names = [tensor.name for tensor in self._inputs.tensors]
        if len(arrays) > len(names):
            raise TypeError(f"the model has {len(names)} inputs, {names}, but {len(arrays)} arrays were given")
        if arrays and isinstance(arrays[0], Mapping):
            raise TypeError(f"run takes no {type(arrays[0]).__name__}: pass inputs by name as run(**inputs)")
        rest = names[len(arrays):]
        if unknown := [name for name in by_name if name not in rest]:
            raise TypeError(f"input {unknown[0]!r} was given twice, by position and by name" if unknown[0] in names else
                            f"the model has no input {unknown[0]!r}: its inputs are {names}")
        if missing := [name for name in rest if name not in by_name]:
            hint = "; pass a list of inputs as run(*inputs)" if arrays and isinstance(arrays[0], (list, tuple)) else ""
            given = f"run got {', '.join(map(brief, arrays))}, and " if arrays else ""
            raise TypeError(f"{given}no array was given for {', '.join(map(repr, missing))}: the model's inputs are "
                            f"{names}{hint}")
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
            if not isinstance(out, (np.ndarray, list, tuple)):
                raise TypeError(f"out needs an array for each output in a list, but got {brief(out)}")
            results = [out] if isinstance(out, np.ndarray) else list(out)
            if len(results) != len(ports):
                raise ValueError(f"the model has {len(ports)} outputs, but out has {len(results)} arrays")
            for array, (label, dtype, shape) in zip(results, ports):
                if not (type(array) is np.ndarray and array.dtype == dtype and array.shape == shape
                        and array.flags.carray):
                    check_target(array, label, dtype, shape)
        for array, buffer in zip(results, self._outputs.slots):
            buffer.data = _address(array)
        return results

    def _call_with_retries(self, handle: int, call: tuple[Any, ...]) -> None:
        interrupts, left, start = self._interrupts, self._time_limit, time.monotonic()

        def check_time() -> None:
            if time.monotonic() - start > left:
                raise HostEnded(f"the attempts to run the model have taken longer than its time limit of "
                                f"{self._time_limit} s together, and the host process was ended: restart the model",
                                cause=HostEnd.TIME_LIMIT)

        for attempt in range(self._retries + 1):
            try:
                if attempt:
                    self._restart(handle)
                    start = time.monotonic()
                self._call(*call, check_on=check_time if attempt else nothing)
                return
            except HostEnded as error:
                left -= time.monotonic() - start
                start = time.monotonic()
                is_last = attempt == self._retries or left <= 0 or self._interrupts != interrupts
                if is_last or error.cause not in CRASHES:
                    raise

    def _restart(self, handle: int) -> None:
        self._call(library.orvane_restart, handle)
        self._host_ended = False

    def restart(self) -> None:
        """Loads the model again: after ``HostEnded``, or because the file has changed. Starts a new host process
        unless the model runs in this process.

        Raises:
            Error: The model cannot be loaded. A model in this process is then as before.
        """
        self._forked.check()
        with self._turn:
            handle = self._usable()
            self._restart(handle)
            self._look(handle)

    def interrupt(self) -> None:
        """Ends the host process, from any thread: a call that waits for it raises ``HostEnded`` within 0.2 s, and
        so does the next call. Does nothing for a model in this process."""
        self._forked.check()
        with self._life:
            if self._handle is not None:
                self._interrupts += 1
                self._host_ended = self._has_host
                library.orvane_interrupt(self._handle)

    def close(self) -> None:
        """Ends the host process and frees the model, after the current run. You may call it again."""
        if self._handle is not None and not self._forked.is_copy():  # a fork has no host process and no threads
            with self._turn, self._life:
                self._refuse_nested_call()
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
        state = ("closed" if self._handle is None else "in this process" if not self._has_host else
                 "host process ended" if self._host_ended else "in a host process")
        inputs, outputs = ("; ".join(map(str, side.tensors)) for side in (self._inputs, self._outputs))
        return f"<orvane.Model {self._name!r}, {state}: {inputs} -> {outputs}>"
