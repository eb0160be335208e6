"""The shared library: where it is, and its functions."""

from __future__ import annotations

import atexit
import ctypes
import importlib.metadata
import importlib.util
import pathlib
import sys
from ctypes import POINTER, c_char_p, c_int32, c_int64, c_uint32, c_uint64, c_void_p
from typing import Any, Callable, Optional

from ._arguments import check_callable
from ._errors import Reason, make_error
from ._watch import Callback

OPENVINO_RELEASE = "2026.4.1"
ABI = 4

# Libraries are in lib and programs in bin, but on Windows both are in bin.
FOLDER = pathlib.Path(__file__).resolve().parent
LIBRARY = FOLDER / ("bin/orvane_c.dll" if sys.platform == "win32" else "lib/liborvane_c.so.0")


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
        ("progress", Callback),
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
    """`orvane_input` and `orvane_output`: they have the same layout."""

    _fields_ = [("struct_size", c_uint64), ("index", c_uint32), ("data", c_void_p), ("bytes", c_uint64)]


DeviceSink = ctypes.CFUNCTYPE(None, ctypes.py_object, c_char_p, c_char_p)
TensorSink = ctypes.CFUNCTYPE(None, c_void_p, c_int32, POINTER(Description))
LogLine = ctypes.CFUNCTYPE(None, c_void_p, c_uint32, c_char_p)

# The functions that the package calls: result and arguments. An error is an address, for `check`.
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
    "orvane_encrypt_file": (c_void_p, (c_char_p, c_char_p, c_char_p, c_uint32, c_uint32, c_void_p, c_void_p)),
    "orvane_decrypt_file": (c_void_p, (c_char_p, c_char_p, c_char_p, c_uint32, c_void_p, c_void_p)),
    "orvane_list_devices": (c_void_p, (DeviceSink, ctypes.py_object)),
    "orvane_describe_file": (c_void_p, (c_char_p, TensorSink, c_void_p)),
    "orvane_error_reason": (c_int32, (c_void_p,)),
    "orvane_error_system": (c_int32, (c_void_p,)),
    "orvane_error_message": (c_char_p, (c_void_p,)),
    "orvane_error_host_end": (c_int32, (c_void_p,)),
    "orvane_error_free": (None, (c_void_p,)),
    "orvane_set_log": (c_void_p, (LogLine, c_void_p)),
}


def runtime_folder() -> pathlib.Path:
    """The folder with the libraries of the installed OpenVINO. It must be the release with which the shared library was
    linked, because releases are not binary compatible."""
    wanted = f"orvane needs openvino {OPENVINO_RELEASE}"
    try:
        found = importlib.metadata.version("openvino")
        spec = importlib.util.find_spec("openvino")
    except importlib.metadata.PackageNotFoundError:
        spec = None
    if spec is None or spec.origin is None:
        raise ImportError(f"{wanted}, but it is not installed: pip install openvino=={OPENVINO_RELEASE}")
    if found != OPENVINO_RELEASE:
        raise ImportError(f"{wanted}, but {found} is installed: pip install openvino=={OPENVINO_RELEASE}")
    return pathlib.Path(spec.origin).parent / "libs"


def program(name: str) -> pathlib.Path:
    """The path of a program in this package."""
    return FOLDER / "bin" / (name + (".exe" if sys.platform == "win32" else ""))


def load() -> ctypes.CDLL:
    runtime = runtime_folder()
    misplaced = (f"openvino must be in the same folder of packages as orvane, but it is in {runtime}: install both into "
                 "one environment")
    if sys.platform == "win32" and runtime.resolve() != FOLDER.parent / "openvino" / "libs":
        raise ImportError(misplaced)  # the library and host processes load OpenVINO from there with the first model
    try:
        library = ctypes.CDLL(str(LIBRARY))
    except OSError as error:
        raise ImportError(f"{error}; {misplaced}") from error
    for name, (result, arguments) in FUNCTIONS.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments
    if library.orvane_abi() < ABI:
        raise ImportError(f"{LIBRARY} is older than this package: install orvane again")
    return library


library = load()


def check(error: Optional[int]) -> None:
    """Raises the error that a function of the library returned, if any."""
    if error is None:
        return
    failure = make_error(library.orvane_error_message(error).decode(), Reason(library.orvane_error_reason(error)),
                         library.orvane_error_system(error), library.orvane_error_host_end(error))
    library.orvane_error_free(error)
    raise failure


_log_line: Optional[Callable[[int, str], None]] = None


def _forward(_user: Optional[int], level: int, text: bytes) -> None:
    line = _log_line
    if line is not None:
        line(level, text.decode("utf-8", "replace"))


_FORWARD = LogLine(_forward)  # the same for all sinks: the library may still call it when another sink is set
_DROP = LogLine()


def set_log(line: Optional[Callable[[int, str], None]]) -> None:
    """Sends the log lines of all models to ``line(level, text)``; ``None``, the default, drops them.

    ``line`` is called on the thread that logs, by several threads at once. Lines of this library have level 6.
    """
    global _log_line
    if line is not None:
        check_callable(line, "line")
    _log_line = line
    check(library.orvane_set_log(_DROP if line is None else _FORWARD, None))


atexit.register(set_log, None)  # the library may log after the end of Python


def version() -> str:
    """The library's version, "major.minor.patch"."""
    text: bytes = library.orvane_version()
    return text.decode()
