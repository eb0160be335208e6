#!/usr/bin/env python3
"""Compares the outputs of real models on Windows and on Linux.

same_outputs_test.py MATERIAL FOLDER NATIVE WINDOWS...: runs the models in MATERIAL with NATIVE, the `orvane` of this
system. Then runs them with the command WINDOWS..., which is wine.sh and the `orvane` of Windows, in process and in a
host process. Both runs on Windows must return the same bits. The two systems may differ by the rounding of the
precision that the runtime chooses: bfloat16 if the processor has it, otherwise float32. Empties FOLDER first.
"""
import array
import json
import math
import pathlib
import shutil
import subprocess
import sys

MODELS = ("face_detection_short_range.tflite", "silero_vad_openvino_16k.onnx", "pose_landmark_full.tflite")
TIMEOUT_S = 120


def run(command, *arguments):
    result = subprocess.run([*command, *map(str, arguments)], capture_output=True, timeout=TIMEOUT_S, check=False)
    if result.returncode != 0:
        sys.exit(f"{command} {arguments}: exit {result.returncode}\n{result.stderr.decode()}")
    return result.stdout


def outputs(command, model, folder, tensors, *options):
    arguments = []
    for tensor in tensors["inputs"]:
        assert tensor["element_type"] == "float32", tensor
        count = math.prod(tensor["shape"])
        values = array.array("f", (math.sin(i * 0.37 + tensor["index"]) for i in range(count)))
        (folder / f"in{tensor['index']}").write_bytes(values.tobytes())
        arguments += ["--input", f"{tensor['index']}={folder}/in{tensor['index']}"]
    files = [folder / f"out{tensor['index']}" for tensor in tensors["outputs"]]
    for index, file in enumerate(files):
        arguments += ["--output", f"{index}={file}"]
    run(command, "run", model, *arguments, *options)
    return [array.array("f", file.read_bytes()) for file in files]


def main(material, folder, native, *windows):
    material, folder = pathlib.Path(material), pathlib.Path(folder)
    models = [material / name for name in MODELS]
    missing = [file for file in (pathlib.Path(native), *models) if not file.exists()]
    if missing:
        print(f"SKIPPED: {missing} are missing; ./dev setup and ./dev build make them")
        return
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    native_command = [windows[0], "--native", native]  # with the same instruction set as under Wine
    cpu = pathlib.Path("/proc/cpuinfo").read_text()
    bfloat16 = "avx512_bf16" in cpu or "amx_bf16" in cpu
    for model in models:
        tensors = json.loads(run(native_command, "info", model, "--json"))
        expected = outputs(native_command, model, folder, tensors)
        here = outputs(windows, model, folder, tensors)
        if here != outputs(windows, model, folder, tensors, "--remote"):
            sys.exit(f"{model}: the outputs differ in a host process")
        for index, (one, other) in enumerate(zip(expected, here)):
            assert len(one) == len(other) and all(map(math.isfinite, (*one, *other)))
            difference = max(abs(a - b) for a, b in zip(one, other))
            span = max(max(one) - min(one), max(map(abs, one)))
            allowed = 2e-2 * span if bfloat16 else 1e-3
            print(f"{model.name}: output {index} differs by {difference:.3g} of {span:.3g}, {allowed:.3g} allowed")
            if difference > allowed:
                sys.exit("That is too much.")


main(*sys.argv[1:])
