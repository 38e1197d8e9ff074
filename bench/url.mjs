// Prints how many nanoseconds URL takes for a URL with its host, and URL.canParse for the same: the
// least of RUNS rounds over the first lines of FILE. Usage: url.mjs FILE LINES RUNS
import { readFileSync } from "node:fs";

const [file, lines, runs] = process.argv.slice(2);
const isUrl = (text) => {
  try {
    return new URL(text).hostname !== "";
  } catch {
    return false;
  }
};
const urls = readFileSync(file, "latin1").split("\n").slice(0, Number(lines)).filter(isUrl);
let sum = 0;
const least = (work) => {
  let nanoseconds = Infinity;
  for (let run = 0; run < Number(runs); ++run) {
    const start = process.hrtime.bigint();
    for (const url of urls) sum += work(url);
    nanoseconds = Math.min(nanoseconds, Number(process.hrtime.bigint() - start) / urls.length);
  }
  return nanoseconds;
};
const parse = least((url) => new URL(url).hostname.length);
const check = least((url) => Number(URL.canParse(url)));
if (sum < 2 * Number(runs) * urls.length) throw new Error("no hosts");
console.log(parse, check);
