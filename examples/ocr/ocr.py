"""Reads a page of text: three models in host processes find the lines, the orientation of the page, and the text.

    python examples/ocr/ocr.py PAGE --out PICTURE

With --kill it kills a host process while it reads. It still prints the same lines.
"""

from __future__ import annotations

import argparse
import io
import os
import pathlib
import sys
from typing import Any, Iterator

import openvino
import orvane
import psutil
from PIL import Image, ImageDraw

from page import ORIENTATION_WIDTH, READING_WIDTHS, STRIP_HEIGHT, Array, Box, line_boxes, read_off, square, strip

MATERIAL = pathlib.Path(__file__).resolve().parents[2] / ".deps" / "ocr"
HOSTS = 2  # host processes that read lines at the same time
RETRIES = 2  # new attempts to read a line if its host process crashes
SURE = 0.5  # lines with a lower confidence, from 0 to 1, are not printed
TIME_LIMIT = 60.0  # seconds for one call of a host process


def in_host(model: pathlib.Path, shape: tuple[int, ...]) -> orvane.Model:
    return orvane.Model(model, host=True, shapes={0: shape}, retries=RETRIES, time_limit=TIME_LIMIT)


def find_lines(page: Image.Image, models: pathlib.Path) -> list[Box]:
    planes = square(page)
    with in_host(models / "detection.onnx", planes.shape) as model:
        return line_boxes(model.run(planes)[0], page)


def is_upside_down(page: Image.Image, boxes: list[Box], models: pathlib.Path) -> bool:
    """Sums the model's confidence over all lines."""
    upright = turned = 0.0
    with in_host(models / "orientation.onnx", (1, 3, STRIP_HEIGHT, ORIENTATION_WIDTH)) as model:
        for box in boxes:
            scores = model.run(strip(page, box, (ORIENTATION_WIDTH,)))[0][0]
            upright, turned = upright + scores[0], turned + scores[1]
    return turned > upright


def read_alphabet(model: pathlib.Path) -> list[str]:
    """Returns the character of each class, from the model file. The first class is no character, the last a space."""
    characters: Any = openvino.Core().read_model(model).get_rt_info(["framework", "character"])
    return ["", *characters.astype(str).split("\n"), " "]


def running_hosts() -> set[int]:
    """Returns the ids of this program's host processes."""
    return {child.pid for child in psutil.Process().children() if child.name().startswith("orvane_host")}


def kill_a_host_halfway(strips: list[Array]) -> Iterator[Array]:
    """Yields the strips, and kills a host process after half of them."""
    for number, planes in enumerate(strips):
        if number == len(strips) // 2:
            victim = min(running_hosts())
            psutil.Process(victim).kill()
            print(f"killed host process {victim} after {number} of {len(strips)} lines", file=sys.stderr)
        yield planes


def read_lines(strips: list[Array], models: pathlib.Path, kill: bool) -> list[tuple[str, float]]:
    """Returns the text of each strip, and the confidence of the model. A pool reads all strips of one width. With
    ``kill``, it kills a host process while it reads the largest of these groups."""
    alphabet = read_alphabet(models / "recognition.onnx")
    groups: dict[tuple[int, ...], list[int]] = {}
    for number, planes in enumerate(strips):
        groups.setdefault(planes.shape, []).append(number)
    texts = [("", 0.0)] * len(strips)
    for shape, numbers in groups.items():
        with orvane.Pool(models / "recognition.onnx", HOSTS, shapes={0: shape}, retries=RETRIES,
                         time_limit=TIME_LIMIT) as pool:
            hosts = running_hosts()
            group = [strips[number] for number in numbers]
            is_victim = kill and len(group) == max(map(len, groups.values()))
            for number, (scores,) in zip(numbers, pool.map(kill_a_host_halfway(group) if is_victim else group)):
                texts[number] = read_off(scores, alphabet)
            for host in running_hosts() - hosts:
                print(f"started host process {host} instead", file=sys.stderr)
        kill = kill and not is_victim
    return texts


def draw(page: Image.Image, boxes: list[Box], out: pathlib.Path) -> None:
    """Writes the page with a frame around each line. The file appears whole or not at all."""
    picture = page.copy()
    for box in boxes:
        ImageDraw.Draw(picture).rectangle((box.left, box.top, box.right - 1, box.bottom - 1), outline=(220, 20, 60))
    beside = out.with_name(f"{out.stem}.{os.getpid()}{out.suffix}")
    try:
        picture.save(beside)
        beside.replace(out)
    finally:
        beside.unlink(missing_ok=True)


def check(out: pathlib.Path | None, models: pathlib.Path) -> None:
    """Raises at once for mistakes that would otherwise fail after all the work."""
    if out and out.suffix.lower() not in Image.registered_extensions():
        raise ValueError(f"{out} is not the name of a picture file: choose an extension such as .png")
    if out and not out.parent.is_dir():
        raise FileNotFoundError(f"there is no folder {out.parent} for the picture")
    for name in ("detection.onnx", "orientation.onnx", "recognition.onnx"):
        if not (models / name).is_file():
            raise FileNotFoundError(f"there is no model {models / name}: ./dev setup ocr downloads it to .deps/ocr")


def run(arguments: argparse.Namespace) -> None:
    check(arguments.out, arguments.models)
    with Image.open(arguments.page) as opened:
        page = opened.convert("RGB")
    boxes = find_lines(page, arguments.models)
    if is_upside_down(page, boxes, arguments.models):
        page = page.transpose(Image.Transpose.ROTATE_180)
        boxes = find_lines(page, arguments.models)
    strips = [strip(page, box, READING_WIDTHS) for box in boxes]
    texts = read_lines(strips, arguments.models, arguments.kill)
    lines = [(box, text) for box, (text, sure) in zip(boxes, texts) if sure >= SURE]
    for _, text in lines:
        print(text)
    if arguments.out:
        draw(page, [box for box, _ in lines], arguments.out)


def main() -> int:
    parser = argparse.ArgumentParser(description="Prints the lines of a page of text.")
    parser.add_argument("page", metavar="PAGE", type=pathlib.Path, nargs="?", default=MATERIAL / "page.png",
                        help="a picture of a page of text, which may be upside down")
    parser.add_argument("--out", metavar="PICTURE", type=pathlib.Path,
                        help="write the page with a frame around each line")
    parser.add_argument("--kill", action="store_true",
                        help="kill a host process in the middle: the lines stay the same")
    parser.add_argument("--models", metavar="FOLDER", type=pathlib.Path, default=MATERIAL,
                        help="the folder with detection.onnx, orientation.onnx and recognition.onnx; ./dev setup ocr "
                             "downloads them to .deps/ocr")
    arguments = parser.parse_args()
    if isinstance(sys.stdout, io.TextIOWrapper):
        sys.stdout.reconfigure(errors="replace")  # some code pages of Windows do not have all characters of a page
    try:
        run(arguments)
    except (OSError, ValueError, Image.DecompressionBombError, orvane.Error) as error:
        print(f"ocr: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
