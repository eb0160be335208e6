"""ONNX's public cases for single operators, in this process and through a host, against the runtime's own package."""

from __future__ import annotations

import pathlib
from typing import Any, Callable, Optional, Union

import numpy as np
import onnx
import openvino
import orvane
import orvane.onnx_backend
import pytest
from onnx import numpy_helper
from onnx.backend.test.case.test_case import TestCase as Case
from onnx.backend.test.loader import load_model_tests
from onnx.backend.test.runner import Runner

pytestmark = pytest.mark.timeout(180)

Arrays = list[np.ndarray[Any, Any]]

# Why a case cannot run here. The case or OpenVINO's own package shows it, not the package under test, which must then
# refuse the case.
NO_TENSOR = "not a tensor"
RUNTIME_REFUSES = "the runtime refuses it"
RUNTIME_IS_WRONG = "the runtime's own answer is wrong"
NO_INPUTS = "no inputs"
ELEMENT_TYPE = "element type that Orvane lacks"
DYNAMIC = "dynamic"
NO_ELEMENTS = "no elements"

# A part of the text of the refusal, unless the text is OpenVINO's.
SAYS = {NO_TENSOR: "only tensors", NO_INPUTS: "no input was set", ELEMENT_TYPE: "element type",
        DYNAMIC: "dynamic dimension", NO_ELEMENTS: "no elements"}

ELEMENT_TYPES = ("f32", "f16", "i32", "u8", "i64", "boolean", "i16", "i8", "f64")

core = openvino.Core()


def pytest_generate_tests(metafunc: pytest.Metafunc) -> None:
    if "case" in metafunc.fixturenames:
        cases = sorted(load_model_tests(kind="node"), key=lambda case: case.name)
        if not metafunc.config.getoption("public"):
            cases = [cases[i * len(cases) // 150] for i in range(150)]
        metafunc.parametrize("case", cases, ids=[case.name for case in cases])


def read_arrays(folder: pathlib.Path, side: str) -> Arrays:
    files = sorted(folder.glob(f"{side}_*.pb"), key=lambda file: int(file.stem.rpartition("_")[2]))
    return [numpy_helper.to_array(onnx.load_tensor(file)) for file in files]


def why_not(ports: list[Any]) -> Optional[str]:
    shapes = [port.partial_shape for port in ports]
    if any(port.element_type.get_type_name() not in ELEMENT_TYPES for port in ports):
        return ELEMENT_TYPE
    if any(shape.is_dynamic for shape in shapes):
        return DYNAMIC
    if any(0 in shape.to_shape() for shape in shapes):
        return NO_ELEMENTS
    return None


def judge(case: Case, model: onnx.ModelProto, inputs: Arrays, expected: Arrays) -> Union[Arrays, tuple[str, str]]:
    """The outputs of OpenVINO's own package; or why the case cannot run, with details."""
    names = [value.name for value in model.graph.input]
    try:
        read = core.read_model(f"{case.model_dir}/model.onnx")
        used = [{parameter.friendly_name, *parameter.output(0).names} for parameter in read.get_parameters()]
        compiled = core.compile_model(read, "CPU")
        ports = [*compiled.inputs, *compiled.outputs]
        if why_not(ports) == ELEMENT_TYPE:  # OpenVINO's package has no arrays of these types
            return ELEMENT_TYPE, ", ".join(port.element_type.get_type_name() for port in ports)
        # An input that was replaced has the name of its replacement, but keeps its place.
        where = [next((names.index(name) for name in names if name in known), i) for i, known in enumerate(used)]
        arrays = {port: inputs[i] for port, i in zip(compiled.inputs, where, strict=True)}
        request = compiled.create_infer_request()
        request.infer(arrays)
        outputs = [tensor.data.copy() for tensor in request.output_tensors]
    except RuntimeError as error:
        return RUNTIME_REFUSES, str(error).strip().splitlines()[-1]
    try:
        Runner.assert_similar_outputs(expected, outputs, rtol=case.rtol, atol=case.atol)
    except AssertionError as error:
        return RUNTIME_IS_WRONG, " ".join(str(error).split())[:120]
    reason = why_not(ports) if compiled.inputs else NO_INPUTS
    return outputs if reason is None else (reason, ", ".join(str(port.partial_shape) for port in ports))


def run(model: onnx.ModelProto, inputs: Arrays, host: bool) -> Union[Arrays, Exception]:
    """Returns the outputs or the refusal. Raises if a host ends."""
    try:
        with orvane.onnx_backend.prepare(model, host=host) as prepared:
            return list(prepared.run(inputs))
    except (orvane.Error, ValueError) as error:
        if isinstance(error, orvane.Error) and error.reason not in (orvane.Reason.REFUSED, orvane.Reason.RUNTIME):
            raise
        return error


def refusal(model: onnx.ModelProto, inputs: Arrays, host: bool) -> Exception:
    result = run(model, inputs, host)
    assert isinstance(result, Exception)
    return result


def bits(arrays: Union[Arrays, Exception]) -> Any:
    if isinstance(arrays, Exception):
        return arrays
    return [(array.dtype, array.shape, array.tobytes()) for array in arrays]


def test_node(case: Case, record_property: Callable[[str, object], None]) -> None:
    record_property("onnx_node", case.name)
    folder = pathlib.Path(case.model_dir or "")
    model = onnx.load(folder / "model.onnx")
    [data] = folder.glob("test_data_set_*")
    verdict: Union[Arrays, tuple[str, str]] = NO_TENSOR, ""
    inputs: Arrays = []
    if all(value.type.HasField("tensor_type") for value in (*model.graph.input, *model.graph.output)):
        inputs = read_arrays(data, "input")
        verdict = judge(case, model, inputs, read_arrays(data, "output"))
    record_property("outcome", verdict if isinstance(verdict, tuple) else ("the same bits", ""))
    if isinstance(verdict, list):
        assert bits(run(model, inputs, host=False)) == bits(verdict)
        assert bits(run(model, inputs, host=True)) == bits(verdict)
        return
    if verdict[0] != RUNTIME_IS_WRONG:
        assert SAYS.get(verdict[0], "") in str(refusal(model, inputs, host=False))
        assert SAYS.get(verdict[0], "") in str(refusal(model, inputs, host=True))
    pytest.skip(verdict[0])
