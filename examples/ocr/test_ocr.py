"""Runs the program on a photographed page, also with a killed host process. Tests reading order and text on small
cases."""

from __future__ import annotations

import os
import pathlib
import re
import subprocess
import sys

import numpy as np
import pytest
from PIL import Image, ImageChops, ImageDraw, ImageFont

from page import Box, in_reading_order, read_off

PROGRAM = pathlib.Path(__file__).with_name("ocr.py")
MATERIAL = PROGRAM.parents[2] / ".deps" / "ocr"

needs_models = pytest.mark.skipif(not MATERIAL.is_dir(), reason=f"{MATERIAL} is missing; ./dev setup ocr downloads it")


def ocr(*arguments: object, encoding: str = "utf-8") -> subprocess.CompletedProcess[str]:
    return subprocess.run([sys.executable, PROGRAM, *map(str, arguments)], capture_output=True, encoding="utf-8",
                          timeout=200, env={**os.environ, "PYTHONIOENCODING": encoding})


@needs_models
@pytest.mark.timeout(700)
def test_program_prints_the_same_lines_after_a_kill_and_upside_down(tmp_path: pathlib.Path) -> None:
    plain, killed, turned = (tmp_path / f"{name}.png" for name in ("plain", "killed", "turned"))
    page = Image.open(MATERIAL / "page.png")
    page.transpose(Image.Transpose.ROTATE_180).save(turned)

    whole = ocr("--out", plain)
    assert whole.returncode == 0, whole.stderr
    read = whole.stdout.lower()
    for words in ("region-based segmentation", "let us first determine markers", "pixels that we can label",
                  "unambiguously as either object or background", "histogram of grey values", "np.zeros"):
        assert words in read
    marked = ImageChops.difference(Image.open(plain), page.convert("RGB")).getbbox()
    assert marked is not None and marked[2] - marked[0] > page.width * 0.9

    interrupted = ocr("--kill", "--out", killed)
    assert re.search(r"killed host process \d+ after [1-9]\d* of \d+ lines\nstarted host process \d+ instead",
                     interrupted.stderr)
    assert interrupted.stdout == whole.stdout
    assert killed.read_bytes() == plain.read_bytes()

    assert ocr(turned).stdout == whole.stdout


@needs_models
@pytest.mark.timeout(300)
def test_error_names_the_wrong_argument_and_leaves_no_file(tmp_path: pathlib.Path) -> None:
    bomb, text = tmp_path / "bomb.pgm", tmp_path / "page.txt"
    bomb.write_text("P5 20000 20000 255\n")
    text.write_text("no picture")
    for arguments, reason in ((["--out", tmp_path / "lines"], "choose an extension"),
                              (["--out", tmp_path / "none" / "lines.png"], "there is no folder"),
                              (["--models", tmp_path], "./dev setup ocr"),
                              ([bomb], "decompression bomb"),
                              ([text, "--out", tmp_path / "lines.png"], "cannot identify image file")):
        done = ocr(*arguments)
        assert done.returncode == 1 and done.stdout == ""
        assert done.stderr.startswith("ocr: ") and reason in done.stderr
    assert sorted(tmp_path.iterdir()) == [bomb, text]


@needs_models
@pytest.mark.timeout(300)
def test_program_replaces_characters_that_the_output_cannot_have(tmp_path: pathlib.Path) -> None:
    page = Image.new("RGB", (640, 100), "white")
    ImageDraw.Draw(page).text((20, 20), "25° ± 3°", fill="black", font=ImageFont.load_default(40))
    page.save(tmp_path / "page.png")
    done = ocr(tmp_path / "page.png", encoding="ascii")
    assert (done.returncode, done.stderr) == (0, "") and "25?" in done.stdout


def test_boxes_come_row_by_row() -> None:
    second, first = Box(60, 10, 90, 30), Box(0, 14, 50, 34)
    below, far_below = Box(0, 26, 90, 50), Box(0, 60, 90, 80)
    assert in_reading_order([far_below, below, second, first]) == [first, second, below, far_below]


def test_repeated_steps_make_one_character_unless_separated() -> None:
    alphabet = ["", "a", "b", " "]
    steps = [1, 1, 0, 1, 3, 2, 2, 0, 0]
    scores = np.zeros((1, len(steps), len(alphabet)), np.float32)
    scores[0, range(len(steps)), steps] = 0.5
    assert read_off(scores, alphabet) == ("aa b", 0.5)
    assert read_off(scores[:, -2:], alphabet) == ("", 0.0)
