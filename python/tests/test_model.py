"""Inputs and outputs of one model: arrays that fit, arrays that do not fit, and wrong arguments."""

from __future__ import annotations

import asyncio
import copy
import pathlib
import pickle
import tracemalloc
from typing import Any

import numpy as np
import onnx
import openvino
import orvane
import pytest
from material import FACE, VOICE, WAYS, same, voice_inputs, write_sum

pytestmark = pytest.mark.timeout(120)


@pytest.fixture(name="sum_model")
def make_sum_model(tmp_path: pathlib.Path) -> pathlib.Path:
    return write_sum(tmp_path / "sum.onnx")


@WAYS
@pytest.mark.parametrize("path", [FACE, VOICE], ids=["face", "voice"])
def test_run_returns_the_same_bits_as_openvino(path: pathlib.Path, host: bool) -> None:
    compiled = openvino.Core().compile_model(path, "CPU")
    inputs = [np.random.default_rng(7).random(tuple(port.shape), np.float32) for port in compiled.inputs]
    expected = list(compiled(inputs).values())
    with orvane.Model(path, host=host) as model:
        for described, ports in ((model.inputs, compiled.inputs), (model.outputs, compiled.outputs)):
            assert [tensor.shape for tensor in described] == [tuple(port.shape) for port in ports]
            assert {tensor.dtype for tensor in described} == {np.dtype(np.float32)}
        assert same(model.run(*inputs), expected)
        assert same(model.run(**dict(zip([tensor.name for tensor in model.inputs], inputs))), expected)
        targets = [np.full_like(array, 9) for array in expected]
        assert all(got is target for got, target in zip(model.run(*inputs, out=targets), targets))
        assert same(targets, expected)


def test_run_converts_inputs_without_loss(sum_model: pathlib.Path, tmp_path: pathlib.Path) -> None:
    plain = np.arange(6, dtype=np.float32).reshape(2, 3)
    read_only = plain.copy()
    read_only.flags.writeable = False
    with orvane.Model(sum_model) as model:
        for value in (np.asfortranarray(plain), plain.astype(">f4"), plain.astype(np.float16), plain.astype(np.int16),
                      np.repeat(plain, 2, axis=1)[:, ::2], plain[::-1, ::-1][::-1, ::-1], read_only, plain.tolist(),
                      plain.astype(int).tolist(), tuple(map(tuple, plain.tolist())), memoryview(plain)):
            assert np.array_equal(model.run(value, right=plain)[0], plain + plain), repr(value)
    with orvane.Model(write_sum(tmp_path / "int.onnx", onnx.TensorProto.INT32)) as model:
        most = [[2**31 - 1, -2**31, 0]] * 2
        for nothing in (np.zeros((2, 3), np.int8), np.zeros((2, 3), bool)):
            assert model.run(most, nothing)[0].tolist() == most


F, U8 = onnx.TensorProto.FLOAT, onnx.TensorProto.UINT8


@pytest.mark.parametrize(("wanted", "left", "error", "text"), [
    (F, np.zeros((2, 3)), TypeError, r'input 0 "left" needs float32 \[2, 3\], but got float64: .*astype'),
    (F, np.zeros((2, 3), np.int32), TypeError, "but got int32"),
    (F, np.zeros((2, 3), complex), TypeError, "but got complex128"),
    (F, "a.png", TypeError, r'"left" needs float32 \[2, 3\], but got \'a.png\': pass an array'),
    (F, None, TypeError, "but got None: pass an array"),
    (F, np.zeros((2, 3), object), TypeError, r"but got an array of object \[2, 3\]: pass an array of numbers"),
    (F, [[True] * 3] * 2, TypeError, "but got .* of type bool"),
    (F, [[1e39, 0, 0]] * 2, ValueError, "but 1e[+]39 does not fit into float32"),
    (F, [[1, 2, 3], [4]], ValueError, "but got lists of different lengths"),
    (F, np.zeros(6, np.float32), ValueError, r"\[2, 3\], but got the shape \[6\]"),
    (F, np.zeros((0, 3), np.float32), ValueError, r"\[2, 3\], but got the shape \[0, 3\]"),
    (U8, [[256, 0, 0]] * 2, ValueError, "256 does not fit into uint8"),
    (U8, [[-1, 0, 0]] * 2, ValueError, "-1 does not fit into uint8"),
    (U8, [[1.0, 0, 0]] * 2, TypeError, "needs uint8 .* of type float64"),
])
def test_error_names_the_wrong_input(tmp_path: pathlib.Path, wanted: int, left: Any, error: type[Exception],
                                     text: str) -> None:
    with orvane.Model(write_sum(tmp_path / "sum.onnx", wanted)) as model, pytest.raises(error, match=text):
        model.run(left, np.zeros((2, 3), np.uint8))


def test_error_names_missing_unknown_and_surplus_inputs(sum_model: pathlib.Path) -> None:
    plain = np.ones((2, 3), np.float32)
    with orvane.Model(sum_model) as model:
        for arrays, by_name, text in ((("a.png",), {}, "^run got 'a.png', and no array was given for 'right': the mod"),
                                      ((plain,), {}, r"run got an array of float32 \[2, 3\], and no"),
                                      ((), {}, "^no array was given for 'left', 'right'"),
                                      ((plain,), {"middle": plain}, "no input 'middle': its inputs are .'left', "),
                                      (({"left": plain},), {}, r"takes no dict: .* run\(\*\*inputs\)"),
                                      (({"left": plain}, plain), {}, r"got a dict: .* run\(\*\*inputs\)"),
                                      (([plain, plain],), {}, r"'right'.* run\(\*inputs\)"),
                                      ((plain,), {"left": plain}, "'left' was given twice"),
                                      ((plain, plain, plain), {}, "has 2 inputs")):
            with pytest.raises(TypeError, match=text):
                model.run(*arrays, **by_name)
        assert model.run(plain, plain)[0].tolist() == [[2.0] * 3] * 2
    with pytest.raises(ValueError, match="closed"):
        model.run(plain, plain)


def test_error_names_the_wrong_target(sum_model: pathlib.Path) -> None:
    plain = np.ones((2, 3), np.float32)
    read_only = np.zeros((2, 3), np.float32)
    read_only.flags.writeable = False
    with orvane.Model(sum_model) as model:
        for out, error in (([], ValueError), ([[0.0] * 3] * 2, ValueError), ([plain.tolist()], TypeError),
                           (np.zeros((3, 2), np.float32), ValueError), (np.zeros((2, 3)), TypeError),
                           (np.zeros((3, 2), np.float32).T, ValueError), (read_only, ValueError), (3, TypeError),
                           ({"sum": plain}, TypeError)):
            with pytest.raises(error, match="out"):
                model.run(plain, plain, out=out)


@pytest.mark.parametrize(("arguments", "error", "text"), [
    ({"path": None}, TypeError, "^path must be a string or a path, not None"),
    ({"path": b"a"}, TypeError, "^path must be a string or a path, not b'a'"),
    ({"path": "a\0b"}, ValueError, "path contains a zero character"),
    ({"host": 1}, TypeError, "host must be True, False or a path, not 1"),
    ({"device": 0}, TypeError, "device must be a string, not 0"),
    ({"key": "key!"}, TypeError, "key must be bytes, .* not str"),
    ({"key": b"12345"}, orvane.Error, "the key has 5 bytes"),
    ({"retries": 1}, ValueError, "retries=1 needs a host process"),
    ({"retries": -1, "host": True}, ValueError, "retries must be a whole number of at least 0, not -1"),
    ({"retries": 1.5, "host": True}, ValueError, "retries must be a whole number of at least 0, not 1.5"),
    ({"time_limit": 0, "host": True}, ValueError, "time_limit must be a number of seconds above 0 .*, not 0"),
    ({"time_limit": "3", "host": True}, ValueError, "time_limit must be a number .* not '3'"),
    ({"load_time_limit": float("nan"), "host": True}, ValueError, "load_time_limit .* not nan"),
    ({"time_limit": 1}, orvane.Error, "time.limit"),
    ({"progress": 3}, TypeError, "progress must be a function, not 3"),
])
def test_error_names_the_wrong_argument(arguments: dict[str, Any], error: type[Exception], text: str) -> None:
    with pytest.raises(error, match=text) as caught:
        orvane.Model(**{"path": VOICE, **arguments})
    assert not isinstance(caught.value, orvane.Error) or caught.value.reason is orvane.Reason.BAD_ARGUMENT


def test_runs_leave_no_memory_allocated() -> None:
    inputs = voice_inputs()
    with orvane.Model(VOICE) as model:
        out = model.run(*inputs)
        tracemalloc.start()
        try:
            for _ in range(1000):  # meanwhile Python fills its lists of freed objects, which it keeps for later
                model.run(*inputs, out=out)
            before, _ = tracemalloc.get_traced_memory()
            tracemalloc.reset_peak()
            for _ in range(1000):
                model.run(*inputs, out=out)
            after, peak = tracemalloc.get_traced_memory()
        finally:
            tracemalloc.stop()
    assert after - before < 8000  # fewer bytes than one object per run
    assert peak - before < 4000  # a run needs a few objects; a copy of the inputs would add 3,332 bytes


def test_two_models_run_in_two_tasks() -> None:
    inputs = voice_inputs()

    async def both(models: list[orvane.Model]) -> list[list[np.ndarray]]:
        return await asyncio.gather(*(model.run_async(*inputs) for model in models))

    with orvane.Model(VOICE) as one, orvane.Model(VOICE, host=True) as other:
        first, second = asyncio.run(both([one, other]))
        assert same(first, second)


def test_models_and_pools_refuse_copies() -> None:
    inputs = voice_inputs()
    with orvane.Model(VOICE) as model, orvane.Pool(VOICE, 1) as pool:
        for copied in (model, pool):
            for way in (copy.copy, copy.deepcopy, pickle.dumps):
                with pytest.raises(TypeError, match=f"a {type(copied).__name__} cannot be copied .* load it again"):
                    way(copied)
        assert same(model.run(*inputs), pool.submit(*inputs).result(60))
