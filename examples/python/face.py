#!/usr/bin/env python3
"""Finds the face in a picture: face.py MODEL PICTURE [--host]

MODEL is face_detection_short_range.tflite from the package mediapipe. With --host it runs in a host process.
"""

import sys

import numpy as np
import orvane
from PIL import Image

SIDE = 128  # pixels of the model's square input


def anchors() -> np.ndarray:
    """Returns the centres of the model's boxes, [896, 2], from 0 to 1: two for each cell of a 16 x 16 grid, then six
    for each cell of an 8 x 8 grid."""
    centres = []
    for cells, each in ((16, 2), (8, 6)):
        y, x = np.mgrid[:cells, :cells]
        centres.append(np.repeat(np.stack([x.ravel(), y.ravel()], axis=1) + 0.5, each, axis=0) / cells)
    return np.concatenate(centres)


def main() -> int:
    arguments = [argument for argument in sys.argv[1:] if argument != "--host"]
    if len(arguments) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    picture = Image.open(arguments[1]).convert("RGB")
    pixels = np.asarray(picture.resize((SIDE, SIDE)), np.float32)[None] / 127.5 - 1

    model = orvane.Model(arguments[0], host="--host" in sys.argv)
    boxes, scores = model.run(pixels)

    best = scores[0, :, 0].argmax()
    score = 1 / (1 + np.exp(-scores[0, best, 0]))
    if score < 0.5:
        print("no face")
        return 0
    x, y = boxes[0, best, :2] / SIDE + anchors()[best]
    width, height = boxes[0, best, 2:4] / SIDE
    left, right = (x + np.array([-width, width]) / 2) * picture.width
    top, bottom = (y + np.array([-height, height]) / 2) * picture.height
    print(f"a face, score {score:.2f}, x {left:.0f} to {right:.0f}, y {top:.0f} to {bottom:.0f}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
