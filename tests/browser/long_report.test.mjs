// The report on a hundred days.
import assert from "node:assert/strict";
import {statSync} from "node:fs";
import {join} from "node:path";
import {after, before, test} from "node:test";

import {openPage, startBrowser} from "./browser.mjs";
import {FIRST, SampleFolder} from "./sample_report.mjs";

const HOUR = 3600000;
const DAY = 24 * HOUR;
const LISTED = 5000;

let sample;
let browser;
let page;

before(async () => {
  sample = new SampleFolder();
  sample.zel3("make", sample.archives, "--start", "2024-05-01T08:00:00Z", "--length", "100d", "--files", "100",
              "--interval", "1m", "--payload", "40", "--events", "4", "--gap", "40:30m,50:72h");
  sample.zel3("report", sample.archives, "-o", sample.page);
  browser = await startBrowser();
  page = await openPage(browser, sample.address);
});

after(async () => {
  await browser?.close();
  sample?.remove();
});

test("is not larger than two megabytes", () => {
  const {size} = statSync(join(sample.folder, "page.html"));
  assert.ok(size < 2e6, `${size} bytes`);
});

test("has a calendar of its days and hours", async () => {
  const rows = page.locator("#calendar tbody tr");
  const cells = row => row.locator("td").allInnerTexts();
  const first = await cells(rows.first());
  assert.equal(first[0], "Wed 2024-05-01");
  assert.equal(first[1], "66.6 %", "from eight o'clock on");
  assert.equal(first.length, 27);
  const share = (await rows.locator("td:nth-child(2)").allInnerTexts()).map(parseFloat);
  assert.ok(share.some(one => one > 97 && one < 98), "the half hour that is missing");
  const events = (await rows.locator("td:nth-child(3)").allInnerTexts()).map(Number);
  const summary = await page.locator("header").innerText();
  assert.equal(events.reduce((one, other) => one + other), Number(summary.match(/(\d+) events/)[1]));
  assert.match(await page.locator("#calendar").innerText(), /– nothing recorded/);
});

test("a day of the calendar leads to its place in the charts", async () => {
  await page.locator("#calendar tbody tr").nth(2).locator("td button").click();
  assert.match(await page.locator("#view").innerText(), /^2024-05-02 21:36.* – 2024-05-04 02:24/);
  await page.locator("#whole").click();
});

test("counts events where a view has more than two days, and shows each in shorter ones", async () => {
  const read = async share => {
    const box = await page.locator(".u-over").first().boundingBox();
    await page.mouse.move(box.x + share * box.width, box.y + box.height / 2);
    await page.evaluate(() => new Promise(drawn => requestAnimationFrame(() => requestAnimationFrame(drawn))));
    return page.locator("#readout").innerText();
  };
  assert.match(await read(0.2), / · events in 6 h: \d+ /);
  assert.match(await read(0.9), / · events in 6 h: \d+ /, "those that are not listed, too");
  assert.match(await page.locator("#events-shown").innerText(), new RegExp(`^${LISTED} of ${LISTED} listed events; \\d+ more`));
  await page.evaluate(([from, to]) => { location.hash = `#${from}-${to}`; }, [FIRST + DAY, FIRST + 2 * DAY]);
  await page.waitForFunction(() => document.getElementById("view").textContent.includes("(24 h"));
  assert.doesNotMatch(await read(0.5), /events in/);
  await page.locator("#whole").click();
});

test("activity gets finer as the view gets shorter", async () => {
  const step = async () => (await page.locator("#view").innerText()).match(/steps of (.*)\)/)[1];
  assert.equal(await step(), "3 h");
  await page.evaluate(([from, to]) => { location.hash = `#${from}-${to}`; }, [FIRST + DAY, FIRST + DAY + HOUR]);
  await page.waitForFunction(() => document.getElementById("view").textContent.includes("(60 min"));
  assert.equal(await step(), "60 s");
  await page.locator("#whole").click();
});

test("complains about nothing", () => assert.deepEqual(page.complaints, []));
