#!/usr/bin/env python3
"""Makes docs/terminal.svg, a still image of a terminal with the commands below and their real output.

    python3 tools/record_terminal.py build/linux/bin
    termtosvg render -s build/terminal.cast build/terminal && cp build/terminal/termtosvg_00001.svg docs/terminal.svg

Install `termtosvg` from PyPI first.
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
    screen = ""
    with tempfile.TemporaryDirectory() as folder:
        for name, source in FILES.items():
            (pathlib.Path(folder) / name).symlink_to(MATERIAL / source)
        for command in COMMANDS:
            done = subprocess.run([programs / "orvane", *command.split()[1:]], cwd=folder, capture_output=True, text=True,
                                  check=True)
            screen += f"$ {command}\n{done.stdout}"
    # The last event only sets the end of the recording: without it, the image would be shown for no time.
    lines = [{"version": 2, "width": 92, "height": screen.count("\n") + 1},
             (0.1, "o", screen.replace("\n", "\r\n") + "$ "), (2.0, "o", "")]
    pathlib.Path("build/terminal.cast").write_text("".join(json.dumps(line) + "\n" for line in lines))


if __name__ == "__main__":
    main()
