"""ONNX's interface for backends: shapes of arrays, scalars, single operators."""

from __future__ import annotations

import os
import pathlib
import signal
import tempfile
from typing import Any, Sequence, Union

import numpy as np
import onnx
import orvane.onnx_backend
import pytest
from material import hosts
from onnx import TensorProto, helper

pytestmark = pytest.mark.timeout(120)

Tensors = dict[str, tuple[int, Sequence[Union[int, str]]]]
F = TensorProto.FLOAT


@pytest.fixture(autouse=True)
def no_file_stays(tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch) -> Any:
    monkeypatch.setattr(tempfile, "tempdir", str(tmp_path))
    yield
    assert list(tmp_path.iterdir()) == []


def make(node: onnx.NodeProto, inputs: Tensors, output: Sequence[Union[int, str]]) -> onnx.ModelProto:
    values = [helper.make_tensor_value_info(name, *given) for name, given in inputs.items()]
    graph = helper.make_graph([node], "graph", values, [helper.make_tensor_value_info("y", F, output)])
    return helper.make_model(graph, opset_imports=[helper.make_opsetid("", 17)])


def test_dynamic_inputs_take_the_shapes_of_the_arrays() -> None:
    model = make(helper.make_node("Add", ["a", "b"], ["y"]), {"a": (F, ["n", 3]), "b": (F, ["k"])}, ["n", 3])
    assert orvane.onnx_backend.is_compatible(model)
    with orvane.onnx_backend.prepare(model, host=True, retries=1) as prepared:
        assert prepared.model is None
        for rows in (2, 2, 5):
            a = np.arange(rows * 3, dtype=np.float32).reshape(rows, 3)
            outputs: Any = prepared.run({"b": a[1], "a": a})
            assert np.array_equal(outputs["y"], a + a[1])
        assert prepared.model is not None
        os.kill(hosts()[0], signal.SIGKILL)
        assert np.array_equal(prepared.run([a, a[0]])[0], a + a[0])  # the next host process loads the file again
        with pytest.raises(ValueError, match=r"input 'a' needs the shape \[\?, 3\], but got \[3, 2\]"):
            prepared.run([a[:3, :2], a[0]])
        with pytest.raises(TypeError, match="but 1 arrays were given"):
            prepared.run([a])
    with pytest.raises(ValueError, match="closed"):
        prepared.run([a, a[0]])


@pytest.mark.parametrize("host", [False, True], ids=["in_process", "host"])
def test_an_input_may_be_a_scalar(host: bool) -> None:
    model = make(helper.make_node("Mul", ["a", "factor"], ["y"]), {"a": (F, [2]), "factor": (F, [])}, [2])
    outputs = orvane.onnx_backend.run_model(model, [np.array([1, 2], np.float32), np.float32(3)], host=host)
    assert np.array_equal(outputs[0], [3, 6])


def test_empty_inputs_are_recognized() -> None:
    # OpenVINO turns the first input into a constant, and renames the second.
    inputs: Tensors = {"axes": (TensorProto.INT64, [0]), "x": (F, [2]), "one": (F, [2])}
    model = make(helper.make_node("Add", ["x", "same"], ["y"]), inputs, [2])
    model.graph.node.insert(0, helper.make_node("ReduceSum", ["one", "axes"], ["same"], noop_with_empty_axes=1))
    arrays = [np.zeros(0, np.int64), np.array([4, 5], np.float32), np.array([1, 0], np.float32)]
    assert np.array_equal(orvane.onnx_backend.run_model(model, arrays)[0], [5, 5])


def test_run_node_runs_one_operator() -> None:
    x = np.array([[-1, 2], [3, 4]], np.float32)
    node = helper.make_node("Clip", ["x", "", "most"], ["y"])
    assert np.array_equal(orvane.onnx_backend.run_node(node, [x, np.float32(3)], opset_version=13)[0], np.minimum(x, 3))
    node = helper.make_node("Add", ["x", "x"], ["y"])
    assert np.array_equal(orvane.onnx_backend.run_node(node, [x, x], host=True)[0], x + x)


def test_backend_refuses_other_models_and_devices() -> None:
    reshape = make(helper.make_node("Reshape", ["x", "to"], ["y"]), {"x": (F, [6]), "to": (TensorProto.INT64, [2])},
                   ["a", "b"])
    assert not orvane.onnx_backend.is_compatible(reshape)
    with pytest.raises(orvane.Error, match="output 0 "):
        orvane.onnx_backend.run_model(reshape, [np.zeros(6, np.float32), np.array([2, 3])])
    no_operator = make(helper.make_node("Nothing", ["x"], ["y"]), {"x": (F, [6])}, [6])
    assert not orvane.onnx_backend.is_compatible(no_operator)
    with pytest.raises(onnx.checker.ValidationError):
        orvane.onnx_backend.prepare(no_operator)
    assert not orvane.onnx_backend.supports_device("CUDA")
    with pytest.raises(ValueError, match="the device is CPU"):
        orvane.onnx_backend.prepare(reshape, "CUDA")
