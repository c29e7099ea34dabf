// session.mjs PACKAGE: the sessions of the module for JavaScript.
import assert from "node:assert";
import { readFileSync } from "node:fs";
import { test } from "node:test";

const [folder] = process.argv.slice(2);
const { Engine } = await import(`${folder}/engine.mjs`);
const { init, NoRouteError, RefusedError, Session } =
  await import(`${folder}/kavril.mjs`);

assert.throws(() => new Session(), /not loaded: await init\(\)/);
const module = await WebAssembly.compile(readFileSync(`${folder}/kavril.wasm`));
await init(module);

const TRAFFIC = { bandwidth: 40, trafficClass: 1, level: 3 };

// Links 0 > 2, and 0 > 1 > 2 around it.
function triangle(options = { classes: 2 }) {
  const session = new Session(options);
  for (let id = 0; id < 3; id++) session.addNode(id);
  [[0, 2], [0, 1], [1, 2]].forEach(([source, destination], id) =>
    session.addLink(id, source, destination, new Float64Array(session.classes).fill(100)));
  return session;
}

// One primary and its backup.
function loaded() {
  const session = triangle();
  session.request(7, 0, 2, TRAFFIC, { add: true });
  session.protect(7, { kind: "local", backupIds: [8] });
  return session;
}

const filled = (row) => Array.from({ length: 8 }, (_, level) => row[level] ?? 0);

test("what is placed is in the state, and goes", () => {
  const session = triangle();
  assert.deepStrictEqual(session.request(7, 0, 2, TRAFFIC),
    { lspId: 7, route: [0, 2], isAdded: false, preempted: [] });
  assert.strictEqual(session.lsp(7), undefined);
  const empty = session.state();
  assert.deepStrictEqual(session.request(7, 0, 2, TRAFFIC, { add: true }),
    { lspId: 7, route: [0, 2], isAdded: true, preempted: [] });
  assert.deepStrictEqual(session.protect(7, { kind: "local", level: 1, backupIds: [8] }), [{
    lspId: 8, primaryId: 7, kind: "local", route: [0, 1, 2], protectedRoute: [0, 2],
    protectedNodes: [] }]);
  assert.strictEqual(session.protect(7, { kind: "global" })[0].lspId, undefined);

  const primary = { id: 7, kind: "primary", traffic: TRAFFIC, route: [0, 2] };
  const backup = { id: 8, kind: "local", traffic: { ...TRAFFIC, level: 1 }, route: [0, 1, 2],
    primaryId: 7, primaryRoute: [0, 2], protectedRoute: [0, 2] };
  const { nodes, links, lsps } = session.state();
  assert.deepStrictEqual(nodes, [0, 1, 2]);
  assert.deepStrictEqual(lsps, [primary, backup]);
  assert.deepStrictEqual(links[0], { id: 0, source: 0, destination: 2, color: 0,
    capacity: [100, 100], primary: [filled({}), filled({ 3: 40 })],
    reserved: [filled({}), filled({ 3: 40 })] });
  assert.deepStrictEqual(session.link(0, 1).reserved[1], filled({ 1: 40 }));
  assert.deepStrictEqual(session.link(0, 2), links[0]);
  assert.strictEqual(session.link(2, 0), undefined);
  assert.deepStrictEqual(session.lspsOn(1, 2), [backup]);
  assert.deepStrictEqual(session.lspsOn(2, 1), []);
  assert.deepStrictEqual(session.backupsOf(7), [8]);
  assert.ok(session.hasNode(2) && !session.hasNode(3));

  session.removeLsp(8);
  session.removeLsp(7);
  assert.deepStrictEqual(session.state(), empty);
  session.removeLink(0, 2);
  session.removeNode(1);
  assert.deepStrictEqual(session.state(), { nodes: [0, 2], links: [], lsps: [] });
});

test("what gives way is told and removed", () => {
  const session = loaded();
  const { preempted, route } = session.request(9, 0, 2,
    { bandwidth: 80, trafficClass: 1, level: 0 }, { add: true, preempt: true });
  assert.deepStrictEqual([preempted, route], [[7], [0, 2]]);
  assert.strictEqual(session.lsp(7), undefined);
  assert.deepStrictEqual(session.backupsOf(7), [8]);
});

test("routes found elsewhere", () => {
  const session = triangle({ classes: 1, levels: 2, weights: { load: 1 } });
  session.addLsp(1, { bandwidth: 10, level: 1 }, [0, 1, 2]);
  session.addBackup(2, 1, "global", { bandwidth: 10 }, [0, 2]);
  assert.deepStrictEqual(session.lsp(1).route, [0, 1, 2]);
  assert.strictEqual(session.lsp(2).kind, "global");
  assert.strictEqual(session.link(0, 2).reserved[0].length, 2);
});

// From 0 to 2 by links of colour 3, 1 (over node 1) or 2 (over 3 and 4); from 1 to 4.
function colored() {
  const session = new Session();
  for (let id = 0; id < 5; id++) session.addNode(id);
  [[0, 2, 3], [0, 1, 1], [1, 2, 1], [0, 3, 2], [3, 4, 2], [4, 2, 2], [1, 4, 4]].forEach(
    ([source, destination, color], id) => session.addLink(id, source, destination, 100, color));
  return session;
}

const CONSTRAINED = [
  [{ avoidingColors: [3] }, "0,1,2"],
  [{ requiringColors: [2, 9] }, "0,3,4,2"],
  [{ avoidingLinks: [[0, 2]], avoidingNodes: [1] }, "0,3,4,2"],
  [{ through: [[0, 1], 4] }, "0,1,4,2"],
  [{ through: [[1, 4], [4, 2]] }, "0,1,4,2"],
  [{ over: [0, 1, 2], withinLinks: 1 }, "placed over 0 > 1 > 2, within 1 link: the route does not"],
  [{ through: [3], withinLinks: 2 }, "through 0 > ... > 3 > ... > 2, within 2 links: no path"],
  [{ requiringColors: [4], avoidingLinks: [[0, 2]] }, "by the colours [4], without the link 0 > 2"],
];

test("requests keep to constraints", () => {
  const session = colored();
  for (const [options, outcome] of CONSTRAINED) {
    const ask = () => session.request(undefined, 0, 2, { bandwidth: 40 }, options);
    if (/[a-z]/.test(outcome)) assert.throws(ask, ({ message }) => message.includes(outcome));
    else assert.deepStrictEqual(String(ask().route), outcome);
  }
  const only3 = { requiringColors: [3] };
  assert.throws(() => session.request(1, 0, 2, { bandwidth: 101 }, only3), /may give way for it$/);
  session.setCapacity(0, 2, 39);
  assert.throws(() => session.request(1, 0, 2, { bandwidth: 40 }, only3), /room, others have$/);
});

test("ids are chosen, what can be protected is, and capacities shrink under LSPs", () => {
  const session = colored();
  const before = session.state();
  session.request(undefined, 0, 2, { bandwidth: 40 }, { add: true, over: [0, 1, 4, 2] });
  assert.throws(() => session.protect(0, { kind: "local", placed: true }), NoRouteError);
  const { backups, ...rest } = session.protectPartly(0, { kind: "local", level: 1, placed: true });
  assert.deepStrictEqual(backups.map((b) => [b.lspId, b.route, b.protectedNodes]),
    [[1, [0, 2], [1]], [2, [1, 2], [4]]]);
  assert.deepStrictEqual(rest, { isComplete: false,
    unprotected: [{ route: [4, 2], reason: "there is no way around it" }] });
  assert.strictEqual(session.addBackup(undefined, 0, "global", { bandwidth: 40 }, [0, 2]), 3);
  assert.deepStrictEqual(session.setCapacity(0, 2, 39).map(({ id }) => id), [1, 3]);
  assert.match(session.protectPartly(0, { kind: "global" }).unprotected[0].reason, /enough room/);
  assert.match(session.dump(), /\b39\.0/);
  session.setCapacity(0, 2, 100);
  assert.deepStrictEqual(session.removeLspAndBackups(0), [1, 2, 3]);
  assert.deepStrictEqual(session.state(), before);
});

test("copies and files do the same as the session, and leave it alone", () => {
  const session = loaded();
  const bytes = session.save();
  for (const other of [session.copy(), Session.load(bytes)]) {
    assert.deepStrictEqual([other.classes, other.levels], [2, 8]);
    assert.deepStrictEqual(other.save(), bytes);
    assert.deepStrictEqual(other.request(9, 0, 2, TRAFFIC, { add: true }).route, [0, 1, 2]);
    assert.deepStrictEqual(session.save(), bytes);
  }
  assert.deepStrictEqual(session.request(9, 0, 2, TRAFFIC).route, [0, 1, 2]);
  // Memory grows in the copy as it has in the session.
  for (let id = 3; id < 400; id++) session.addNode(id);
  assert.deepStrictEqual(session.copy().state(), session.state());
});

test("answers are found above 2 GB, too", () => {
  const engine = new Engine(module);
  engine.call("input", 2 ** 31 - 2 ** 16);
  engine.put(new Float32Array(64));
  const session = engine.call("open", 8, 8, false, false, true, 0, 0, 0, 0, 0, 0, 1, 8);
  engine.call("add_node", session, 5);
  engine.call("state", session);
  assert.deepStrictEqual(engine.answer().numbers(5), [1, 5, 0, 0, 0]);
});

// Each leaves the session as it is.
const MISUSE = [
  [(s) => s.addNode(-1), RangeError, "id is -1, must be 0 to 16382"],
  [(s) => s.addNode(1.5), RangeError, "id is 1.5, must be 0 to 16382"],
  [(s) => s.addNode("1"), RangeError, "id is 1, must be 0 to 16382"],
  [(s) => s.addNode(1), RefusedError, "node 1 cannot be added: a node with this id is there"],
  [(s) => s.addLink(9, 1, 0, 5), RangeError, "capacities has 1 values, must have 2"],
  [(s) => s.addLink(9, 1, 0, [5, NaN]), RangeError, "capacities[1] is NaN, must be 0 to 3.4028"],
  [(s) => s.addLink(9, 1, 0, null), TypeError, "capacities is null, must be an array"],
  [(s) => s.addLink(9, 1, 9, [5, 5]), RefusedError, "its source or its destination is no node"],
  [(s) => s.addLink(2 ** 20, 1, 0, [5, 5]), RangeError, "id is 1048576, must be 0 to 1048575"],
  [(s) => s.removeLink(0, 2), RefusedError, "LSPs that are up depend on it: 7, 8"],
  [(s) => s.removeLink(2, 0), RefusedError, "link 2 > 0 cannot be removed: there is no such"],
  [(s) => s.removeNode(1), RefusedError, "LSPs that are up depend on it: 8"],
  [(s) => s.addLsp(7, TRAFFIC, [0, 2]), RefusedError, "the LSP id 7 is in use"],
  [(s) => s.addLsp(9, TRAFFIC, []), RangeError, "route is empty"],
  [(s) => s.addLsp(9, TRAFFIC, [0, -2]), RangeError, "route[1] is -2, must be 0 to 16382"],
  [(s) => s.addLsp(9, TRAFFIC, [2, 0]), RefusedError, "0: there is no link 2 > 0"],
  [(s) => s.addLsp(9, { bandwidth: 61, trafficClass: 1 }, [0, 2]), RefusedError, "room, and"],
  [(s) => s.addLsp(9, { bandwith: 1 }, [0, 2]), TypeError, "traffic has no field bandwith"],
  [(s) => s.addLsp(9, {}, [0, 2]), RangeError, "bandwidth is undefined, must be 0 to"],
  [(s) => s.request(9, 0, 2, { bandwidth: 1, trafficClass: 2 }), RangeError, "must be 0 to 1"],
  [(s) => s.request(9, 0, 2, TRAFFIC, { add: 1 }), TypeError, "add is 1, must be true or false"],
  [(s) => s.request(9, 0, 5, TRAFFIC), NoRouteError, "there is no node 5"],
  [(s) => s.request(9, 2, 0, TRAFFIC), NoRouteError, "finds no way from 2 to 0: no path has"],
  [(s) => s.request(7, 0, 2, TRAFFIC), RefusedError, "the LSP id 7 is in use"],
  [(s) => s.request(9, 0, 2, TRAFFIC, { over: [0] }), RangeError, "over is [0], must lead from"],
  [(s) => s.request(9, 0, 2, TRAFFIC, { over: [0, 2], through: [1] }), TypeError, "besides over"],
  [(s) => s.request(9, 0, 2, TRAFFIC, { through: [[1, 2], 0] }), RangeError, "no node twice"],
  [(s) => s.request(9, 0, 2, TRAFFIC, { through: [1], avoidingNodes: [1] }), RangeError, "node 1"],
  [(s) => s.setCapacity(2, 0, [5, 5]), RefusedError, "the capacity of link 2 > 0 cannot be set: "],
  [(s) => s.protect(7, { kind: "local", placed: false, backupIds: [9] }), TypeError, "placed is"],

  [(s) => s.request(2 ** 24, 0, 2, TRAFFIC), RangeError, "id is 16777216, must be"],
  [(s) => s.addBackup(9, 5, "local", TRAFFIC, [0, 2]), RefusedError, "LSP 5 is not up"],
  [(s) => s.addBackup(9, 8, "local", TRAFFIC, [0, 2]), RefusedError, "8 is itself a backup"],
  [(s) => s.addBackup(9, 7, "Local", TRAFFIC, [0, 2]), TypeError, "kind is Local, must be local"],
  [(s) => s.protect(7), TypeError, "protection is undefined, must be"],
  [(s) => s.protect(7, { kind: "local", level: 8 }), RangeError, "level is 8, must be 0 to 7"],
  [(s) => s.protect(7, { kind: "local", backupIds: [] }), RangeError, "must have 1, one for each"],
  [(s) => s.protect(7, { kind: "local", backupIds: [8] }), RefusedError, "LSP id 8 is in use"],
  [(s) => s.removeLsp(9), RefusedError, "LSP 9 cannot be removed: it is not up"],
  [() => Session.load(new Uint8Array(9)), RefusedError, "loaded: it is no session file"],
  [() => Session.load("name"), TypeError, "bytes is name, must be a Uint8Array"],
  [() => new Session({ classes: 9 }), RangeError, "classes is 9, must be 1 to 8"],
  [() => new Session({ weights: { fortz: -1 } }), RangeError, "weights.fortz is -1, must be"],
];

test("misuse is refused with a reason, and changes nothing", () => {
  const session = loaded();
  const before = session.state();
  for (const [call, Failure, message] of MISUSE) {
    assert.throws(() => call(session), (error) => {
      assert.strictEqual(error.constructor, Failure, `${call}: ${error}`);
      assert.ok(error.message.includes(message), `${call}: ${error.message}`);
      return true;
    }, String(call));
    assert.deepStrictEqual(session.state(), before, String(call));
  }
  assert.throws(() => session.request(9, 2, 0, TRAFFIC), ({ trace }) => trace.length > 1);
});

// A primary that comes back to a node has backups of which only the first finds room.
test("backups are placed all or none", () => {
  const session = new Session();
  for (let id = 0; id < 6; id++) session.addNode(id);
  [[0, 1], [1, 2], [2, 3], [0, 4], [4, 2], [1, 5], [5, 3]].forEach(([one, other], id) => {
    session.addLink(2 * id, one, other, 10);
    session.addLink(2 * id + 1, other, one, 10);
  });
  session.addLsp(1, { bandwidth: 4 }, [1, 2, 3, 2]);
  const before = session.state();
  assert.throws(() => session.protect(1, { kind: "local", backupIds: [2, 2, 3] }), RangeError);
  assert.throws(() => session.protect(1, { kind: "local", backupIds: [2, 3, 4] }), RefusedError);
  assert.deepStrictEqual(session.state(), before);
  session.addBackup(2, 1, "local", { bandwidth: 4 }, [1, 5, 3]);
});

test("all methods have types", () => {
  const types = readFileSync(`${folder}/kavril.d.mts`, "utf8");
  const names = [...Object.getOwnPropertyNames(Session.prototype), "load"];
  const missing = names.filter((name) => !new RegExp(`\\b${name}\\b[(:]`).test(types));
  assert.deepStrictEqual(missing, []);
});
