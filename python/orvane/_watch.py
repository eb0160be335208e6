"""Work on the calling thread while the library loads a model or waits for a host process."""

from __future__ import annotations

import ctypes
import dataclasses
import enum
import types
from typing import Callable, Generator, Optional

from ._process import check_end


class LoadStep(enum.IntEnum):
    """What a call is doing, for a progress callback."""

    NONE = 0
    """The call is not a load: it waits for the host process."""
    READING = 1
    """It reads the model file."""
    COMPILING = 2
    """It compiles the model for its device."""
    IMPORTING = 3
    """It reads the cache file."""
    WRITING = 4
    """It writes the cache file."""
    STARTING_HOST = 5
    """It starts the host process."""
    IN_HOST = 6
    """The host process loads the model."""


Progress = Callable[[LoadStep], object]


def nothing() -> None:
    """Does nothing."""


@dataclasses.dataclass
class Watch:
    """Cancels a call of the library when a signal handler, ``progress`` or ``check_on`` raises an exception."""

    progress: Optional[Progress] = None
    check_on: Callable[[], object] = nothing
    #: the exception, which the caller of the library raises again
    failure: Optional[BaseException] = None


def answers(watch: Watch) -> Generator[int, int, None]:
    """Receives steps of a load, and yields the results of the library's callback: 0 to go on.

    This is a generator, because Python runs signal handlers as soon as a function starts, before the function can catch
    an exception. A generator continues inside its ``try``.
    """
    answer = 0
    while True:
        try:
            while True:
                step = yield answer
                answer = 0  # unless one of these raises
                check_end()
                ctypes.pythonapi.PyErr_CheckSignals()
                if watch.progress is not None:
                    watch.progress(LoadStep(step))
                watch.check_on()
        except GeneratorExit:
            return
        except BaseException as error:
            watch.failure = error
            answer = 1


# Options.progress; Options.progress_user is the generator.
Callback = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.py_object, ctypes.c_int32)
ASK = Callback(types.GeneratorType.send)
