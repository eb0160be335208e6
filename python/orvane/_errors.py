"""The exceptions of the package."""

from __future__ import annotations

import enum
import errno
import sys


class Reason(enum.IntEnum):
    """Why a call failed."""

    REFUSED = 1
    """This model, these files or these options do not allow it."""
    BAD_ARGUMENT = 2
    """An argument is wrong for every model."""
    NO_MEMORY = 3
    """There is not enough memory."""
    HOST_ENDED = 4
    """The host process has ended."""
    SYSTEM = 5
    """The operating system refused; ``Error.system`` is its error number."""
    RUNTIME = 6
    """The inference runtime failed; the text comes from it."""
    CANCELLED = 7
    """A progress callback cancelled the call. You see the exception of your callback instead."""


class HostEnd(enum.IntEnum):
    """How a host process ended."""

    EXIT = 1
    """It exited, or on Windows crashed."""
    SIGNAL = 2
    """A signal ended it, for example because it crashed."""
    INTERRUPTED = 3
    """``interrupt``, Ctrl-C or a progress callback ended it."""
    TIME_LIMIT = 4
    """A call reached its time limit."""
    BAD_REPLY = 5
    """It sent an invalid reply, and the library ended it."""
    UNKNOWN = 6
    """The system does not say how it ended."""


class Error(Exception):
    """A call failed. The text says what was wrong and what to do."""

    reason: Reason
    """The kind of failure."""
    system: int
    """The error number of the operating system, or 0."""

    def __init__(self, message: str, reason: Reason, system: int = 0) -> None:
        super().__init__(message, reason, system)
        self.reason = reason
        self.system = system

    def __str__(self) -> str:
        return str(self.args[0])


class HostEnded(Error):
    """The host process has ended. Every further call raises this again until ``restart``."""

    cause: HostEnd
    """How the host process ended."""

    def __init__(self, message: str, reason: Reason = Reason.HOST_ENDED, system: int = 0,
                 cause: HostEnd = HostEnd.UNKNOWN) -> None:
        super().__init__(message, reason, system)
        self.cause = cause


class NoSuchFile(Error, FileNotFoundError):
    """There is no such file."""

    def __init__(self, message: str, reason: Reason = Reason.SYSTEM, system: int = errno.ENOENT) -> None:
        super().__init__(message, reason, system)
        self.errno = errno.ENOENT
        self.strerror = message


_NO_SUCH_FILE = (errno.ENOENT, 3) if sys.platform == "win32" else (errno.ENOENT,)  # 3: ERROR_PATH_NOT_FOUND


def make_error(message: str, reason: Reason, system: int, host_end: int) -> Error:
    """The exception for an error of the library."""
    if reason is Reason.HOST_ENDED:
        return HostEnded(message, reason, system, HostEnd(host_end or HostEnd.UNKNOWN))
    if reason is Reason.SYSTEM and system in _NO_SUCH_FILE:
        return NoSuchFile(message, reason, system)
    return Error(message, reason, system)
