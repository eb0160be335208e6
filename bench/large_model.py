"""A model with more than 30 MB of weights, to time loads."""

import array
import random

WIDTH = 2048
LAYERS = 2  # each of WIDTH x WIDTH floats, 16.8 MB


def write_large_model(folder):
    """Writes large.xml and large.bin, a chain of matrix multiplications, and returns the path of large.xml."""
    source = random.Random(1)
    matrix_bytes = WIDTH * WIDTH * 4
    weights = folder / "large.bin"
    with weights.open("wb") as file:
        for _ in range(LAYERS):
            row = [source.uniform(-0.05, 0.05) for _ in range(WIDTH)]
            for shift in range(WIDTH):
                array.array("f", row[shift:] + row[:shift]).tofile(file)

    layers = [f'<layer id="0" name="x" type="Parameter" version="opset1"><data shape="1,{WIDTH}" element_type="f32"/>'
              f'<output>{port(0, 1)}</output></layer>']
    edges = []
    last = 0
    for i in range(LAYERS):
        constant, product = 2 * i + 1, 2 * i + 2
        layers.append(
            f'<layer id="{constant}" name="w{i}" type="Const" version="opset1"><data element_type="f32" '
            f'shape="{WIDTH},{WIDTH}" offset="{i * matrix_bytes}" size="{matrix_bytes}"/>'
            f'<output>{port(0, WIDTH)}</output></layer>')
        layers.append(
            f'<layer id="{product}" name="y{i}" type="MatMul" version="opset1">'
            f'<data transpose_a="false" transpose_b="false"/><input>{port(0, 1)}{port(1, WIDTH)}</input>'
            f'<output>{port(2, 1)}</output></layer>')
        edges.append(edge(last, 0 if i == 0 else 2, product, 0) + edge(constant, 0, product, 1))
        last = product
    layers.append(f'<layer id="{last + 1}" name="result" type="Result" version="opset1">'
                  f'<input>{port(0, 1)}</input></layer>')
    edges.append(edge(last, 2, last + 1, 0))

    description = folder / "large.xml"
    description.write_text('<?xml version="1.0"?>\n<net name="large" version="11"><layers>' + "".join(layers) +
                           "</layers><edges>" + "".join(edges) + "</edges></net>\n", encoding="utf-8")
    return description


def port(number, rows):
    return f'<port id="{number}" precision="FP32"><dim>{rows}</dim><dim>{WIDTH}</dim></port>'


def edge(source, source_port, target, target_port):
    return (f'<edge from-layer="{source}" from-port="{source_port}" '
            f'to-layer="{target}" to-port="{target_port}"/>')
