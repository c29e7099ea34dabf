// replay.mjs PACKAGE: makes the calls of a record (see tests/jvm/Replay.java) in the
// WebAssembly module of the package, and prints the record anew with what comes of them.
import { readFileSync, writeSync } from "node:fs";

const [folder] = process.argv.slice(2);
const { Engine } = await import(new URL("engine.mjs", `file://${folder}/`));
const module = await WebAssembly.compile(readFileSync(`${folder}/kavril.wasm`));

const EXCEPTIONS = [, "AddDBException", "NoRouteToHostException", "RoutingException"];
const show = (list) => `[${list}]`;

// "0x1.8p+1", "inf", "12" or "[1,2]", which may have lists in it.
function value(word) {
  if (word === "null") return null;
  if (word.startsWith("[")) {
    const inside = word.slice(1, -1);
    return inside === "" ? [] : inside.split(/,(?![^[]*\])/).map(value);
  }
  const hex = /^(-?)0x([0-9a-f]+)\.?([0-9a-f]*)p(.*)$/.exec(word);
  if (hex === null) return Number(word.replace("inf", "Infinity"));
  const [, sign, whole, fraction, exponent] = hex;
  return Number(`${sign}1`) * parseInt(whole + fraction, 16) * 2 ** (exponent - 4 * fraction.length);
}

let printed = ["", ""];
const engine = new Engine(module, (bytes, stream) => {
  printed[stream - 1] += Buffer.from(bytes).toString("latin1");
});
const floats = (list) => Float32Array.from(list ?? []);
const nb = (list) => (list === null ? -1 : list.length);
let objects;

const CALLS = {
  init(object, nbOA, nbPL, color, reroute, capacity, ...rest) {
    const prices = rest.pop();
    engine.put(floats(prices.flat()));
    const session = engine.call(
      "open", nbOA, nbPL, color, reroute, capacity, ...rest, prices.length);
    if (session >= 0) object.session = session;
  },
  kill: (object) => engine.call("close", object.session),
  print: (object) => engine.call("print", object.session),
  addNode: (object, id) => engine.call("add_node", object.session, id),
  addLink(object, id, src, dst, capacities, reserved) {
    engine.put(floats(capacities), floats(reserved.flat()));
    return engine.call(
      "add_link", object.session, id, src, dst, nb(capacities), nb(reserved), 0);
  },
  removeLink: (object, ...hop) => engine.call("remove_link", object.session, ...hop),
  removeNode: (object, id) => engine.call("remove_node", object.session, id),
  addLSP(object, id, path, ...rest) {
    engine.put(Int32Array.from(path ?? []));
    return engine.call("add_lsp", object.session, id, nb(path), ...rest);
  },
  addBackupLSP(object, id, primary, path, ...rest) {
    engine.put(Int32Array.from(path ?? []));
    return engine.call("add_backup", object.session, id, primary, nb(path), ...rest);
  },
  removeLSP: (object, id) => engine.call("remove_lsp", object.session, id),
  computePath(object, ...args) {
    const refusal = engine.call("compute_path", object.session, ...args);
    if (refusal !== 0) return refusal;
    const answer = engine.answer();
    const path = answer.numbers();
    object.lsps = answer.numbers();
    return show([show(path)]);
  },
  computeBackupPath(object, primary, ids, ...rest) {
    engine.put(Int32Array.from(ids ?? []));
    const refusal = engine.call("compute_backups", object.session, primary, nb(ids), ...rest);
    if (refusal !== 0) return refusal;
    const answer = engine.answer();
    return show(Array.from({ length: answer.number() }, () => show(answer.numbers())));
  },
};

const output = [];
for (const line of readFileSync(0, "latin1").split("\n")) {
  const [before] = line.split(" = ");
  if (line === "new") {
    objects = [0, 1, 2].map(() => ({ session: -1 }));
    output.push("new\n");
  } else if (before !== line && /^[0-9]/.test(line)) {
    const [number, method, ...args] = before.split(" ");
    const object = objects[number];
    object.lsps = [];
    printed = ["", ""];
    const result = CALLS[method](object, ...args.map(value)) || "done";
    output.push(printed[1], printed[0]);  // as they come where standard output is no terminal
    const { session, lsps } = object;
    output.push(`${before} = ${EXCEPTIONS[result] ?? result} ${session} ${show(lsps)}\n`);
  }
}
const bytes = Buffer.from(output.join(""), "latin1");
for (let at = 0; at < bytes.length; ) at += writeSync(1, bytes, at);
