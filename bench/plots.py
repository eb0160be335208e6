"""Plots as inline SVG. Colours are the page's, by class, so that a plot follows its light or dark scheme."""

import html
import math

LABEL = 150  # width of the column of names, in the plot's own units
WIDTH = 760
ROW = 34


def text_of_time(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.0f} ns"


def text_of_bytes(count):
    for unit, size in (("MiB", 1 << 20), ("KiB", 1 << 10)):
        if count >= size:
            return f"{count / size:g} {unit}"
    return f"{count} B"


class LogScale:
    """Places of values between two ends of a line."""

    def __init__(self, low, high, start, end):
        self.low, self.high = math.log(low), math.log(max(high, low * 1.001))
        self.start, self.end = start, end

    def __call__(self, value):
        share = (math.log(value) - self.low) / (self.high - self.low)
        return round(self.start + min(max(share, 0), 1) * (self.end - self.start), 1)

    def ticks(self):
        """Round values between the ends: as many of them as can be read beside each other."""
        for steps in ((1, 1.5, 2, 3, 4, 5, 7), (1, 2, 5), (1, )):
            values = (step * 10 ** power for power in range(12) for step in steps)
            ticks = [value for value in values if self.low <= math.log(value) <= self.high]
            if len(ticks) <= 9:
                break
        return ticks


def svg(width, height, title, parts):
    return (f'<svg viewBox="0 0 {width} {height}" role="img" aria-label="{html.escape(title)}">'
            f'{"".join(parts)}</svg>')


def label(x, y, text, anchor="start", kind=""):
    return f'<text x="{x}" y="{y}" text-anchor="{anchor}" class="{kind}">{html.escape(text)}</text>'


def line(x1, y1, x2, y2, kind):
    return f'<line x1="{x1}" y1="{y1}" x2="{x2}" y2="{y2}" class="{kind}"/>'


def density(quantiles, scale, bins):
    """How many of the quantiles lie in each of the bins along the scale."""
    counts = [0] * bins
    for value in quantiles:
        share = (scale(value) - scale.start) / (scale.end - scale.start)
        counts[min(bins - 1, int(share * bins))] += 1
    return counts


def distributions(title, case, colour_of):
    """A row for each variant: where its samples lie on a logarithmic scale, and a mark at the median."""
    low = min(figures["quantiles"][0] for figures in case.values()) * 0.9
    high = max(figures["percentiles"]["99"] for figures in case.values()) * 1.1
    scale = LogScale(low, high, LABEL, WIDTH - 80)
    bottom = ROW * len(case)
    parts = []
    for tick in scale.ticks():
        parts += [line(scale(tick), 0, scale(tick), bottom, "grid"),
                  label(scale(tick), bottom + 16, text_of_time(tick), "middle", "axis")]
    bins = 120
    step = (scale.end - scale.start) / bins
    for row, (variant, figures) in enumerate(case.items()):
        base = ROW * (row + 1) - 4
        counts = density(figures["quantiles"], scale, bins)
        tallest = max(counts)
        points = [f"{scale.start + i * step:.1f},{base - (ROW - 10) * count / tallest:.1f} "
                  f"{scale.start + (i + 1) * step:.1f},{base - (ROW - 10) * count / tallest:.1f}"
                  for i, count in enumerate(counts)]
        median = scale(figures["median"])
        parts += [
            f'<polygon points="{scale.start},{base} {" ".join(points)} {scale.end},{base}" '
            f'class="area {colour_of(variant)}"/>',
            line(median, base - ROW + 8, median, base + 2, "mark"),
            label(LABEL - 10, base - 4, variant, "end"),
            label(WIDTH - 4, base - 4, text_of_time(figures["median"]), "end", "value"),
        ]
    return svg(WIDTH, bottom + 24, title, parts)


def spread_labels(places, gap):
    """Moves labels that would cover each other apart, from the top or the left."""
    moved = {}
    last = -gap
    for name, place in sorted(places.items(), key=lambda item: item[1]):
        last = max(place, last + gap)
        moved[name] = last
    return moved


def lines(title, series, colour_of):
    """`series`: for each name its points (bytes, nanoseconds). Both scales are logarithmic."""
    height, left, right = 420, 70, WIDTH - 140
    points = [point for values in series.values() for point in values]
    across = LogScale(min(x for x, _ in points), max(x for x, _ in points), left, right)
    up = LogScale(min(y for _, y in points) * 0.8, max(y for _, y in points) * 1.2, height - 30, 10)
    parts = []
    sizes = spread_labels({x: across(x) for x, _ in points}, 48)
    for size, middle in sizes.items():
        parts += [line(across(size), 10, across(size), height - 30, "grid"),
                  label(middle, height - 12, text_of_bytes(size), "middle", "axis")]
    for tick in up.ticks():
        parts += [line(left, up(tick), right, up(tick), "grid"),
                  label(left - 8, up(tick) + 4, text_of_time(tick), "end", "axis")]
    ends = spread_labels({name: up(values[-1][1]) for name, values in series.items()}, 15)
    for name, values in series.items():
        path = " ".join(f"{across(x)},{up(y)}" for x, y in values)
        parts.append(f'<polyline points="{path}" class="line {colour_of(name)}"/>')
        parts += [f'<circle cx="{across(x)}" cy="{up(y)}" r="2.5" class="dot {colour_of(name)}"/>' for x, y in values]
        parts.append(label(right + 8, ends[name] + 4, name, kind=f"end {colour_of(name)}"))
    return svg(WIDTH, height, title, parts)


def bars(title, rows):
    """`rows`: name, the figures of one summary, colour class. The thin line spans the repetitions."""
    highest = max(max(figures["medians"]) for _, figures, _ in rows)
    across = (WIDTH - LABEL - 90) / highest
    parts = []
    for row, (name, figures, colour) in enumerate(rows):
        top = ROW * row + 6
        low, high = min(figures["medians"]) * across, max(figures["medians"]) * across
        parts += [
            f'<rect x="{LABEL}" y="{top}" width="{figures["median"] * across:.1f}" height="{ROW - 12}" rx="3" '
            f'class="area {colour}"/>',
            line(f"{LABEL + low:.1f}", top + 11, f"{LABEL + high:.1f}", top + 11, "mark"),
            label(LABEL - 10, top + 15, name, "end"),
            label(WIDTH - 4, top + 15, text_of_time(figures["median"]), "end", "value"),
        ]
    return svg(WIDTH, ROW * len(rows) + 4, title, parts)
