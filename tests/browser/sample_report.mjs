// The report on a recording of three hours in three files: with a gap of twenty minutes after the
// first, a second file that hosts cannot open in a folder, and a last one that cannot be indexed.
import {execFileSync} from "node:child_process";
import {closeSync, mkdtempSync, openSync, readdirSync, renameSync, rmSync, writeSync} from "node:fs";
import {tmpdir} from "node:os";
import {join} from "node:path";

export const FIRST = Date.parse("2024-05-01T08:00:00Z");
export const MINUTE = 60000;
export const ENTRY = 10000;

const PLACE_OF_FIRST_INDEX_DELTA = 6;

// A folder for archives and the report on them.
export class SampleFolder {
  constructor() {
    this.folder = mkdtempSync(join(tmpdir(), "zel3-report-"));
    this.archives = join(this.folder, "archives");
    this.page = join(this.folder, "page.html");
  }

  // What the program prints.
  zel3(...args) {
    const options = {
      encoding: "utf8", stdio: ["ignore", "pipe", "pipe"],
      env: {...process.env, TMPDIR: this.folder, XDG_CACHE_HOME: join(this.folder, "cache")},
    };
    const settings = ["--settings-folder", this.folder];
    try {
      return execFileSync(process.env.ZEL3, [...settings, ...args], options);
    } catch (error) {
      const somethingLeftOut = 3;
      if (error.status !== somethingLeftOut) throw error;
      return error.stdout;
    }
  }

  get address() {
    return `file://${this.page}`;
  }

  remove() {
    rmSync(this.folder, {recursive: true});
  }
}

export class SampleReport extends SampleFolder {
  constructor() {
    super();
    this.zel3("make", this.archives, "--start", "2024-05-01T08:00:00Z", "--length", "3h", "--files", "3",
              "--gap", "0:20m", "--interval", "10s", "--payload", "200", "--events", "20");
    this.files = readdirSync(this.archives).sort();
    this.breakFirstIndexPlace();
    this.makeOlder();
    this.zel3("report", this.archives, "-o", this.page);
  }

  breakFirstIndexPlace() {
    const file = openSync(join(this.archives, this.files[1]), "r+");
    writeSync(file, Buffer.from([1, 0]), 0, 2, PLACE_OF_FIRST_INDEX_DELTA);
    closeSync(file);
  }

  // The parser does not know the older suffix.
  makeOlder() {
    const path = join(this.archives, this.files[2]);
    this.files[2] = this.files[2].replace(/\.zel3$/, ".zel");
    renameSync(path, join(this.archives, this.files[2]));
  }

  // The address of a report in a time zone.
  inZone(zone) {
    const page = join(this.folder, "in-zone.html");
    this.zel3("report", this.archives, "-o", page, "--time-zone", zone);
    return `file://${page}`;
  }

  // The levels of a stream, one for each of `count` bins between two times.
  levels(stream, from, to, count) {
    const answer = this.zel3("activity", this.archives, "--stream", String(stream), "--bins", String(count),
                             String(from), String(to), "--format", "json");
    return JSON.parse(answer).bins;
  }

  events() {
    return this.zel3("events", this.archives, "--format", "jsonl").trim().split("\n").map(line => JSON.parse(line));
  }
}
