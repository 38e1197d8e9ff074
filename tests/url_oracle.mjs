// Tells what URL makes of inputs, one a line, their bytes in hexadecimal: "!" for a refusal, or
// the host, a blank and the port.
import { createInterface } from "node:readline";

const decoder = new TextDecoder("utf-8", { ignoreBOM: true });
let answers = [];
for await (const line of createInterface({ input: process.stdin })) {
  const text = decoder.decode(Buffer.from(line, "hex"));
  try {
    const url = new URL(text);
    answers.push(`${url.hostname} ${url.port}`);
  } catch {
    answers.push("!");
  }
  if (answers.length === 4096) {
    process.stdout.write(answers.join("\n") + "\n");
    answers = [];
  }
}
if (answers.length > 0) process.stdout.write(answers.join("\n") + "\n");
