"""Runs a cluster of two nodes on this machine, and kills a host process and a worker that have unanswered pieces."""

from __future__ import annotations

import pathlib
import subprocess
import sys
import tempfile
from typing import Any, Iterator

import numpy as np
import orvane
import psutil
import pytest
import ray
from ray.cluster_utils import Cluster

import faces

MATERIAL = faces.MODEL.parent
PICTURES = [MATERIAL / "astronaut.png", MATERIAL / "coffee.png"]
PROGRAM = pathlib.Path(faces.__file__)

pytestmark = [
    pytest.mark.timeout(400),
    pytest.mark.skipif(not MATERIAL.is_dir(), reason=f"{MATERIAL} is missing; ./dev setup downloads it"),
    pytest.mark.skipif(sys.platform == "win32", reason="Ray has no clusters of several nodes on Windows"),
]


@pytest.fixture(scope="module")
def cluster() -> Iterator[Cluster]:
    """Starts two nodes. At the end, checks that all their processes have ended."""
    with pytest.MonkeyPatch.context() as patch, tempfile.TemporaryDirectory(prefix="ray") as folder:
        patch.setenv("RAY_USAGE_STATS_ENABLED", "0")
        patch.setenv("RAY_TMPDIR", folder)  # other clusters on this machine have another folder
        patch.setenv("PYTHONPATH", str(PROGRAM.parent))  # where the workers find the class of the actors
        node: dict[str, Any] = {"num_cpus": 2, "object_store_memory": 80 << 20}
        started = Cluster()
        try:
            started.add_node(**node, include_dashboard=False, dashboard_port=0, include_log_monitor=False,
                             no_monitor=True)
            started.add_node(**node)
            ray.init(address=started.address, log_to_driver=False)
            yield started
        finally:
            processes = psutil.Process().children(recursive=True)
            ray.shutdown()
            started.shutdown()  # type: ignore[no-untyped-call]  # it has no types
            _, left = psutil.wait_procs(processes, timeout=60)
            assert not left


def test_each_piece_has_one_answer_if_a_host_process_and_a_worker_end(cluster: Cluster) -> None:
    pieces = dict(piece for path in PICTURES for piece in faces.cut(path))
    workers = faces.start_workers(2, faces.MODEL)
    before = [ray.get(worker.processes.remote(), timeout=100) for worker in workers]
    assert before[0].node != before[1].node
    first_host, second_host = (psutil.Process(each.host) for each in before)

    answers = []
    # The test suspends a host process some answers before the kill. So its piece has no answer at the kill.
    at = {5: first_host.suspend, 10: first_host.kill,
          20: second_host.suspend, 30: psutil.Process(before[1].worker).kill}
    for answer in faces.infer_all(pieces.items(), workers):
        answers.append(answer)
        at.get(len(answers), lambda: None)()

    assert sorted(name for name, _ in answers) == sorted(pieces)
    with orvane.Model(faces.MODEL) as model:
        for name, outputs in answers:
            for ours, direct in zip(outputs, model.run(pieces[name])):
                np.testing.assert_array_equal(ours.view(np.uint32), direct.view(np.uint32), name)
    after = [ray.get(worker.processes.remote(), timeout=100) for worker in workers]
    assert after[0].worker == before[0].worker and after[0].host != before[0].host
    assert after[1].worker != before[1].worker
    _, left = psutil.wait_procs([first_host, second_host], timeout=30)
    assert not left
    for worker in workers:
        ray.kill(worker)


def test_program_finds_the_one_face(cluster: Cluster) -> None:
    done = subprocess.run([sys.executable, PROGRAM, "--address", cluster.address, *PICTURES], timeout=200,
                          capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    first, *pieces = done.stdout.splitlines()
    assert first == f"68 pieces, {len(pieces)} with a face"
    assert pieces and all("astronaut.png" in piece for piece in pieces)
