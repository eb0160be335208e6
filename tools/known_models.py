#!/usr/bin/env python3
"""Runs real models with `orvane run`, and writes a table of the results.

known_models.py UNPACKED PINS ORVANE PAGE: the folder UNPACKED has the wheels of the list PINS, which contain the models.
ORVANE is the program. Runs each model on random inputs with ORVANE, in process and in a host process, and with
OpenVINO's Python package. Compares all bits of the outputs. Writes the table to PAGE. Exits with 1 if a model fails or
an output differs.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

import numpy
import openvino

TIMEOUT_S = 300

# For each package: the paths of its models, and the shapes of their dynamic inputs.
MODELS = {
    "basic-pitch": [
        ("basic_pitch/saved_models/icassp_2022/nmp", {0: (1, 43844, 1)}),  # a SavedModel
        ("basic_pitch/saved_models/icassp_2022/nmp.onnx", {0: (1, 43844, 1)}),
        ("basic_pitch/saved_models/icassp_2022/nmp.tflite", {0: (1, 43844, 1)}),
    ],
    "magika": [("magika/models/standard_v3_3/model.onnx", {0: (1, 2048)})],
    "mediapipe": [
        ("mediapipe/modules/face_detection/face_detection_short_range.tflite", {}),
        ("mediapipe/modules/face_detection/face_detection_full_range_sparse.tflite", {}),
        ("mediapipe/modules/face_landmark/face_landmark.tflite", {}),
        ("mediapipe/modules/face_landmark/face_landmark_with_attention.tflite", {}),
        ("mediapipe/modules/hand_landmark/hand_landmark_full.tflite", {}),
        ("mediapipe/modules/holistic_landmark/hand_recrop.tflite", {}),
        ("mediapipe/modules/iris_landmark/iris_landmark.tflite", {}),
        ("mediapipe/modules/palm_detection/palm_detection_full.tflite", {}),
        ("mediapipe/modules/pose_detection/pose_detection.tflite", {}),
        ("mediapipe/modules/pose_landmark/pose_landmark_full.tflite", {}),
        ("mediapipe/modules/selfie_segmentation/selfie_segmentation.tflite", {}),
    ],
    "nudenet": [("nudenet/320n.onnx", {0: (1, 3, 320, 320)})],
    "rapidocr": [
        ("rapidocr/models/PP-OCRv6_det_small.onnx", {0: (1, 3, 640, 640)}),
        ("rapidocr/models/PP-OCRv6_rec_small.onnx", {0: (1, 3, 48, 320)}),
        ("rapidocr/models/ch_ppocr_mobile_v2.0_cls_mobile.onnx", {0: (1, 3, 48, 192)}),
    ],
    "rapidocr-onnxruntime": [
        ("rapidocr_onnxruntime/models/ch_PP-OCRv4_det_infer.onnx", {0: (1, 3, 736, 736)}),
        ("rapidocr_onnxruntime/models/ch_PP-OCRv4_rec_infer.onnx", {0: (1, 3, 48, 320)}),
    ],
    "silero-vad": [
        ("silero_vad/data/silero_vad_openvino_16k.onnx", {}),
        ("silero_vad/data/silero_vad_16k_sequence.onnx", {0: (10, 576)}),
        ("silero_vad/data/silero_vad_op18_ifless.onnx", {0: (1, 576), 1: (1,), 2: (2, 1, 128)}),
        ("silero_vad/data/silero_vad.onnx", {}),
    ],
}

# Inputs that cannot be random: the sample rate of a voice-activity model.
VALUES = {("silero_vad_op18_ifless.onnx", 1): 16000}


def random_input(port, name):
    generator = numpy.random.default_rng(port.get_index() + 1)
    shape = tuple(port.get_shape())
    element = port.get_element_type().to_dtype()
    if (value := VALUES.get((name, port.get_index()))) is not None:
        return numpy.full(shape, value, element)
    if numpy.issubdtype(element, numpy.integer):
        return generator.integers(0, 128, shape).astype(element)
    return generator.random(shape).astype(element)


def run_by_runtime(path, shapes):
    """Returns random inputs, and the outputs of OpenVINO's Python package."""
    core = openvino.Core()
    model = core.read_model(path)
    if shapes:
        model.reshape({index: list(shape) for index, shape in shapes.items()})
    inputs = [random_input(port, path.name) for port in model.inputs]
    outputs = core.compile_model(model, "CPU")(inputs)
    return inputs, [numpy.array(outputs[index]) for index in range(len(model.outputs))]


def run_by_orvane(program, path, shapes, inputs, count, options):
    """Returns the outputs, or the error text if the run fails."""
    with tempfile.TemporaryDirectory() as folder:
        command = [program, "run", str(path), *options]
        for index, shape in shapes.items():
            command += ["--shape", f"{index}=" + ",".join(map(str, shape))]
        for index, data in enumerate(inputs):
            numpy.save(f"{folder}/in{index}.npy", data)
            command += ["--input", f"{index}={folder}/in{index}.npy"]
        for index in range(count):
            command += ["--output", f"{index}={folder}/out{index}.npy"]
        result = subprocess.run(command, capture_output=True, text=True, timeout=TIMEOUT_S, check=False)
        if result.returncode != 0:
            return result.stderr
        return [numpy.load(f"{folder}/out{index}.npy") for index in range(count)]


def same_bits(some, others):
    return all(a.shape == b.shape and a.dtype == b.dtype and a.tobytes() == b.tobytes() for a, b in zip(some, others))


def size_of(path):
    files = [path] if path.is_file() else [file for file in path.rglob("*") if file.is_file()]
    return f"{sum(file.stat().st_size for file in files) / 1e6:.1f} MB"


def shapes_text(shapes):
    return " ".join(f"`{index}={','.join(map(str, shape))}`" for index, shape in shapes.items()) or "fixed"


def check(program, path, shapes):
    """Returns the last three columns of the table, or OpenVINO's message if it cannot read the model."""
    try:
        inputs, expected = run_by_runtime(path, shapes)
    except RuntimeError as error:
        refusal = subprocess.run([program, "info", str(path)], capture_output=True, timeout=TIMEOUT_S, check=False)
        assert refusal.returncode == 1, f"OpenVINO cannot read {path}, but orvane can"
        return str(error)
    given = [run_by_orvane(program, path, shapes, inputs, len(expected), options) for options in ([], ["--remote"])]
    for text in (outputs for outputs in given if isinstance(outputs, str)):
        print(text, file=sys.stderr)
    runs = ["fails" if isinstance(outputs, str) else "runs" for outputs in given]
    bits = "yes" if runs == ["runs", "runs"] and all(same_bits(expected, outputs) for outputs in given) else "no"
    return [*runs, bits]


def write_page(page, rows, refused):
    lines = [
        "# Models known to run",
        "",
        "`./dev models` writes this page. It downloads these models from PyPI, and runs each with `orvane run` on random",
        "inputs, in process and in a host process. Dynamic inputs need `--shape`. *Same bits* means: in both runs, every",
        f"output has exactly the same bits as with the Python package of OpenVINO {openvino.__version__.split('-')[0]}.",
        "",
        "| model | package | size | `--shape` | in process | in a host process | same bits |",
        "|---|---|---|---|---|---|---|",
        *("| " + " | ".join(row) + " |" for row in rows),
        "",
        "OpenVINO cannot read these models. `orvane` prints OpenVINO's message:",
        "",
        "| model | package | message |",
        "|---|---|---|",
        *("| " + " | ".join(row) + " |" for row in refused),
    ]
    partial = page.with_suffix(".partial")
    partial.write_text("\n".join(lines) + "\n")
    partial.replace(page)


def main(unpacked, pins, program, page):
    versions = dict(re.findall(r"^([a-z-]+)==(\S+)", pathlib.Path(pins).read_text(), re.MULTILINE))
    rows, refused = [], []
    for package, models in MODELS.items():
        for name, shapes in models:
            path = pathlib.Path(unpacked) / name
            found = check(program, path, shapes)
            where = [f"`{path.name}`", f"{package} {versions[package]}"]
            if isinstance(found, str):
                reason = [line for line in found.splitlines() if "No translator" in line or "Conversion is failed" in line]
                refused.append([*where, reason[0].lstrip("- ") if reason else found.splitlines()[-1]])
            else:
                rows.append([*where, size_of(path), shapes_text(shapes), *found])
            print(*(refused if isinstance(found, str) else rows)[-1], sep="  ", flush=True)
    write_page(pathlib.Path(page), rows, refused)
    return 0 if all(row[-3:] == ["runs", "runs", "yes"] for row in rows) else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
