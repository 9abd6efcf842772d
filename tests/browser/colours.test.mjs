// Everything with a meaning stands out from the page, in both themes and on paper.
import assert from "node:assert/strict";
import {after, before, test} from "node:test";

import {openPage, startBrowser} from "./browser.mjs";
import {SampleReport} from "./sample_report.mjs";

const GRAPHICS = ["control", "recorded", "file", "other-file", "active", "missing", "not-indexed", "finding",
                  ...[0, 1, 2, 3, 4, 5, 6, 7, 8].map(type => `event-${type}`)];
const TEXTS = ["text", "faint", "active", "finding"];

let report;
let browser;

before(async () => {
  report = new SampleReport();
  browser = await startBrowser();
});

after(async () => {
  await browser?.close();
  report?.remove();
});

function luminance(colour) {
  const [red, green, blue] = colour.match(/[0-9a-f]{2}/g).map(digits => parseInt(digits, 16) / 255)
    .map(part => part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4);
  return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
}

function contrast(one, other) {
  const [dark, light] = [luminance(one), luminance(other)].sort((one, other) => one - other);
  return (light + 0.05) / (dark + 0.05);
}

for (const look of [{colorScheme: "light"}, {colorScheme: "dark"}, {colorScheme: "dark", media: "print"}]) {
  test(`stands out: ${JSON.stringify(look)}`, async () => {
    const page = await openPage(browser, report.address);
    await page.emulateMedia(look);
    const colours = await page.evaluate(names => {
      const style = getComputedStyle(document.documentElement);
      return Object.fromEntries(names.map(name => [name, style.getPropertyValue(`--${name}`).trim()]));
    }, ["page", "tint", ...GRAPHICS, ...TEXTS]);
    await page.context().close();
    for (const name of GRAPHICS)
      assert.ok(contrast(colours[name], colours.page) >= 3, `${name}: ${contrast(colours[name], colours.page)}`);
    for (const name of TEXTS)
      assert.ok(contrast(colours[name], colours.page) >= 4.5, `${name}: ${contrast(colours[name], colours.page)}`);
    // Activity is drawn on the tint of what is recorded.
    assert.ok(contrast(colours.active, colours.tint) >= 3);
  });
}
