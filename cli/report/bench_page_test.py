#!/usr/bin/env python3
"""Tests the pages of `orvane bench --html` and `./dev bench` in a browser without a window.

bench_page_test.py MODEL FOLDER ORVANE...: measures MODEL with the program that the command ORVANE... starts. FOLDER is
emptied and filled.
"""
import html
import json
import pathlib
import random
import re
import shutil
import subprocess
import sys
import types

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "bench"))
import host_map
import measure
import run_bench
import targets

TIMEOUT_S = 120
HOSTILE = "</script><!-- <b id=bold> & <img src=x onerror=alert(1)> \u2028 模型"
UNITS = {"s": 1, "ms": 1e-3, "µs": 1e-6, "ns": 1e-9, "GB": 1e9, "MB": 1e6, "kB": 1e3, "B": 1, "GB/s": 1e9, "MB/s": 1e6,
         "%": 1e-2, "": 1}
TIMES = ("s", "ms", "µs", "ns")


# Shows the page in a frame as wide as a telephone, because no window can be so narrow. Returns the figures of the page
# with their texts and, in a table, their headings; the marks of its charts; and all text.
FRAME = """<meta charset="utf-8"><body>
<iframe srcdoc="@PAGE@" style="width: 360px; height: 800px; border: 0"></iframe><script>
onload = () => {
  const page = document.querySelector("iframe").contentDocument;
  const all = (selector, read) => [...page.querySelectorAll(selector)].map(read);
  const heading = cell => cell?.closest("table").querySelectorAll("thead th")[cell.cellIndex].textContent;
  const seen = {
    figures: all("data", data => [+data.value, data.textContent, heading(data.closest("td"))]),
    marks: all(".mark", ({dataset, textContent}) => [+dataset.value, dataset.name, textContent]),
    alerts: all("[role=alert]", () => 1).length,
    elements: all("*", element => element.localName),
    outside: all("[src], [href]", element => element.outerHTML),
    widths: [page.defaultView.innerWidth, page.documentElement.scrollWidth],
  };
  all("script, style", element => element.remove());
  document.body.dataset.seen = JSON.stringify({...seen, text: page.documentElement.textContent});
};</script></body>"""


def show(file, folder):
    frame = folder / "frame.html"
    frame.write_text(FRAME.replace("@PAGE@", html.escape(file.read_text(encoding="utf-8"))), encoding="utf-8")
    command = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
               f"--user-data-dir={folder}/profile", "--dump-dom", frame.resolve().as_uri()]
    done = subprocess.run(command, capture_output=True, timeout=TIMEOUT_S, check=True)
    seen = re.search('data-seen="([^"]*)"', done.stdout.decode())
    return types.SimpleNamespace(**json.loads(html.unescape(seen[1])))


def numbers(value, path=""):
    """Yields the path and the value of each number in some JSON."""
    if isinstance(value, (int, float)) and not isinstance(value, bool):
        yield path, value
    items = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, member in items:
        yield from numbers(member, f"{path}/{key}")


def check_figures(page, expected, second):
    """`second`: the number of the JSON's time units in a second."""
    for path, value in expected:
        texts = {text for figure, text, _ in page.figures if figure == value}
        assert texts, f"{path}: {value} is not on the page"
        for text in texts:
            number, _, unit = text.partition(" ")
            said = float(number) * UNITS[unit] * (second if unit in TIMES else 1)
            assert abs(said - value) <= 0.006 * abs(value), f"{path}: the page has {text} for {value}"


def check_page(page):
    assert not page.outside and {"b", "img", "link", "iframe"}.isdisjoint(page.elements), (page.outside, page.elements)
    assert page.widths == [360, 360], f"width of the frame, and of the page in it: {page.widths}"
    assert page.marks
    for value, name, text in page.marks:
        said = [said for figure, said, heading in page.figures if (heading == name if name else figure == value)]
        assert text.removeprefix(f"{name} ") in said, f"{text} is in no table under that name"


def check_runs(model, folder, orvane):
    def bench(*options):
        subprocess.run([*orvane, "bench", model, "--iterations", "300", *map(str, options)], timeout=TIMEOUT_S,
                       stdout=subprocess.DEVNULL, check=True)

    files = [folder / name for name in ("this.json", "quiet.json", "disturbed.json")]
    page = folder / "page.html"
    bench("--json", files[1])
    earlier = json.loads(files[1].read_text(encoding="utf-8"))
    earlier["machine"] |= {"others": 0.001, "stolen": 0.002, "disturbed": False}
    files[1].write_text(json.dumps(earlier))
    earlier |= {"model": HOSTILE, "host": HOSTILE}
    earlier["machine"] |= {"processor": HOSTILE, "others": 0.345, "disturbed": True}
    files[2].write_text(json.dumps(earlier))
    bench("--remote", "--json", files[0], "--html", page, "--compare", files[1], files[2])

    results = [json.loads(file.read_text(encoding="utf-8")) for file in files]
    shown = show(page, folder)
    check_page(shown)
    for result in results:
        check_figures(shown, numbers(result), second=1e3)
        for text in (result["model"], result["date"], result["version"], *filter(None, (result["host"], ))):
            assert text in shown.text, f"{text} is not on the page"
    assert shown.alerts == sum(result["machine"]["disturbed"] for result in results)
    steady = results[0]["steady_state"]
    share = round(steady["compute_ms"]["mean"] / steady["inference_ms"]["mean"] * 100)
    assert f"inferences a second; {share} % of the time is the model" in shown.text


def made_up_results():
    """As of a run of `./dev bench`, without measuring anything."""
    chance = random.Random(7)

    def summary(repetitions=3):
        return measure.summarise([[chance.lognormvariate(12, 1) for _ in range(50)] for _ in range(repetitions)])

    parts = ("Decipher", "KeystreamInPieces", "MemcpyInPieces", "KeystreamOverMemory", "MemcpyOverMemory")
    copies = [f"{name}/{size}/0/1" for name in ("CopyData", "memcpy") for size in (1024, 4096)]
    cells = [{"kind": kind, "run": run, "size": size} | {key: chance.uniform(-5e3, 5e5) for key in
                                                        ("direct", "host", "peer", "allowed", "noise")}
             for kind in host_map.KINDS for run in (0, 300_000) for size in host_map.FEW_SIZES]
    results = {
        "maps": {"quiet": {"wake_up": 27_000, "cells": cells}},
        "quick": True, "date": "2026-11-22T02:07:57+00:00", "seconds": 77,
        "machine": run_bench.describe_machine(run_bench.SOURCE) | {"others": 0.51, "stolen": 0.002, "disturbed": True},
        "cases": {case.name: {variant: summary() for variant in case.measured} for case in run_bench.plan(True)},
        "starts": {way: summary() for way in ("direct, cold", "cold", "encrypted", "direct, imported", "cached")},
        "processes": {what: summary() for what in ("launch", "start", "idle", "waiting", "memory")},
        "parts": {part: {"nanoseconds": chance.uniform(10, 1e6), "bytes_per_second": chance.uniform(1e8, 1e11)}
                  for part in (*parts, *copies)},
    }
    results["machine"]["processor"] = HOSTILE
    results["targets"] = targets.evaluate(results)
    return results


def check_benchmark(folder):
    results = made_up_results()
    page = folder / "bench.html"
    page.write_text(run_bench.page(results), encoding="utf-8")
    shown = show(page, folder)
    check_page(shown)
    expected = [(entry["text"], entry[key]) for entry in results["targets"] for key in ("value", "low", "high")
                if entry[key] is not None]
    for group, cases in ({"starts": results["starts"]} | results["cases"]).items():
        for variant, figures in cases.items():
            expected.append((f"{group}/{variant}", figures["median"]))
            if not group.endswith(f":{targets.SWEEP_OUTPUT}"):
                expected += numbers([min(figures["medians"]), max(figures["medians"]), figures["percentiles"]], group)
    expected += [(f"map {cell}", cell[key]) for cell in results["maps"]["quiet"]["cells"] for key in ("host", "peer", "allowed")]
    check_figures(shown, [*expected, *numbers(results["parts"]), *numbers(results["machine"] | {"load_before": 2})], 1e9)
    assert all(entry["text"] in shown.text for entry in results["targets"])
    assert HOSTILE in shown.text and shown.alerts == 1


def main(model, folder, *orvane):
    folder = pathlib.Path(folder)
    if not shutil.which("chromium"):
        print("SKIPPED: there is no chromium to show a page; `./dev test` installs it")
        return
    if not pathlib.Path(model).exists():
        print(f"SKIPPED: {model} is missing; `./dev setup` downloads it")
        return
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    check_runs(model, folder, orvane)
    check_benchmark(folder)


if __name__ == "__main__":
    main(*sys.argv[1:])
