"""Pools: several host processes with one model."""

from __future__ import annotations

import os
import signal

import numpy as np
import orvane
import pytest
from material import VOICE, hosts, voice_inputs

pytestmark = pytest.mark.timeout(120)


def test_map_returns_results_in_order_when_host_processes_end() -> None:
    items = [tuple(voice_inputs(seed)) for seed in range(60)]
    with orvane.Model(VOICE) as model:
        expected = [model.run(*item) for item in items]
    with orvane.Pool(VOICE, 3, retries=2) as pool:
        assert pool.size == 3 and len(hosts()) == 3
        for i, result in enumerate(pool.map(items)):
            assert all(np.array_equal(ours, theirs) for ours, theirs in zip(result, expected[i], strict=True)), i
            if i in (10, 30):
                os.kill(hosts()[0], signal.SIGKILL)


def test_killed_host_process_fails_only_its_own_item() -> None:
    item = dict(zip(("input", "state"), voice_inputs()))
    with orvane.Pool(VOICE, 1) as pool:
        expected = pool.submit(**item).result(60)
        os.kill(hosts()[0], signal.SIGKILL)
        with pytest.raises(orvane.HostEnded):
            pool.submit(**item).result(60)
        (result,) = pool.map([item])
        assert np.array_equal(result[0], expected[0])
        with pytest.raises(TypeError, match="needs float32"):
            next(iter(pool.map([(np.zeros((1, 576)), item["state"])])))


def test_map_returns_exceptions_on_request() -> None:
    good = tuple(voice_inputs())
    bad = (np.zeros((1, 576)), good[1])
    with orvane.Pool(VOICE, 2) as pool:
        results = list(pool.map([good, bad, {0: good}, good], return_exceptions=True))
        assert [type(result) for result in results] == [list, TypeError, TypeError, list]
        results = pool.map([good, bad, *[good] * 3])
        assert isinstance(next(results), list)
        with pytest.raises(TypeError, match="needs float32"):
            next(results)
        assert list(results) == []  # the first failure ends it


def test_map_takes_only_a_few_items_ahead() -> None:
    taken = 0

    def items():  # type: ignore[no-untyped-def]
        nonlocal taken
        while True:
            taken += 1
            yield tuple(voice_inputs())

    with orvane.Pool(VOICE, 1) as pool:
        results = pool.map(items())
        next(results)
        assert taken <= 4
        results.close()  # type: ignore[attr-defined]
    with pytest.raises(ValueError, match="the pool is closed"):
        pool.submit(*voice_inputs())


def test_pool_refuses_wrong_arguments() -> None:
    for wrong, text in (({"size": 0}, "size must .* at least 1, not 0"), ({"size": 1.5}, "not 1.5"),
                        ({"host": False}, "leave host out")):
        with pytest.raises(ValueError, match=text):
            orvane.Pool(VOICE, **wrong)  # type: ignore[arg-type]
    with pytest.raises(FileNotFoundError):
        orvane.Pool("no such model.onnx", 2)
