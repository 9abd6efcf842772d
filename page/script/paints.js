// The colours of the style sheet, for canvases.

const EVENT_COLOURS = 8;  // of the first types in order; the rest share one
let paints = {};

const eventPaint = type => `event-${Math.min(type, EVENT_COLOURS)}`;

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
  const plain = ["page", "text", "line", "tint", "recorded", "file", "other-file", "active", "finding"];
  for (let type = 0; type <= EVENT_COLOURS; ++type) plain.push(`event-${type}`);
  for (const name of plain) paints[name] = color(name);
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
