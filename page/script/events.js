// Events: which are shown, and, where a view has too many days to show each, how many there are in
// each step.

const MOST_SINGLE_DAYS = 2;
const eventRows = [...document.querySelectorAll("#events tbody tr")];
const events = report.events.map(([time, type], number) =>
  ({time, type, row: eventRows[number], text: eventRows[number].cells[2].textContent, isShown: true}));
const typeCounts = report.eventTypes.map(() => 0);
for (const event of events) ++typeCounts[event.type];
for (const [, type, count] of report.laterEvents) typeCounts[type] += count;

const wantedTypes = new Set(report.eventTypes.keys());
let wantedText = "";
let counted = null;  // for the last width asked for

const eventsAreCounted = () => isDate && viewLength() > MOST_SINGLE_DAYS * DAY;
const shownEvents = () => events.filter(event => event.isShown);
// The texts of events that are not listed are not known.
const laterEvents = () =>
  wantedText ? [] : report.laterEvents.filter(([, type]) => wantedTypes.has(type));

// How many of each type begin in each bin of a width: [start of the bin, counts by type].
function countedEvents(width) {
  if (counted && counted.width === width) return counted;
  const bins = new Map();
  const add = (time, type, count) => {
    const start = Math.floor(time / width) * width;
    if (!bins.has(start)) bins.set(start, new Map());
    const counts = bins.get(start);
    counts.set(type, (counts.get(type) || 0) + count);
  };
  for (const event of shownEvents()) add(event.time, event.type, 1);
  for (const [time, type, count] of laterEvents()) add(time, type, count);
  const sum = counts => [...counts.values()].reduce((one, other) => one + other, 0);
  let most = 1;
  for (const counts of bins.values()) most = Math.max(most, sum(counts));
  counted = {width, bins, most};
  return counted;
}

// Wide enough for the events that are not listed, of which only the bin is known.
function countingWidth() {
  const step = stepInView();
  if (report.laterEvents.length === 0) return step;
  const later = report.laterEventWidth;
  return report.binWidths.find(width => width >= step && width % later === 0) || Math.ceil(step / later) * later;
}

function countsAt(time) {
  const width = countingWidth();
  const start = Math.floor(time / width) * width;
  const counts = countedEvents(width).bins.get(start);
  if (!counts) return [];
  const texts = [...counts].sort(([one], [other]) => one - other)
    .map(([type, count]) => `${count} ${report.eventTypes[type]}`);
  return [`events in ${lengthText(width)}: ${texts.join(", ")}`];
}

function filterEvents() {
  const text = wantedText.toLowerCase();
  let shown = 0;
  for (const event of events) {
    event.isShown = wantedTypes.has(event.type) && event.text.toLowerCase().includes(text);
    event.row.hidden = !event.isShown;
    shown += event.isShown;
  }
  counted = null;
  tellShownEvents(shown);
  redrawCharts();
}

function tellShownEvents(shown) {
  const later = report.laterEvents.reduce((sum, [, , count]) => sum + count, 0);
  element("events-shown").textContent = `${shown} of ${events.length} listed events` +
    (later > 0 ? `; ${later} more are only counted` : "");
}

// The types also serve as the legend.
function addEventFilter() {
  if (typeCounts.length === 0) return;
  const place = element("event-types");
  report.eventTypes.forEach((name, type) => {
    const box = make("input", {type: "checkbox", checked: true});
    box.addEventListener("change", () => {
      if (box.checked) wantedTypes.add(type);
      else wantedTypes.delete(type);
      filterEvents();
    });
    const swatch = make("i", {className: `swatch ${eventPaint(type)}`});
    place.append(make("label", {}, box, swatch, `${name} (${typeCounts[type]})`));
  });
  const text = make("input", {type: "search", id: "event-text", placeholder: "event text"});
  text.setAttribute("aria-label", "Show only events with this text");
  text.addEventListener("input", () => { wantedText = text.value; filterEvents(); });
  place.append(text, make("span", {id: "events-shown"}));
  element("events-shown").setAttribute("role", "status");
  element("event-filter").hidden = false;
  element("event-filter").open = innerWidth >= 600;
  tellShownEvents(events.length);
}
