// Touch: one finger moves the charts, two stretch them; up and down, the page scrolls as usual.

// The times that were under the fingers stay under them.
function viewUnder(touches, area) {
  const share = touch => (touch.x - area.left) / area.width;
  const [one, other] = touches;
  if (!other) {
    const from = one.time - share(one) * viewLength();
    return [from, from + viewLength()];
  }
  const apart = share(other) - share(one);
  if (Math.abs(apart) < 0.01) return null;
  const length = (other.time - one.time) / apart;
  if (!(length > 0)) return null;
  const from = one.time - share(one) * length;
  return [from, from + length];
}

function bindTouch(over) {
  const touches = new Map();
  let waiting = false;

  // Measures from where the fingers are now.
  function anchor() {
    const area = over.getBoundingClientRect();
    for (const touch of touches.values())
      touch.time = view.from + (touch.x - area.left) / area.width * viewLength();
  }

  function follow() {
    waiting = false;
    if (touches.size === 0) return;
    const wanted = viewUnder([...touches.values()].slice(0, 2), over.getBoundingClientRect());
    if (!wanted) return;
    show(...wanted);
    // The charts stop at an end, and move back as soon as the fingers do.
    if (view.from !== wanted[0] || view.to !== wanted[1]) anchor();
  }

  over.addEventListener("pointerdown", event => {
    if (event.pointerType !== "touch") return;
    over.setPointerCapture(event.pointerId);
    touches.set(event.pointerId, {x: event.clientX});
    anchor();
  });
  over.addEventListener("pointermove", event => {
    const touch = touches.get(event.pointerId);
    if (!touch) return;
    touch.x = event.clientX;
    if (!waiting) requestAnimationFrame(follow);
    waiting = true;
  });
  for (const end of ["pointerup", "pointercancel"]) {
    over.addEventListener(end, event => {
      if (touches.delete(event.pointerId)) anchor();
    });
  }
}
