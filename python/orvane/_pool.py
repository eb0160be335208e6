"""Several host processes with one model."""

from __future__ import annotations

import collections
import concurrent.futures
import os
import queue
import threading
from typing import Any, Iterable, Iterator, Literal, Mapping, Optional, Union, overload

from ._arguments import PathLike, check_count, text_of
from ._model import Array, Model
from ._process import ForkGuard, refuse_copy
from ._static import Shapes, static_model
from ._watch import LoadStep


class Pool:
    """Copies of one model, each in its own host process and with its own thread.

    Use a pool in a ``with`` block: if Ctrl-C ends the block, all host processes are ended at once.

    Args:
        path: The model file.
        size: The number of host processes; by default, the number of processors.
        host: ``True``, or the path of another host program.
        device: As for ``Model``.
        cache: As for ``Model``.
        make_cache: As for ``Model``.
        key: As for ``Model``.
        time_limit: As for ``Model``.
        load_time_limit: As for ``Model``.
        shapes: As for ``Model``. All host processes share one temporary copy.
        retries: How often an item is tried again in a new host process if its host process crashes.
    """

    __reduce__ = refuse_copy

    def __init__(self, path: PathLike, size: Optional[int] = None, *, host: Union[bool, PathLike] = True,
                 device: Optional[str] = None, cache: Optional[PathLike] = None, make_cache: bool = False,
                 key: Optional[bytes] = None, time_limit: Optional[float] = None,
                 load_time_limit: Optional[float] = None, shapes: Optional[Shapes] = None, retries: int = 0) -> None:
        size = check_count(size, "size", 1) if size is not None else os.cpu_count() or 1
        if host is False:
            raise ValueError("a pool runs models in host processes: leave host out, or pass the path of a host program")
        self._name = os.path.basename(text_of(path, "path"))
        self._static = static_model(path, shapes, key)  # one copy for all host processes
        file = self._static.file if self._static else path

        self._hurry = hurry = threading.Event()  # ends the host processes during their work

        def progress(_: LoadStep) -> None:
            if hurry.is_set():
                raise concurrent.futures.CancelledError("the pool was closed by an exception")

        def load(_: int) -> Model:
            return Model(file, host=host, device=device, cache=cache, make_cache=make_cache, key=key,
                         time_limit=time_limit, load_time_limit=load_time_limit, retries=retries, progress=progress)

        self._is_open = True
        self._forked = ForkGuard()
        self._models: list[Model] = []
        self._idle: queue.SimpleQueue[Model] = queue.SimpleQueue()
        self._threads = concurrent.futures.ThreadPoolExecutor(size, thread_name_prefix="orvane-pool")
        try:
            for model in self._threads.map(load, range(size)):
                self._models.append(model)
                self._idle.put(model)
        except BaseException:
            self._hurry.set()
            self.close()
            raise

    @property
    def size(self) -> int:
        """The number of host processes."""
        return len(self._models)

    def submit(self, *arrays: Any, **by_name: Any) -> concurrent.futures.Future[list[Array]]:
        """Runs the model in the first free host process, and returns a future with the result of ``Model.run``. Do not
        change the arrays before it is done."""
        self._check()
        return self._threads.submit(self._run, arrays, by_name)

    @overload
    def map(self, items: Iterable[Any], *, return_exceptions: Literal[False] = False) -> Iterator[list[Array]]: ...

    @overload
    def map(self, items: Iterable[Any], *, return_exceptions: bool) -> Iterator[Union[list[Array], Exception]]: ...

    def map(self, items: Iterable[Any], *,
            return_exceptions: bool = False) -> Iterator[Union[list[Array], Exception]]:
        """Runs the model once for each item, and returns an iterator over the results, in the order of the items.

        The work begins when you ask for the first result. It takes items only a few ahead of the results, so there may
        be any number of items.

        Args:
            items: Each is an array, or a tuple or a dict with all inputs.
            return_exceptions: If true, the result of an item that fails is its exception, and the other items continue.
                If false, the first item that fails raises its exception and ends the iteration: the results of all
                later items are lost, and the items that still wait do not run.
        """
        waiting: collections.deque[concurrent.futures.Future[list[Array]]] = collections.deque()

        def first() -> Union[list[Array], Exception]:
            try:
                return waiting.popleft().result()
            except Exception as error:
                if not return_exceptions:
                    raise
                return error

        try:
            for item in items:
                self._check()
                arrays = item if isinstance(item, tuple) else () if isinstance(item, Mapping) else (item,)
                waiting.append(self._threads.submit(self._run, arrays, item if isinstance(item, Mapping) else {}))
                if len(waiting) > 2 * self.size:
                    yield first()
            while waiting:
                yield first()
        finally:
            for future in waiting:
                future.cancel()

    def _check(self) -> None:
        self._forked.check()
        if not self._is_open:
            raise ValueError("the pool is closed: make a new one")

    def _run(self, arrays: tuple[Any, ...], by_name: Mapping[str, Any]) -> list[Array]:
        model = self._idle.get()
        try:
            if model._host_ended:
                model.restart()
            return model.run(*arrays, **by_name)
        finally:
            self._idle.put(model)

    def close(self) -> None:
        """Ends all host processes after the current runs. Cancels items that still wait. You may call it again."""
        if self._forked.is_copy():
            return
        self._is_open = False
        self._threads.shutdown(cancel_futures=True)
        for model in self._models:
            model.close()
        if self._static is not None:
            self._static.remove()

    def __enter__(self) -> Pool:
        return self

    def __exit__(self, exception: Optional[type[BaseException]], *_: object) -> None:
        if exception is not None and not issubclass(exception, Exception):  # KeyboardInterrupt, for example
            self._hurry.set()
        self.close()

    def __repr__(self) -> str:
        return f"<orvane.Pool {self._name!r}: {self.size} host processes{'' if self._is_open else ', closed'}>"
