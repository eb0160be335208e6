"""The page of a run: one file without anything from outside."""

import html

import plots
import targets

STYLE = """
:root { color-scheme: light dark; --ground: #fff; --ink: #1c2128; --soft: #5b6470; --rule: #dde1e6; --good: #14784a;
  --bad: #b3261e; --direct: #6b7280; --process: #2a6fdb; --remote: #d9600a; --limit: #1a8f5a; --spin: #7a8f1a;
  --copies: #0f8a9d; --tcp: #8a4fd0; --unix: #c2419b; --zmq: #c9344b; }
@media (prefers-color-scheme: dark) { :root { --ground: #14171c; --ink: #e4e7eb; --soft: #9aa4b0; --rule: #2e343c;
  --good: #58cf98; --bad: #ff8a80; --direct: #a3abb8; --process: #6ea8ff; --remote: #ff9b4a; --limit: #4fd39a;
  --spin: #c3d65a; --copies: #4fd0e0; --tcp: #c19bff; --unix: #f08ed0; --zmq: #ff7d90; } }
body { margin: 0 auto; padding: 2rem 1.25rem 4rem; max-width: 52rem; background: var(--ground); color: var(--ink);
  font: 15px/1.5 system-ui, sans-serif; }
h1 { margin: 0; font-size: 1.7rem; } h2 { margin: 2.5rem 0 .25rem; font-size: 1.2rem; }
h3 { margin: 1.75rem 0 .25rem; font-size: 1rem; } p { margin: .25rem 0 .75rem; color: var(--soft); }
.scroll { overflow-x: auto; } svg { display: block; width: 100%; min-width: 34rem; height: auto; margin: .5rem 0; }
text { font: 13px system-ui, sans-serif; fill: var(--ink); } .axis { font-size: 11px; fill: var(--soft); }
.value { font-variant-numeric: tabular-nums; } .grid { stroke: var(--rule); }
.mark { stroke: var(--ink); stroke-width: 1.5; }
.area { fill: var(--colour); fill-opacity: .75; } .line { fill: none; stroke: var(--colour); stroke-width: 2; }
.dot, .end { fill: var(--colour); }
.direct { --colour: var(--direct); } .process { --colour: var(--process); } .remote { --colour: var(--remote); }
.limit { --colour: var(--limit); } .spin { --colour: var(--spin); } .copies { --colour: var(--copies); }
.tcp { --colour: var(--tcp); } .unix { --colour: var(--unix); } .zmq { --colour: var(--zmq); }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
th, td { padding: .3rem .5rem; border-bottom: 1px solid var(--rule); text-align: right; white-space: nowrap; }
th { color: var(--soft); font-weight: 500; } th:first-child, td:first-child { text-align: left; white-space: normal; }
.met { color: var(--good); } .missed { color: var(--bad); font-weight: 600; }
"""

COLOURS = {
    "direct": "direct", "in process": "process", "remote": "remote", "limit": "limit", "limit, spinning": "spin",
    "C interface, in process": "process", "C interface, remote": "remote",
    "copies alone": "copies", "gRPC, TCP": "tcp", "gRPC, Unix socket": "unix", "ZeroMQ, ipc": "zmq",
}

MODELS = {
    "face": ("Face detector", "192 KiB in, 60 KiB out."),
    "voice": ("Voice-activity model", "3 KiB in, 1 KiB out; two inputs and two outputs: five exchanges with a host."),
    "pose": ("Pose model", "768 KiB in, 881 KiB out; keeps all cores busy for some milliseconds."),
    targets.on_a_busy_machine("face"): ("Face detector, busy machine", "Beside two busy loops per core."),
    targets.on_a_busy_machine("voice"): ("Voice-activity model, busy machine", "Beside two busy loops per core."),
    targets.PICTURE: ("The channel alone, a picture", "602,112 bytes in and 4,000 out; the model costs nothing."),
    targets.SMALL: ("The channel alone, 2 KiB", "2,048 bytes in and 4,000 out; the model costs nothing."),
}


def table(head, rows):
    """Cells are HTML."""
    lines = ["<tr>" + "".join(f"<th>{cell}</th>" for cell in head) + "</tr>"]
    lines += ["<tr>" + "".join(f"<td>{cell}</td>" for cell in row) + "</tr>" for row in rows]
    return f'<div class="scroll"><table>{"".join(lines)}</table></div>'


def plot(drawing):
    return f'<div class="scroll">{drawing}</div>'


def target_rows(entries):
    for entry in entries:
        spread = f"{entry['low']:.3g} to {entry['high']:.3g}" if entry["low"] is not None else ""
        sign = "≥" if entry["at_least"] else "≤"
        verdict = '<span class="met">met</span>' if entry["met"] else '<span class="missed">not met</span>'
        yield (html.escape(entry["text"]), f"{entry['value']:.3f}", spread, f"{sign} {entry['limit']:.3g}", verdict)


def percentile_rows(case):
    for variant, figures in case.items():
        values = [figures["percentiles"][name] for name in ("50", "90", "99", "99.9")]
        spread = f"{plots.text_of_time(min(figures['medians']))} to {plots.text_of_time(max(figures['medians']))}"
        yield (html.escape(variant), *(plots.text_of_time(value) for value in values), spread, figures["samples"])


def models(results):
    parts = ["<h2>Whole inferences</h2><p>Inputs copied in, the model run, outputs copied out. Each row is a "
             "distribution on a logarithmic scale up to the highest 99th percentile; the mark is the median.</p>"]
    for workload, (title, remark) in MODELS.items():
        case = results["cases"][workload]
        parts += [f"<h3>{title}</h3><p>{remark}</p>", plot(plots.distributions(title, case, COLOURS.get)),
                  table(("variant", "50 %", "90 %", "99 %", "99.9 %", "medians of repetitions", "samples"),
                        percentile_rows(case))]
    return "".join(parts)


def payload(results):
    series = {}
    for size in targets.SWEEP:
        for variant, figures in results["cases"][targets.stub(size, targets.SWEEP_OUTPUT)].items():
            series.setdefault(variant, []).append((size, figures["median"]))
    return ("<h2>Overhead against payload</h2><p>Time of an inference that computes nothing, by the size of its input; "
            "medians, both scales logarithmic. “limit” makes the same copies and hand-overs as the channel between "
            "two processes with nothing else in them; “copies alone” makes them in one process, where the second "
            "finds in the processor's cache what the first has written.</p>" +
            plot(plots.lines("Overhead against payload", series, COLOURS.get)))


def starts(results):
    colours = {"direct, cold": "direct", "direct, imported": "direct"}
    rows = [(way, figures, colours.get(way, "process")) for way, figures in results["starts"].items()]
    processes = results["processes"]
    rows_of_host = [("launch of a host", processes["launch"], "remote"),
                    ("start of a program", processes["start"], "direct")]
    return ("<h2>Start</h2><p>From nothing to a model that is ready, for a model with 33 MB of weights, each in a fresh "
            "process. “direct” is the runtime without the SDK; “imported” reads its own unscrambled export.</p>" +
            plot(plots.bars("Start of a model", rows)) +
            "<p>From nothing to the first reply of a host process, a refusal; and to the first statement of a program "
            "that is linked to the same libraries.</p>" + plot(plots.bars("Launch of a host", rows_of_host)))


def parts_and_processes(results):
    rows = []
    for part, figures in sorted(results["parts"].items()):
        speed = figures["bytes_per_second"]
        rows.append((html.escape(part), plots.text_of_time(figures["nanoseconds"]),
                     f"{speed / 1e9:.1f} GB/s" if speed else ""))
    processes = results["processes"]
    idle, waiting = (max(processes[what]["medians"]) / 1e3 for what in ("idle", "waiting"))
    costs = [
        ("an idle host, in a second", f"{idle:.0f} µs of a processor"),
        ("a client that waits for a run of a second", f"{waiting:.0f} µs of a processor"),
        ("a client in memory, besides the channel's section", f"{processes['memory']['median'] * 1024 / 1e6:.1f} MB"),
    ]
    return ("<h2>Parts</h2>" + table(("part", "time", "speed"), rows) + "<h2>What a host costs</h2>" +
            table(("what", "cost"), costs))


def render(results):
    machine = results["machine"]
    virtual = ", virtual machine" if machine["virtual"] else ""
    rough = " A quick run: fewer samples and repetitions." if results["quick"] else ""
    met = sum(entry["met"] for entry in results["targets"])
    return f"""<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1">
<title>Orvane benchmark</title><style>{STYLE}</style></head><body>
<h1>Orvane benchmark</h1>
<p>{html.escape(machine['processor'])}, {machine['cores']} cores{virtual}, {machine['memory_gb']} GB,
{html.escape(machine['system'])}, kernel {html.escape(machine['kernel'])}.
Revision {html.escape(machine['revision'])}, {html.escape(results['date'])}, {results['seconds']} s.{rough}
During the run other programs used {machine['others']:.0%} of the processors and the machine's host took
{machine['stolen']:.1%}.</p>
<h2>Targets</h2>
<p>{met} of {len(results['targets'])} met. A ratio is the median over the repetitions of the ratio of their medians; its
spread is from the lowest to the highest of them.</p>
{table(("target", "reached", "spread", "wanted", ""), target_rows(results["targets"]))}
{models(results)}
{payload(results)}
{starts(results)}
{parts_and_processes(results)}
</body></html>
"""
