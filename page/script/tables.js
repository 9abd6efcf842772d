// Tables: headings sort them, and times lead to their places in the charts.

const texts = new Intl.Collator("en", {numeric: true});

// By number where texts contain one; empty cells come last.
function compareCells(one, other) {
  if (one === "" || other === "") return (one === "") - (other === "");
  return texts.compare(one, other);
}

function sortTable(table, column, isDescending) {
  const body = table.tBodies[0];
  const rows = [...body.rows].map((row, place) => ({row, place, text: row.cells[column].textContent}));
  rows.sort((one, other) => {
    const order = compareCells(one.text, other.text);
    const isAtEnd = one.text === "" || other.text === "";
    return (isDescending && !isAtEnd ? -order : order) || one.place - other.place;
  });
  body.append(...rows.map(({row}) => row));
}

function bindSorting(table) {
  const headings = [...table.tHead.rows[0].cells];
  headings.forEach((heading, column) => {
    const button = make("button", {type: "button"}, ...heading.childNodes);
    heading.append(button);
    button.addEventListener("click", () => {
      const isDescending = heading.getAttribute("aria-sort") === "ascending";
      for (const other of headings) other.removeAttribute("aria-sort");
      heading.setAttribute("aria-sort", isDescending ? "descending" : "ascending");
      sortTable(table, column, isDescending);
    });
  });
}

function showTimeOf(cell) {
  const from = Number(cell.dataset.from);
  const to = Number(cell.dataset.to || from);
  const margin = Math.max((to - from) / 10, 5000);
  show(from - margin, to + margin);
  element("timeline").scrollIntoView();
}

function linkTimes() {
  for (const cell of document.querySelectorAll("td[data-from]"))
    cell.replaceChildren(make("button", {type: "button", textContent: cell.textContent}));
  document.querySelector("main").addEventListener("click", event => {
    const cell = event.target.closest("td[data-from]");
    if (cell) showTimeOf(cell);
  });
}

// Closed parts are printed, too.
function openForPrinting() {
  let opened = [];
  addEventListener("beforeprint", () => {
    opened = [...document.querySelectorAll("details:not([open])")];
    for (const each of opened) each.open = true;
  });
  addEventListener("afterprint", () => { for (const each of opened) each.open = false; });
}
