"""Model files: shapes, encryption, caches, missing files; errors and log lines."""

from __future__ import annotations

import os
import pathlib
import pickle
import subprocess
import sys

import numpy as np
import orvane
import pytest
from material import VOICE, WAYS, same, voice_inputs, write_scale, write_sum

pytestmark = pytest.mark.timeout(120)


@WAYS
def test_shapes_make_a_dynamic_model_static(tmp_path: pathlib.Path, temporary: pathlib.Path,
                                                               host: bool) -> None:
    path = write_sum(tmp_path / "dynamic.onnx", shape=("batch", 3))
    plain = np.ones((4, 3), np.float32)
    with orvane.Model(path, host=host) as model:
        assert model.inputs[0].shape == (None, 3)
        with pytest.raises(orvane.Error, match=r"^input 0 .*shapes=\{'left': \(1, 3\), 'right': \(1, 3\)\}\)$"):
            model.run(plain, plain)
    shapes: dict[str | int, tuple[int, ...]] = {"left": (4, 3), 1: (4, 3)}
    with orvane.Model(path, host=host, shapes=shapes) as model:
        assert "'dynamic.onnx'" in repr(model) and model.outputs[0].shape == (4, 3)
        model.restart()  # reads the temporary copy again
        assert np.array_equal(model.run(plain, plain)[0], plain + plain)
    assert list(temporary.iterdir()) == []
    for wrong, text in (({"left": (4, 3)}, "'right'"), ({"up": (4, 3)}, "'up'"), ({5: (4, 3)}, "has 5, .*'left'"),
                        ({"left": (4, 5)}, r"allows \[\?,3\]"), ({"left": (0, 3)}, "above 0"),
                        ({"left": "43"}, "above 0"), ({"left": 43}, "above 0"), ({"left": (2**63, 3)}, "above 0"),
                        ([(4, 3)], "must be a dict"), ({1.5: (4, 3)}, "has 1.5, .*'left'"),
                        ({"left": (4, 3), 0: (5, 3), 1: (4, 3)}, "two shapes for the same input")):
        with pytest.raises((ValueError, TypeError), match=text):
            orvane.Model(path, host=host, shapes=wrong)  # type: ignore[arg-type]
    with pytest.raises(ValueError, match="key"):
        orvane.Model(path, host=host, shapes=shapes, key=b"key!")
    (tmp_path / "no_model.onnx").write_bytes(b"no model")
    for bad in ("no_model.onnx", "missing.onnx"):
        with pytest.raises(orvane.Error, match=bad):
            orvane.Model(tmp_path / bad, host=host, shapes=shapes)
    assert list(temporary.iterdir()) == []


def test_shapes_read_the_current_weights(tmp_path: pathlib.Path, temporary: pathlib.Path) -> None:
    path = write_scale(tmp_path / "scale.onnx")
    for factor in (2, 3):
        np.full(1000, factor, np.float32).tofile(tmp_path / "weights")
        with orvane.Pool(path, 2, shapes={"x": (1, 1000)}) as pool:
            assert len(list(temporary.iterdir())) == 1  # one copy for all host processes
            assert pool.submit(np.ones((1, 1000), np.float32)).result(60)[0][0, 0] == factor
    assert list(temporary.iterdir()) == []


@pytest.mark.parametrize("end", ["", "raise ValueError", "if os.fork() == 0: sys.exit()\nos.wait(); model.restart()"])
def test_end_of_the_program_removes_the_static_model(tmp_path: pathlib.Path, temporary: pathlib.Path,
                                                         end: str) -> None:
    path = write_sum(tmp_path / "dynamic.onnx", shape=("batch", 3))
    program = f"import os, orvane, sys\nmodel = orvane.Model({str(path)!r}, shapes={{0: (4, 3), 1: (4, 3)}})\n{end}"
    done = subprocess.run([sys.executable, "-c", program], env={**os.environ, "TMPDIR": str(temporary)},
                          capture_output=True, text=True, timeout=60, check=False)
    assert ("Error" in done.stderr) == ("raise" in end), done.stderr
    assert list(temporary.iterdir()) == []


def test_shapes_send_no_report_about_the_use_of_openvino(tmp_path: pathlib.Path) -> None:
    path = write_sum(tmp_path / "dynamic.onnx", shape=("batch", 3))
    program = f"""
import sys
sys.addaudithook(lambda event, _: print(event) if event.startswith(("os.fork", "socket.")) else None)
import orvane
orvane.Model({str(path)!r}, shapes={{0: (4, 3), 1: (4, 3)}})
assert "openvino_telemetry" not in sys.modules
"""
    done = subprocess.run([sys.executable, "-c", program], env={**os.environ, "HOME": str(tmp_path)},
                          capture_output=True, text=True, timeout=60, check=False)
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    assert not (tmp_path / "intel").exists()


@WAYS
def test_models_load_from_encrypted_files_and_caches(tmp_path: pathlib.Path, host: bool) -> None:
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


@WAYS
def test_error_names_the_missing_file(tmp_path: pathlib.Path, host: bool) -> None:
    missing = tmp_path / "no_model.xml"
    for call in (lambda: orvane.Model(missing, host=host), lambda: orvane.Model(missing, host=host, shapes={0: (1,)}),
                 lambda: orvane.describe(missing), lambda: orvane.encrypt(missing, tmp_path / "out", b"key!")):
        with pytest.raises(FileNotFoundError, match="no_model.xml") as caught:
            call()
        assert isinstance(caught.value, orvane.Error) and caught.value.errno == caught.value.system == 2
        assert "\n" not in str(caught.value)


def test_describe_and_reshape_read_model_files(tmp_path: pathlib.Path, temporary: pathlib.Path) -> None:
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
    out.mkdir()  # reshape cannot replace a folder, and must then keep the old .bin
    (out / "something").touch()
    with pytest.raises(OSError):
        orvane.reshape(path, {"left": (5, 3), 1: (5, 3)}, out)
    assert out.with_suffix(".bin").read_bytes() == before
    assert {entry.name for entry in tmp_path.iterdir()} == {"dynamic.onnx", "static.bin", "static.xml", temporary.name}
    for wrong, text in (("static.onnx", "an .xml file, not 'static.onnx'"), (None, "out must be .* not None"),
                        (tmp_path / "none" / "x.xml", "there is no folder .*none")):
        with pytest.raises((ValueError, TypeError, FileNotFoundError), match=text):
            orvane.reshape(path, {}, wrong)  # type: ignore[arg-type]


def test_errors_have_a_reason_and_can_be_pickled(tmp_path: pathlib.Path) -> None:
    with pytest.raises(orvane.Error) as caught:
        orvane.Model(VOICE, host=tmp_path / "no_such_host")
    assert caught.value.reason is orvane.Reason.SYSTEM and caught.value.system == 2
    assert isinstance(caught.value, orvane.NoSuchFile) and "host program" in str(caught.value)
    for error in (caught.value, orvane.HostEnded("it crashed", cause=orvane.HostEnd.SIGNAL)):
        copied = pickle.loads(pickle.dumps(error))
        assert type(copied) is type(error) and str(copied) == str(error) and vars(copied) == vars(error)


def test_error_names_the_wrong_release_of_openvino(tmp_path: pathlib.Path) -> None:
    folder = tmp_path / "openvino-2025.1.0.dist-info"
    folder.mkdir()
    (folder / "METADATA").write_text("Metadata-Version: 2.1\nName: openvino\nVersion: 2025.1.0\n")
    done = subprocess.run([sys.executable, "-c", "import orvane"], env={**os.environ, "PYTHONPATH": str(tmp_path)},
                          capture_output=True, text=True, timeout=60, check=False)
    assert done.returncode == 1
    assert "ImportError: orvane needs openvino 2026.4.1, but 2025.1.0 is installed: pip install" in done.stderr


def test_log_lines_reach_the_latest_function(tmp_path: pathlib.Path) -> None:
    lines: list[str] = []
    orvane.set_log(lambda level, text: lines.append(f"{level} {text}"))
    with orvane.Model(VOICE, cache=tmp_path / "no" / "folder", make_cache=True):
        pass
    with pytest.raises(TypeError, match="line must be a function, not 3"):
        orvane.set_log(3)  # type: ignore[arg-type]
    orvane.set_log(None)
    assert any(line.startswith("6 ") and "cache" in line for line in lines)
    count = len(lines)
    with orvane.Model(VOICE, cache=tmp_path / "no" / "folder", make_cache=True):
        pass
    assert len(lines) == count
