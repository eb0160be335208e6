"""Converts pages to the inputs of the three models for text recognition, and their outputs to lines."""

from __future__ import annotations

import dataclasses
import math
from typing import Any

import numpy as np
from PIL import Image
from scipy import ndimage

Array = np.ndarray[Any, np.dtype[np.float32]]

SIDES = (640, 960, 1280)  # pixels of the square for the detection model; a host process takes no larger input
STRIP_HEIGHT = 48
READING_WIDTHS = (320, 640, 960, 1280)
ORIENTATION_WIDTH = 192

PROBABLE = 0.3  # a pixel with this probability of text belongs to a line
CERTAIN = 0.5  # the least mean probability of the pixels of a line
GROWTH = 1.2  # the model marks the core of a line; the margin around it is this times area / outline of the core


@dataclasses.dataclass(frozen=True)
class Box:
    """The place of a line, in pixels, without its right and bottom edges."""

    left: int
    top: int
    right: int
    bottom: int

    @property
    def width(self) -> int:
        return self.right - self.left

    @property
    def height(self) -> int:
        return self.bottom - self.top

    def is_beside(self, other: Box) -> bool:
        """Returns whether both share more than half of the height of the lower box."""
        shared = min(self.bottom, other.bottom) - max(self.top, other.top)
        return 2 * shared > min(self.height, other.height)


def _planes(picture: Image.Image) -> Array:
    """Returns float32 [3, height, width] from 0 to 1, in the order of the models: blue, green, red."""
    return np.asarray(picture, np.float32)[:, :, ::-1].transpose(2, 0, 1) / np.float32(255)


def square(page: Image.Image) -> Array:
    """Returns the input of the detection model: float32 [1, 3, side, side], with the page in the upper left corner, as
    large as possible. The side is the smallest of SIDES that does not shrink the page, or else the largest."""
    side = next((side for side in SIDES if side >= max(page.size)), SIDES[-1])
    scale = side / max(page.size)
    fitted = page.resize((max(1, round(page.width * scale)), max(1, round(page.height * scale))),
                         Image.Resampling.BICUBIC)
    planes = np.zeros((1, 3, side, side), np.float32)
    mean, deviation = np.array([[0.485, 0.456, 0.406], [0.229, 0.224, 0.225]], np.float32)[:, :, None, None]
    planes[0, :, :fitted.height, :fitted.width] = (_planes(fitted) - mean) / deviation
    return planes


def line_boxes(probabilities: Array, page: Image.Image) -> list[Box]:
    """Returns the lines of the page in reading order.

    ``probabilities`` is the output of the detection model for :func:`square`, float32 [1, 1, side, side].
    """
    text = probabilities[0, 0]
    parts, _ = ndimage.label(text > PROBABLE, np.ones((3, 3)))
    cores = []
    for number, (rows, columns) in enumerate(ndimage.find_objects(parts), start=1):
        core = Box(columns.start, rows.start, columns.stop, rows.stop)
        is_text = text[rows, columns][parts[rows, columns] == number].mean() >= CERTAIN
        if is_text and min(core.width, core.height) >= 3:
            cores.append(core)
    grown = [_line_of(core, max(page.size) / text.shape[0], page.size) for core in in_reading_order(cores)]
    return [box for box in grown if box.width > 0 and box.height > 0]  # others are in the padding of the square


def in_reading_order(boxes: list[Box]) -> list[Box]:
    """Returns the boxes row by row from the top, each row from the left."""
    rows: list[list[Box]] = []
    for box in sorted(boxes, key=lambda box: box.top + box.bottom):
        if rows and box.is_beside(rows[-1][-1]):
            rows[-1].append(box)
        else:
            rows.append([box])
    return [box for row in rows for box in sorted(row, key=lambda box: box.left)]


def _line_of(core: Box, scale: float, page_size: tuple[int, int]) -> Box:
    """Returns the whole line in the page, for the core of a line in the square."""
    margin = GROWTH * core.height * core.width / (2 * (core.height + core.width))
    left, top = (max(0, math.floor((edge - margin) * scale)) for edge in (core.left, core.top))
    right, bottom = (min(end, math.ceil((edge + margin) * scale))
                     for edge, end in zip((core.right, core.bottom), page_size))
    return Box(left, top, right, bottom)


def strip(page: Image.Image, box: Box, widths: tuple[int, ...]) -> Array:
    """Returns the input of the models for one line: float32 [1, 3, 48, width], with the line at the left. The width is
    the smallest of ``widths`` that holds the line. A line that is longer than the largest is squeezed."""
    line = page.crop((box.left, box.top, box.right, box.bottom))
    wanted = max(1, round(line.width * STRIP_HEIGHT / line.height))
    width = next((width for width in widths if width >= wanted), widths[-1])
    line = line.resize((min(wanted, width), STRIP_HEIGHT), Image.Resampling.BICUBIC)
    planes = np.zeros((1, 3, STRIP_HEIGHT, width), np.float32)
    planes[0, :, :, :line.width] = _planes(line) * 2 - 1
    return planes


def read_off(scores: Array, alphabet: list[str]) -> tuple[str, float]:
    """Returns the text of one line, and the confidence of the model, from 0 to 1.

    ``scores`` is the output of the recognition model, float32 [1, steps, classes]. The text is the best class of each
    step. A class in successive steps counts once. Class 0 separates characters.
    """
    best = scores[0].argmax(axis=1)
    steps = np.flatnonzero((np.diff(best, prepend=0) != 0) & (best != 0))
    sure = float(scores[0][steps, best[steps]].mean()) if steps.size else 0.0
    return "".join(alphabet[number] for number in best[steps]), sure
