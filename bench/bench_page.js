// The part of the page of `./dev bench` that cli/report/bench_page.html does not have. It replaces that page's line
// "// @SCRIPT@".

const payload = bytes => bytes >= 1 << 20 ? `${bytes / (1 << 20)} MiB` : `${bytes / 1024} KiB`;

// Each of `series` has a name, a colour and points (bytes, nanoseconds). Both scales are logarithmic.
function lines(title, series) {
  const height = 400;
  const [sizes, times] = [0, 1].map(i => series.flatMap(({points}) => points.map(point => point[i])));
  return chart(title, height, width => {
    const across = logScale(Math.min(...sizes), Math.max(...sizes), 56, width - 24);
    const up = logScale(Math.min(...times) * .8, Math.max(...times) * 1.2, height - 30, 10);
    const every = Math.ceil(60 * new Set(sizes).size / (width - 80));
    return [...[...new Set(sizes)].flatMap((size, i) => i % every ? [] : [
      line(across.place(size), 10, across.place(size), height - 30, "grid"),
      label(across.place(size), height - 12, payload(size), "middle", "axis")]),
    ...up.ticks.flatMap(tick => [line(56, up.place(tick), width - 24, up.place(tick), "grid"),
      label(48, up.place(tick) + 4, kText.ns(tick, short), "end", "axis")]),
    ...series.map(({name, colour: ink, points}) => draw("g", {style: colour(ink)},
      draw("polyline", {class: "line", points: points.map(([x, y]) => `${across.place(x)},${up.place(y)}`).join(" ")}),
      ...points.map(([x, y]) => draw("circle", {class: "dot", cx: across.place(x), cy: up.place(y), r: 3},
        draw("title", {}, `${name}, ${payload(x)}: ${kText.ns(y)}`)))))];
  });
}

// Draws a field for each figure. Longer times are darker, within `range`; a figure over its limit is red.
// `rows` and `columns` are names.
function heatMap(title, rows, columns, cells, ink, range) {
  const [tall, left, top] = [30, 58, 18];
  const shade = value => Math.log(Math.max(value, 1000));
  const [low, high] = [shade(Math.min(...range)), shade(Math.max(...range)) + .001];
  return chart(title, top + tall * rows.length, width => {
    const wide = (width - left) / columns.length;
    return [...columns.map((name, i) => label(left + (i + .5) * wide, 12, name, "middle", "axis")),
      ...rows.map((name, i) => label(left - 6, top + (i + .6) * tall, name, "end", "axis")),
      ...cells.flatMap(({row, column, value, isOver}) => [draw("rect", {x: left + column * wide, y: top + row * tall,
        width: wide - 1, height: tall - 1, style: `fill: var(--${isOver ? "bad" : ink}); fill-opacity: ${
          (.08 + .5 * (shade(value) - low) / (high - low)).toFixed(2)}`}),
      label(left + (column + .5) * wide, top + (row + .6) * tall, String(Math.round(value / 1000)), "middle")])];
  });
}

// ---- Results of `./dev bench`: times are in nanoseconds

const kVariants = {"direct": "grey", "in process": "blue", "remote": "orange", "limit": "green",
  "in process, in place": "cyan", "remote, in place": "pink", "C interface, in process": "blue",
  "C interface, remote": "orange", "copies alone": "cyan",
  "gRPC, TCP": "violet", "gRPC, Unix socket": "pink", "ZeroMQ, ipc": "red",
  "openvino": "green", "onnxruntime": "violet", "hand-made worker": "red"};
const inkOf = variant => kVariants[variant] ?? "grey";
const kCases = {
  "face": ["Face detector", "192 KiB in, 60 KiB out."],
  "voice": ["Voice-activity model", "3 KiB in, 1 KiB out; two inputs and two outputs: five exchanges with a host."],
  "pose": ["Pose model", "768 KiB in, 881 KiB out; keeps all cores busy for some milliseconds."],
  "face, busy machine": ["Face detector, busy machine", "Two endless loops per core run at the same time."],
  "voice, busy machine": ["Voice-activity model, busy machine", "Two endless loops per core run at the same time."],
  "face from Python": ["Face detector, from Python", "Compared with OpenVINO's package, and with a hand-made worker process."],
  "voice from Python": ["Voice-activity model, from Python", "Compared with OpenVINO's package, ONNX Runtime, and a hand-made worker process."],
  "face from Python, busy machine": ["Face detector, from Python, busy machine", "Two endless loops per core run at the same time."],
  "voice from Python, busy machine": ["Voice-activity model, from Python, busy machine", "Two endless loops per core run at the same time."],
  "stub:602112:4000": ["The channel alone, a picture", "602,112 bytes in and 4,000 out; the model does no work."],
  "stub:2048:4000": ["The channel alone, 2 KiB", "2,048 bytes in and 4,000 out; the model does no work."],
};
const sweepSize = name => name in kCases ? 0 : Number(/^stub:(\d+):/.exec(name)?.[1] ?? 0);

function showBenchmark(results) {
  const headline = `${results.targets.filter(target => target.met).length} of ${results.targets.length} targets met`;
  add(make("h1", {}, `Orvane: ${headline}`));
  const {machine} = results;
  add(paragraph(`${machine.processor}, `, figure("count", machine.cores), ` processors${machine.virtual ? " of a virtual machine" : ""}, `,
    figure("bytes", machine.memory_bytes), ` of memory, ${machine.system}. Revision ${machine.revision}, ${readable(results.date)}, `,
    figure("count", results.seconds), ` s.${results.quick ? " A quick run: fewer samples and repetitions." : ""} Other programs used `,
    figure("share", machine.others), " of the processors, and other virtual machines ", figure("share", machine.stolen), "."));
  alarm(machine);
  showTargets(results.targets);
  const names = Object.keys(results.cases);
  showCases(results.cases, names.filter(name => sweepSize(name) === 0));
  showSweep(results.cases, names.filter(name => sweepSize(name) > 0));
  showMaps(results.maps);
  showProcesses(results);
  return headline;
}

function showTargets(targets) {
  add(heading2("Targets"), paragraph("A ratio is the median of the ratios of all repetitions, and each of these is the ratio of two ",
    "medians. Lowest and highest are those of the repetitions."),
    table("Targets", ["target", "verdict", "reached", "lowest", "highest", "limit"], targets.map(target => {
      const wanted = make("span", {}, target.at_least ? "≥ " : "≤ ", figure("limit", target.limit));
      const [low, high] = [target.low, target.high].map(value => value === null ? "" : figure("ratio", value));
      const verdict = make("span", {class: target.met ? "met" : "missed"}, target.met ? "met" : "not met");
      return [target.text, verdict, figure("ratio", target.value), low, high, wanted];
    })));
}

const kSummary = ["median", "lowest", "highest", "90 %", "99 %", "99.9 %", "samples"];
const summary = figures => [figures.median, Math.min(...figures.medians), Math.max(...figures.medians),
  ...["90", "99", "99.9"].map(percent => figures.percentiles[percent])].map(value => figure("ns", value))
  .concat(figure("count", figures.samples));

function showCases(cases, names) {
  add(heading2("Whole inferences"), paragraph("An inference copies the inputs, runs the model, and copies the outputs. The scale is ",
    "logarithmic and ends at the highest 99th percentile. The mark is the median of the medians of all repetitions; ",
    "the table also has the lowest and the highest. Percentiles are those of all samples."));
  names.forEach(name => {
    const [title, remark] = kCases[name] ?? [name, ""];
    const rows = Object.entries(cases[name]).map(([variant, figures]) => ({name: variant, quantiles: figures.quantiles,
      value: figures.median, marks: "median", p99: figures.percentiles["99"], colour: inkOf(variant)}));
    add(make("h3", {}, title), paragraph(remark), distributions(title, rows, "ns"),
      table(title, ["variant", ...kSummary], Object.entries(cases[name]).map(([variant, figures]) =>
        [variant, ...summary(figures)])));
  });
}

function showSweep(cases, names) {
  const title = "Overhead against payload";
  const variants = [...new Set(names.flatMap(name => Object.keys(cases[name])))];
  const series = variants.map(variant => ({name: variant, colour: inkOf(variant), points:
    names.filter(name => variant in cases[name]).map(name => [sweepSize(name), cases[name][variant].median])}));
  add(heading2(title), paragraph("The median time of an inference that computes nothing, by the size of its input. Both scales ",
    "are logarithmic. “limit” is two processes that only make the copies and the hand-overs of the channel. “copies ",
    "alone” makes the copies in one process, which reads from the processor’s cache what it has just written."), legend(series.map(one => [one.name, one.colour])), lines(title, series),
    table(title, ["input", ...variants], names.map(name => [payload(sweepSize(name)), ...variants.map(variant =>
      variant in cases[name] ? figure("ns", cases[name][variant].median) : "")])));
}

// Shows the added time of a host process and of ZeroMQ, by run time and input size.
function showMaps(maps) {
  add(heading2("What a host adds"), paragraph("How many microseconds longer an inference takes in a host process than in the same process, ",
    "by the time of the run and the size of the input. One stub computes on all processors, the other sleeps. ",
    "A host may add twice the time to wake a sleeping thread and 1.15 times what “limit” adds, or 2 % of the run if that is more. ",
    "A red cell exceeds that. In a map of ZeroMQ, a cell is red if a host adds more than ZeroMQ by over 2 % of the run."));
  Object.entries(maps).forEach(([title, {wake_up: wakeUp, cells}]) => {
    add(make("h3", {}, `On a machine: ${title}`), paragraph("Waking a sleeping thread takes ", figure("ns", wakeUp), "."));
    ["computes", "sleeps"].forEach(kind => {
      const own = cells.filter(cell => cell.kind === kind);
      const [sizes, runs] = ["size", "run"].map(key => [...new Set(own.map(cell => cell[key]))]);
      const map = (name, key, ink, isOver) => [paragraph(name), heatMap(`${name}, ${title}`, sizes.map(payload),
        runs.map(run => kText.ns(run, short)), own.map(cell => ({row: sizes.indexOf(cell.size),
          column: runs.indexOf(cell.run), value: cell[key], isOver: isOver(cell)})), ink,
        own.flatMap(cell => [cell.host, cell.peer]))];
      add(...map(`A host, for a stub that ${kind}`, "host", "orange", cell => cell.host > cell.allowed),
        ...map(`ZeroMQ, for a stub that ${kind}`, "peer", "violet", cell => cell.host > cell.peer + cell.noise));
    });
    const micro = value => make("data", {value}, `${short(value / 1e3)} µs`);
    add(table(`What a host adds, ${title}`, ["run, input", "without a host", "a host adds", "ZeroMQ adds", "allowed"],
      cells.map(cell => [`${cell.kind}, ${kText.ns(cell.run, short)}, ${payload(cell.size)}`,
        ...["direct", "host", "peer", "allowed"].map(key => micro(cell[key]))])));
  });
}

function showProcesses({starts, processes, parts}) {
  const rowsOf = entries => entries.map(([name, figures, ink]) => ({name, marks: "median", value: figures.median,
    spread: [Math.min(...figures.medians), Math.max(...figures.medians)], colour: ink}));
  const show = (title, remark, entries) => add(make("h3", {}, title), paragraph(remark),
    bars(title, rowsOf(entries), "ns"), table(title, ["", ...kSummary], entries.map(([name, figures]) =>
      [name, ...summary(figures)])));
  add(heading2("Start"));
  show("Start of a model", "The time to load a model with 33 MB of weights, each in a new process. The thin line is the range of " +
    "the repetitions. “direct” is OpenVINO without the SDK; “imported” reads the file of OpenVINO’s own export.", Object.entries(starts).map(([way, figures]) => [way, figures, way.startsWith("direct") ? "grey" : "blue"]));
  show("Launch of a host", "The time until the first reply of a new host process, which is a refusal, and until the first " +
    "statement of a program that links the same libraries.", [["launch of a host", processes.launch, "orange"],
    ["start of a program", processes.start, "grey"]]);
  add(heading2("Parts"), table("Parts", ["part", "time", "speed"], Object.entries(parts).sort().map(([part, figures]) =>
    [part, figure("ns", figures.nanoseconds), figures.bytes_per_second === null ? "" : figure("speed", figures.bytes_per_second)])));
  const most = what => figure("ns", Math.max(...processes[what].medians));
  add(heading2("What a host costs"), table("What a host costs", ["", "cost"], [
    ["an idle host, in a second: processor time", most("idle")],
    ["a client that waits for a run of a second: processor time", most("waiting")],
    ["a client in memory, besides the channel’s section", figure("bytes", processes.memory.median * 1024)]]));
}

showResults = showBenchmark;
