"use strict";
(() => {
  const report = JSON.parse(document.getElementById("report").textContent);
  if (report.from === report.to) return;

  const SHORTEST_VIEW = 1000;
  const AXIS_WIDTH = 72;
  const MOST_LEVEL = 63;
  const DAY = 24 * 3600 * 1000;
  const isDate = report.timeFormat === "iso";
  const element = id => document.getElementById(id);
  const charts = [];
  const view = {from: report.from, to: report.to};

  // Times

  // How far clocks are ahead of UTC; a report in UTC has no offsets.
  function offsetAt(time) {
    let offset = 0;
    for (const [from, each] of report.offsets) {
      if (from > time) break;
      offset = each;
    }
    return offset;
  }

  function zoneText(time) {
    if (report.offsets.length === 0) return "UTC";
    const offset = offsetAt(time);
    return (offset < 0 ? "-" : "+") + new Date(Math.abs(offset)).toISOString().slice(11, 16);
  }

  const shifted = time => new Date(time + offsetAt(time));
  const iso = time => shifted(time).toISOString();
  const timeText = (time, digits = 23) =>
    isDate ? `${iso(time).replace("T", " ").slice(0, digits)} ${zoneText(time)}` : String(Math.round(time));

  function lengthText(length) {
    if (!isDate) return String(Math.round(length));
    const seconds = length / 1000;
    if (seconds < 120) return `${+seconds.toFixed(3)} s`;
    if (seconds < 7200) return `${+(seconds / 60).toFixed(1)} min`;
    if (seconds < 172800) return `${+(seconds / 3600).toFixed(1)} h`;
    return `${+(seconds / 86400).toFixed(1)} days`;
  }

  // A date stands below the first time of each day.
  function axisTexts(u, times, axis, space, step) {
    if (!isDate) return times.map(String);
    let day = "";
    return times.map(time => {
      const text = iso(time);
      const date = text.slice(0, 10);
      const isNew = date !== day;
      day = date;
      if (step >= DAY) return date;
      const clock = text.slice(11, step < 1000 ? 23 : step < 60000 ? 19 : 16);
      return isNew ? `${clock}\n${date}` : clock;
    });
  }

  // Paint

  let paints = {};

  function pattern(color, width, draw) {
    const ratio = devicePixelRatio || 1;
    const canvas = document.createElement("canvas");
    canvas.width = canvas.height = Math.round(width * ratio);
    const context = canvas.getContext("2d");
    context.scale(canvas.width / width, canvas.width / width);
    context.strokeStyle = context.fillStyle = color;
    draw(context);
    return context.createPattern(canvas, "repeat");
  }

  function preparePaints() {
    const style = getComputedStyle(document.documentElement);
    const color = name => style.getPropertyValue(`--${name}`).trim();
    paints = {};
    for (const name of ["page", "text", "line", "recorded", "file", "other-file", "active", "event", "finding"])
      paints[name] = color(name);
    paints.missing = pattern(color("missing"), 6, context => {
      context.beginPath();
      context.moveTo(-1, 7);
      context.lineTo(7, -1);
      context.stroke();
    });
    paints["not-indexed"] = pattern(color("not-indexed"), 6, context => {
      context.beginPath();
      context.arc(3, 3, 1.4, 0, 2 * Math.PI);
      context.fill();
    });
  }

  // Fills from one time to another, and from one height to another (0 is the bottom).
  function fill(u, paint, from, to, low, high, thinnest = 1) {
    if (to < view.from || from > view.to) return;
    const left = u.bbox.left;
    const right = left + u.bbox.width;
    const x = time => Math.round(Math.min(Math.max(u.valToPos(time, "x", true), left), right));
    const top = u.valToPos(high, "y", true);
    const width = Math.max(x(to) - x(from), thinnest * (devicePixelRatio || 1));
    const start = Math.min(x(from), right - width);
    // uPlot takes its own settings to be still in force.
    u.ctx.save();
    u.ctx.fillStyle = paints[paint];
    u.ctx.fillRect(start, top, width, u.valToPos(low, "y", true) - top);
    u.ctx.restore();
  }

  // Charts

  for (const stream of report.streams) {
    const start = bin => report.firstBin + bin * report.binWidth;
    const ends = [...stream.stretches.slice(1).map(([, bin]) => bin), stream.levels.length];
    stream.stretches = stream.stretches.map(([state, bin], number) =>
      ({state, from: start(bin), to: start(ends[number])}));
  }
  const gapsOf = new Map();
  for (const gap of report.gaps) {
    if (!gapsOf.has(gap.file)) gapsOf.set(gap.file, []);
    gapsOf.get(gap.file).push(gap);
  }

  const axis = {
    stroke: () => paints.text,
    grid: {stroke: () => paints.line, width: 1},
    ticks: {stroke: () => paints.line, width: 1},
  };

  function addChart({title, height, hasTimes, most, splits, labels, drawBehind, draw}) {
    const place = document.createElement("div");
    place.className = "chart";
    if (title) {
      const heading = document.createElement("h3");
      heading.textContent = title;
      place.append(heading);
    }
    element("charts").append(place);
    const chart = new uPlot({
      width: place.clientWidth,
      height: height + (hasTimes ? 44 : 0),
      padding: [8, 36, hasTimes ? 0 : 4, 0],
      ms: 1,
      tzDate: time => uPlot.tzDate(shifted(time), "Etc/UTC"),
      legend: {show: false},
      scales: {x: {time: isDate, auto: false}, y: {range: () => [0, most]}},
      series: [{}, {paths: () => null, points: {show: false}}],
      axes: [
        {...axis, show: hasTimes, size: 44, values: axisTexts, space: 110},
        {...axis, size: AXIS_WIDTH, splits: () => splits, values: () => labels,
         grid: {show: false}, ticks: {show: false}},
      ],
      cursor: {
        y: false,
        sync: {key: "report"},
        points: {show: false},
        drag: {x: true, y: false, setScale: false},
        bind: {dblclick: () => () => { show(report.from, report.to); return null; }},
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
    }, [[report.from, report.to], [null, null]], place);
    charts.push({chart, place});
  }

  const LANES = ["Findings", "Events", "Files"];

  // Of two files that overlap both stay visible.
  function drawFile(u, file, isOther) {
    const low = isOther ? 2.3 : 2.1;
    const paint = isOther ? "other-file" : "file";
    fill(u, file.indexed ? paint : "not-indexed", file.from, file.to, low, low + 0.6, 2);
    for (const gap of gapsOf.get(file.name) || []) {
      if (gap.from < file.from) continue;
      fill(u, "page", gap.from, gap.to, low, low + 0.6);
      fill(u, "missing", gap.from, gap.to, low, low + 0.6);
    }
  }

  function addLanes() {
    addChart({
      height: 120,
      hasTimes: true,
      most: LANES.length,
      splits: LANES.map((lane, number) => number + 0.5),
      labels: LANES,
      drawBehind: u => {
        for (const gap of report.gaps) fill(u, "missing", gap.from, gap.to, 2.1, 2.9);
      },
      draw: u => {
        report.files.forEach((file, number) => drawFile(u, file, number % 2 === 1));
        for (const event of report.events) fill(u, "event", event.time, event.time, 1.15, 1.85);
        for (const time of report.laterEvents)
          fill(u, "event", time, time + report.binWidth, 1.15, 1.85);
        for (const finding of report.findings)
          fill(u, "finding", finding.from, finding.to, 0.15, 0.85, 3);
      },
    });
  }

  function addStream(stream, isLast) {
    addChart({
      title: stream.name ? `Stream ${stream.id}: ${stream.name}` : `Stream ${stream.id}`,
      height: 90,
      hasTimes: isLast,
      most: MOST_LEVEL,
      splits: [0, 21, 42, 63],
      labels: ["0", "21", "42", "63"],
      drawBehind: u => {
        for (const stretch of stream.stretches)
          fill(u, stretch.state, stretch.from, stretch.to, 0, MOST_LEVEL);
      },
      draw: u => {
        const first = Math.max(0, binAt(view.from));
        for (let bin = first; bin < stream.levels.length; ++bin) {
          const start = report.firstBin + bin * report.binWidth;
          if (start > view.to) break;
          const level = stream.levels[bin];
          if (level > 0) fill(u, "active", start, start + report.binWidth, 0, level);
        }
      },
    });
  }

  // Reading

  const binAt = time => Math.floor((time - report.firstBin) / report.binWidth);

  function stateAt(stream, time) {
    const stretch = stream.stretches.find(one => one.from <= time && time < one.to);
    if (!stretch) return "";
    if (stretch.state === "recorded") return String(stream.levels[binAt(time)]);
    return stretch.state.replace("-", " ");
  }

  function nearest(marks, time, start) {
    const reach = (view.to - view.from) / charts[0].chart.bbox.width * 4 * (devicePixelRatio || 1);
    let found = null;
    for (const mark of marks) {
      const distance = Math.abs(start(mark) - time);
      if (distance <= reach && (!found || distance < Math.abs(start(found) - time))) found = mark;
    }
    return found;
  }

  // The pointer moves in all charts at once.
  let timeToRead = null;

  function readSoon(time) {
    if (timeToRead === null) requestAnimationFrame(() => { read(timeToRead); timeToRead = null; });
    timeToRead = time;
  }

  function read(time) {
    const parts = [timeText(time, view.to - view.from < 60000 ? 23 : 19)];
    const file = report.files.find(one => one.from <= time && time <= one.to);
    parts.push(file ? file.name : "no file");
    for (const stream of report.streams) parts.push(`stream ${stream.id}: ${stateAt(stream, time)}`);
    const event = nearest(report.events, time, one => one.time);
    if (event) parts.push(`${event.type} at ${timeText(event.time)}: ${event.text}`);
    const finding = report.findings.find(one => one.from <= time && time <= one.to) ||
                    nearest(report.findings, time, one => one.from);
    if (finding) parts.push(`${finding.kind}: ${finding.text}`);
    element("readout").textContent = parts.join(" · ");
  }

  // Zooming

  function show(from, to) {
    const whole = report.to - report.from;
    const length = Math.min(Math.max(to - from, SHORTEST_VIEW), whole);
    const middle = (from + to) / 2;
    view.from = Math.min(Math.max(middle - length / 2, report.from), report.to - length);
    view.to = view.from + length;
    for (const {chart} of charts) chart.setScale("x", {min: view.from, max: view.to});
    const steps = report.streams.length > 0 ? `; activity in steps of ${lengthText(report.binWidth)}` : "";
    element("view").textContent =
      `${timeText(view.from)} – ${timeText(view.to)} (${lengthText(length)}${steps})`;
  }

  function zoom(factor) {
    const middle = (view.from + view.to) / 2;
    const half = (view.to - view.from) * factor / 2;
    show(middle - half, middle + half);
  }

  function move(share) {
    const distance = (view.to - view.from) * share;
    show(view.from + distance, view.to + distance);
  }

  const commands = {
    whole: () => show(report.from, report.to),
    in: () => zoom(1 / 2),
    out: () => zoom(2),
    earlier: () => move(-1 / 4),
    later: () => move(1 / 4),
  };
  const keys = {"0": "whole", "+": "in", "=": "in", "-": "out", ArrowLeft: "earlier", ArrowRight: "later"};

  // In a table, times lead to where they are in the charts.
  function linkTables() {
    for (const cell of document.querySelectorAll("td[data-from]")) {
      const button = document.createElement("button");
      button.type = "button";
      button.textContent = cell.textContent;
      cell.replaceChildren(button);
    }
    document.querySelector("main").addEventListener("click", event => {
      const cell = event.target.closest("td[data-from]");
      if (!cell) return;
      const from = Number(cell.dataset.from);
      const to = Number(cell.dataset.to);
      const margin = Math.max((to - from) / 10, 5000);
      show(from - margin, to + margin);
      element("timeline").scrollIntoView();
    });
  }

  element("timeline").hidden = false;
  preparePaints();
  addLanes();
  report.streams.forEach((stream, number) => addStream(stream, number + 1 === report.streams.length));
  commands.whole();
  linkTables();

  for (const [id, command] of Object.entries(commands)) element(id).addEventListener("click", command);
  element("charts").addEventListener("keydown", event => {
    const command = keys[event.key];
    if (!command || event.ctrlKey || event.metaKey || event.altKey) return;
    event.preventDefault();
    commands[command]();
  });
  new ResizeObserver(() => {
    for (const {chart, place} of charts) chart.setSize({width: place.clientWidth, height: chart.height});
  }).observe(element("charts"));
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
    preparePaints();
    for (const {chart} of charts) chart.redraw();
  });
})();
