// What the page is about, as the program wrote it.

const report = JSON.parse(document.getElementById("report").textContent);
const isDate = report.timeFormat === "iso";
const element = id => document.getElementById(id);

function make(tag, properties = {}, ...children) {
  const made = Object.assign(document.createElement(tag), properties);
  made.append(...children);
  return made;
}
