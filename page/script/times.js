// Times and lengths as people read them.

const DAY = 24 * 3600 * 1000;

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

// The first time of each day has the date below it.
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
