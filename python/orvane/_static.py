"""Models with fixed shapes, made from dynamic models with the package openvino: the library for Windows cannot write
models."""

from __future__ import annotations

import importlib
import operator
import os
import pathlib
import shutil
import sys
import tempfile
import weakref
from typing import Any, Mapping, Optional, Sequence, Union, cast

from ._arguments import PathLike, text_of
from ._errors import Error, NoSuchFile, Reason

# Three types, because the type of a mapping's keys is invariant.
Shapes = Union[Mapping[str, Sequence[int]], Mapping[int, Sequence[int]], Mapping[Union[str, int], Sequence[int]]]


class TemporaryFolder:
    """A private folder, until ``remove``, the end of this object, or the end of the program."""

    def __init__(self) -> None:
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="orvane-"))
        self._removal = weakref.finalize(self, _remove, self.path, os.getpid())

    @property
    def exists(self) -> bool:
        return self._removal.alive

    def remove(self) -> None:
        """Removes the folder. You may call it again."""
        self._removal()


def _remove(folder: pathlib.Path, owner: int) -> None:
    if os.getpid() == owner:  # a forked process shares the folder with its parent, which still needs it
        shutil.rmtree(folder, ignore_errors=True)


class StaticModel(TemporaryFolder):
    """A temporary copy of a model with these shapes for its inputs."""

    def __init__(self, path: PathLike, shapes: Shapes) -> None:
        super().__init__()
        self.file = self.path / (pathlib.Path(path).stem + ".xml")
        try:
            _save(pathlib.Path(path), shapes, self.file)
        except BaseException:
            self.remove()
            raise


def reshape(path: PathLike, shapes: Shapes, out: PathLike) -> None:
    """Writes a model file with fixed shapes for its inputs, in OpenVINO's format.

    OpenVINO reads the file in this process: no host process protects your program from a damaged file.

    Args:
        path: The model file.
        shapes: A shape for each dynamic input, by name or index. Other inputs may have one too.
        out: The path of the new model, which ends in ``.xml``. A ``.bin`` beside it has the weights. Either both files
            appear or neither. They replace existing files.

    Raises:
        ValueError: A shape does not fit, or a dynamic input has no shape.
        NoSuchFile: There is no such model file, or no folder for ``out``.
        Error: OpenVINO cannot read or change the model.
        OSError: The files cannot be written.
    """
    source, target = pathlib.Path(text_of(path, "path")), pathlib.Path(text_of(out, "out"))
    if target.suffix != ".xml":
        raise ValueError(f"out must be the path of an .xml file, not {str(target)!r}")
    if not target.parent.is_dir():
        raise NoSuchFile(f"there is no folder {target.parent} for {target.name}: make it first")
    with tempfile.TemporaryDirectory(prefix="orvane-", dir=target.parent) as folder:
        made = pathlib.Path(folder) / target.name
        _save(source, shapes, made)
        _replace_both(made, target)


def _replace_both(made: pathlib.Path, target: pathlib.Path) -> None:
    """Moves an .xml file and its .bin to ``target``; if that fails, the files that were there stay."""
    weights, before = target.with_suffix(".bin"), made.with_suffix(".before")
    had_weights = weights.exists()
    if had_weights:
        weights.replace(before)
    try:
        made.with_suffix(".bin").replace(weights)
        made.replace(target)
    except BaseException:
        if had_weights:
            before.replace(weights)
        else:
            weights.unlink(missing_ok=True)
        raise


def static_model(path: PathLike, shapes: Optional[Shapes], key: Optional[bytes]) -> Optional[StaticModel]:
    """The copy for these arguments of ``Model``; ``None`` without shapes."""
    if not shapes:
        return None
    if key is not None:
        raise ValueError("shapes and key cannot be combined, because the temporary copy with these shapes would not be "
                         "encrypted: encrypt a model with fixed shapes")
    return StaticModel(path, shapes)


def _dimensions(which: Union[str, int], shape: Sequence[int]) -> list[int]:
    try:
        dimensions = [operator.index(dimension) for dimension in shape]
    except TypeError:
        dimensions = [0]
    if not dimensions or not all(0 < dimension < 2**63 for dimension in dimensions):
        raise ValueError(f"shapes[{which!r}] must be whole numbers above 0, such as (1, 3, 320, 320), not {shape!r}")
    return dimensions


def _import_openvino() -> Any:
    """Imports openvino, which takes up to a second, without openvino_telemetry: that package would send a report about
    the import to a server, from a fork of this process."""
    is_hidden = sys.modules.setdefault("openvino_telemetry", cast(Any, None)) is None
    try:
        return importlib.import_module("openvino")
    finally:
        if is_hidden:
            sys.modules.pop("openvino_telemetry", None)


def _save(source: pathlib.Path, shapes: Shapes, target: pathlib.Path) -> None:
    """Writes ``target``, an .xml file, and its .bin."""
    openvino = _import_openvino()
    if not isinstance(shapes, Mapping):
        raise TypeError(f"shapes must be a dict such as {{'x': (1, 3, 320, 320)}}, not {shapes!r}")
    wanted: dict[Union[str, int], list[int]] = {which: _dimensions(which, shape) for which, shape in shapes.items()}
    if not source.exists():
        raise NoSuchFile(f"there is no model file {source}: check its name and folder")
    try:
        model = openvino.Core().read_model(source)
        ports = {which: _input(model, which, shape) for which, shape in wanted.items()}
        if len({port.node.friendly_name for port in ports.values()}) < len(ports):
            raise ValueError(f"shapes has two shapes for the same input: {list(ports)}")
        model.reshape({ports[which]: shape for which, shape in wanted.items()})
        dynamic = [f"{port.any_name!r} {port.partial_shape}" for port in model.inputs if port.partial_shape.is_dynamic]
        if dynamic:
            raise ValueError(f"shapes has no shape for {', '.join(dynamic)}: give each dynamic input one")
        openvino.save_model(model, target, compress_to_fp16=False)
    except RuntimeError as error:
        raise Error(f"OpenVINO cannot give {source} these shapes: {str(error).strip()}", Reason.RUNTIME) from None


def _input(model: Any, which: Union[str, int], shape: list[int]) -> Any:
    try:
        port = model.input(which)
    except (RuntimeError, IndexError, TypeError):
        names = [each.any_name for each in model.inputs]
        raise ValueError(f"shapes has {which!r}, but the model has the inputs {names}") from None
    if not port.partial_shape.compatible(_import_openvino().PartialShape(shape)):
        raise ValueError(f"shapes[{which!r}] is {shape}, but the model allows {port.partial_shape}")
    return port
