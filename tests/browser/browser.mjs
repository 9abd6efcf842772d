// A headless browser without a network.
import {chromium} from "playwright-core";

export function startBrowser() {
  return chromium.launch({
    executablePath: process.env.CHROMIUM,
    args: ["--no-sandbox", "--disable-gpu", "--disable-quic", "--disable-background-networking",
           "--disable-component-update", "--disable-sync", "--no-first-run"],
  });
}

// A page that records what goes wrong in it and what it loads.
export async function openPage(browser, address, options = {}) {
  const context = await browser.newContext({viewport: {width: 1200, height: 900}, ...options});
  const page = await context.newPage();
  page.complaints = [];
  page.loaded = [];
  page.on("console", message => {
    if (message.type() === "error") page.complaints.push(message.text());
  });
  page.on("pageerror", error => page.complaints.push(String(error)));
  page.on("request", request => page.loaded.push(request.url()));
  await page.goto(address);
  return page;
}
