"""face_finder_test.py SHOT COMMAND...: presses the buttons of the face finder and checks its window.

COMMAND starts the program. The test needs an X display without other programs (xvfb-run), xdotool and ImageMagick. It
writes a picture of the window with a face to the file SHOT.
"""

import os
import pathlib
import re
import signal
import subprocess
import sys
import threading
import time

LIMIT_S = 30  # for each wait
PAUSE_LIMIT_MS = 3000  # a busy machine delays any window; a window that waits for the hanging host takes longer
HANG_S = 4  # how long the load hangs, at least
# Places in the window.
END_HOST, NEW_HOST = (165, 18), (300, 18)
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


def check(command, folder, kept):
    window = Window(command)
    window.wait_for("^Loading")
    host = window.host()
    os.kill(host, signal.SIGSTOP)  # the load hangs
    time.sleep(HANG_S)
    before = signature(window.picture(folder / "hanging.png"))
    window.click(NEW_HOST)
    end = time.monotonic() + LIMIT_S
    while signature(window.picture(folder / "checked.png")) == before:
        assert time.monotonic() < end, "the check box was not drawn while the load hung"
    window.click(NEW_HOST)
    os.kill(host, signal.SIGCONT)
    window.wait_for("^The model was loaded")
    window.wait_for("^1 face in")
    found = window.picture(kept)
    x, y, width, height = box_of(found)
    assert abs(x - 195) < 12 and abs(y - 85) < 12 and abs(width - 108) < 12 and abs(height - 108) < 12, (x, y, width, height)

    window.click(END_HOST)
    window.wait_for(r"^The host process has ended \(Interrupted\)")
    assert differs(found, window.picture(folder / "ended.png")) == 0, "the window does not show its picture any more"
    window.click(NEW_HOST)
    for end in (lambda: None), (lambda: os.kill(window.host(), signal.SIGKILL)):
        end()
        window.click(END_HOST)
        window.wait_for(r"^The host process has ended")
        window.wait_for("^A new host process was started")
        line = window.wait_for("^1 face in")
        assert differs(found, window.picture(folder / "again.png")) == 0, "a new host finds something else"

    pause = int(re.search(r"pause of this window: (\d+) ms", line)[1])
    assert pause < PAUSE_LIMIT_MS, f"the window did not answer for {pause} ms"
    host = window.host()
    window.process.kill()
    window.process.wait(LIMIT_S)
    end = time.monotonic() + LIMIT_S
    while pathlib.Path(f"/proc/{host}").exists():
        assert time.monotonic() < end, "the host process stays"
        time.sleep(0.05)
    print("ok: the window answers, also while its host process hangs, and outlives it")


if __name__ == "__main__":
    kept = pathlib.Path(sys.argv[1])
    check(sys.argv[2:], kept.parent, kept)
