"""Several hosts with one model."""

from __future__ import annotations

import os
import signal

import numpy as np
import orvane
import pytest
from material import VOICE, hosts, voice_inputs

pytestmark = pytest.mark.timeout(120)


def test_answers_come_in_order_although_hosts_die() -> None:
    items = [tuple(voice_inputs(seed)) for seed in range(60)]
    with orvane.Model(VOICE) as model:
        expected = [model.run(*item) for item in items]
    with orvane.Pool(VOICE, 3, retries=2) as pool:
        assert pool.size == 3 and len(hosts()) == 3
        for i, answer in enumerate(pool.map(items)):
            assert all(np.array_equal(ours, theirs) for ours, theirs in zip(answer, expected[i], strict=True)), i
            if i in (10, 30):
                os.kill(hosts()[0], signal.SIGKILL)
    assert hosts() == []


def test_an_item_without_retries_fails_and_the_next_one_does_not() -> None:
    item = dict(zip(("input", "state"), voice_inputs()))
    with orvane.Pool(VOICE, 1) as pool:
        expected = pool.submit(**item).result(60)
        os.kill(hosts()[0], signal.SIGKILL)
        with pytest.raises(orvane.HostEnded):
            pool.submit(**item).result(60)
        (answer,) = pool.map([item])
        assert np.array_equal(answer[0], expected[0])
        with pytest.raises(TypeError, match="needs float32"):
            next(iter(pool.map([(np.zeros((1, 576)), item["state"])])))
    assert hosts() == []


def test_failed_items_are_results_when_asked_for() -> None:
    good = tuple(voice_inputs())
    bad = (np.zeros((1, 576)), good[1])
    with orvane.Pool(VOICE, 2) as pool:
        results = list(pool.map([good, bad, {0: good}, good], return_exceptions=True))
        assert [type(result) for result in results] == [list, TypeError, TypeError, list]
        answers = pool.map([good, bad, *[good] * 3])
        assert isinstance(next(answers), list)
        with pytest.raises(TypeError, match="needs float32"):
            next(answers)
        assert list(answers) == []  # the first failure ends it


def test_takes_only_a_few_items_ahead() -> None:
    taken = 0

    def items():  # type: ignore[no-untyped-def]
        nonlocal taken
        while True:
            taken += 1
            yield tuple(voice_inputs())

    with orvane.Pool(VOICE, 1) as pool:
        answers = pool.map(items())
        next(answers)
        assert taken <= 4
        answers.close()  # type: ignore[attr-defined]


def test_refuses_what_makes_no_pool() -> None:
    for wrong in ({"size": 0}, {"host": False}):
        with pytest.raises(ValueError):
            orvane.Pool(VOICE, **wrong)  # type: ignore[arg-type]
    with pytest.raises(orvane.Error):
        orvane.Pool("no such model.onnx", 2)
    assert hosts() == []
