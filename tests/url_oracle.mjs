// Tells what URL makes of inputs, one a line, their bytes in hexadecimal: "!" for a refusal, or
// the host, a blank and the port.
import { readFileSync } from "node:fs";

const decoder = new TextDecoder("utf-8", { ignoreBOM: true });
for (const line of readFileSync(0, "latin1").split("\n").slice(0, -1)) {
  let answer = "!";
  try {
    const url = new URL(decoder.decode(Buffer.from(line, "hex")));
    answer = `${url.hostname} ${url.port}`;
  } catch {}
  process.stdout.write(answer + "\n");
}
