// Prints how many nanoseconds URL takes for a URL with its host: the least of RUNS rounds over the
// first lines of FILE. Usage: url.mjs FILE LINES RUNS
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
let length = 0;
let least = Infinity;
for (let run = 0; run < Number(runs); ++run) {
  const start = process.hrtime.bigint();
  for (const url of urls) length += new URL(url).hostname.length;
  least = Math.min(least, Number(process.hrtime.bigint() - start) / urls.length);
}
if (length === 0) throw new Error("no host");
console.log(least);
