#!/usr/bin/env python3
"""Times inferences from Python, one way in one new process: python_worker.py WAY WORKLOAD PATH WARM_UP COUNT

Prints JSON like the other workers: nanoseconds, and the checksum of the last outputs. The ways are the functions in
`WAYS`. Each takes the model's path and returns the function to time. That function takes a list of float32 arrays, the
inputs, and returns a list of arrays, the outputs.
"""

import atexit
import hashlib
import json
import multiprocessing
import multiprocessing.shared_memory
import sys
import time

import numpy as np

SHAPES = {"face": [(1, 128, 128, 3)], "voice": [(1, 576), (2, 1, 128)]}


def orvane_in_process(path):
    import orvane

    model = orvane.Model(path)
    return lambda inputs: model.run(*inputs)


def orvane_host(path):
    import orvane

    model = orvane.Model(path, host=True)
    return lambda inputs: model.run(*inputs)


def openvino_request(path):
    import openvino

    request = openvino.Core().compile_model(path, "CPU").create_infer_request()

    def infer(inputs):
        return list(request.infer(dict(enumerate(inputs)), share_inputs=True, share_outputs=True).values())

    return infer


def onnxruntime_session(path):
    import onnxruntime

    session = onnxruntime.InferenceSession(path, providers=["CPUExecutionProvider"])
    names = [each.name for each in session.get_inputs()]
    return lambda inputs: session.run(None, dict(zip(names, inputs)))


def arrays_in(memory, shapes):
    """Float32 arrays of these shapes, one after another in `memory`."""
    arrays, offset = [], 0
    for shape in shapes:
        arrays.append(np.ndarray(shape, np.float32, memory.buf, offset))
        offset += arrays[-1].nbytes
    return arrays


def serve(path, memory, input_shapes, output_shapes, connection):
    infer = openvino_request(path)
    inputs, outputs = arrays_in(memory, input_shapes), arrays_in(memory, input_shapes + output_shapes)[len(input_shapes):]
    while connection.recv_bytes() == b"run":
        for target, result in zip(outputs, infer(inputs)):
            target[...] = result
        connection.send_bytes(b"done")


def hand_made_worker(path):
    """What people write by hand: another process, shared memory for the data, and a pipe to take turns."""
    import openvino

    model = openvino.Core().read_model(path)
    shapes = [[tuple(port.shape) for port in ports] for ports in (model.inputs, model.outputs)]
    size = sum(4 * int(np.prod(shape)) for side in shapes for shape in side)
    memory = multiprocessing.shared_memory.SharedMemory(create=True, size=size)
    arrays = arrays_in(memory, shapes[0] + shapes[1])
    targets, results = arrays[:len(shapes[0])], arrays[len(shapes[0]):]
    ours, its = multiprocessing.Pipe()
    multiprocessing.get_context("spawn").Process(target=serve, args=(path, memory, *shapes, its), daemon=True).start()

    def end():
        ours.send_bytes(b"end")
        memory.unlink()

    atexit.register(end)

    def infer(inputs):
        for target, array in zip(targets, inputs):
            target[...] = array
        ours.send_bytes(b"run")
        ours.recv_bytes()
        return [result.copy() for result in results]

    return infer


WAYS = {way.__name__: way for way in (orvane_in_process, orvane_host, openvino_request, onnxruntime_session,
                                      hand_made_worker)}


def main():
    way, workload, path, warm_up, count = sys.argv[1:]
    infer = WAYS[way](path)
    random = np.random.default_rng(1)
    inputs = [random.random(shape, np.float32) * 2 - 1 for shape in SHAPES[workload]]
    nanoseconds = []
    for i in range(int(warm_up) + int(count)):
        start = time.perf_counter_ns()
        outputs = infer(inputs)
        end = time.perf_counter_ns()
        if i >= int(warm_up):
            nanoseconds.append(end - start)
    checksum = hashlib.sha256(b"".join(output.tobytes() for output in outputs)).hexdigest()[:16]
    print(json.dumps({"checksum": checksum, "nanoseconds": nanoseconds}))


if __name__ == "__main__":
    main()
