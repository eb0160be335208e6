"""ONNX's interface for backends, ``onnx.backend.base``, on top of ``orvane.Model``.

    import onnx, orvane.onnx_backend

    prepared = orvane.onnx_backend.prepare(onnx.load("face.onnx"), host=True)
    boxes, scores = prepared.run([picture])

It needs the package onnx, which the extra ``onnx`` of the wheel installs.
"""

from __future__ import annotations

from typing import Any, Mapping, Optional, Sequence, Union

import numpy as np
import onnx
import onnx.shape_inference
from onnx.backend import base

from ._errors import Error
from ._model import Model
from ._static import TemporaryFolder

Inputs = Union[Sequence[Any], Mapping[str, Any]]
Shape = tuple[Optional[int], ...]


class PreparedModel(base.BackendRep):
    """A model that is ready to run, until ``close`` or the end of a ``with`` block.

    A model with dynamic inputs is loaded at its first run, for the shapes of these arrays, and again if the shapes
    change. Only one thread at a time may use it.
    """

    def __init__(self, model: onnx.ModelProto, options: dict[str, Any]) -> None:
        for value in (*model.graph.input, *model.graph.output):
            if not value.type.HasField("tensor_type"):
                kind = value.type.WhichOneof("value")
                raise ValueError(f"{value.name!r} is a {kind}, but only tensors can be copied")
        self._proto = onnx.ModelProto()
        self._proto.CopyFrom(model)
        self._inputs = _inputs(self._proto)
        self._results = base.namedtupledict("Outputs", [value.name for value in model.graph.output])
        self._options = options
        self._loaded: Optional[tuple[list[Shape], Model, list[int]]] = None
        self._folder = TemporaryFolder()
        shapes = [_shape(value) for value in self._inputs]
        if None not in shapes and not any(None in shape for shape in shapes if shape):
            self._load([shape for shape in shapes if shape is not None])

    @property
    def model(self) -> Optional[Model]:
        """The loaded model; ``None`` before the first run of a model with dynamic inputs."""
        return self._loaded[1] if self._loaded else None

    def run(self, inputs: Inputs, **_: Any) -> tuple[Any, ...]:
        """Runs the model once.

        Args:
            inputs: Arrays for the inputs without initializer, in the model's order or by name.

        Returns:
            New arrays for the outputs, in the model's order; also by name, ``outputs["y"]``.

        Raises:
            TypeError, ValueError: An input is missing or does not fit. The text names it.
            HostEnded: The host process has ended, more often than the option ``retries`` allows.
            Error: The model cannot be loaded, it failed, or it has a tensor that cannot be copied.
        """
        if not self._folder.exists:
            raise ValueError("the model is closed: prepare it again")
        arrays = [np.asarray(array) for array in self._in_order(inputs)]
        for value, array in zip(self._inputs, arrays):
            _check(value, array)
        shapes: list[Shape] = [array.shape for array in arrays]
        if self._loaded is None or self._loaded[0] != shapes:
            self._load(shapes)
        assert self._loaded is not None
        model, kept = self._loaded[1:]
        return self._results(*model.run(*(arrays[i].reshape(arrays[i].shape or (1,)) for i in kept)))

    def _in_order(self, inputs: Inputs) -> Sequence[Any]:
        names = [value.name for value in self._inputs]
        if isinstance(inputs, Mapping):
            if set(inputs) != set(names):
                raise TypeError(f"the model has the inputs {names}, but {list(inputs)} were given")
            return [inputs[name] for name in names]
        if len(inputs) != len(names):
            raise TypeError(f"the model has {len(names)} inputs, {names}, but {len(inputs)} arrays were given")
        return inputs

    def _load(self, shapes: list[Shape]) -> None:
        if self.model is not None:
            self.model.close()
        self._loaded = None
        proto = onnx.ModelProto()
        proto.CopyFrom(self._proto)
        values = _inputs(proto)
        for value, shape in zip(values, shapes):
            if shape == ():
                _give_dimension(proto.graph, value)
            else:
                _set_shape(value, shape)
        path = self._folder.path / "model.onnx"  # it stays there, because a new host process loads it again
        path.write_bytes(proto.SerializeToString())
        model = Model(path, **self._options)
        kept = [i for i, shape in enumerate(shapes) if shape != (0,)]  # OpenVINO turns empty inputs into constants
        if len(kept) != len(model.inputs):
            raise ValueError(f"OpenVINO uses only {len(model.inputs)} of the inputs "
                             f"{[value.name for value in self._inputs]}: export the model without the others")
        self._loaded = shapes, model, kept

    def close(self) -> None:
        """Ends the host process and frees the model. You may call it again."""
        if self.model is not None:
            self.model.close()
        self._folder.remove()

    def __enter__(self) -> PreparedModel:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


def _inputs(model: onnx.ModelProto) -> list[onnx.ValueInfoProto]:
    """The inputs that a run needs."""
    constant = {tensor.name for tensor in model.graph.initializer}
    constant |= {tensor.values.name for tensor in model.graph.sparse_initializer}
    return [value for value in model.graph.input if value.name not in constant]


def _shape(value: onnx.ValueInfoProto) -> Optional[Shape]:
    """``None`` for a dynamic dimension; only ``None`` if the number of dimensions is dynamic."""
    tensor = value.type.tensor_type
    if not tensor.HasField("shape"):
        return None
    return tuple(dim.dim_value if dim.HasField("dim_value") and dim.dim_value >= 0 else None
                 for dim in tensor.shape.dim)


def _set_shape(value: onnx.ValueInfoProto, shape: Shape) -> None:
    dimensions = value.type.tensor_type.shape
    del dimensions.dim[:]
    dimensions.SetInParent()
    for size in shape:
        dimensions.dim.add().dim_value = size or 0


def _check(value: onnx.ValueInfoProto, array: np.ndarray[Any, Any]) -> None:
    wanted = _shape(value)
    if wanted is not None and (len(wanted) != array.ndim
                               or any(size not in (None, given) for size, given in zip(wanted, array.shape))):
        text = ", ".join("?" if size is None else str(size) for size in wanted)
        raise ValueError(f"input {value.name!r} needs the shape [{text}], but got {list(array.shape)}")


def _give_dimension(graph: onnx.GraphProto, value: onnx.ValueInfoProto) -> None:
    """Gives an input without dimensions, which cannot be set, the shape [1]. A new first node makes the scalar."""
    scalar = value.name
    value.name += "[0]"
    _set_shape(value, (1,))
    graph.node.insert(0, onnx.helper.make_node("Squeeze", [value.name], [scalar]))


class OrvaneBackend(base.Backend):
    """``onnx.backend.base.Backend``. Its methods are also functions of this module.

    ``options`` are those of ``orvane.Model``, such as ``host``, ``time_limit`` and ``retries``. The only device is
    ``"CPU"``.
    """

    @classmethod
    def is_compatible(cls, model: onnx.ModelProto, device: str = "CPU", **options: Any) -> bool:
        """Whether the model can run: loads it. Only checks a model with dynamic inputs."""
        try:
            with cls.prepare(model, device, **options) as prepared:
                loaded = prepared.model
                return loaded is None or (bool(loaded.inputs)
                                          and all(tensor.nbytes for tensor in (*loaded.inputs, *loaded.outputs)))
        except (Error, ValueError, onnx.checker.ValidationError):
            return False

    @classmethod
    def prepare(cls, model: onnx.ModelProto, device: str = "CPU", **options: Any) -> PreparedModel:
        """Checks the model and loads it.

        Raises:
            onnx.checker.ValidationError: The model is not valid.
            ValueError: There is no such device, or an input or output is not a tensor.
            Error: The model cannot be loaded.
        """
        if not cls.supports_device(device):
            raise ValueError(f"the device is CPU, not {device!r}")
        super().prepare(model, device)
        return PreparedModel(model, options)

    @classmethod
    def run_model(cls, model: onnx.ModelProto, inputs: Inputs, device: str = "CPU", **options: Any) -> tuple[Any, ...]:
        """Loads the model and runs it once."""
        with cls.prepare(model, device, **options) as prepared:
            return prepared.run(inputs)

    @classmethod
    def run_node(cls, node: onnx.NodeProto, inputs: Any, device: str = "CPU", outputs_info: Any = None,
                 **options: Any) -> tuple[Any, ...]:
        """Runs one operator, of ``opset_version`` or of the newest version that onnx has. It infers the outputs and
        ignores ``outputs_info``."""
        version = options.pop("opset_version", onnx.defs.onnx_opset_version())
        super().run_node(node, inputs, device, outputs_info, opset_version=version)
        arrays = {name: np.asarray(array) for name, array in zip(filter(None, node.input), inputs)}
        types = {name: onnx.helper.np_dtype_to_tensor_dtype(array.dtype) for name, array in arrays.items()}
        given = [onnx.helper.make_tensor_value_info(name, types[name], array.shape) for name, array in arrays.items()]
        wanted = [onnx.helper.make_empty_tensor_value_info(name) for name in node.output if name]
        graph = onnx.helper.make_graph([node], "node", given, wanted)
        model = onnx.helper.make_model(graph, opset_imports=[onnx.helper.make_opsetid(node.domain, version)])
        with cls.prepare(onnx.shape_inference.infer_shapes(model), device, **options) as prepared:
            return prepared.run(arrays)

    @classmethod
    def supports_device(cls, device: str) -> bool:
        """Whether it is ONNX's name for the CPU."""
        return device in ("CPU", "CPU:0")


is_compatible = OrvaneBackend.is_compatible
prepare = OrvaneBackend.prepare
run_model = OrvaneBackend.run_model
run_node = OrvaneBackend.run_node
supports_device = OrvaneBackend.supports_device
