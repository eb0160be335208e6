#!/usr/bin/env python3
"""Runs the commands on pages, and compares their output with the pages.

page_commands.py PAGE...: first run `./dev wheel` and `./dev package`, which write to dist/, and `./dev test --python`,
which installs the wheel for the commands. One shell runs all commands of a page, in a folder with links to the project's
files.

Commands are the lines that begin with `$ ` in blocks marked as `console`. `./dev` commands run in the project itself;
those of .ci/run are left out. The lines after a command are its output. Numbers may differ, and `...` matches any
lines. If the first of these lines begins with "orvane: ", the command must fail; otherwise it must succeed. The line
before a block may be `<!-- not run: REASON -->` or `<!-- output not compared: REASON -->`. Exits with 1 if anything
differs.
"""
import dataclasses
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import threading

PROJECT = pathlib.Path(__file__).resolve().parents[2]
ENVIRONMENT = os.environ | {"PATH": f"{PROJECT / 'build/python/bin'}:{os.environ['PATH']}"}
TIMEOUT_S = 600  # for one command
END = "--- the command has ended: "
MARK = re.compile(r"<!-- (not run|output not compared): (.+) -->")


@dataclasses.dataclass
class Command:
    line: int
    text: str
    printed: list[str] = dataclasses.field(default_factory=list)
    mark: tuple[str, str] = ("", "")


def commands_of(page):
    """Returns the commands of a page in their order."""
    commands, mark, language, before = [], None, None, ""
    for number, line in enumerate(page.read_text().splitlines(), 1):
        if line.startswith("```"):
            language = None if language is not None else line[3:]
            mark = MARK.fullmatch(before)
        elif language == "console" and line.startswith("$ "):
            commands.append(Command(number, line[2:], mark=mark.groups() if mark else ("", "")))
        elif language == "console":
            commands[-1].printed.append(line)
        before = line
    return commands


def pattern(lines):
    """Returns a regular expression for lines of output. Numbers and blanks may differ; `...` matches any lines."""
    def one(line):
        words = re.sub(r"-?\d+(\.\d+)?", "0", " ".join(line.split()))
        return ".*" if words == "..." else re.escape(words).replace("0", r"-?\d+(?:\.\d+)?")
    return re.compile(r"\s*".join(one(line) for line in lines), re.DOTALL)


def first_difference(wanted, plain):
    """Returns how many lines of the page match, and the output after them."""
    for count in range(len(wanted) - 1, -1, -1):
        if found := pattern(wanted[:count]).match(plain):
            return count, plain[found.end():].strip()
    return 0, plain


class Shell:
    def __init__(self, folder):
        self.process = subprocess.Popen(["bash"], cwd=folder, env=ENVIRONMENT, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                        start_new_session=True)

    def run(self, text):
        """Returns the exit value and the output of the command. The exit value is None if the command timed out."""
        watch = threading.Timer(TIMEOUT_S, os.killpg, (self.process.pid, signal.SIGKILL))
        watch.start()
        try:
            self.process.stdin.write(f"{{ {text}\n}} </dev/null\necho \"{END}$?\"\n")
            self.process.stdin.flush()
            lines = []
            for line in self.process.stdout:
                before, end, value = line.partition(END)
                lines.append(before)
                if end:
                    return int(value), "".join(lines)
            return None, "".join(lines)
        finally:
            watch.cancel()

    def close(self):
        self.process.communicate(timeout=TIMEOUT_S)


def show_project(folder):
    """Makes a folder with links to the project's files. Commands can add files to this folder."""
    folder.mkdir()
    for entry in PROJECT.iterdir():
        (folder / entry.name).symlink_to(entry)


def write_program(page, folder):
    """Writes the page's first program and its CMakeLists.txt to a folder."""
    folder.mkdir()
    for language, name in (("cpp", "main.cpp"), ("cmake", "CMakeLists.txt")):
        (folder / name).write_text(re.search(rf"```{language}\n(.*?)```", page.read_text(), re.DOTALL)[1])


def what_is_wrong(command, value, printed):
    if value is None:
        return f"the command took more than {TIMEOUT_S} s, or ended the shell"
    fails = bool(command.printed) and command.printed[0].startswith("orvane: ")
    if (value != 0) != fails:
        return f"the command exited with {value}"
    if command.printed and command.mark[0] != "output not compared":
        plain = " ".join(printed.split())
        if not pattern([*command.printed, ""]).fullmatch(plain):
            count, rest = first_difference(command.printed, plain)
            wanted = command.printed[count] if count < len(command.printed) else "(nothing more)"
            return f"line {command.line + 1 + count} of the page is: {wanted}\n  the command printed: {rest[:200]}"
    return None


def why_not(command, ci_chores):
    """Returns why the command does not run here, or None. If CI runs a chore, `--native` would repeat a part of it."""
    if command.text.removesuffix(" --native") in ci_chores:
        return "it is a step of .ci/run"
    return command.mark[1] if command.mark[0] == "not run" else None


def in_project(text):
    return text.startswith(("./dev ", "cmake --preset ", "cmake --build --preset ", "ctest --preset "))


def run_page(page, ci_chores):
    """Runs the commands of a page. Returns how many it ran, left out, and found wrong."""
    count = {"run": 0, "left out": 0, "wrong": 0}
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch) / "project"
        show_project(folder)
        if page.name == "guide.md":
            write_program(page, pathlib.Path(scratch) / "hello")
        shell = Shell(folder)
        for command in commands_of(page):
            reason = why_not(command, ci_chores)
            print(f"{page.relative_to(PROJECT)}:{command.line}: {command.text}", flush=True)
            if reason:
                print(f"  not run: {reason}", flush=True)
                count["left out"] += 1
                continue
            text = f"(cd '{PROJECT}' && {command.text})" if in_project(command.text) else command.text
            value, printed = shell.run(text)
            count["run"] += 1
            if wrong := what_is_wrong(command, value, printed):
                count["wrong"] += 1
                print(f"  WRONG: {wrong}\n  Correct {page.relative_to(PROJECT)} or the program. All output:")
                print(printed, flush=True)
            if value is None:
                break
        shell.close()
    return count


def main(pages):
    ci_chores = (PROJECT / ".ci/run").read_text().splitlines()
    counts = [run_page(pathlib.Path(page).resolve(), ci_chores) for page in pages]
    total = {what: sum(count[what] for count in counts) for what in counts[0]}
    print(", ".join(f"{number} {what}" for what, number in total.items()))
    return 1 if total["wrong"] or not total["run"] else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
