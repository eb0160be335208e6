"""One model: what goes in and out, and what happens when its host does not live."""

from __future__ import annotations

import asyncio
import copy
import os
import pathlib
import pickle
import signal
import subprocess
import sys
import tempfile
import threading
import time
import tracemalloc
from typing import Any, Callable, Iterator

import numpy as np
import onnx
import openvino
import orvane
import pytest
from material import FACE, VOICE, hosts, voice_inputs, write_scale, write_sum

pytestmark = pytest.mark.timeout(120)

WAYS = pytest.mark.parametrize("host", [False, True], ids=["in_process", "host"])


@pytest.fixture(autouse=True)
def no_host_stays() -> Iterator[None]:
    yield
    assert hosts() == []


@pytest.fixture(name="temporary")
def use_own_temporary_folder(tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch) -> pathlib.Path:
    folder = tmp_path / "temporary"
    folder.mkdir()
    monkeypatch.setattr(tempfile, "tempdir", str(folder))
    return folder


@pytest.fixture(name="sum_model")
def make_sum_model(tmp_path: pathlib.Path) -> pathlib.Path:
    return write_sum(tmp_path / "sum.onnx")


def same(ours: list[np.ndarray], theirs: list[np.ndarray]) -> bool:
    return all(np.array_equal(our, their) and our.dtype == their.dtype for our, their in zip(ours, theirs, strict=True))


@WAYS
@pytest.mark.parametrize("path", [FACE, VOICE], ids=["face", "voice"])
def test_gives_the_bits_of_the_runtime(path: pathlib.Path, host: bool) -> None:
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


def test_takes_what_it_can_convert_without_loss(sum_model: pathlib.Path, tmp_path: pathlib.Path) -> None:
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
    (F, np.zeros((2, 3), object), TypeError, "but got array.*: pass an array of numbers"),
    (F, [[True] * 3] * 2, TypeError, "but got .* of type bool"),
    (F, [[1e39, 0, 0]] * 2, ValueError, "but 1e[+]39 does not fit into float32"),
    (F, [[1, 2, 3], [4]], ValueError, "but got lists that are no array"),
    (F, np.zeros(6, np.float32), ValueError, r"\[2, 3\], but got the shape \[6\]"),
    (F, np.zeros((3, 2), np.float32), ValueError, r"\[2, 3\], but got the shape \[3, 2\]"),
    (U8, [[256, 0, 0]] * 2, ValueError, "256 does not fit into uint8"),
    (U8, [[-1, 0, 0]] * 2, ValueError, "-1 does not fit into uint8"),
    (U8, [[1.0, 0, 0]] * 2, TypeError, "needs uint8 .* of type float64"),
])
def test_names_what_is_wrong_with_an_input(tmp_path: pathlib.Path, wanted: int, left: Any, error: type[Exception],
                                           text: str) -> None:
    with orvane.Model(write_sum(tmp_path / "sum.onnx", wanted)) as model, pytest.raises(error, match=text):
        model.run(left, np.zeros((2, 3), np.uint8))


def test_names_missing_unknown_and_surplus_inputs_and_wrong_targets(sum_model: pathlib.Path) -> None:
    plain = np.ones((2, 3), np.float32)
    with orvane.Model(sum_model) as model:
        for arrays, by_name, text in (((plain,), {}, "no array was given for 'right'"),
                                      ((plain,), {"middle": plain}, "no input 'middle': its inputs are .'left', "),
                                      (({"left": plain},), {}, r"takes no dict: .* run\(\*\*inputs\)"),
                                      (({"left": plain}, plain), {}, r"got a dict: .* run\(\*\*inputs\)"),
                                      (([plain, plain],), {}, r"'right'.* run\(\*inputs\)"),
                                      ((plain,), {"left": plain}, "'left' was given twice"),
                                      ((plain, plain, plain), {}, "has 2 inputs")):
            with pytest.raises(TypeError, match=text):
                model.run(*arrays, **by_name)
        fixed = np.zeros((2, 3), np.float32)
        fixed.flags.writeable = False
        for out, error in (([], ValueError), ([[0.0] * 3] * 2, ValueError), ([plain.tolist()], TypeError),
                           (np.zeros((3, 2), np.float32), ValueError), (np.zeros((2, 3)), TypeError),
                           (np.zeros((3, 2), np.float32).T, ValueError), (fixed, ValueError)):
            with pytest.raises(error, match="out"):
                model.run(plain, plain, out=out)
        assert model.run(plain, plain)[0].tolist() == [[2.0] * 3] * 2
    with pytest.raises(ValueError, match="closed"):
        model.run(plain, plain)


def test_takes_no_memory_from_run_to_run() -> None:
    inputs = voice_inputs()
    with orvane.Model(VOICE) as model:
        out = model.run(*inputs)
        tracemalloc.start()
        try:
            model.run(*inputs, out=out)
            before, _ = tracemalloc.get_traced_memory()
            for _ in range(1000):
                model.run(*inputs, out=out)
            after, peak = tracemalloc.get_traced_memory()
        finally:
            tracemalloc.stop()
    assert after - before < 8000  # a run does not leave an object
    assert peak - before < 4000  # nor does it take as much as the 3,332 bytes of its inputs, beside its own objects


def test_a_dead_host_is_an_exception_until_a_restart() -> None:
    inputs = voice_inputs()
    with orvane.Model(VOICE, host=True) as model:
        expected = model.run(*inputs)
        os.kill(hosts()[0], signal.SIGKILL)
        for _ in range(2):
            with pytest.raises(orvane.HostEnded, match="SIGKILL") as caught:
                model.run(*inputs)
            assert caught.value.reason is orvane.Reason.HOST_ENDED and caught.value.cause is orvane.HostEnd.SIGNAL
            assert "host process ended" in repr(model)
        model.restart()
        assert same(model.run(*inputs), expected)


def test_tries_again_on_a_new_host_as_often_as_it_may() -> None:
    inputs = voice_inputs()
    with orvane.Model(VOICE, host=True, retries=1) as model:
        expected = model.run(*inputs)
        for _ in range(3):
            os.kill(hosts()[0], signal.SIGKILL)
            assert same(model.run(*inputs), expected)


@pytest.mark.parametrize("how", ["time_limit", "interrupt"])
def test_a_hanging_host_is_ended_and_not_replaced(how: str) -> None:
    inputs = voice_inputs()
    limit = 1.0 if how == "time_limit" else None
    with orvane.Model(VOICE, host=True, time_limit=limit, load_time_limit=60, retries=3) as model:
        os.kill(hosts()[0], signal.SIGSTOP)
        caught: list[orvane.HostEnded] = []

        def run() -> None:
            try:
                model.run(*inputs)
            except orvane.HostEnded as error:
                caught.append(error)

        waiting = threading.Thread(target=run, daemon=True)
        waiting.start()  # this thread goes on only because that one does not hold the interpreter
        if how == "interrupt":
            while "S" not in pathlib.Path(f"/proc/{os.getpid()}/task/{waiting.native_id}/stat").read_text().split()[2]:
                pass
            model.interrupt()
        waiting.join(60)
        wanted = orvane.HostEnd.TIME_LIMIT if how == "time_limit" else orvane.HostEnd.INTERRUPTED
        assert [error.cause for error in caught] == [wanted]
        assert hosts() == []
        model.restart()
        assert "in a host process" in repr(model)
    assert "closed" in repr(model)


def test_retries_have_one_time_limit_and_one_interrupt() -> None:
    inputs = voice_inputs()
    seen: set[int] = set()

    def let_new_hosts_hang(then: Callable[[int], object]) -> None:
        while not done.wait(0.01):
            for host in set(hosts()) - seen:
                seen.add(host)
                os.kill(host, signal.SIGSTOP)
                time.sleep(0.6)
                then(host)

    def kill(host: int) -> None:
        os.kill(host, signal.SIGKILL)

    with orvane.Model(VOICE, host=True, time_limit=1, load_time_limit=60, retries=20) as model:
        for then, causes in ((kill, {orvane.HostEnd.SIGNAL, orvane.HostEnd.TIME_LIMIT}),
                             (lambda _: model.interrupt(), {orvane.HostEnd.INTERRUPTED})):
            model.restart()
            seen.update(hosts())
            os.kill(hosts()[0], signal.SIGKILL)  # the next one is stopped while it loads the model
            done = threading.Event()
            hanging = threading.Thread(target=let_new_hosts_hang, args=(then,), daemon=True)
            hanging.start()
            start = time.monotonic()
            with pytest.raises(orvane.HostEnded) as caught:
                model.run(*inputs)
            done.set()
            hanging.join(60)
            assert caught.value.cause in causes and time.monotonic() - start < 6


@pytest.fixture(name="terminal")
def react_to_ctrl_c() -> Iterator[None]:
    """As in a terminal. A program that a script starts in the background ignores the signal."""
    earlier = signal.signal(signal.SIGINT, signal.default_int_handler)
    yield
    signal.signal(signal.SIGINT, earlier)


@pytest.mark.usefixtures("terminal")
@pytest.mark.parametrize("call", ["load", "restart", "run", "load_pool", "map"])
def test_ctrl_c_ends_the_wait_for_a_host(tmp_path: pathlib.Path, call: str) -> None:
    inputs = tuple(voice_inputs())
    program, hang = tmp_path / "orvane_host_that_may_hang", tmp_path / "hang"
    real = pathlib.Path(orvane.__file__).parent / "bin" / "orvane_host"
    program.write_text(f"#!/bin/sh\nwhile [ -e {hang} ]; do sleep 0.1; done\nexec {real} \"$@\"\n")
    program.chmod(0o700)
    start = time.monotonic()

    def hang_now() -> None:
        hang.touch()
        for host in hosts():
            os.kill(host, signal.SIGSTOP)
        threading.Timer(0.3, os.kill, (os.getpid(), signal.SIGINT)).start()

    if call.startswith("load"):
        hang_now()
    with pytest.raises(KeyboardInterrupt):
        if call in ("load_pool", "map"):
            with orvane.Pool(VOICE, 2, host=program, retries=3) as pool:
                hang_now()
                list(pool.map([inputs] * 4))
        else:
            with orvane.Model(VOICE, host=program, retries=3) as model:
                hang_now()
                model.restart() if call == "restart" else model.run(*inputs)
    assert time.monotonic() - start < 3
    assert hosts() == []


@WAYS
def test_a_progress_callback_sees_each_step_and_may_cancel(host: bool) -> None:
    steps: list[orvane.LoadStep] = []

    def cancel(step: orvane.LoadStep) -> None:
        raise ValueError(f"enough after {step.name}")

    with orvane.Model(VOICE, host=host, progress=steps.append):
        step = orvane.LoadStep
        assert ({step.STARTING_HOST, step.IN_HOST} if host else {step.READING, step.COMPILING}) <= set(steps)
    with pytest.raises(ValueError, match="enough after (STARTING_HOST|READING)"):
        orvane.Model(VOICE, host=host, progress=cancel)


def test_a_callback_may_interrupt_the_call_but_not_make_one() -> None:
    inputs = voice_inputs()
    calls: list[Callable[[], object]] = []
    model = orvane.Model(VOICE, host=True, progress=lambda step: [call() for call in calls])
    for call, error in ((model.interrupt, orvane.HostEnded), (model.close, RuntimeError), (model.restart, RuntimeError),
                        (lambda: model.run(*inputs), RuntimeError)):
        os.kill(hosts()[0], signal.SIGSTOP)
        calls.append(call)
        with pytest.raises(error, match="interrupt"):
            model.run(*inputs)
        calls.clear()
        model.restart()
    model.close()


@WAYS
def test_a_forked_process_is_told_so_and_disturbs_nobody(host: bool) -> None:
    inputs = voice_inputs()
    with orvane.Model(VOICE, host=host) as model:
        expected = model.run(*inputs)
        child = os.fork()
        if child == 0:
            ended = 1
            try:
                model.run(*inputs)
            except RuntimeError as error:
                ended = 0 if "fork" in str(error) else 2
            model.close()
            os._exit(ended)
        assert os.waitpid(child, 0)[1] == 0
        assert same(model.run(*inputs), expected)


def test_tasks_wait_side_by_side() -> None:
    inputs = voice_inputs()

    async def both(models: list[orvane.Model]) -> list[list[np.ndarray]]:
        return await asyncio.gather(*(model.run_async(*inputs) for model in models))

    with orvane.Model(VOICE) as one, orvane.Model(VOICE, host=True) as other:
        first, second = asyncio.run(both([one, other]))
        assert same(first, second)


@WAYS
def test_shapes_make_a_dynamic_model_static_while_it_is_loaded(tmp_path: pathlib.Path, temporary: pathlib.Path,
                                                               host: bool) -> None:
    path = write_sum(tmp_path / "dynamic.onnx", shape=("batch", 3))
    plain = np.ones((4, 3), np.float32)
    with orvane.Model(path, host=host) as model:
        assert model.inputs[0].shape == (None, 3)
        with pytest.raises(orvane.Error, match=r"^input 0 .*shapes=\{'left': \(1, 3\), 'right': \(1, 3\)\}$"):
            model.run(plain, plain)
    shapes: dict[str | int, tuple[int, ...]] = {"left": (4, 3), 1: (4, 3)}
    with orvane.Model(path, host=host, shapes=shapes) as model:
        assert "'dynamic.onnx'" in repr(model) and model.outputs[0].shape == (4, 3)
        for _ in range(2):
            assert np.array_equal(model.run(plain, plain)[0], plain + plain)
            model.restart()  # the file is still there
    assert list(temporary.iterdir()) == []
    for wrong, text in (({"left": (4, 3)}, "'right'"), ({"up": (4, 3)}, "'up'"), ({"left": (4, 5)}, r"allows \[\?,3\]"),
                        ({"left": (0, 3)}, "above 0"), ({"left": "43"}, "sequence"), ({"left": 43}, "sequence")):
        with pytest.raises((ValueError, TypeError), match=text):
            orvane.Model(path, host=host, shapes=wrong)  # type: ignore[arg-type]
    with pytest.raises(ValueError, match="key"):
        orvane.Model(path, host=host, shapes=shapes, key=b"key!")
    (tmp_path / "no_model.onnx").write_bytes(b"no model")
    for bad in ("no_model.onnx", "missing.onnx"):
        with pytest.raises(orvane.Error, match=bad):
            orvane.Model(tmp_path / bad, host=host, shapes=shapes)
    assert list(temporary.iterdir()) == []


def test_shapes_read_the_weights_that_are_there_now(tmp_path: pathlib.Path, temporary: pathlib.Path) -> None:
    path = write_scale(tmp_path / "scale.onnx")
    for factor in (2, 3):
        np.full(1000, factor, np.float32).tofile(tmp_path / "weights")  # in a file of their own
        with orvane.Pool(path, 2, shapes={"x": (1, 1000)}) as pool:
            assert len(list(temporary.iterdir())) == 1  # for all hosts
            assert pool.submit(np.ones((1, 1000), np.float32)).result(60)[0][0, 0] == factor
    assert list(temporary.iterdir()) == []


@pytest.mark.parametrize("end", ["", "raise ValueError", "if os.fork() == 0: sys.exit()\nos.wait(); model.restart()"])
def test_the_end_of_the_program_removes_the_static_model(tmp_path: pathlib.Path, temporary: pathlib.Path,
                                                         end: str) -> None:
    path = write_sum(tmp_path / "dynamic.onnx", shape=("batch", 3))
    program = f"import os, orvane, sys\nmodel = orvane.Model({str(path)!r}, shapes={{0: (4, 3), 1: (4, 3)}})\n{end}"
    done = subprocess.run([sys.executable, "-c", program], env={**os.environ, "TMPDIR": str(temporary)},
                          capture_output=True, text=True, timeout=60, check=False)
    assert ("Error" in done.stderr) == ("raise" in end), done.stderr
    assert list(temporary.iterdir()) == []


@WAYS
def test_encrypted_models_and_caches(tmp_path: pathlib.Path, host: bool) -> None:
    inputs = voice_inputs()
    with orvane.Model(VOICE) as model:
        expected = model.run(*inputs)
    secret, plain, cache = tmp_path / "secret.onnx", tmp_path / "plain.onnx", tmp_path / "cache"
    orvane.encrypt(VOICE, secret, b"key!", pad=True)
    orvane.decrypt(secret, plain, b"key!")
    assert plain.read_bytes()[:VOICE.stat().st_size] == VOICE.read_bytes()
    with orvane.Model(secret, host=host, key=b"key!", cache=cache, make_cache=True) as model:
        assert same(model.run(*inputs), expected)
    with orvane.Model("", host=host, key=b"key!", cache=cache) as model:
        assert same(model.run(*inputs), expected)
    with pytest.raises(orvane.Error):
        orvane.Model(secret, host=host, key=b"no")
    for key in (b"", b"12345", "key!"):
        with pytest.raises((orvane.Error, TypeError), match="the key has .*: pass"):
            orvane.Model(secret, host=host, key=key)  # type: ignore[arg-type]


def test_models_and_pools_are_not_copied() -> None:
    inputs = voice_inputs()
    with orvane.Model(VOICE) as model, orvane.Pool(VOICE, 1) as pool:
        for copied in (model, pool):
            for way in (copy.copy, copy.deepcopy, pickle.dumps):
                with pytest.raises(TypeError, match=f"a {type(copied).__name__} cannot be copied .* load it again"):
                    way(copied)
        assert same(model.run(*inputs), pool.submit(*inputs).result(60))


@WAYS
def test_a_missing_file_is_named(tmp_path: pathlib.Path, host: bool) -> None:
    missing = tmp_path / "no_model.xml"
    for call in (lambda: orvane.Model(missing, host=host), lambda: orvane.Model(missing, host=host, shapes={0: (1,)}),
                 lambda: orvane.describe(missing), lambda: orvane.encrypt(missing, tmp_path / "out", b"key!")):
        with pytest.raises(FileNotFoundError, match="no_model.xml") as caught:
            call()
        assert isinstance(caught.value, orvane.Error) and caught.value.errno == caught.value.system == 2
        assert "\n" not in str(caught.value)
    with pytest.raises(ValueError, match="zero"):
        orvane.Model("a\0b", host=host)


def test_files_are_described_and_reshaped(tmp_path: pathlib.Path, temporary: pathlib.Path) -> None:
    assert "CPU" in [device.name for device in orvane.devices()]
    path, out = write_sum(tmp_path / "dynamic.onnx", shape=("batch", 3)), tmp_path / "static.xml"
    inputs, outputs = orvane.describe(path)
    assert [(tensor.name, tensor.shape) for tensor in inputs] == [("left", (None, 3)), ("right", (None, 3))]
    assert "dynamic" in str(inputs[0].problem) and [tensor.name for tensor in outputs] == ["sum"]
    orvane.reshape(path, {"left": (4, 3), 1: (4, 3)}, out)
    with orvane.Model(out) as model:
        assert model.outputs[0].shape == orvane.describe(out).outputs[0].shape == (4, 3)
    before = out.with_suffix(".bin").read_bytes()
    out.unlink()
    out.mkdir()  # a place that cannot be taken: the other file stays
    (out / "something").touch()
    with pytest.raises(OSError):
        orvane.reshape(path, {"left": (5, 3), 1: (5, 3)}, out)
    assert out.with_suffix(".bin").read_bytes() == before
    assert {entry.name for entry in tmp_path.iterdir()} == {"dynamic.onnx", "static.bin", "static.xml", temporary.name}
    with pytest.raises(ValueError, match="an .xml file, not 'static.onnx'"):
        orvane.reshape(path, {}, "static.onnx")


def test_errors_have_a_reason_and_travel_between_processes(tmp_path: pathlib.Path) -> None:
    with pytest.raises(orvane.Error) as caught:
        orvane.Model(VOICE, host=tmp_path / "no_such_host")
    assert caught.value.reason is orvane.Reason.SYSTEM and caught.value.system == 2
    assert isinstance(caught.value, FileNotFoundError) and "host program" in str(caught.value)
    for error in (caught.value, orvane.HostEnded("it crashed", cause=orvane.HostEnd.SIGNAL)):
        travelled = pickle.loads(pickle.dumps(error))
        assert type(travelled) is type(error) and str(travelled) == str(error) and vars(travelled) == vars(error)
    for wrong in ({"retries": 1}, {"retries": -1, "host": True}, {"time_limit": 0, "host": True},
                  {"load_time_limit": float("nan"), "host": True}):
        with pytest.raises(ValueError):
            orvane.Model(VOICE, **wrong)  # type: ignore[arg-type]
    with pytest.raises(orvane.Error, match="time.limit") as caught:
        orvane.Model(VOICE, time_limit=1)
    assert caught.value.reason is orvane.Reason.BAD_ARGUMENT


def test_another_release_of_the_runtime_is_named(tmp_path: pathlib.Path) -> None:
    folder = tmp_path / "openvino-2025.1.0.dist-info"
    folder.mkdir()
    (folder / "METADATA").write_text("Metadata-Version: 2.1\nName: openvino\nVersion: 2025.1.0\n")
    done = subprocess.run([sys.executable, "-c", "import orvane"], env={**os.environ, "PYTHONPATH": str(tmp_path)},
                          capture_output=True, text=True, timeout=60, check=False)
    assert done.returncode == 1
    assert "ImportError: orvane needs openvino 2026.4.1, but 2025.1.0 is installed: pip install" in done.stderr


def test_log_lines_reach_the_sink_that_was_set_last(tmp_path: pathlib.Path) -> None:
    lines: list[str] = []
    orvane.set_log(lambda level, text: lines.append(f"{level} {text}"))
    with orvane.Model(VOICE, cache=tmp_path / "no" / "folder", make_cache=True):
        pass
    orvane.set_log(None)
    assert any(line.startswith("6 ") and "cache" in line for line in lines)
    count = len(lines)
    with orvane.Model(VOICE, cache=tmp_path / "no" / "folder", make_cache=True):
        pass
    assert len(lines) == count
