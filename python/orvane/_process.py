"""Forks and the end of the program, which a model must notice."""

from __future__ import annotations

import atexit
import os
import threading
import time
from typing import NoReturn

#: the objects whose functions of the library are running
calling: set[object] = set()

_forks = 0
_is_ending = False
_LONGEST_WAIT = 2.0  # seconds; a run in this process cannot be cancelled


def _count_fork() -> None:
    global _forks
    _forks += 1
    calling.clear()  # the calls run in the parent


if hasattr(os, "register_at_fork"):
    os.register_at_fork(after_in_child=_count_fork)


class ForkGuard:
    """Recognizes a forked process, which has neither the threads nor the host processes of its parent."""

    def __init__(self) -> None:
        self._made_at = _forks

    def is_copy(self) -> bool:
        return self._made_at != _forks

    def check(self) -> None:
        if self._made_at != _forks:
            raise RuntimeError("this process was forked from the process that loaded the model: load the model after "
                               "the fork, or let multiprocessing start processes with \"spawn\"")


def check_end() -> None:
    """Ends each thread but the main thread if the program is ending, before it enters the library or from a callback.

    Python ends a daemon thread when it calls back, inside the library's frames. That would abort the process. A thread
    that a later ``atexit`` function starts cannot use the library either.
    """
    if _is_ending and threading.current_thread() is not threading.main_thread():
        raise SystemExit


@atexit.register
def _end_calls() -> None:
    global _is_ending
    _is_ending = True
    limit = time.monotonic() + _LONGEST_WAIT
    while calling and time.monotonic() < limit:
        time.sleep(0.01)


def refuse_copy(self: object) -> NoReturn:
    """``__reduce__`` of an object that owns a handle: ``copy`` and ``pickle`` call it."""
    raise TypeError(f"a {type(self).__name__} cannot be copied or pickled: pass the path of the model file, and "
                    "load it again there")
