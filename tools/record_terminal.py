#!/usr/bin/env python3
"""Records docs/terminal.svg: runs the commands below and draws what they really print.

    python3 tools/record_terminal.py build/linux/bin && termtosvg render build/terminal.cast docs/terminal.svg -D 4000

`termtosvg` is the package of that name on PyPI.
"""

import json
import pathlib
import subprocess
import sys
import tempfile

MATERIAL = pathlib.Path(".deps/material").resolve()
FILES = {"face.tflite": "face_detection_short_range.tflite", "astronaut.png": "astronaut.png"}
COMMANDS = (
    "orvane info face.tflite",
    "orvane run --remote face.tflite --input 0=astronaut.png --mean 127.5 --scale 127.5 --top 1",
    "orvane devices",
)


def main():
    programs = pathlib.Path(sys.argv[1]).resolve()
    time, events = 0.5, []

    def show(text, seconds):
        nonlocal time
        events.append((time, "o", text.replace("\n", "\r\n")))
        time += seconds

    with tempfile.TemporaryDirectory() as folder:
        for name, source in FILES.items():
            (pathlib.Path(folder) / name).symlink_to(MATERIAL / source)
        for command in COMMANDS:
            show("$ ", 0.5)
            for letter in command:
                show(letter, 0.03)
            show("\n", 0.2)
            done = subprocess.run([programs / "orvane", *command.split()[1:]], cwd=folder, capture_output=True, text=True,
                                  check=True)
            show(done.stdout, 2)
    lines = [{"version": 2, "width": 92, "height": 16}, *events]
    pathlib.Path("build/terminal.cast").write_text("".join(json.dumps(line) + "\n" for line in lines))


if __name__ == "__main__":
    main()
