#!/usr/bin/env python3
"""Times the SDK, its limits and its peers, all in one run, and writes a table, bench.json and bench.html.

It reports a target that was not met, but the exit value is still 0. If a program fails, the exit value is 1.
"""

import argparse
import datetime
import json
import os
import pathlib
import platform
import re
import resource
import subprocess
import sys
import time

import host_map
import large_model
import measure
import targets
from measure import Case

SOURCE = pathlib.Path(__file__).resolve().parent.parent
MODEL_VARIANTS = ("direct", "in process", "remote", *measure.PEERS)
BUSY_VARIANTS = ("in process", "remote", *measure.PEERS)
FACE_PYTHON = tuple(variant for variant in measure.PYTHON if variant != "onnxruntime")  # it does not read .tflite
STUB_VARIANTS = ("remote", "limit", *measure.PEERS)
SWEEP_VARIANTS = ("remote", "limit", "copies alone", *measure.PEERS)
MUCH_OTHER_WORK = 0.05  # of the processors, as for `orvane bench`
TEMPLATE = "cli/report/bench_page.html"  # the page of `orvane bench --html`
SCRIPT = "bench/bench_page.js"  # what the page of this program has in addition


def plan(quick):
    """The cases. A quick run has fewer repetitions and samples, so its figures are rougher. It also leaves out Python on
    a busy machine, which has no target."""
    repetitions, share = (3, 3) if quick else (15, 1)
    cases = [
        # A longer warm-up, because waits must learn how busy the machine is.
        Case("face", BUSY_VARIANTS, 200, 200 // share, 3 if quick else 9, busy=True),
        Case("voice", BUSY_VARIANTS, 400, 800 // share, 3 if quick else 9, busy=True),
        Case("face", FACE_PYTHON, 100, 600 // share, repetitions, python=True),
        Case("voice", tuple(measure.PYTHON), 200, 2000 // share, repetitions, python=True),
        Case("face", (*MODEL_VARIANTS, *measure.IN_PLACE), 100, 600 // share, repetitions),
        Case("voice", (*MODEL_VARIANTS, *measure.C_INTERFACE), 200, 2000 // share, repetitions),
        Case("pose", (*MODEL_VARIANTS, *measure.IN_PLACE), 20, 40, repetitions),
        Case(targets.PICTURE, STUB_VARIANTS, 300, 1500 // share, repetitions),
        Case(targets.SMALL, STUB_VARIANTS, 300, 3000 // share, repetitions),
    ]
    if not quick:
        cases.append(Case("face", FACE_PYTHON, 200, 200, 9, busy=True, python=True))
        cases.append(Case("voice", tuple(measure.PYTHON), 400, 800, 9, busy=True, python=True))
    for size in targets.SWEEP:
        count = max(10, min(1000, 200_000_000 // size)) // share
        cases.append(Case(targets.stub(size, targets.SWEEP_OUTPUT), SWEEP_VARIANTS, 20, count, 3 if quick else 5))
    return cases


class OtherWork:
    """The processor time that other programs used during a run, which disturbs the figures."""

    def __init__(self):
        self.start = self.read()

    @staticmethod
    def read():
        fields = [int(field) for field in pathlib.Path("/proc/stat").read_text().splitlines()[0].split()[1:]]
        ticks = os.sysconf("SC_CLK_TCK")
        busy = (sum(fields[:8]) - fields[3] - fields[4] - fields[7]) / ticks  # all but idle, iowait and steal
        own = sum(usage.ru_utime + usage.ru_stime for usage in
                  (resource.getrusage(resource.RUSAGE_SELF), resource.getrusage(resource.RUSAGE_CHILDREN)))
        return {"busy": busy, "own": own, "stolen": fields[7] / ticks, "time": time.monotonic()}

    def shares(self):
        """The shares of all processor time that other programs and other virtual machines used."""
        change = {name: value - self.start[name] for name, value in self.read().items()}
        whole = change["time"] * os.cpu_count()
        shares = {"others": max(0.0, (change["busy"] - change["own"]) / whole), "stolen": change["stolen"] / whole}
        return shares | {"disturbed": max(shares.values()) > MUCH_OTHER_WORK}


def first_match(pattern, path, default="unknown"):
    found = re.search(pattern, pathlib.Path(path).read_text(encoding="utf-8", errors="replace"), re.MULTILINE)
    return found.group(1).strip() if found else default


def describe_machine(source):
    revision = subprocess.run(["git", "-C", source, "describe", "--always", "--dirty"], capture_output=True, text=True,
                              check=False).stdout.strip()
    return {
        "processor": first_match(r"^model name\s*:(.*)$", "/proc/cpuinfo"),
        "cores": os.cpu_count(),
        "virtual": bool(re.search(r"\bhypervisor\b", pathlib.Path("/proc/cpuinfo").read_text())),
        "memory_bytes": int(first_match(r"^MemTotal:\s*(\d+)", "/proc/meminfo", "0")) * 1024,
        "system": first_match(r'^PRETTY_NAME="?([^"\n]*)', "/etc/os-release") + ", kernel " + platform.release(),
        "revision": revision or "unknown",
        "load_before": os.getloadavg()[0],
    }


def run(arguments):
    results = {"quick": arguments.quick, "machine": describe_machine(SOURCE),
               "date": datetime.datetime.now(datetime.timezone.utc).isoformat(timespec="seconds")}
    started, other_work = time.monotonic(), OtherWork()
    repetitions = 3 if arguments.quick else 7
    starts = 7 if arguments.quick else 21

    def progress(text):
        # On a terminal each line replaces the previous line.
        begin, end = ("\r\x1b[K", "") if sys.stderr.isatty() else ("", "\n")
        print(f"{begin}{time.monotonic() - started:4.0f} s  {text}", end=end, file=sys.stderr, flush=True)

    with measure.scratch_folder() as scratch:
        programs = measure.Programs(arguments.programs, scratch)
        results["cases"] = {case.name: measure.run_case(programs, case, progress) for case in plan(arguments.quick)}
        results["maps"] = host_map.measure_maps(programs, arguments.quick, progress)
        model = large_model.write_large_model(scratch)
        results["starts"] = measure.measure_starts(programs, model, starts, progress)
        results["processes"] = measure.measure_processes(programs, 1 if arguments.quick else 3, progress)
        results["parts"] = measure.measure_parts(programs, repetitions, progress)
    progress("done\n" if sys.stderr.isatty() else "done")
    results["machine"] |= other_work.shares()
    results["seconds"] = round(time.monotonic() - started)
    results["targets"] = targets.evaluate(results)
    return results


def print_table(results):
    machine = results["machine"]
    print(f"{machine['processor']}, {machine['cores']} cores, {machine['system']}, "
          f"revision {machine['revision']}")
    print(f"{results['seconds']} s; other programs used {machine['others']:.0%} of the processors, "
          f"other virtual machines {machine['stolen']:.1%}\n")
    print(f"{'microseconds':32}{'median':>10}{'lowest':>10}{'highest':>10}{'p90':>10}{'p99':>10}{'p99.9':>10}")
    for workload, case in results["cases"].items():
        print(workload)
        for variant, figures in case.items():
            columns = [figures["median"], min(figures["medians"]), max(figures["medians"]),
                       *(figures["percentiles"][name] for name in ("90", "99", "99.9"))]
            print(f"  {variant:30}" + "".join(f"{column / 1e3:10.2f}" for column in columns))
    print("start, milliseconds")
    for way, figures in results["starts"].items():
        print(f"  {way:30}" + "".join(f"{column / 1e6:10.2f}" for column in
                                      (figures["median"], min(figures["medians"]), max(figures["medians"]))))
    for title, measured in results["maps"].items():
        print(f"what a host adds, {title}; beside it ZeroMQ; waking a sleeper takes {measured['wake_up'] / 1e3:.0f}")
        for cell in measured["cells"]:
            print(f"  {cell['kind']:9}{cell['run'] / 1e6:5.1f} ms{cell['size'] >> 10:6} KiB"
                  + "".join(f"{cell[key] / 1e3:10.1f}" for key in ("host", "peer", "allowed")))
    print("parts")
    for part, figures in sorted(results["parts"].items()):
        if part.startswith(("CopyData", "memcpy")):
            continue
        speed = figures["bytes_per_second"]
        print(f"  {part:30}{figures['nanoseconds'] / 1e3:10.2f}" + (f"   {speed / 1e9:.1f} GB/s" if speed else ""))
    print(f"\n{'target':68}{'reached':>9}{'wanted':>10}")
    for entry in results["targets"]:
        spread = f"{entry['low']:.3f} to {entry['high']:.3f}" if entry["low"] is not None else ""
        print(f"{entry['number']} {entry['text']:66}{entry['value']:9.3f}{'>=' if entry['at_least'] else '<=':>4}"
              f"{entry['limit']:6.3g}  {'met    ' if entry['met'] else 'NOT MET'}  {spread}")
    if machine["disturbed"]:
        print("\nDISTURBED: measure again when there is little else to do")


def page(results):
    """One HTML file that needs no other file. A "<" could end the script that contains the results, or begin a comment."""
    template, script = ((SOURCE / file).read_text(encoding="utf-8") for file in (TEMPLATE, SCRIPT))
    return template.replace("// @SCRIPT@", script).replace("@RESULTS@", json.dumps(results).replace("<", "\\u003c"))


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--programs", required=True, metavar="FOLDER", help="the folder `bin` of the built preset")
    parser.add_argument("--output", default="build", metavar="FOLDER", help="where bench.json and bench.html go")
    parser.add_argument("--quick", action="store_true", help="rougher figures in a few minutes")
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    output = pathlib.Path(arguments.output)
    if not output.is_dir():
        print(f"run_bench: there is no folder {output}", file=sys.stderr)
        return 1
    try:
        results = run(arguments)
    except measure.Failure as failure:
        print(f"\nrun_bench: {failure}", file=sys.stderr)
        return 1
    print_table(results)
    measure.write_whole(output / "bench.json", json.dumps(results, indent=1) + "\n")
    measure.write_whole(output / "bench.html", page(results))
    print(f"\n{output / 'bench.json'} and {output / 'bench.html'} have been written")
    return 0


if __name__ == "__main__":
    sys.exit(main())
