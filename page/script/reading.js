// What is at the time under the pointer.

function stateAt(stream, time) {
  const code = stream.levels.codeAt(time, stepInView());
  if (code === undefined) return "";
  return code >= QUIET ? String(levelOf(code)) : stateOf(code).replace("-", " ");
}

function nearest(marks, time, start) {
  const reach = viewLength() / plotPixels() * 4;
  let found = null;
  for (const mark of marks) {
    const distance = Math.abs(start(mark) - time);
    if (distance <= reach && (!found || distance < Math.abs(start(found) - time))) found = mark;
  }
  return found;
}

// Every chart reports each move of the pointer; reading it once is enough.
let timeToRead = null;

function readSoon(time) {
  if (timeToRead === null) requestAnimationFrame(() => { read(timeToRead); timeToRead = null; });
  timeToRead = time;
}

function read(time) {
  const parts = [timeText(time, viewLength() < 60000 ? 23 : 19)];
  const file = report.files.find(one => one.from <= time && time <= one.to);
  parts.push(file ? file.name : "no file");
  for (const stream of report.streams) parts.push(`stream ${stream.id}: ${stateAt(stream, time)}`);
  if (eventsAreCounted()) {
    parts.push(...countsAt(time));
  } else {
    const event = nearest(shownEvents(), time, one => one.time);
    if (event) parts.push(`${report.eventTypes[event.type]} at ${timeText(event.time)}: ${event.text}`);
  }
  const finding = report.findings.find(one => one.from <= time && time <= one.to) ||
                  nearest(report.findings, time, one => one.from);
  if (finding) parts.push(`${finding.kind}: ${finding.text}`);
  element("readout").textContent = parts.join(" · ");
}
