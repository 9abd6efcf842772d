// The charts, one above the other on one time axis.

const AXIS_WIDTH = 72;
const NARROW_AXIS_WIDTH = 56;
const TIMES_HEIGHT = 44;
const TRACK = 6;  // how far the recorded track extends below level 0
const charts = [];

const plotPixels = () => charts[0].chart.bbox.width / (devicePixelRatio || 1);
const stepInView = () => widthFor(viewLength(), plotPixels());
const axisWidth = () => innerWidth < 600 ? NARROW_AXIS_WIDTH : AXIS_WIDTH;

function redrawCharts() {
  for (const {chart} of charts) chart.redraw(false);
}

// Fills the area between two times and two heights (0 is the bottom).
function fill(u, paint, from, to, low, high, thinnest = 1) {
  if (to < view.from || from > view.to) return;
  const left = u.bbox.left;
  const right = left + u.bbox.width;
  const x = time => Math.round(Math.min(Math.max(u.valToPos(time, "x", true), left), right));
  const top = u.valToPos(high, "y", true);
  const width = Math.max(x(to) - x(from), thinnest * (devicePixelRatio || 1));
  const start = Math.min(x(from), right - width);
  // uPlot assumes that its own settings are still in force.
  u.ctx.save();
  u.ctx.fillStyle = paints[paint];
  u.ctx.fillRect(start, top, width, u.valToPos(low, "y", true) - top);
  u.ctx.restore();
}

const axis = {
  stroke: () => paints.text,
  grid: {stroke: () => paints.line, width: 1},
  ticks: {stroke: () => paints.line, width: 1},
};

function addChart({title, description, height, hasTimes, least = 0, most, splits, labels, drawBehind, draw}) {
  const place = make("div", {className: "chart"});
  if (title) place.append(make("h3", {textContent: title}));
  element("charts").append(place);
  const picture = make("div");
  picture.setAttribute("role", "img");
  picture.setAttribute("aria-label", description);
  place.append(picture);
  const chart = new uPlot({
    width: place.clientWidth,
    height: height + (hasTimes ? TIMES_HEIGHT : 0),
    padding: [8, 36, hasTimes ? 0 : 4, 0],
    ms: 1,
    tzDate: time => uPlot.tzDate(shifted(time), "Etc/UTC"),
    legend: {show: false},
    scales: {x: {time: isDate, auto: false}, y: {range: () => [least, most]}},
    series: [{}, {paths: () => null, points: {show: false}}],
    axes: [
      {...axis, show: hasTimes, size: TIMES_HEIGHT, values: axisTexts, space: 110},
      {...axis, size: axisWidth, splits: () => splits, values: () => labels,
       grid: {show: false}, ticks: {show: false}},
    ],
    cursor: {
      y: false,
      sync: {key: "report"},
      points: {show: false},
      drag: {x: true, y: false, setScale: false},
      bind: {dblclick: () => () => { commands.whole(); return null; }},
    },
    hooks: {
      drawClear: [drawBehind],
      draw: [draw],
      setCursor: [u => { if (u.cursor.left >= 0) readSoon(u.posToVal(u.cursor.left, "x")); }],
      setSelect: [u => {
        const {left, width} = u.select;
        if (width === 0) return;
        const from = u.posToVal(left, "x");
        const to = u.posToVal(left + width, "x");
        u.setSelect({left: 0, top: 0, width: 0, height: 0}, false);
        show(from, to);
      }],
    },
  }, [[report.from, report.to], [null, null]], picture);
  bindTouch(chart.over);
  charts.push({chart, place});
}

// Lanes, from the bottom up: that of events is twice as high as the others.
const FINDINGS = 0;
const EVENTS = 1;
const FILES = 3;
const LANES_HEIGHT = 4;

// When two files overlap, both stay visible.
function drawFile(u, file, isOther) {
  const low = FILES + (isOther ? 0.3 : 0.1);
  const paint = isOther ? "other-file" : "file";
  fill(u, file.indexed ? paint : "not-indexed", file.from, file.to, low, low + 0.6, 2);
}

function drawEvents(u) {
  const low = EVENTS + 0.1;
  if (!eventsAreCounted()) {
    const width = report.laterEventWidth;
    for (const [time, type] of laterEvents()) fill(u, eventPaint(type), time, time + width, low, low + 0.4);
    for (const event of events) {
      if (event.isShown) fill(u, eventPaint(event.type), event.time, event.time, low, low + 1.8, 1.5);
    }
    return;
  }
  const {width, bins, most} = countedEvents(countingWidth());
  for (const [start, counts] of bins) {
    const all = [...counts.values()].reduce((one, other) => one + other, 0);
    // So that few events stay visible beside many.
    const height = 0.2 + 1.6 * all / most;
    let bottom = low;
    for (const [type, count] of [...counts].sort(([one], [other]) => one - other)) {
      fill(u, eventPaint(type), start, start + width, bottom, bottom + height * count / all);
      bottom += height * count / all;
    }
  }
}

function addLanes() {
  const counts = [`${report.files.length} files`, `${report.gaps.length} gaps`,
                  `${typeCounts.reduce((one, other) => one + other, 0)} events`,
                  `${report.findings.length} findings`];
  addChart({
    description: `Files, events and findings over time: ${counts.join(", ")}`,
    height: 150,
    hasTimes: true,
    most: LANES_HEIGHT,
    splits: [FINDINGS + 0.5, EVENTS + 1, FILES + 0.5],
    labels: ["Findings", "Events", "Files"],
    drawBehind: () => {},
    draw: u => {
      report.files.forEach((file, number) => drawFile(u, file, number % 2 === 1));
      for (const gap of report.gaps) {
        fill(u, "page", gap.from, gap.to, FILES + 0.1, FILES + 0.9);
        fill(u, "missing", gap.from, gap.to, FILES + 0.1, FILES + 0.9);
      }
      drawEvents(u);
      for (const finding of report.findings)
        fill(u, "finding", finding.from, finding.to, FINDINGS + 0.15, FINDINGS + 0.85, 3);
    },
  });
}

// Neighbouring bins of equal value become one rectangle.
function forEachRun({first, width, codes}, valueOf, use) {
  let bin = Math.max(0, Math.floor((view.from - first) / width));
  while (bin < codes.length && first + bin * width <= view.to) {
    const value = valueOf(codes[bin]);
    const start = bin;
    while (bin < codes.length && valueOf(codes[bin]) === value) ++bin;
    use(value, first + start * width, first + bin * width);
  }
}

function describeStream(stream) {
  const {codes} = stream.levels.finest;
  const highest = codes.reduce((one, other) => Math.max(one, other), 0);
  const recorded = codes.reduce((sum, code) => sum + (code >= QUIET), 0);
  return `Activity of stream ${stream.id} over time: recorded ${lengthText(recorded * stream.levels.finest.width)}, ` +
    `highest level ${levelOf(highest)} of ${MOST_LEVEL}`;
}

function addStream(stream, isLast) {
  addChart({
    title: stream.name ? `Stream ${stream.id}: ${stream.name}` : `Stream ${stream.id}`,
    description: describeStream(stream),
    height: 90,
    hasTimes: isLast,
    least: -TRACK,
    most: MOST_LEVEL,
    splits: [0, 21, 42, 63],
    labels: ["0", "21", "42", "63"],
    drawBehind: u => forEachRun(stream.levels.of(stepInView()), stateOf, (state, from, to) => {
      fill(u, state === "recorded" ? "tint" : state, from, to, -TRACK, MOST_LEVEL);
      if (state === "recorded") fill(u, "recorded", from, to, -TRACK, -1);
    }),
    draw: u => forEachRun(stream.levels.of(stepInView()), levelOf, (level, from, to) => {
      if (level > 0) fill(u, "active", from, to, 0, level);
    }),
  });
}

function showCharts() {
  for (const {chart} of charts) chart.setScale("x", {min: view.from, max: view.to});
  const steps = report.streams.length > 0 ? `; activity in steps of ${lengthText(stepInView())}` : "";
  element("view").textContent =
    `${timeText(view.from)} – ${timeText(view.to)} (${lengthText(viewLength())}${steps})`;
}
