"""The targets of the project, and whether a run met them."""

import statistics

MIB = 1 << 20


def ratio(case, variant, base):
    """The median of the ratios of the repetitions' medians, and their spread. Both sides of each ratio are timed within
    about a second, which removes most of a machine's slow changes of speed."""
    ratios = [ours / theirs for ours, theirs in zip(case[variant]["medians"], case[base]["medians"])]
    return statistics.median(ratios), min(ratios), max(ratios)


def target(number, text, figures, limit, at_least=False):
    """`figures` is the value, or a tuple of the value and its lowest and highest over the repetitions."""
    value, low, high = figures if isinstance(figures, tuple) else (figures, None, None)
    met = value >= limit if at_least else value <= limit
    return {"number": number, "text": text, "value": value, "low": low, "high": high, "limit": limit,
            "at_least": at_least, "met": met}


def stub(input_bytes, output_bytes=4000):
    return f"stub:{input_bytes}:{output_bytes}"


def case_name(workload, python=False, busy=False):
    return workload + (" from Python" if python else "") + (", busy machine" if busy else "")


PICTURE = stub(602_112)
SMALL = stub(2048)
SWEEP_OUTPUT = 1024
SWEEP = [1 << 10, 4 << 10, 16 << 10, 64 << 10, 256 << 10, MIB, 4 * MIB, 10 * MIB, 20 * MIB]


def channel_targets(cases):
    for workload, size, grpc, zeromq, limit in ((PICTURE, "588 KiB", 0.2, 0.35, 1.2), (SMALL, "2 KiB", 0.2, 0.35, 1.5)):
        case = cases[workload]
        for peer in ("gRPC, TCP", "gRPC, Unix socket"):
            yield target(3, f"channel with {size} / {peer}", ratio(case, "remote", peer), grpc)
        yield target(3, f"channel with {size} / ZeroMQ, ipc", ratio(case, "remote", "ZeroMQ, ipc"), zeromq)
        yield target(3, f"channel with {size} / limit", ratio(case, "remote", "limit"), limit)


def cost_targets(cases):
    """The limit makes the same two copies of the payload, one in each process, and the same hand-overs."""
    for size in (size for size in SWEEP if size >= MIB):
        yield target(7, f"channel with {size // MIB} MiB / its copies and hand-overs",
                     ratio(cases[stub(size, SWEEP_OUTPUT)], "remote", "limit"), 1.15)


def in_place_targets(cases):
    for workload, limit in (("face", 1.08), ("pose", 1.01)):
        case = cases[workload]
        yield target(2, f"{workload}, in place: in process / direct", ratio(case, "in process, in place", "direct"), 1.03)
        yield target(2, f"{workload}, in place: remote / in process",
                     ratio(case, "remote, in place", "in process, in place"), limit)


def copy_target(parts):
    """The worst of all sizes and pairs of addresses."""
    worst = max(figures["nanoseconds"] / parts[name.replace("CopyData", "memcpy")]["nanoseconds"]
                for name, figures in parts.items() if name.startswith("CopyData/"))
    return target(12, "copy of tensor data / memcpy: the slowest size and addresses", worst, 1.05)


def map_targets(maps):
    for title, measured in maps.items():
        cells = measured["cells"]
        yield target(13, f"map, {title}: cells of {len(cells)} where a host adds more than ZeroMQ",
                     sum(cell["host"] > cell["peer"] + cell["noise"] for cell in cells), 0)
        yield target(13, f"map, {title}: cells of {len(cells)} where it adds more than it may",
                     sum(cell["host"] > cell["allowed"] for cell in cells), 0)


def busy_targets(cases):
    for workload, limit in (("face", 1), ("voice", 3)):
        name = case_name(workload, busy=True)
        fastest = min((peer for peer in cases[name] if peer not in ("in process", "remote")),
                      key=lambda peer: cases[name][peer]["median"])
        yield target(9, f"{name}: remote / in process", ratio(cases[name], "remote", "in process"), limit)
        yield target(9, f"{name}: remote / {fastest}", ratio(cases[name], "remote", fastest), 1)


def python_targets(cases):
    for workload, variant, base, limit in (
            ("voice", "in process", "openvino", 0.7), ("voice", "remote", "openvino", 0.8),
            ("face", "remote", "openvino", 1.06), ("voice", "remote", "hand-made worker", 0.5)):
        name = case_name(workload, python=True)
        yield target(11, f"{name}: {variant} / {base}", ratio(cases[name], variant, base), limit)


def evaluate(results):
    cases, parts = results["cases"], results["parts"]
    starts, processes = results["starts"], results["processes"]

    def speed(part):
        return parts[part]["bytes_per_second"]

    def second(what):  # share of one core, in a measurement of one second
        return max(processes[what]["medians"]) / 1e9

    targets = [
        target(1, "face: in process / direct", ratio(cases["face"], "in process", "direct"), 1.03),
        target(1, "voice: in process / direct", ratio(cases["voice"], "in process", "direct"), 1.10),
        target(2, "face: remote / in process", ratio(cases["face"], "remote", "in process"), 1.08),
        target(2, "voice: remote / in process", ratio(cases["voice"], "remote", "in process"), 1.3),
        target(2, "pose: remote / in process", ratio(cases["pose"], "remote", "in process"), 1.03),
        *in_place_targets(cases),
        target(2, "voice: remote, 99th percentile / median",
               cases["voice"]["remote"]["percentiles"]["99"] / cases["voice"]["remote"]["median"], 2.5),
        *(target(10, f"voice: C interface, {where} / classes",
                 ratio(cases["voice"], f"C interface, {where}", f"classes, {where}"), 1.03)
          for where in ("in process", "remote")),
        *busy_targets(cases),
        *python_targets(cases),
        *channel_targets(cases),
        target(4, "idle host: share of a core", second("idle"), 0),
        target(4, "client waiting for a run of 1 s: share of a core", second("waiting"), 0.001),
        target(5, "keystream / memcpy, 64 MiB through one 4 KiB buffer: speed",
               speed("KeystreamInPieces") / speed("MemcpyInPieces"), 0.5, at_least=True),
        target(5, "keystream / memcpy, 64 MiB of memory: speed",
               speed("KeystreamOverMemory") / speed("MemcpyOverMemory"), 0.5, at_least=True),
        target(5, "start from the cache / direct import", ratio(starts, "cached", "direct, imported"), 1.15),
        target(6, "deciphering on one core: GB/s", speed("Decipher") / 1e9, 1, at_least=True),
        target(6, "start of an encrypted model / plain", ratio(starts, "encrypted", "cold"), 1.15),
        *cost_targets(cases),
        copy_target(parts),
        *map_targets(results["maps"]),
        target(8, "resident besides the section: MB", processes["memory"]["median"] * 1024 / 1e6, 8),
        target(8, "launch to a refused first call / start of a program", ratio(processes, "launch", "start"), 1.3),
    ]
    return targets
