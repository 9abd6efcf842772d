for (const table of document.querySelectorAll(".table > table:not(.calendar)")) bindSorting(table);
openForPrinting();

if (report.from !== report.to) {
  for (const stream of report.streams) stream.levels = new Levels(stream.levels);
  document.documentElement.classList.add("has-charts");
  element("timeline").hidden = false;
  preparePaints();
  addLanes();
  report.streams.forEach((stream, number) => addStream(stream, number + 1 === report.streams.length));
  onView.push(showCharts);
  if (!readAddress()) commands.whole();
  followAddress();
  addEventFilter();
  bindCommands();
  // Long tables are dealt with after the first view is shown.
  setTimeout(linkTimes);

  let width = element("charts").clientWidth;
  new ResizeObserver(() => {
    const now = element("charts").clientWidth;
    // There are no charts on paper.
    if (now === 0 || now === width) return;
    width = now;
    for (const {chart, place} of charts) chart.setSize({width: place.clientWidth, height: chart.height});
    showCharts();
  }).observe(element("charts"));
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
    preparePaints();
    redrawCharts();
  });
}
