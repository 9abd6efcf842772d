// The range of time that the charts show, and everything that changes it.

const SHORTEST_VIEW = 1000;
const view = {from: report.from, to: report.to};
const onView = [];  // called when the view has changed

const viewLength = () => view.to - view.from;
const isWholeView = () => view.from === report.from && view.to === report.to;

function show(from, to) {
  const whole = report.to - report.from;
  const length = Math.min(Math.max(to - from, SHORTEST_VIEW), whole);
  const middle = (from + to) / 2;
  view.from = Math.min(Math.max(middle - length / 2, report.from), report.to - length);
  view.to = view.from + length;
  for (const each of onView) each();
}

function zoom(factor) {
  const middle = (view.from + view.to) / 2;
  const half = viewLength() * factor / 2;
  show(middle - half, middle + half);
}

function move(share) {
  const distance = viewLength() * share;
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

function bindCommands() {
  for (const [id, command] of Object.entries(commands)) element(id).addEventListener("click", command);
  element("charts").addEventListener("keydown", event => {
    const command = keys[event.key];
    if (!command || event.ctrlKey || event.metaKey || event.altKey) return;
    event.preventDefault();
    commands[command]();
  });
}
