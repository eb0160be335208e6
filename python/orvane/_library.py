"""The library behind the package: where it is, its functions, and its failures as exceptions."""

from __future__ import annotations

import atexit
import ctypes
import enum
import importlib.metadata
import importlib.util
import os
import pathlib
import sys
from ctypes import POINTER, c_char_p, c_int32, c_int64, c_uint32, c_uint64, c_void_p
from typing import Any, Callable, Optional, Union

OPENVINO_RELEASE = "2026.4.1"
ABI = 3

# As in an installed SDK: libraries and programs stand side by side, but for Windows, where they share a folder.
FOLDER = pathlib.Path(__file__).resolve().parent
LIBRARY = FOLDER / ("bin/orvane_c.dll" if sys.platform == "win32" else "lib/liborvane_c.so.0")

PathLike = Union[str, "os.PathLike[str]"]


class Reason(enum.IntEnum):
    """Why a call failed."""

    REFUSED = 1  #: it cannot be done with this model, these files or these options
    BAD_ARGUMENT = 2  #: what was passed is wrong whatever the model
    NO_MEMORY = 3  #: there is not enough memory
    HOST_ENDED = 4  #: the host process has ended
    SYSTEM = 5  #: the system cannot do it
    RUNTIME = 6  #: the inference runtime failed; the text is its own
    CANCELLED = 7  #: a progress callback gave the call up


class Error(Exception):
    """A failed call. Its text says what was wrong and what to do."""

    def __init__(self, message: str, reason: Reason, system: int = 0) -> None:
        super().__init__(message, reason, system)
        #: what kind of failure it is
        self.reason = reason
        #: the system's error number, or 0
        self.system = system

    def __str__(self) -> str:
        return str(self.args[0])


class HostEnded(Error):
    """The host process has ended: it crashed, was killed, took longer than its time limit, or was interrupted.

    The model stays so until ``restart()``. With ``retries`` a model restarts itself.
    """


Progress = ctypes.CFUNCTYPE(c_int32, c_void_p, c_int32)
FileProgress = ctypes.CFUNCTYPE(c_int32, c_void_p, c_uint64, c_uint64)


class Options(ctypes.Structure):
    _fields_ = [
        ("struct_size", c_uint64),
        ("model_path", c_char_p),
        ("device", c_char_p),
        ("cache_path", c_char_p),
        ("host_program", c_char_p),
        ("key", c_char_p),
        ("key_size", c_uint32),
        ("make_cache", c_uint32),
        ("time_limit_ms", c_uint32),
        ("load_time_limit_ms", c_uint32),
        ("progress", Progress),
        ("progress_user", c_void_p),
    ]


class Description(ctypes.Structure):
    _fields_ = [
        ("struct_size", c_uint64),
        ("name", c_char_p),
        ("dimensions", POINTER(c_int64)),
        ("rank", c_uint32),
        ("element_type", c_uint32),
        ("byte_size", c_uint64),
        ("problem", c_char_p),
    ]


class Buffer(ctypes.Structure):
    """`orvane_input` and `orvane_output`, which differ in the constness of `data` only."""

    _fields_ = [("struct_size", c_uint64), ("index", c_uint32), ("data", c_void_p), ("bytes", c_uint64)]


LogLine = ctypes.CFUNCTYPE(None, c_void_p, c_uint32, c_char_p)

# Each function that is called: what it returns, and what it takes. An error is an address that `check` looks at.
FUNCTIONS: dict[str, tuple[Any, tuple[Any, ...]]] = {
    "orvane_abi": (c_uint32, ()),
    "orvane_version": (c_char_p, ()),
    "orvane_open": (c_void_p, (POINTER(Options), POINTER(c_void_p))),
    "orvane_close": (None, (c_void_p,)),
    "orvane_restart": (c_void_p, (c_void_p,)),
    "orvane_tensor_count": (c_uint32, (c_void_p, c_int32)),
    "orvane_describe": (c_void_p, (c_void_p, c_int32, c_uint32, POINTER(Description))),
    "orvane_infer": (c_void_p, (c_void_p, POINTER(Buffer), c_uint32, POINTER(Buffer), c_uint32)),
    "orvane_interrupt": (None, (c_void_p,)),
    "orvane_encrypt_file": (c_void_p, (c_char_p, c_char_p, c_char_p, c_uint32, c_uint32, FileProgress, c_void_p)),
    "orvane_decrypt_file": (c_void_p, (c_char_p, c_char_p, c_char_p, c_uint32, FileProgress, c_void_p)),
    "orvane_error_reason": (c_int32, (c_void_p,)),
    "orvane_error_system": (c_int32, (c_void_p,)),
    "orvane_error_message": (c_char_p, (c_void_p,)),
    "orvane_error_free": (None, (c_void_p,)),
    "orvane_set_log": (None, (LogLine, c_void_p)),
}

# What the library's texts call things by, and this package's names for the same.
NAMES = {"orvane_restart": "restart()", "host_program": "host", "time_limit_ms": "time_limit"}


def runtime_folder() -> pathlib.Path:
    """The folder with the libraries of the installed OpenVINO, which must be the release that this library was linked
    with: each release has its own binary form."""
    wanted = f"orvane needs openvino {OPENVINO_RELEASE}"
    try:
        found = importlib.metadata.version("openvino")
        spec = importlib.util.find_spec("openvino")
    except importlib.metadata.PackageNotFoundError:
        spec = None
    if spec is None or spec.origin is None:
        raise ImportError(f"{wanted}, and none is installed: pip install openvino=={OPENVINO_RELEASE}")
    if found != OPENVINO_RELEASE:
        raise ImportError(f"{wanted}, and {found} is installed: pip install openvino=={OPENVINO_RELEASE}")
    return pathlib.Path(spec.origin).parent / "libs"


def program(name: str) -> pathlib.Path:
    """A program that the package brings."""
    return FOLDER / "bin" / (name + (".exe" if sys.platform == "win32" else ""))


def let_programs_find(runtime: pathlib.Path) -> None:
    """Lets host processes and the command line find the runtime's DLLs, as on other systems the programs say
    themselves."""
    if sys.platform == "win32":
        paths = os.environ.get("PATH", "").split(os.pathsep)
        if str(runtime) not in paths:
            os.environ["PATH"] = os.pathsep.join([str(runtime), *paths])


def load() -> ctypes.CDLL:
    runtime = runtime_folder()
    let_programs_find(runtime)
    if sys.platform == "win32":
        os.add_dll_directory(str(runtime))  # for good: the runtime loads its plugins later
        library = ctypes.CDLL(str(LIBRARY))
    else:
        try:
            library = ctypes.CDLL(str(LIBRARY))
        except OSError as error:
            raise ImportError(f"{error}; the library looks for OpenVINO in the folder of packages that orvane is in, "
                              f"and it is in {runtime}: install both into one environment") from error
    for name, (result, arguments) in FUNCTIONS.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments
    if library.orvane_abi() < ABI:
        raise ImportError(f"{LIBRARY} is older than this package: install orvane again")
    return library


library = load()


def check(error: Optional[int]) -> None:
    """Raises what a function of the library returned, unless it is success."""
    if error is None:
        return
    message = library.orvane_error_message(error).decode()
    reason = Reason(library.orvane_error_reason(error))
    system = library.orvane_error_system(error)
    library.orvane_error_free(error)
    for name, own in NAMES.items():
        message = message.replace(name, own)
    raise (HostEnded if reason is Reason.HOST_ENDED else Error)(message, reason, system)


def encode(path: PathLike) -> bytes:
    """A path as the library takes it, UTF-8 on every system."""
    return os.fspath(path).encode("utf-8", "surrogateescape")


def check_key(key: bytes) -> bytes:
    if not isinstance(key, bytes) or not 1 <= len(key) <= 4:
        raise ValueError(f"a key is 1 to 4 bytes, such as b'key!', not {key!r}")
    return key


def encrypt(source: PathLike, target: PathLike, key: bytes, *, pad: bool = False) -> None:
    """Encrypts a model file with a key of 1 to 4 bytes, as ``Model(key=…)`` reads it.

    ``target`` may be ``source``; it appears whole or not at all. A file whose last 4 MiB piece has 1 to 15 bytes would
    not come back whole and is refused, unless ``pad`` lets it be filled up with what a reader of models skips.
    """
    check(library.orvane_encrypt_file(encode(source), encode(target), check_key(key), len(key), pad, FileProgress(), None))


def decrypt(source: PathLike, target: PathLike, key: bytes) -> None:
    """The other direction of ``encrypt``."""
    check(library.orvane_decrypt_file(encode(source), encode(target), check_key(key), len(key), FileProgress(), None))


_log_line: Optional[Callable[[int, str], None]] = None


def _forward(_user: Optional[int], level: int, text: bytes) -> None:
    line = _log_line
    if line is not None:
        line(level, text.decode("utf-8", "replace"))


_FORWARD = LogLine(_forward)  # one for all sinks, since the library may still be calling it when another is set
_NOBODY = LogLine()


def set_log(line: Optional[Callable[[int, str], None]]) -> None:
    """Gives the log lines of all models to ``line(level, text)``, or, with ``None``, to nobody, as at the start.

    It is called on the thread that logs, perhaps by several at once. The library's own lines have level 6.
    """
    global _log_line
    _log_line = line
    library.orvane_set_log(_NOBODY if line is None else _FORWARD, None)


atexit.register(set_log, None)  # a line that is logged while the process ends finds no Python any more


def version() -> str:
    """The library's version, "major.minor.patch"."""
    text: bytes = library.orvane_version()
    return text.decode()
