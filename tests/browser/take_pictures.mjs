// The pictures of the documentation: take_pictures.mjs PAGE FOLDER, with the page of the sample day.
import {join} from "node:path";

import {openPage, startBrowser} from "./browser.mjs";

const [, , address, folder] = process.argv;
const browser = await startBrowser();
const page = await openPage(browser, `file://${address}`, {
  viewport: {width: 1100, height: 1280}, deviceScaleFactor: 1.5, colorScheme: "light",
});

async function pointAt(share, chart) {
  const box = await page.locator(".u-over").nth(chart).boundingBox();
  await page.mouse.move(box.x + share * box.width, box.y + box.height / 2);
}

async function takeTimeline(name) {
  const box = await page.locator("#timeline").boundingBox();
  await page.screenshot({path: join(folder, name), clip: {x: 0, y: 0, width: 1100, height: box.y + box.height + 12}});
}

await pointAt(0.55, 1);
await takeTimeline("report.png");

await pointAt(0.67, 1);
await page.mouse.down();
await pointAt(0.78, 1);
await page.mouse.up();
await pointAt(0.2, 1);
await takeTimeline("report-zoomed.png");
await browser.close();
