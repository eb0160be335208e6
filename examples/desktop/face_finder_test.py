"""face_finder_test.py SHOT RUNNER PROGRAM ARGUMENT...: presses the buttons of the face finder and checks its window.

RUNNER runs PROGRAM. The host program is beside PROGRAM. The test needs an X display without other programs (xvfb-run),
xdotool and ImageMagick. It writes a picture of the window with a face to the file SHOT.
"""

import contextlib
import os
import pathlib
import re
import signal
import subprocess
import sys
import threading
import time

LIMIT_S = 30  # for each wait
PAUSE_LIMIT_MS = 3000  # longer than a busy machine delays a window, shorter than HANG_S
HANG_S = 4  # how long the load hangs, at least
# Places in the window.
END_HOST, RESTART = (185, 18), (285, 18)
VIEW = "560x550+0+42"


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True, timeout=LIMIT_S).stdout


class Window:
    def __init__(self, command):
        self.lines = []
        self.changed = threading.Condition()
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
        threading.Thread(target=self._read, daemon=True).start()
        self.id = run("xdotool", "search", "--sync", "--onlyvisible", "--name", "^Face finder$").split()[-1]

    def _read(self):
        for line in self.process.stdout:
            print(f"  {line.rstrip()}", flush=True)
            with self.changed:
                self.lines.append(line.strip())
                self.changed.notify_all()

    def wait_for(self, pattern):
        """Returns the next line that matches. Drops the lines before it."""
        def matching():
            return next((i for i, line in enumerate(self.lines) if re.search(pattern, line)), None)

        with self.changed:
            assert self.changed.wait_for(lambda: matching() is not None, LIMIT_S), f"no line {pattern} in {self.lines}"
            index = matching()
            line, self.lines = self.lines[index], self.lines[index + 1:]
        return line

    def click(self, place):
        print(f"click {place}", flush=True)
        run("xdotool", "mousemove", "--window", self.id, *map(str, place), "click", "1")

    def picture(self, file):
        time.sleep(0.3)  # until it is drawn
        run("import", "-window", self.id, str(file))
        return file

    def picture_when(self, is_drawn, file, what):
        """Returns the first picture for which `is_drawn` is true: a busy machine draws late."""
        end = time.monotonic() + LIMIT_S
        while not is_drawn(self.picture(file)):
            assert time.monotonic() < end, what
        return file

    def host(self):
        """Waits for the process that the program starts, and returns its id."""
        end = time.monotonic() + LIMIT_S
        while time.monotonic() < end:
            children = pathlib.Path(f"/proc/{self.process.pid}/task").glob("*/children")
            if hosts := [int(pid) for file in children for pid in file.read_text().split()]:
                return hosts[0]
            time.sleep(0.01)
        raise AssertionError("no host process")


def differs(first, second):
    """Returns how many pixels differ in the part of the window that shows the picture."""
    done = subprocess.run(["compare", "-metric", "AE", "-extract", VIEW, first, second, "null:"], capture_output=True,
                          text=True, timeout=LIMIT_S)
    return int(float(done.stderr.split()[0]))


def signature(file):
    return run("identify", "-format", "%#", str(file))


def box_of(file):
    """Returns the rectangle around all lime pixels: x, y, width and height."""
    found = run("convert", str(file), "-crop", VIEW, "+repage", "-fill", "black", "+opaque", "lime", "-format", "%@", "info:")
    width, height, x, y = map(int, re.fullmatch(r"(\d+)x(\d+)\+(\d+)\+(\d+)", found).groups())
    return x, y, width, height


@contextlib.contextmanager
def script_before(host_program, hang):
    """Replaces the host program by a script that waits while the file `hang` exists, and then starts it."""
    real = host_program.with_name("orvane_host_real")
    host_program.rename(real)
    real.chmod(0o755)  # NuGet extracts it without the right to execute it
    try:
        host_program.write_text(f'#!/bin/sh\nwhile [ -e "{hang}" ]; do sleep 0.1; done\nexec "{real}" "$@"\n')
        host_program.chmod(0o755)
        yield
    finally:
        real.replace(host_program)


def check(command, folder, kept, hang):
    hang.touch()  # the load hangs
    window = Window(command)
    window.wait_for("^Loading")
    time.sleep(HANG_S)
    before = signature(window.picture(folder / "hanging.png"))
    window.click(RESTART)
    window.picture_when(lambda file: signature(file) != before, folder / "checked.png",
                        "the check box was not drawn while the load hung")
    window.click(RESTART)
    hang.unlink()
    window.wait_for("^The model was loaded")
    window.wait_for("^1 face in")

    def shows_the_face(file):
        return all(abs(number - wanted) < 12 for number, wanted in zip(box_of(file), (195, 85, 108, 108)))

    def shows_it_again(file):
        return differs(found, file) == 0

    found = window.picture_when(shows_the_face, kept, "the window shows no box around the face")
    window.click(END_HOST)
    window.wait_for(r"^The host process has ended \(Interrupted\)")
    window.picture_when(shows_it_again, folder / "ended.png", "the window no longer shows its picture")
    window.click(RESTART)
    for end in (lambda: None), (lambda: os.kill(window.host(), signal.SIGKILL)):
        end()
        window.click(END_HOST)
        window.wait_for(r"^The host process has ended")
        window.wait_for("^A new host process was started")
        line = window.wait_for("^1 face in")
        window.picture_when(shows_it_again, folder / "again.png", "the new host process found another box")

    pause = int(re.search(r"pause of this window: (\d+) ms", line)[1])
    assert pause < PAUSE_LIMIT_MS, f"the window did not answer for {pause} ms"
    host = window.host()
    window.process.kill()
    window.process.wait(LIMIT_S)
    end = time.monotonic() + LIMIT_S
    while pathlib.Path(f"/proc/{host}").exists():
        assert time.monotonic() < end, "the host process did not end"
        time.sleep(0.05)
    print("ok: the window answers while its host process hangs, and stays open when it ends")


if __name__ == "__main__":
    kept = pathlib.Path(sys.argv[1])
    program = pathlib.Path(sys.argv[3]).resolve()
    hang = program.with_name("hang")
    with script_before(program.with_name("orvane_host"), hang):
        check(sys.argv[2:], kept.parent, kept, hang)
