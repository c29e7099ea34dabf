// wasm.mjs PACKAGE SESSION ASKED: makes the requests in a file (bench/wasm.cpp) of the session
// in another one by the module for JavaScript, and prints the median times in seconds: of a
// request, and of a protection. Answers must be those in the file.
import { deepStrictEqual } from "node:assert";
import { readFileSync } from "node:fs";
import { resolve } from "node:path";

const [folder, sessionFile, askedFile] = process.argv.slice(2);
const { init, KavrilError, Session } = await import(resolve(folder, "kavril.mjs"));
await init();
const asked = readFileSync(askedFile, "utf8").trim().split("\n")
  .map((line) => line.split(" ").map(Number));

function timed(times, work) {
  const start = performance.now();
  try {
    return work();
  } catch (error) {
    if (!(error instanceof KavrilError)) throw error;
    return undefined;
  } finally {
    times.push((performance.now() - start) / 1000);
  }
}

const median = (times) => times.sort((a, b) => a - b)[Math.floor(times.length / 2)];

function run(session) {
  const requests = [];
  const protections = [];
  for (const [id, source, destination, trafficClass, level, bandwidth, protect, isProtected,
    ...path] of asked) {
    const placed = timed(requests, () => session.request(id, source, destination,
      { bandwidth, trafficClass, level }, { add: true }));
    deepStrictEqual(placed?.route ?? [], path);
    if (protect === 0) continue;
    const backupIds = path.slice(1).map((_, i) => id + 1 + i);
    const backups = timed(protections, () => session.protect(id, { kind: "local", backupIds }));
    deepStrictEqual(backups !== undefined, isProtected === 1);
  }
  return [median(requests), median(protections)];
}

const session = Session.load(readFileSync(sessionFile));
run(session.copy());  // the engine compiles what it meets often once more
console.log(...run(session));
