"""Runs the programs of the benchmark and collects what they print. Every sample comes from a new process."""

import contextlib
import dataclasses
import json
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import threading

import targets

TIME_LIMIT = 120  # seconds for each program
PERCENTILES = (90, 99, 99.9)


class Failure(Exception):
    """A program failed; the text says which one and why."""


@dataclasses.dataclass(frozen=True)
class Case:
    """Variants that are timed together, each in a separate process, once in every repetition."""

    workload: str
    variants: tuple
    warm_up: int
    count: int
    repetitions: int
    busy: bool = False  # beside two busy loops per processor
    python: bool = False  # from Python, with other variants

    @property
    def name(self):
        return targets.case_name(self.workload, self.python, self.busy)

    @property
    def measured(self):
        """The variants, and those that take turns with some of them in the same process."""
        return (*self.variants, *(C_INTERFACE[variant] for variant in self.variants if variant in C_INTERFACE))


class Programs:
    """The built programs, and a folder for their files."""

    def __init__(self, folder, scratch):
        self.folder = pathlib.Path(folder).resolve()
        self.scratch = pathlib.Path(scratch)
        self.host = self.folder / "orvane_host"
        self.stub_host = self.folder / "stub_host"

    def path(self, name):
        return self.folder / "bench" / name

    def run(self, *command):
        """Returns the standard output of a program. Raises `Failure` if the program fails."""
        words = [str(word) for word in command]
        try:
            done = subprocess.run(words, capture_output=True, text=True, timeout=TIME_LIMIT, check=False)
        except (OSError, subprocess.TimeoutExpired) as error:
            raise Failure(f"{' '.join(words)}: {error}") from error
        if done.returncode != 0:
            raise Failure(f"{' '.join(words)} ended with {done.returncode}: {done.stderr.strip()}")
        return done.stdout

    @contextlib.contextmanager
    def server(self, name, workload, address):
        """Runs a peer's server. Yields the port that it chose, or 0 if it uses no port."""
        words = [str(self.path(name)), workload, address]
        try:
            process = subprocess.Popen(words, stdout=subprocess.PIPE, text=True)
        except OSError as error:
            raise Failure(f"{' '.join(words)}: {error}") from error
        watch = threading.Timer(TIME_LIMIT, process.kill)
        watch.start()
        with process as server:
            try:
                port = server.stdout.readline().strip()
                watch.cancel()
                if not port:
                    raise Failure(f"{' '.join(words)} did not start")
                yield port
            finally:
                watch.cancel()
                server.kill()

    def infer(self, variant, workload, warm_up, count):
        """Runs one new process. Returns its samples in nanoseconds and the checksum of the outputs."""
        arguments = [workload, warm_up, count]
        host = self.stub_host if workload.startswith("stub") else self.host
        if variant in ("direct", "in process"):
            text = self.run(self.path("direct_worker" if variant == "direct" else "in_process_worker"), *arguments)
        elif variant == "remote":
            text = self.run(self.path("remote_worker"), *arguments, host)
        elif variant in IN_PLACE:
            text = self.run(self.path("in_place_worker"), *arguments, *([host] if "remote" in variant else []))
        elif variant in C_INTERFACE:
            text = self.run(self.path("c_interface_worker"), *arguments, *([host] if "remote" in variant else []))
        elif variant in LIMITS:
            text = self.run(self.path("limit_worker"), *arguments, LIMITS[variant])
        else:
            text = self.infer_with_peer(variant, workload, arguments)
        return json.loads(text)

    def infer_from_python(self, variant, workload, warm_up, count):
        """The same from Python. Leaves out the checksum of onnxruntime, because its outputs differ in some bits."""
        worker = pathlib.Path(__file__).with_name("python_worker.py")
        result = json.loads(self.run(sys.executable, worker, PYTHON[variant], workload, MODELS[workload], warm_up, count))
        return result | ({"checksum": None} if variant == "onnxruntime" else {})

    def infer_with_peer(self, variant, workload, arguments):
        server, worker, address = {
            "gRPC, TCP": ("grpc_server", "grpc_worker", "127.0.0.1:0"),
            "gRPC, Unix socket": ("grpc_server", "grpc_worker", f"unix:{self.scratch}/grpc"),
            "ZeroMQ, ipc": ("zmq_server", "zmq_worker", f"ipc://{self.scratch}/zmq"),
        }[variant]
        with self.server(server, workload, address) as port:
            return self.run(self.path(worker), *arguments, address.replace(":0", f":{port}"))


# Variants whose application writes its input to the place from which it is sent or read, as "direct" does too.
IN_PLACE = ("in process, in place", "remote, in place")
# Lower bounds for a channel, with the names that limit_worker uses.
LIMITS = {"limit": "channel", "copies alone": "copies"}
# With what the same process times in turns.
C_INTERFACE = {f"C interface, {where}": f"classes, {where}" for where in ("in process", "remote")}
# Ways from Python, with the names that python_worker.py uses, and the models for it.
PYTHON = {
    "in process": "orvane_in_process",
    "remote": "orvane_host",
    "openvino": "openvino_request",
    "onnxruntime": "onnxruntime_session",
    "hand-made worker": "hand_made_worker",
}
MATERIAL = pathlib.Path(__file__).resolve().parent.parent / ".deps" / "material"
MODELS = {"face": MATERIAL / "face_detection_short_range.tflite", "voice": MATERIAL / "silero_vad_openvino_16k.onnx"}
PEERS = ("gRPC, TCP", "gRPC, Unix socket", "ZeroMQ, ipc")


@contextlib.contextmanager
def other_work(count):
    """Runs busy loops. They end with this program, however it ends."""
    loop = "import os\nparent = os.getppid()\nwhile os.getppid() == parent:\n    for _ in range(10_000):\n        pass"
    processes = [subprocess.Popen([sys.executable, "-c", loop]) for _ in range(count)]
    try:
        yield
    finally:
        for process in processes:
            process.kill()
            process.wait()


def run_case(programs, case, progress):
    """Returns the figures by variant. All variants must return the same bytes."""
    with other_work(2 * os.cpu_count() if case.busy else 0):
        return time_variants(programs, case, progress)


def time_variants(programs, case, progress):
    samples = {}
    checksums = {}
    for repetition in range(case.repetitions):
        progress(f"{case.name}: {repetition + 1} of {case.repetitions}")
        # Each repetition starts with another variant, so that no variant always follows the same one.
        first = repetition % len(case.variants)
        for variant in case.variants[first:] + case.variants[:first]:
            infer = programs.infer_from_python if case.python else programs.infer
            result = infer(variant, case.workload, case.warm_up, case.count)
            for name, nanoseconds in {variant: result["nanoseconds"], **result.get("beside", {})}.items():
                samples.setdefault(name, []).append(nanoseconds)
            if result["checksum"] is not None:
                checksums[variant] = result["checksum"]
    if len(set(checksums.values())) != 1:
        raise Failure(f"{case.name}: the variants did not do the same work: {checksums}")
    return {variant: summarise(samples[variant]) for variant in case.measured}


def percentile(ordered, percent):
    return ordered[min(len(ordered) - 1, int(len(ordered) * percent / 100))]


def summarise(repetitions):
    """Figures in nanoseconds: the median of each repetition, the median of these, and percentiles over all samples."""
    medians = [statistics.median(samples) for samples in repetitions]
    everything = sorted(sample for samples in repetitions for sample in samples)
    return {
        "median": statistics.median(medians),
        "medians": medians,
        "samples": len(everything),
        "percentiles": {str(percent): percentile(everything, percent) for percent in PERCENTILES},
        # Enough to draw the distribution.
        "quantiles": [percentile(everything, percent / 4) for percent in range(1, 400)],
    }


def measure_starts(programs, model, repetitions, progress):
    """Loads of one model in new processes: nanoseconds by the way to load."""
    scratch = programs.scratch
    worker = programs.path("init_worker")
    encrypted = scratch / "encrypted"
    encrypted.mkdir()
    for file in (model, model.with_suffix(".bin")):
        programs.run(programs.folder / "orvane", "encrypt", file, encrypted / file.name, "--key", "key!")
    programs.run(worker, "direct-export", model, scratch / "plain.blob")
    programs.run(worker, "cached", model, scratch / "model.cache")
    ways = {
        "direct, cold": ("direct", model),
        "cold": ("plain", model),
        "encrypted": ("encrypted", encrypted / model.name, "key!"),
        "direct, imported": ("direct-import", scratch / "plain.blob"),
        "cached": ("cached", model, scratch / "model.cache"),
    }
    samples = {way: [] for way in ways}
    for repetition in range(repetitions):
        progress(f"start: {repetition + 1} of {repetitions}")
        for way, arguments in ways.items():
            samples[way].append(json.loads(programs.run(worker, *arguments))["nanoseconds"])
    return {way: summarise(lists) for way, lists in samples.items()}


def measure_processes(programs, repetitions, progress):
    """What a host costs in addition to the time of calls: nanoseconds, and kilobytes of memory."""
    worker = programs.path("process_worker")
    plan = {
        "launch": (programs.host, 5 * repetitions),
        "start": (programs.path("empty_program"), 5 * repetitions),
        "idle": (programs.stub_host, repetitions),
        "waiting": (programs.stub_host, repetitions),
        "memory": (programs.stub_host, repetitions),
    }
    figures = {what: [] for what in plan}
    for repetition in range(5 * repetitions):
        progress(f"processes: {repetition + 1} of {5 * repetitions}")
        for what, (program, count) in plan.items():
            if repetition < count:
                figures[what].append([int(programs.run(worker, what, program))])
    return {what: summarise(lists) for what, lists in figures.items()}


def measure_parts(programs, repetitions, progress):
    """Nanoseconds and bytes per second of the parts that need only one process."""
    progress("parts")
    text = programs.run(programs.path("parts_bench"), "--benchmark_format=json", "--benchmark_min_time=0.1",
                        f"--benchmark_repetitions={repetitions}", "--benchmark_enable_random_interleaving=true")
    parts = {}
    for entry in json.loads(text)["benchmarks"]:
        name = entry["run_name"]
        if entry.get("aggregate_name") != "median":
            continue
        if name.startswith("CopyTensor/"):
            case = name.removeprefix("CopyTensor/").partition("/iterations")[0]
            for copy in ("CopyData", "memcpy"):
                parts[f"{copy}/{case}"] = {"nanoseconds": entry[copy], "bytes_per_second": None}
            continue
        scale = {"ns": 1, "us": 1e3, "ms": 1e6}[entry["time_unit"]]
        parts[name.removesuffix("/real_time")] = {
            "nanoseconds": entry["real_time"] * scale,
            "bytes_per_second": entry.get("bytes_per_second"),
        }
    return parts


@contextlib.contextmanager
def scratch_folder():
    folder = tempfile.mkdtemp(prefix="orvane-bench-")
    try:
        yield pathlib.Path(folder)
    finally:
        shutil.rmtree(folder)


def write_whole(path, text):
    """Writes another file in the same folder and renames it, so that the file is never half written."""
    path = pathlib.Path(path)
    beside = path.with_name(path.name + ".part")
    beside.write_text(text, encoding="utf-8")
    os.replace(beside, path)
