"""Models, arrays and host processes for the tests."""

from __future__ import annotations

import os
import pathlib
from typing import Sequence

import numpy as np
import onnx
import pytest
from onnx import TensorProto, helper

MATERIAL = pathlib.Path(__file__).resolve().parents[2] / ".deps" / "material"
FACE = MATERIAL / "face_detection_short_range.tflite"
VOICE = MATERIAL / "silero_vad_openvino_16k.onnx"

WAYS = pytest.mark.parametrize("host", [False, True], ids=["in_process", "host"])


def same(ours: list[np.ndarray], theirs: list[np.ndarray]) -> bool:
    return all(np.array_equal(our, their) and our.dtype == their.dtype for our, their in zip(ours, theirs, strict=True))


def voice_inputs(seed: int = 0) -> list[np.ndarray]:
    random = np.random.default_rng(seed)
    return [random.random((1, 576), np.float32), random.random((2, 1, 128), np.float32)]


def write_sum(path: pathlib.Path, element_type: int = TensorProto.FLOAT,
              shape: Sequence[int | str] = (2, 3)) -> pathlib.Path:
    """A model with the output "sum" of its inputs "left" and "right"."""
    tensors = [helper.make_tensor_value_info(name, element_type, shape) for name in ("left", "right", "sum")]
    graph = helper.make_graph([helper.make_node("Add", ["left", "right"], ["sum"])], "sum", tensors[:2], tensors[2:])
    model = helper.make_model(graph, opset_imports=[helper.make_opsetid("", 17)])
    model.ir_version = 8
    onnx.save(model, path)
    return path


def write_scale(path: pathlib.Path, weight_count: int = 1000) -> pathlib.Path:
    """A model that multiplies its input "x" with the numbers in the file "weights" beside it."""
    x, y = (helper.make_tensor_value_info(name, TensorProto.FLOAT, ("batch", weight_count)) for name in "xy")
    weights = TensorProto(name="factor", data_type=TensorProto.FLOAT, dims=[weight_count],
                          data_location=TensorProto.EXTERNAL)
    weights.external_data.add(key="location", value="weights")
    graph = helper.make_graph([helper.make_node("Mul", ["x", "factor"], ["y"])], "scale", [x], [y], [weights])
    model = helper.make_model(graph, opset_imports=[helper.make_opsetid("", 17)])
    model.ir_version = 8
    path.write_bytes(model.SerializeToString())
    return path


def hosts(parent: int | None = None) -> list[int]:
    """The process ids of the host processes of this process or of `parent`."""
    found = []
    for entry in pathlib.Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                name, _, rest = (entry / "stat").read_text().rpartition(")")
            except OSError:  # the process has ended
                continue
            state, its_parent = rest.split()[:2]
            if name.endswith("(orvane_host") and state != "Z" and int(its_parent) == (parent or os.getpid()):
                found.append(int(entry.name))
    return found
