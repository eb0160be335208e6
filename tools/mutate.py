"""Changes one line of the libraries or the host process, and runs the quick tests on this mutant. Repeats this.

If all tests pass, the mutant survives: no test finds that mistake. universalmutator makes the mutants. A mutant that
does not compile, or compiles to the same object code, does not count. The mutants are made in a copy of the checkout in
build/mutate, and kept as patches, so that you can try them again. Headers are not changed.
"""

import argparse
import collections
import difflib
import hashlib
import json
import os
import random
import re
import shlex
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

FOLDERS = ("core/", "ipc/", "backends/", "host/", "sdk/")
PRESET = "linux-mutate"

# The quick tests with their arguments, the quickest test first.
GTEST = ["--gtest_brief=1", "--gtest_fail_fast"]
HOSTS = ["bin/orvane_host", "bin/stub_host"]
TESTS = {
    "fuzz_model_file_cipher": [],
    "core_test": GTEST,
    "fuzz_flat_form": [],
    "fuzz_dispatcher": [],
    "sandbox_test": GTEST,
    "orvane_hpp_test": GTEST,
    "seam_test": GTEST,
    "fuzz_cache_stream": [],
    "fuzz_remote_reply": [],
    "openvino_backend_test": GTEST,
    "backend_conformance_test": GTEST,
    "protocol_test": GTEST,
    "orvane_cli_test": GTEST,
    "c_client_interface_test": [*HOSTS, "client"],
    "c_interface_test": HOSTS,
    "host_process_test": GTEST,
}

# The tests that are likely to find a change of a file in this folder. They run before all others.
LIKELY = {
    "core": ["fuzz_model_file_cipher", "core_test", "fuzz_flat_form"],
    "ipc": ["fuzz_dispatcher", "seam_test", "protocol_test"],
    "backends/openvino": ["fuzz_cache_stream", "openvino_backend_test"],
    "backends/remote": ["fuzz_remote_reply", "protocol_test", "host_process_test"],
    "sdk": ["orvane_hpp_test", "c_client_interface_test", "c_interface_test"],
}


class Copy:
    """A copy of the checkout with a build folder."""

    def __init__(self, checkout, folder):
        self.source = folder / "source"
        self.build = self.source / "build" / PRESET
        self.temporary = folder / "temporary"
        self.checkout = checkout
        listed = subprocess.run(
            ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
            cwd=checkout, check=True, capture_output=True, text=True).stdout.split("\0")
        self.files = [name for name in sorted(set(listed)) if name and (checkout / name).is_file()]
        for name in self.files:
            self.restore(name)
        for folder, folders, names in os.walk(self.source):
            folders[:] = set(folders) - {"build"}
            for path in (Path(folder, name) for name in names):
                if str(path.relative_to(self.source)) not in self.files:
                    path.unlink()
        dependencies = self.source / ".deps"
        if not dependencies.is_symlink():
            dependencies.symlink_to(checkout / ".deps")
        # With ccache, compiling the original source again after each mutant takes no time.
        self.environment = dict(os.environ, CCACHE_NOHASHDIR="1", CCACHE_BASEDIR=str(self.source),
                                CMAKE_C_COMPILER_LAUNCHER="ccache", CMAKE_CXX_COMPILER_LAUNCHER="ccache",
                                TMPDIR=str(self.temporary))
        self.run(["cmake", "--preset", PRESET], self.source, check=True)
        self.objects = {}
        for command in json.loads((self.build / "compile_commands.json").read_text()):
            words = shlex.split(command["command"])
            name = os.path.relpath(command["file"], self.source)
            self.objects.setdefault(name, []).append(words[words.index("-o") + 1])

    def restore(self, name):
        """Copies a file of the checkout if it differs. An unchanged file is not compiled again."""
        here, there = self.source / name, self.checkout / name
        if not here.exists() or here.read_bytes() != there.read_bytes():
            here.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(there, here)

    def run(self, command, folder, check=False, limit=None):
        """Returns the exit value and the output. The exit value is None if the command timed out."""
        shutil.rmtree(self.temporary, ignore_errors=True)
        self.temporary.mkdir(parents=True)
        with subprocess.Popen(command, cwd=folder, env=self.environment, stdin=subprocess.DEVNULL, text=True,
                              errors="replace", stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              start_new_session=True) as process:
            try:
                output, _ = process.communicate(timeout=limit)
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)
                return None, ""
        if check and process.returncode != 0:
            sys.exit(f"{shlex.join(command)} failed:\n{output}")
        return process.returncode, output

    def make(self, targets, check=False):
        return self.run(["ninja", "-C", str(self.build), *targets], self.source, check)[0] == 0

    def code(self, name):
        """Returns the object code of a source, once for each program that contains it."""
        return [(self.build / path).read_bytes() for path in self.objects[name]]

    def sees(self, test, name):
        """Returns whether a test program, or a program that it starts, contains this source."""
        _, inputs = self.run(["ninja", "-C", str(self.build), "-t", "inputs", test], self.source, check=True)
        return not set(self.objects[name]).isdisjoint(inputs.split("\n"))

    def test(self, test, limit=None, only=None):
        arguments = [str(self.build / word) if word in HOSTS else word for word in TESTS[test]]
        folder = self.build
        if test.startswith("fuzz_"):
            folder = self.build / "fuzz" / "seeds" / test.removeprefix("fuzz_")
        elif arguments[0] not in GTEST:
            folder = self.build / "sdk" / "c" / f"{test}.files"
        if only:
            arguments = [*GTEST, f"--gtest_filter={only}"]
        return self.run([str(self.build / "bin" / test), *arguments], folder, limit=limit)


def time_limits(copy, folder):
    """Runs all tests without a mutant, and returns for each a time limit, several times what it took."""
    record = folder / "passed.json"
    state = hashlib.sha256(b"".join((copy.checkout / name).read_bytes() for name in copy.files)).hexdigest()
    if record.exists() and (known := json.loads(record.read_text()))["state"] == state:
        return known["limits"]
    limits = {}
    copy.make([*TESTS, "fuzz_targets"], check=True)
    for test in TESTS:
        start = time.monotonic()
        value, output = copy.test(test, limit=300)
        if value != 0:
            sys.exit(f"{test} fails without a mutant:\n{output}")
        limits[test] = 10 + 4 * (time.monotonic() - start)
    record.write_text(json.dumps({"state": state, "limits": limits}))
    return limits


def random_patches(copy, folder, seed):
    """Yields patches of one line each, without end. They depend only on the sources and the seed."""
    mutate = Path(sys.executable).with_name("mutate")
    chooser = random.Random(seed)
    lines = []
    for name in sorted(copy.objects):
        if name.startswith(FOLDERS) and "_test" not in name:
            text = (copy.checkout / name).read_text().split("\n")
            lines += [(name, number) for number, line in enumerate(text, 1) if re.match(r"\s*(?!//)\S", line)]
    seen = set()
    while True:
        name, number = chooser.choice(lines)
        source = copy.checkout / name
        mutants = folder / "mutants"
        shutil.rmtree(mutants, ignore_errors=True)
        mutants.mkdir()
        (mutants / "line").write_text(str(number))
        copy.run([str(mutate), str(source), "--noCheck", "--lines", "line", "--mutantDir", "."], mutants, check=True)
        texts = sorted(path.read_text() for path in mutants.glob("*.cpp"))
        if not texts or (mutant := chooser.choice(texts)) in seen:
            continue
        seen.add(mutant)
        yield "".join(difflib.unified_diff(source.read_text().splitlines(True), mutant.splitlines(True),
                                           f"a/{name}", f"b/{name}"))


def killer(copy, name, limits):
    """Returns the test that finds the mutant, or None. It must fail twice: a busy machine can make a test fail once."""
    likely = [test for folder, tests in LIKELY.items() if name.startswith(folder) for test in tests]
    for test in dict.fromkeys([*likely, *TESTS]):
        if not copy.sees(test, name):
            continue
        if not copy.make([test]):
            return "the linker"
        value, output = copy.test(test, limits[test])
        if value is None:
            return f"{test}, which timed out"
        if value != 0:
            failed = re.search(r"\[  FAILED  \] ([\w./]+)", output)
            if copy.test(test, limits[test], failed and failed[1])[0] != 0:
                return f"{test} {failed[1]}" if failed else test
            print(f"{test} failed once, and passed when it ran again:\n{output}")
    return None


def try_mutant(copy, patch, limits):
    """Returns the result, and if the mutant was killed: by which test."""
    name = re.search(r"^\+\+\+ b/(\S+)", patch, re.MULTILINE)[1]
    if name not in copy.objects:
        return "does not apply", ""
    copy.make(copy.objects[name], check=True)
    before = copy.code(name)
    try:
        applied = subprocess.run(["patch", "-p1", "--quiet", "--no-backup-if-mismatch", "--reject-file=-"], input=patch,
                                 text=True, cwd=copy.source, stdout=subprocess.DEVNULL, check=False)
        if applied.returncode != 0:
            return "does not apply", ""
        if not copy.make(copy.objects[name]):
            return "does not compile", ""
        if copy.code(name) == before:
            return "compiles to the same code", ""
        killed_by = killer(copy, name, limits)
        return ("killed", f" by {killed_by}") if killed_by else ("survived", "")
    finally:
        copy.restore(name)


def main():
    parser = argparse.ArgumentParser(prog="./dev mutate", description=__doc__.split("\n\n")[0])
    parser.add_argument("what", nargs="*", default=["20"], metavar="COUNT | PATCH",
                        help="number of random mutants (default: 20), or patches of mutants to try again")
    parser.add_argument("--seed", type=int, help="makes the mutants of an earlier run again, if the sources are the same")
    options = parser.parse_args()
    folder = Path.cwd() / "build" / "mutate"
    copy = Copy(Path.cwd(), folder)
    limits = time_limits(copy, folder)
    if options.what[0].isdigit():
        count = int(options.what[0])
        seed = random.randrange(10**6) if options.seed is None else options.seed
        kept = folder / f"seed-{seed}"
        shutil.rmtree(kept, ignore_errors=True)
        kept.mkdir()
        named = ((kept / f"{number:02}.patch", patch)
                 for number, patch in enumerate(random_patches(copy, folder, seed)))
        print(f"{count} mutants of seed {seed}:")
    else:
        count = len(options.what)
        named = ((Path(name), Path(name).read_text()) for name in options.what)

    results = collections.Counter()
    survivors = []
    for path, patch in named:
        start = time.monotonic()
        result, killed_by = try_mutant(copy, patch, limits)
        results[result] += 1
        if result not in ("killed", "survived"):
            if path.exists():
                print(f"{path}: {result}")
            continue
        path.write_text(patch)
        seconds = round(time.monotonic() - start)
        name, *change = [line for line in patch.split("\n")[1:] if line[:1] in ("+", "-", "@")]
        print(f"{os.path.relpath(path)}: {result}{killed_by} ({seconds} s)\n  {name[6:]}")
        print(*(f"    {line}" for line in change), sep="\n", flush=True)
        if result == "survived":
            survivors.append(path)
        if results["killed"] + results["survived"] == count:
            break
    print(", ".join(f"{count} {result}" for result, count in sorted(results.items())))
    for path in survivors:
        print(f"survived: {os.path.relpath(path)}")


main()
