"""Fixtures and options of the tests, and a table of the ONNX node cases at the end of a run."""

from __future__ import annotations

import collections
import itertools
import pathlib
import tempfile
from typing import Iterator

import pytest
from material import hosts

REPORT = pathlib.Path(__file__).resolve().parents[2] / "build" / "onnx-nodes.txt"


def pytest_addoption(parser: pytest.Parser) -> None:
    parser.addoption("--public", action="store_true", help="run all cases of public suites, not a selection")
    parser.addoption("--onnx-report", type=pathlib.Path, default=REPORT, metavar="FILE",
                     help="write the outcome of each ONNX node case to FILE; by default, build/onnx-nodes.txt")


@pytest.fixture(name="temporary")
def use_own_temporary_folder(tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch) -> pathlib.Path:
    folder = tmp_path / "temporary"
    folder.mkdir()
    monkeypatch.setattr(tempfile, "tempdir", str(folder))
    return folder


@pytest.fixture(autouse=True)
def check_that_all_host_processes_end() -> Iterator[None]:
    yield
    assert hosts() == []


def pytest_terminal_summary(terminalreporter: pytest.TerminalReporter, config: pytest.Config) -> None:
    outcomes: dict[str, tuple[str, str]] = {}
    statuses = (terminalreporter.stats.get(status, []) for status in ("passed", "skipped", "failed"))
    for report in itertools.chain.from_iterable(statuses):
        properties = dict(report.user_properties)
        if "onnx_node" in properties:
            outcome = properties.get("outcome", ("not judged", ""))
            outcomes[properties["onnx_node"]] = ("FAILED", outcome[0]) if report.failed else outcome
    if not outcomes:
        return
    counts = collections.Counter(outcome for outcome, _ in outcomes.values())
    table = [f"{count:5}  {outcome}" for outcome, count in counts.most_common()] + [f"{len(outcomes):5}  cases"]
    terminalreporter.section("ONNX node cases")
    terminalreporter.write_line("\n".join(table))
    lines = [f"{case}: {': '.join(filter(None, outcome))}" for case, outcome in sorted(outcomes.items())]
    place = config.getoption("onnx_report")
    place.parent.mkdir(parents=True, exist_ok=True)
    partial = place.with_name(place.name + ".partial")
    partial.write_text("\n".join([*table, "", *lines, ""]), encoding="utf-8")
    partial.replace(place)
    terminalreporter.write_line(f"each of them: {place}")
