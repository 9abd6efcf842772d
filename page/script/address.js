// The view is kept in the page's address, so that it can be saved and passed on: #from-to, archive
// times.

const WRITE_AFTER = 200;  // milliseconds: browsers limit how often an address changes
let writing = 0;

function readAddress() {
  const [, from, to] = location.hash.match(/^#(\d{1,16})-(\d{1,16})$/) || [];
  if (from === undefined || Number(from) >= Number(to)) return false;
  show(Number(from), Number(to));
  return true;
}

function writeAddress() {
  clearTimeout(writing);
  writing = setTimeout(() => {
    const part = isWholeView() ? "" : `#${Math.floor(view.from)}-${Math.ceil(view.to)}`;
    if (part === location.hash) return;
    // Where a page may not change its address, the view is not kept.
    try {
      history.replaceState(null, "", part || location.pathname + location.search);
    } catch (error) {
      if (error.name !== "SecurityError") throw error;
    }
  }, WRITE_AFTER);
}

function followAddress() {
  onView.push(writeAddress);
  addEventListener("hashchange", () => { if (!readAddress() && location.hash === "") commands.whole(); });
}
