// How active streams were, in steps of any of the page's widths: a wide bin has the highest level
// of the bins that it merges, and is missing only if all of them are.

// Codes of bins: 0 is missing, 1 not indexed, then come the levels.
const NOT_INDEXED = 1;
const QUIET = 2;
const MOST_LEVEL = 63;
const LEVELS = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz+/";
const STATES = ["missing", "not-indexed"];

const stateOf = code => STATES[code] || "recorded";
const levelOf = code => Math.max(0, code - QUIET);

class Levels {
  constructor(text) {
    const codeOf = new Uint8Array(128);
    codeOf["?".charCodeAt()] = NOT_INDEXED;
    [...LEVELS].forEach((character, level) => { codeOf[character.charCodeAt()] = level + QUIET; });
    const codes = Uint8Array.from(text, character => codeOf[character.charCodeAt()]);
    const [width] = report.binWidths;
    this.finest = {width, first: report.firstBin, codes};
    this.joined = new Map([[width, this.finest]]);
  }

  // The bins of one of the widths: when the first one starts, and their codes.
  of(width) {
    if (!this.joined.has(width)) this.joined.set(width, this.join(width));
    return this.joined.get(width);
  }

  join(width) {
    const fine = this.finest;
    const first = Math.floor(fine.first / width) * width;
    const before = (fine.first - first) / fine.width;
    const each = width / fine.width;
    const codes = new Uint8Array(Math.ceil((before + fine.codes.length) / each));
    fine.codes.forEach((code, number) => {
      const bin = Math.floor((before + number) / each);
      if (code > codes[bin]) codes[bin] = code;
    });
    return {width, first, codes};
  }

  codeAt(time, width) {
    const {first, codes} = this.of(width);
    return codes[Math.floor((time - first) / width)];
  }
}

// The smallest width whose bins take at least a pixel.
const widthFor = (length, pixels) =>
  report.binWidths.find(width => length / width <= pixels) || report.binWidths[report.binWidths.length - 1];
