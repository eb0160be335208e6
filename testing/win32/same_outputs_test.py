#!/usr/bin/env python3
"""Real models give under Windows what they give on Linux.

same_outputs_test.py MATERIAL FOLDER NATIVE WINDOWS...: runs the models in MATERIAL with `orvane` of this system, NATIVE,
and with that of Windows, which the command WINDOWS... (wine.sh and the program) starts, in the process and in a host process. The two on Windows
give the same bits; the two systems differ by no more than the rounding of the precision that the runtime picks: the
bfloat16 of a processor that has it, or float32. FOLDER is emptied and filled.
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
    return result.stdout.decode()


def write_inputs(folder, inputs):
    for tensor in inputs:
        count = math.prod(tensor["shape"])
        assert tensor["element_type"] == "float32", tensor
        values = array.array("f", (math.sin(i * 0.37 + tensor["index"]) for i in range(count)))
        (folder / f"in{tensor['index']}").write_bytes(values.tobytes())


def outputs(command, model, folder, kind, tensors, *options):
    arguments = []
    for tensor in tensors["inputs"]:
        arguments += ["--input", f"{tensor['index']}={folder / 'in'}{tensor['index']}"]
    files = [folder / f"{kind}{tensor['index']}" for tensor in tensors["outputs"]]
    for index, file in enumerate(files):
        arguments += ["--output", f"{index}={file}"]
    run(command, "run", model, *arguments, *options)
    return [file.read_bytes() for file in files]


def largest_difference(one, other):
    """Of two tensors of floats, and the range of the first."""
    one, other = array.array("f", one), array.array("f", other)
    assert len(one) == len(other) and all(map(math.isfinite, one))
    return max(abs(a - b) for a, b in zip(one, other)), max(max(one) - min(one), max(map(abs, one)))


def main(material, folder, native, *windows):
    material, folder = pathlib.Path(material), pathlib.Path(folder)
    if not pathlib.Path(native).exists():
        print(f"SKIPPED: {native} is missing, with whose outputs these are compared; ./dev build makes it")
        return
    shutil.rmtree(folder, ignore_errors=True)
    native_command = [windows[0], "--native", native]  # on the instruction set that there is under Wine
    cpu = pathlib.Path("/proc/cpuinfo").read_text()
    bfloat16 = "avx512_bf16" in cpu or "amx_bf16" in cpu
    for model in (material / name for name in MODELS):
        if not model.exists():
            print(f"SKIPPED: {model} is missing; ./dev setup fetches it")
            return
        place = folder / model.stem
        place.mkdir(parents=True)
        tensors = json.loads(run(native_command, "info", model, "--json"))
        write_inputs(place, tensors["inputs"])
        expected = outputs(native_command, model, place, "native", tensors)
        here = outputs(windows, model, place, "windows", tensors)
        remote = outputs(windows, model, place, "remote", tensors, "--remote")
        if here != remote:
            sys.exit(f"{model}: a host process gives other bits")
        for index, (one, other) in enumerate(zip(expected, here)):
            difference, span = largest_difference(one, other)
            allowed = 2e-2 * span if bfloat16 else 1e-3
            print(f"{model.name}: output {index} differs by {difference:.3g} of {span:.3g}, {allowed:.3g} allowed")
            if difference > allowed:
                sys.exit("That is too much.")


main(*sys.argv[1:])
