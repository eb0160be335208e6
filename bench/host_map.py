"""A map of the time that a host adds to an inference, by the time and kind of the run and the size of the input."""

import os
import statistics

import measure

KINDS = {"computes": "compute", "sleeps": "rest"}  # the stub's name for the work
OUTPUT = 1024  # bytes
WARM_UP, COUNT = 24, 16  # inferences: waits learn from the last 16 of a kind
COPIES = 1.15  # times the copies of the limit, as for the channel alone
NOISE = 0.02  # of the run: a smaller difference can be noise

RUNS = (0, 100, 300, 500, 1000, 3000, 10_000, 30_000)  # microseconds
SIZES = (1 << 10, 64 << 10, 512 << 10, 4 << 20, 20 << 20)  # bytes
FEW_RUNS = (0, 100, 500, 3000)
FEW_SIZES = (1 << 10, 512 << 10, 20 << 20)


def maps(quick):
    """For each map: title, run times, sizes, processes for each figure, and what else runs."""
    if quick:
        return [("quiet", (*FEW_RUNS, 10_000), FEW_SIZES, 1, None)]
    return [("quiet", RUNS, SIZES, 3, None),
            ("on one processor", FEW_RUNS, FEW_SIZES, 3, "one processor"),
            ("beside two busy loops per processor", FEW_RUNS, FEW_SIZES, 3, "busy loops")]


def median(programs, variant, workload, processes):
    return statistics.median(statistics.median(programs.infer(variant, workload, WARM_UP, COUNT)["nanoseconds"])
                             for _ in range(processes))


def steps_per_microsecond(programs):
    """The speed of the stub that computes: every variant gets the same number of steps."""
    steps = 1_000_000
    return steps * 1000 / median(programs, "direct", f"stub:1024:{OUTPUT}:compute:{steps}", 3)


def measure_map(programs, runs, sizes, processes, progress):
    """Returns nanoseconds for each cell: the run without a host, what a host and ZeroMQ add, and what a host may add. A
    host may add twice the time to wake a sleeper and the time of its copies and hand-overs, or what can be noise."""
    speed = steps_per_microsecond(programs)
    wake_up = int(programs.run(programs.path("process_worker"), "wake", programs.stub_host))
    cells = []
    for size in sizes:
        copies = (median(programs, "limit", f"stub:{size}:{OUTPUT}", processes)
                  - median(programs, "direct", f"stub:{size}:{OUTPUT}", processes))
        for kind, work in KINDS.items():
            for run in runs:
                progress(f"map: {size >> 10} KiB, {kind} for {run} us")
                amount = round(run * speed) if work == "compute" else run
                workload = f"stub:{size}:{OUTPUT}:{work}:{amount}" if run else f"stub:{size}:{OUTPUT}"
                direct, remote, peer = (median(programs, variant, workload, processes)
                                        for variant in ("direct", "remote", "ZeroMQ, ipc"))
                noise = NOISE * direct
                cells.append({"kind": kind, "run": run * 1000, "size": size, "direct": direct, "host": remote - direct,
                              "peer": peer - direct, "allowed": max(2 * wake_up + COPIES * copies, noise), "noise": noise})
    return {"wake_up": wake_up, "cells": cells}


def measure_maps(programs, quick, progress):
    measured = {}
    for title, runs, sizes, processes, beside in maps(quick):
        processors = os.sched_getaffinity(0)
        if beside == "one processor":
            os.sched_setaffinity(0, {min(processors)})  # the programs inherit it
        try:
            with measure.other_work(2 * os.cpu_count() if beside == "busy loops" else 0):
                measured[title] = measure_map(programs, runs, sizes, processes, progress)
        finally:
            os.sched_setaffinity(0, processors)
    return measured
