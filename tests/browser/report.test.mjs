import assert from "node:assert/strict";
import {after, afterEach, before, test} from "node:test";

import {openPage, startBrowser} from "./browser.mjs";
import {ENTRY, FIRST, MINUTE, SampleReport} from "./sample_report.mjs";

const GAP = {from: FIRST + 53 * MINUTE, to: FIRST + 73 * MINUTE};

let report;
let browser;
let page;

before(async () => {
  report = new SampleReport();
  browser = await startBrowser();
});

after(async () => {
  await browser?.close();
  report?.remove();
});

afterEach(async () => {
  await page?.context().close();
  page = null;
});

const open = async options => (page = await openPage(browser, report.address, options));
const text = selector => page.locator(selector).innerText();

// The range of time that the charts show.
async function view() {
  const times = (await text("#view")).matchAll(/(\d{4}-\d\d-\d\d) (\d\d:\d\d:\d\d\.\d{3}) UTC/g);
  const [from, to] = [...times].map(([, date, clock]) => Date.parse(`${date}T${clock}Z`));
  return {from, to, length: to - from};
}

// Where a time is in the window, for the chart with this number: 0 shows files, 1 the first stream.
async function placeOf(time, chart) {
  const {from, length} = await view();
  const box = await page.locator(".u-over").nth(chart).boundingBox();
  return {x: box.x + (time - from) / length * box.width, y: box.y + box.height / 2};
}

// What the page says about a time when the pointer is there.
async function told(time, chart = 1) {
  const {x, y} = await placeOf(time, chart);
  await page.mouse.move(x, y);
  await page.evaluate(() => new Promise(drawn => requestAnimationFrame(() => requestAnimationFrame(drawn))));
  return text("#readout");
}

async function drag(from, to, chart = 1) {
  const start = await placeOf(from, chart);
  const end = await placeOf(to, chart);
  await page.mouse.move(start.x, start.y);
  await page.mouse.down();
  await page.mouse.move(end.x, end.y, {steps: 4});
  await page.mouse.up();
}

// The mean colour around a time in the upper half of a chart: red, green, blue.
async function colourAt(time, chart) {
  const {from, length} = await view();
  return page.evaluate(([share, number]) => {
    const area = document.querySelectorAll(".u-over")[number];
    const canvas = document.querySelectorAll(".uplot canvas")[number];
    const x = area.offsetLeft + share * area.offsetWidth;
    const y = area.offsetTop + area.offsetHeight * 0.1;
    const part = [x - 9, y, 18, 18].map(length => Math.round(length * devicePixelRatio));
    const {data} = canvas.getContext("2d").getImageData(...part);
    const sums = [0, 0, 0];
    data.forEach((value, place) => { if (place % 4 < 3) sums[place % 4] += value; });
    return sums.map(sum => Math.round(sum / (data.length / 4)));
  }, [(time - from) / length, chart]);
}

const isUnlike = (one, other) => one.some((value, place) => Math.abs(value - other[place]) > 8);

test("draws the files and each stream, and complains about nothing", async () => {
  await open();
  const streams = await page.locator("#streams tbody tr").count();
  assert.ok(streams >= 2);
  assert.equal(await page.locator(".uplot canvas").count(), 1 + streams);
  assert.equal(await page.locator("#timeline").isVisible(), true);
  assert.deepEqual(page.complaints, []);
});

test("loads nothing but itself", async () => {
  await open();
  await page.locator("#in").click();
  assert.deepEqual(page.loaded, [report.address]);
});

test("lets no other script run", async () => {
  await open();
  await page.evaluate(() => {
    const script = document.createElement("script");
    script.textContent = "document.title = 'taken over'";
    document.body.append(script);
  });
  assert.equal(await page.title(), "archives");
  assert.match(page.complaints.join(), /Content Security Policy/);
});

test("shows the whole archive first", async () => {
  await open();
  const {from, to} = await view();
  assert.equal(from, FIRST);
  assert.equal(to, FIRST + 180 * MINUTE - ENTRY + 1000, "the second of the last entry is part of it");
});

test("shows times by the clocks that were asked for, wherever the browser is", async () => {
  const address = report.inZone("Asia/Kathmandu");
  page = await openPage(browser, address, {timezoneId: "America/New_York"});
  assert.match(await text("#view"), /^2024-05-01 13:45:00\.000 \+05:45 – 2024-05-01 16:44:51\.000 \+05:45 /);
  assert.match(await text("#files tbody tr:first-child"), /2024-05-01T13:45:00\.000\+05:45/);
  assert.deepEqual(page.complaints, []);
});

test("tells the levels that the reader answers", async () => {
  await open();
  const ids = await page.locator("#streams tbody td:first-child").allTextContents();
  for (const minute of [10, 31.7, 80, 110]) {
    await page.locator("#whole").click();
    const middle = FIRST + minute * MINUTE;
    await drag(middle - 2 * MINUTE, middle + 2 * MINUTE);
    const words = await told(middle);
    const [, date, clock] = words.match(/^(\S+) (\S+) UTC/);
    assert.match(await text("#view"), /activity in steps of 10 s/);
    const step = 5000;
    const start = Math.floor(Date.parse(`${date}T${clock}Z`) / step) * step;
    for (const id of ids) {
      const [bin] = report.levels(id, start, start + step, 1);
      assert.match(words, new RegExp(`stream ${id}: ${bin.recorded ? bin.level : "missing"}( |$)`), words);
    }
  }
});

test("tells what is missing and what is not indexed", async () => {
  await open();
  assert.match(await told(GAP.from + 10 * MINUTE), /no file .* stream 1: missing/);
  const words = await told(FIRST + 150 * MINUTE);
  assert.ok(words.includes(report.files[2]), words);
  assert.match(words, /stream 1: not indexed/);
});

test("quiet, active, missing and not indexed look different", async () => {
  await open();
  const bins = report.levels(1, FIRST, FIRST + 50 * MINUTE, 50).filter(bin => bin.recorded);
  const low = bins.reduce((one, other) => other.level < one.level ? other : one);
  const high = bins.reduce((one, other) => other.level > one.level ? other : one);
  assert.ok(low.level < 40 && high.level > 50, `${low.level} ${high.level}`);
  // A view of some minutes, in which a bin is wider than the area checked.
  const colours = {};
  for (const [name, time] of Object.entries({
    quiet: low.time + 30000, active: high.time + 30000, missing: GAP.from + 10 * MINUTE,
    notIndexed: FIRST + 150 * MINUTE,
  })) {
    await page.locator("#whole").click();
    await drag(time - 5 * MINUTE, time + 5 * MINUTE);
    colours[name] = await colourAt(time, 1);
  }
  const names = Object.keys(colours);
  for (const one of names) {
    for (const other of names.filter(name => name > one))
      assert.ok(isUnlike(colours[one], colours[other]), `${one} ${other}: ${JSON.stringify(colours)}`);
  }
});

test("zooms by dragging, from the whole archive to a second, and back", async () => {
  await open();
  const event = report.events().find(one => one.time < GAP.from && one.time > FIRST + 12 * MINUTE);
  for (const half of [10 * MINUTE, MINUTE, 5000, 500]) {
    await drag(event.time - half, event.time + half);
    const {length} = await view();
    assert.ok(length >= 1000 && Math.abs(length - Math.max(2 * half, 1000)) < half / 10, `${half}: ${length}`);
  }
  assert.ok((await told(event.time, 0)).includes(event.text));
  const {x, y} = await placeOf(event.time, 0);
  await page.mouse.dblclick(x, y);
  assert.equal((await view()).from, FIRST);
  assert.deepEqual(page.complaints, []);
});

test("axes keep their colour when the charts are drawn again", async () => {
  await open();
  // The darkest spot to the left of the charts and below them.
  const darkest = () => page.evaluate(() => [...document.querySelectorAll(".uplot")].map(chart => {
    const canvas = chart.querySelector("canvas");
    const left = chart.querySelector(".u-over").offsetLeft * devicePixelRatio;
    const {data} = canvas.getContext("2d").getImageData(0, 0, Math.round(left) - 8, canvas.height);
    return Math.min(...data.filter((value, place) => place % 4 === 0 && data[place + 3] > 200));
  }));
  const before = await darkest();
  assert.ok(Math.max(...before) < 100, before.join());
  for (let time = 0; time < 3; ++time) await page.locator("#in").click();
  assert.deepEqual(await darkest(), before);
});

test("zooms and moves by buttons and keys", async () => {
  await open();
  const {length} = await view();
  await page.locator("#in").click();
  assert.ok(Math.abs((await view()).length - length / 2) < 2);
  const {from} = await view();
  await page.locator("#later").click();
  assert.ok(Math.abs((await view()).from - from - length / 8) < 2);
  await page.locator("#charts").focus();
  await page.keyboard.press("ArrowLeft");
  assert.ok(Math.abs((await view()).from - from) < 2);
  await page.keyboard.press("+");
  assert.ok(Math.abs((await view()).length - length / 4) < 2);
  await page.keyboard.press("-");
  await page.keyboard.press("-");
  await page.keyboard.press("-");
  assert.equal((await view()).length, length, "there is nothing beyond the archive");
  await page.keyboard.press("+");
  await page.keyboard.press("0");
  assert.equal((await view()).length, length);
});

test("a time in a table leads to its place in the charts", async () => {
  await open();
  const button = page.locator("#events tbody button").first();
  const time = Date.parse(await button.textContent());
  await button.click();
  const {from, to, length} = await view();
  assert.ok(from <= time && time <= to && length <= 10000);
  assert.equal(await page.locator("#timeline").evaluate(one => one.getBoundingClientRect().top >= -1), true);
});

test("opens with a line of judgement", async () => {
  await open();
  assert.equal(await text("header p:first-of-type"),
               "3 files, 84.2 % of 2:06:40 known to be recorded, 1 gap, no damage, 1 file not indexed, " +
               "1 warning");
});

test("shows the events of the types and with the texts that are wanted", async () => {
  await open();
  const events = report.events();
  const shown = () => page.locator("#events tbody tr:visible").count();
  const {type} = events[0];
  await page.locator("#event-types label", {hasText: `${type} (`}).locator("input").uncheck();
  const others = events.filter(event => event.type !== type);
  assert.equal(await shown(), others.length);
  assert.equal(await text("#events-shown"), `${others.length} of ${events.length} listed events`);
  const words = others[0].text.slice(0, 5);
  await page.locator("#event-text").fill(words.toUpperCase());
  const wanted = others.filter(event => event.text.toLowerCase().includes(words.toLowerCase()));
  assert.ok(wanted.length < others.length);
  assert.equal(await shown(), wanted.length);
  await page.locator("#event-text").fill("no event says this");
  assert.equal(await shown(), 0);
  assert.deepEqual(page.complaints, []);
});

test("events of each type have the colour of the legend", async () => {
  await open();
  const events = report.events().filter(event => event.time < GAP.from && event.time > FIRST + MINUTE);
  const event = events.find(one => events.every(other =>
    other === one || Math.abs(other.time - one.time) > 30000));
  await drag(event.time - 10000, event.time + 10000, 0);
  const name = await page.locator("#event-types label", {hasText: `${event.type} (`}).locator("i")
    .evaluate(swatch => getComputedStyle(swatch).backgroundColor);
  const share = (event.time - (await view()).from) / (await view()).length;
  const colours = await page.evaluate(share => {
    const area = document.querySelector(".u-over");
    const canvas = document.querySelector(".uplot canvas");
    const x = Math.round((area.offsetLeft + share * area.offsetWidth) * devicePixelRatio);
    const {data} = canvas.getContext("2d").getImageData(x - 3, canvas.height * 0.45, 7, 1);
    return [0, 1, 2, 3, 4, 5, 6].map(place => `rgb(${[...data.slice(place * 4, place * 4 + 3)].join(", ")})`);
  }, share);
  assert.ok(colours.includes(name), `${name}: ${colours}`);
});

test("tables are sorted by their headings, up and down", async () => {
  await open();
  const names = () => page.locator("#files tbody td:first-child").allTextContents();
  const heading = page.locator("#files th").nth(0);
  await heading.locator("button").click();
  assert.equal(await heading.getAttribute("aria-sort"), "ascending");
  const ascending = await names();
  assert.deepEqual(ascending, [...ascending].sort());
  await heading.locator("button").click();
  assert.deepEqual(await names(), ascending.reverse());
  const bytes = page.locator("#files th", {hasText: "Bytes"});
  await bytes.locator("button").click();
  assert.equal(await heading.getAttribute("aria-sort"), null);
  const sizes = (await page.locator("#files tbody td:nth-child(5)").allTextContents()).map(Number);
  assert.deepEqual(sizes, [...sizes].sort((one, other) => one - other));
});

test("findings stand under their causes, the worst first", async () => {
  await open();
  const causes = await page.locator("#findings summary").allInnerTexts();
  assert.match(causes[0], /^error no-parser: 1 in 1 file; rename it/);
  assert.match(causes[1], /^warning first-index-place: 1 in 1 file; open the file by itself/);
  assert.match(causes[2], /^note gap: 1 in 1 file;/);
  assert.equal(await page.locator("#findings details").nth(0).getAttribute("open"), "");
  assert.equal(await page.locator("#findings details").nth(2).getAttribute("open"), null);
});

test("the address says what is shown, and shows what it says", async () => {
  const from = FIRST + 30 * MINUTE;
  page = await openPage(browser, `${report.address}#${from}-${from + MINUTE}`);
  assert.deepEqual(await view(), {from, to: from + MINUTE, length: MINUTE});
  await page.locator("#out").click();
  await page.waitForURL(`${report.address}#${from - MINUTE / 2}-${from + MINUTE * 3 / 2}`);
  await page.evaluate(hash => { location.hash = hash; }, `#${from}-${from + 2 * MINUTE}`);
  await page.waitForFunction(() => /2 min/.test(document.getElementById("view").textContent));
  await page.locator("#whole").click();
  await page.waitForURL(report.address);
  for (const wrong of ["#5-4", "#x", "#1-2-3", "#99999999999999999-2"]) {
    await page.evaluate(hash => { location.hash = hash; }, wrong);
    assert.equal((await view()).from, FIRST, wrong);
  }
  assert.deepEqual(page.complaints, []);
});

test("fingers move and stretch the charts as the hint says", async () => {
  await open({hasTouch: true, isMobile: true, viewport: {width: 390, height: 844}});
  assert.match(await page.locator(".hint:visible").innerText(), /Drag a chart sideways to move, pinch to zoom/);
  const touch = await page.context().newCDPSession(page);
  const chart = page.locator(".u-over").nth(1);
  await chart.scrollIntoViewIfNeeded();
  const box = await chart.boundingBox();
  const send = (type, ...shares) => touch.send("Input.dispatchTouchEvent", {
    type,
    touchPoints: shares.map((share, id) => ({id, x: box.x + share * box.width, y: box.y + box.height / 2})),
  });
  const settle = () => page.evaluate(() => new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done))));
  const near = (one, other) => assert.ok(Math.abs(one - other) < 2 * MINUTE, `${one} ${other}`);

  const {from, length} = await view();
  await send("touchStart", 0.4, 0.6);
  await send("touchMove", 0.3, 0.7);
  await send("touchMove", 0.1, 0.9);
  await settle();
  await send("touchEnd");
  const stretched = await view();
  near(stretched.length, length / 4);
  near(stretched.from + stretched.length / 2, from + length / 2);

  await send("touchStart", 0.8);
  for (const share of [0.7, 0.6, 0.4]) await send("touchMove", share);
  await settle();
  await send("touchEnd");
  const moved = await view();
  near(moved.length, stretched.length);
  near(moved.from, stretched.from + 0.4 * stretched.length);

  // As far as there is anything.
  for (let time = 0; time < 8; ++time) {
    await send("touchStart", 0.1);
    for (const share of [0.3, 0.6, 0.9]) await send("touchMove", share);
    await settle();
    await send("touchEnd");
  }
  assert.equal((await view()).from, from);
  assert.deepEqual(page.complaints, []);
});

test("is printed whole, with its overview and its colours", async () => {
  await open({viewport: {width: 700, height: 1000}});
  await page.emulateMedia({media: "print"});
  assert.equal(await page.locator("#overview svg").isVisible(), true);
  assert.equal(await page.locator("#charts").isVisible(), false);
  const cut = await page.evaluate(() => [...document.querySelectorAll(".table, table, svg")]
    .filter(one => one.getBoundingClientRect().right > innerWidth || one.scrollWidth > one.clientWidth + 1)
    .map(one => one.closest("section").id));
  assert.deepEqual(cut, []);
  for (const swatch of await page.locator("#overview .swatch").all())
    assert.equal(await swatch.evaluate(one => getComputedStyle(one).printColorAdjust), "exact");
});

test("says what tables and charts are to those who have them read", async () => {
  await open();
  for (const table of await page.locator("table").all())
    assert.match(await table.locator("caption").textContent(), /\w/);
  const charts = await page.locator(".chart [role=img]").evaluateAll(all => all.map(one => one.ariaLabel));
  assert.match(charts[0], /^Files, events and findings over time: 3 files, 1 gaps, \d+ events, \d+ findings$/);
  assert.match(charts[1], /^Activity of stream 1 over time: recorded \S+ (min|h), highest level \d+ of 63$/);
});

test("the tables and an overview say the same without scripts", async () => {
  await open({javaScriptEnabled: false});
  assert.equal(await page.locator("#overview svg").isVisible(), true);
  const box = await page.locator("#overview svg .recorded-track").first().boundingBox();
  assert.ok(box.width > 400 && box.height >= 3, JSON.stringify(box));
  assert.match(await page.locator("noscript").innerText(), /the tables below say the same/);
  assert.equal(await page.locator("#timeline").isVisible(), false);
  assert.equal(await page.locator("#files tbody tr").count(), 3);
  assert.equal(await page.locator("#events tbody tr").count(), report.events().length);
  const cells = row => row.locator("td").allTextContents();
  assert.deepEqual((await cells(page.locator("#gaps tbody tr").first())).slice(2),
                   ["0:20:00", `between ${report.files[0]} and ${report.files[1]}`]);
  const [, firstLevel] = await cells(page.locator("#activity tbody tr").first());
  assert.equal(firstLevel, String(report.levels(1, FIRST, FIRST + 5 * MINUTE, 1)[0].level));
  assert.match(await text("#activity"), /not indexed/);
  assert.match(await text("#findings"), /first-index-place/);
});

test("follows the window's width and the colours of the system", async () => {
  await open({colorScheme: "light"});
  const light = await colourAt(GAP.from - MINUTE, 1);
  await page.emulateMedia({colorScheme: "dark"});
  await page.waitForFunction(() => matchMedia("(prefers-color-scheme: dark)").matches);
  // Charts are painted again some time after that.
  const end = Date.now() + 10000;
  while (!isUnlike(light, await colourAt(GAP.from - MINUTE, 1))) assert.ok(Date.now() < end);
  await page.setViewportSize({width: 500, height: 900});
  await page.waitForFunction(() => document.querySelector(".uplot").offsetWidth < 500);
  assert.ok(await page.evaluate(() => document.scrollingElement.scrollWidth <= innerWidth));
  assert.deepEqual(page.complaints, []);
});
