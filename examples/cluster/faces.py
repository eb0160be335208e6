"""Looks for faces in all pieces of pictures, on a Ray cluster. Each worker is a Ray actor with one host
process.

    python examples/cluster/faces.py PICTURE...                          starts a cluster on this machine
    python examples/cluster/faces.py --address HEAD:6379 PICTURE...      uses a running cluster

If a host process ends, its worker starts a new one. If a worker ends, Ray
starts a new one. Pieces without an answer run again.
"""

from __future__ import annotations

import argparse
import math
import os
import pathlib
import socket
import sys
from typing import Any, Iterable, Iterator, NamedTuple

os.environ.setdefault("RAY_USAGE_STATS_ENABLED", "0")

import numpy as np
import orvane
import psutil
import ray
from PIL import Image

Array = np.ndarray[Any, np.dtype[np.float32]]

MODEL = pathlib.Path(__file__).resolve().parents[2] / ".deps" / "material" / "face_detection_short_range.tflite"
PIECE, STEP = 256, 48  # pixels of a picture: the side of a piece, and the distance to the next piece
SIDE = 128  # pixels of the model's square input
FACE = 0.5  # the least score of a piece with a face

AHEAD = 2  # pieces that a worker has at a time: it runs one while the next arrives
RETRIES = 3  # new attempts for a piece if its host process or its worker ends
RESTARTS = 3  # how often Ray starts a worker again
TIME_LIMIT = 60.0  # seconds for one call of a host process
STORE = 80 << 20  # bytes for pieces and outputs in transit, in a cluster on this machine
PATIENCE = 300.0  # seconds to wait for an answer of any worker


class Processes(NamedTuple):
    """The processes of a worker."""

    node: str  # Ray's id of the machine
    worker: int  # process id of the worker
    host: int  # process id of its host process


class Worker:
    """A process on a machine of the cluster, which owns a host process."""

    def __init__(self, model: str) -> None:
        self._model = orvane.Model(model, host=True, retries=RETRIES, time_limit=TIME_LIMIT)

    def infer(self, piece: Array) -> list[Array]:
        """Takes a piece, float32 [1, 128, 128, 3] from -1 to 1. Returns regressors, float32 [1, 896, 16], and
        classificators, float32 [1, 896, 1]."""
        return self._model.run(piece)

    def processes(self) -> Processes:
        (host,) = (child.pid for child in psutil.Process().children() if child.name().startswith("orvane_host"))
        return Processes(ray.get_runtime_context().get_node_id(), os.getpid(), host)


def cut(path: pathlib.Path) -> Iterator[tuple[str, Array]]:
    """Yields all pieces of a picture, each with a name that contains its place."""
    with Image.open(path) as opened:
        picture = opened.convert("RGB")
    for top in range(0, max(1, picture.height - PIECE + 1), STEP):
        for left in range(0, max(1, picture.width - PIECE + 1), STEP):
            piece = picture.crop((left, top, left + PIECE, top + PIECE)).resize((SIDE, SIDE), Image.Resampling.BILINEAR)
            scaled = np.asarray(piece, np.float32) / np.float32(127.5) - np.float32(1)
            yield f"{path} at {left}, {top}", scaled[None]


def start_workers(count: int, model: pathlib.Path) -> list[Any]:
    """Starts actors of :class:`Worker`, spread over all machines. If the process of an actor ends, Ray starts it again,
    on another machine if necessary, and repeats the calls that it had not answered."""
    actor: Any = ray.remote(num_cpus=1, max_restarts=RESTARTS, max_task_retries=RETRIES,
                            scheduling_strategy="SPREAD")(Worker)
    return [actor.remote(str(model)) for _ in range(count)]


def infer_all(pieces: Iterable[tuple[str, Array]], workers: list[Any]) -> Iterator[tuple[str, list[Array]]]:
    """Returns the outputs for each piece once, in the order of the answers. There may be any number of pieces: it takes
    a piece when a worker is free.

    Raises:
        RuntimeError: All attempts for a piece have failed.
        TimeoutError: No worker has answered for PATIENCE seconds.
    """
    left = iter(pieces)
    asked: dict[Any, tuple[str, Any]] = {}

    def ask(worker: Any) -> None:
        following = next(left, None)
        if following is not None:
            name, piece = following
            asked[worker.infer.remote(piece)] = name, worker

    for worker in workers * AHEAD:
        ask(worker)
    while asked:
        answered, _ = ray.wait(list(asked), timeout=PATIENCE)
        if not answered:
            raise TimeoutError(f"no worker has answered for {PATIENCE:.0f} seconds: see 'ray status'")
        name, worker = asked.pop(answered[0])
        ask(worker)
        try:
            outputs: list[Array] = ray.get(answered[0])
        except ray.exceptions.RayError as error:
            raise RuntimeError(f"{name} has no answer: {error}") from error
        yield name, outputs


def score(outputs: list[Array]) -> float:
    """Returns the probability of a face, from 0 to 1."""
    return 1 / (1 + math.exp(-float(outputs[1].clip(-80, 80).max())))


def connect(address: str | None, workers: int) -> None:
    """Connects to the cluster at the address, or starts a cluster on this machine."""
    if address:
        host, _, port = address.rpartition(":")
        try:
            socket.create_connection((host, int(port)), timeout=10).close()  # Ray itself tries for minutes
        except (OSError, ValueError) as error:
            raise ConnectionError(f"no cluster answers at {address}, pass HOST:PORT of its head: {error}") from error
        ray.init(address=address, log_to_driver=False)
    else:
        ray.init(num_cpus=workers, object_store_memory=STORE, include_dashboard=False, log_to_driver=False)


def run(arguments: argparse.Namespace) -> None:
    orvane.Model(arguments.model, host=True).close()  # reports a mistake in one line; an actor prints fifty
    connect(arguments.address, arguments.workers)
    workers = start_workers(arguments.workers, arguments.model)
    pieces = (piece for path in arguments.pictures for piece in cut(path))
    found = {name: score(outputs) for name, outputs in infer_all(pieces, workers)}
    print(f"{len(found)} pieces, {sum(value >= FACE for value in found.values())} with a face")
    for name in sorted(found, key=lambda name: -found[name]):
        if found[name] >= FACE:
            print(f"  {found[name]:.2f}  {name}")


def main() -> int:
    parser = argparse.ArgumentParser(description="Looks for faces in all pieces of pictures, on a Ray cluster.")
    parser.add_argument("pictures", metavar="PICTURE", type=pathlib.Path, nargs="+")
    parser.add_argument("--address", help="the head of a running cluster; by default, a cluster starts on this machine")
    parser.add_argument("--workers", metavar="NUMBER", type=int, default=2, help="number of workers; by default, 2")
    parser.add_argument("--model", metavar="FILE", type=pathlib.Path, default=MODEL,
                        help="the face detector, at the same path on each machine; by default, from .deps/material")
    arguments = parser.parse_args()
    if arguments.workers < 1:
        parser.error("--workers is at least 1")
    try:
        run(arguments)
    except (OSError, ValueError, RuntimeError, Image.DecompressionBombError, orvane.Error) as error:
        print(f"faces: {error}", file=sys.stderr)
        return 1
    finally:
        ray.shutdown()
    return 0


if __name__ == "__main__":
    sys.exit(main())
