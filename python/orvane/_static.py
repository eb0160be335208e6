"""Static models of dynamic ones, made with OpenVINO's own package and kept."""

from __future__ import annotations

import hashlib
import os
import pathlib
import sys
import tempfile
from typing import Any, Mapping, Sequence, Union

from ._library import OPENVINO_RELEASE, PathLike

Shapes = Mapping[Union[str, int], Sequence[int]]


def static_folder() -> pathlib.Path:
    """The folder with the static models that ``Model(shapes=…)`` has made. It may be deleted at any time at which no
    model is being loaded from it."""
    if sys.platform == "win32":
        base = os.environ.get("LOCALAPPDATA") or pathlib.Path.home() / "AppData" / "Local"
    else:
        base = os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache"
    return pathlib.Path(base) / "orvane" / "static"


def make_static(path: PathLike, shapes: Shapes) -> pathlib.Path:
    """The path of a model file that is the model with these shapes for its inputs."""
    model = pathlib.Path(path)
    if not model.is_file():
        raise FileNotFoundError(f"there is no model file {model}")
    folder = static_folder()
    place = folder / f"{model.stem}-{_digest(model, shapes)}"
    if not place.exists():
        folder.mkdir(parents=True, exist_ok=True, mode=0o700)
        with tempfile.TemporaryDirectory(dir=folder) as scratch:
            made = pathlib.Path(scratch) / "made"
            made.mkdir()
            _save(model, shapes, made / "model.xml")
            try:
                made.rename(place)
            except OSError:
                if not place.exists():  # another process has made the same meanwhile
                    raise
    return place / "model.xml"


def _digest(model: pathlib.Path, shapes: Shapes) -> str:
    """Of all that the static model is made of."""
    digest = hashlib.sha256(repr((OPENVINO_RELEASE, model.suffix, sorted(_plain(shapes).items(), key=str))).encode())
    for file in (model, model.with_suffix(".bin")):
        if file.is_file():
            with open(file, "rb") as opened:
                while piece := opened.read(1 << 20):
                    digest.update(piece)
    return digest.hexdigest()[:24]


def _plain(shapes: Shapes) -> dict[Union[str, int], tuple[int, ...]]:
    plain = {}
    for which, shape in shapes.items():
        if isinstance(shape, str) or not all(isinstance(d, int) and not isinstance(d, bool) and d > 0 for d in shape):
            raise ValueError(f"shapes[{which!r}] is a sequence of numbers above 0, such as (1, 3, 320, 320), not "
                             f"{shape!r}")
        plain[which] = tuple(shape)
    return plain


def _save(source: pathlib.Path, shapes: Shapes, target: pathlib.Path) -> None:
    import openvino  # a second to load, and needed here only

    model: Any = openvino.Core().read_model(source)
    wanted = {}
    for which, shape in _plain(shapes).items():
        try:
            port = model.input(which)
        except RuntimeError:
            names = [each.any_name for each in model.inputs]
            raise ValueError(f"shapes has {which!r}, and the model has the inputs {names}") from None
        if not port.partial_shape.compatible(openvino.PartialShape(list(shape))):
            raise ValueError(f"shapes[{which!r}] is {shape}, and the model allows {port.partial_shape}")
        wanted[port] = list(shape)
    model.reshape(wanted)
    if left := [f"{port.any_name!r} {port.partial_shape}" for port in model.inputs if port.partial_shape.is_dynamic]:
        raise ValueError(f"shapes leaves dynamic: {', '.join(left)}; give each of them a shape")
    openvino.save_model(model, target, compress_to_fp16=False)
