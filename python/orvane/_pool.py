"""Several hosts with one model."""

from __future__ import annotations

import collections
import concurrent.futures
import os
import queue
from typing import Any, Iterable, Iterator, Mapping, Optional

from ._library import HostEnded, PathLike
from ._model import Array, ForkGuard, Model


class Pool:
    """As many copies of a model as ``size`` says, each in a host process of its own, and a thread for each.

    Args:
        path: The model file.
        size: How many hosts; as many as there are processors unless given.
        options: The other arguments of ``Model``. ``retries`` is how often an item whose host ends is tried again,
            each time on a new host.
    """

    def __init__(self, path: PathLike, size: Optional[int] = None, **options: Any) -> None:
        size = size if size is not None else os.cpu_count() or 1
        if size < 1:
            raise ValueError(f"size is how many hosts the pool has: at least 1, not {size}")
        if options.setdefault("host", True) is False:
            raise ValueError("a pool runs models in host processes: leave host out, or give a host program")
        self._forked = ForkGuard()
        self._models: list[Model] = []
        self._idle: queue.SimpleQueue[Model] = queue.SimpleQueue()
        self._threads = concurrent.futures.ThreadPoolExecutor(size, thread_name_prefix="orvane-pool")
        try:
            for model in self._threads.map(lambda _: Model(path, **options), range(size)):
                self._models.append(model)
                self._idle.put(model)
        except BaseException:
            self.close()
            raise

    @property
    def size(self) -> int:
        """How many hosts there are."""
        return len(self._models)

    def submit(self, *arrays: Any, **by_name: Any) -> concurrent.futures.Future[list[Array]]:
        """What ``Model.run`` gives, from whichever host is free first. The arrays must stay as they are until then."""
        self._forked.check()
        return self._threads.submit(self._run, arrays, by_name)

    def map(self, items: Iterable[Any]) -> Iterator[list[Array]]:
        """The results for each item, in the order of the items. An item is an array, or a tuple or a dict of all inputs.

        Items are taken a few ahead of the results, so that there may be any number of them.
        """
        waiting: collections.deque[concurrent.futures.Future[list[Array]]] = collections.deque()
        try:
            for item in items:
                if isinstance(item, Mapping):
                    waiting.append(self.submit(**item))
                else:
                    waiting.append(self.submit(*(item if isinstance(item, tuple) else (item,))))
                if len(waiting) > 2 * self.size:
                    yield waiting.popleft().result()
            while waiting:
                yield waiting.popleft().result()
        finally:
            for future in waiting:
                future.cancel()

    def _run(self, arrays: tuple[Any, ...], by_name: dict[str, Any]) -> list[Array]:
        model = self._idle.get()
        try:
            return model.run(*arrays, **by_name)
        except HostEnded:
            model.restart()  # for the next item
            raise
        finally:
            self._idle.put(model)

    def close(self) -> None:
        """Ends all hosts, after the runs that are under way; what waits for its turn is cancelled."""
        if self._forked.is_copy():
            return
        self._threads.shutdown(cancel_futures=True)
        for model in self._models:
            model.close()

    def __enter__(self) -> Pool:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()
