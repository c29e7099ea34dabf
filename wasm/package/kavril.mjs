// Sessions of the KAVRIL library; kavril.d.mts and README.md tell how to use them.
import { amount, array, arrows, backupKind, color, describe, fields, flag, linkId, list, lspId,
  node, range, route, text } from "./checks.mjs";
import { Engine } from "./engine.mjs";
import { reason } from "./reason.mjs";
import { Outcome, Request } from "./request.mjs";

const MAX_CLASSES = 8;
const MAX_LEVELS = 8;
const MAX_NAMED = 20; // LSPs in a message

const KINDS = ["primary", "local", "global"];
// As the library takes their weights.
const CRITERIA = ["loadBalance", "load", "squaredLoad", "relativeLoad", "squaredRelativeLoad",
  "delay", "fortz"];
// What calls end with.
const NO_ROUTE = 2;
const ALL_IN_USE = "all LSP ids are in use";

export class KavrilError extends Error {
  constructor(message, trace = []) {
    super(message);
    this.name = new.target.name;
    this.trace = trace;
  }
}
export class RefusedError extends KavrilError {}
export class NoRouteError extends KavrilError {}

let library = null;

export async function init(source = new URL("kavril.wasm", import.meta.url)) {
  if (source instanceof WebAssembly.Module) library = source;
  else library = await WebAssembly.compile(source instanceof URL ? await bytesAt(source) : source);
}

async function bytesAt(url) {
  if (url.protocol === "file:" && typeof process !== "undefined")
    return (await import("node:fs/promises")).readFile(url);
  const response = await fetch(url);
  if (!response.ok) throw new Error(`${url} cannot be read: ${response.status}`);
  return response.arrayBuffer();
}

// The i-th backup of a primary, not placed; without a route if there is none.
function backupOf(primary, kind, nodes, i) {
  const part = kind === "global" ? primary.route : primary.route.slice(i, i + 2);
  const behind = primary.route.slice(i + 1, Math.min(i + part.length, primary.route.length - 1));
  return {
    lspId: undefined,
    primaryId: primary.id,
    kind,
    route: nodes,
    protectedRoute: part,
    protectedNodes: behind.filter((id) => !nodes.includes(id)),
  };
}

function weightsOf(weights) {
  if (weights === undefined) return CRITERIA.map((criterion) => (criterion === "fortz" ? 1 : 0));
  fields("weights", weights, CRITERIA);
  return CRITERIA.map((criterion) => amount(`weights.${criterion}`, weights[criterion] ?? 0));
}

export class Session {
  // An instance for each session: its memory goes when nobody has the session any more.
  #engine;
  #id = 0;
  #nbClasses;
  #nbLevels;
  #printed = null; // unless it is asked for

  constructor(options = {}) {
    if (library === null)
      throw new Error("the library is not loaded: await init() before the first session");
    fields("options", options, ["classes", "levels", "capacityClause", "weights"]);
    const { classes = 1, levels = MAX_LEVELS, capacityClause = true } = options;
    this.#nbClasses = range("classes", classes, 1, MAX_CLASSES);
    this.#nbLevels = range("levels", levels, 1, MAX_LEVELS);
    flag("capacityClause", capacityClause);
    const weights = weightsOf(options.weights);
    this.#engine = new Engine(library, (bytes, stream) => {
      if (stream === 1) this.#printed?.push(new TextDecoder("latin1").decode(bytes));
    });
    // All classes and levels, as in files; those that are not in use stay 0.
    this.#live.put(new Float32Array(MAX_CLASSES * MAX_LEVELS));
    // Colours are always tested: only requests that avoid some have any to test.
    this.#id = this.#engine.call("open", MAX_CLASSES, MAX_LEVELS, true, false, capacityClause,
      ...weights, MAX_CLASSES);
    if (this.#id < 0) throw this.#refused("a session cannot be opened");
  }

  static load(bytes) {
    if (!(bytes instanceof Uint8Array))
      throw new TypeError(`bytes is ${text(bytes)}, must be a Uint8Array`);
    const session = new Session();
    session.#engine.put(bytes);
    const answer = session.#ask("no session can be loaded", "load", bytes.length);
    const [classes, levels] = [answer.number(), answer.number()];
    if (classes < 1 || classes > MAX_CLASSES || levels < 1 || levels > MAX_LEVELS)
      throw new RefusedError("it is a session that only C++ can use");
    session.#nbClasses = classes;
    session.#nbLevels = levels;
    return session;
  }

  get classes() {
    return this.#nbClasses;
  }

  get levels() {
    return this.#nbLevels;
  }

  copy() {
    const copy = new Session({ classes: this.#nbClasses, levels: this.#nbLevels });
    copy.#engine.assume(this.#live);
    return copy;
  }

  save() {
    const numbers = [this.#nbClasses, this.#nbLevels];
    return this.#ask("the session cannot be saved", "save", ...numbers).bytes;
  }

  addNode(id) {
    node("id", id);
    this.#ask(`node ${id} cannot be added`, "add_node", id);
  }

  addLink(id, source, destination, capacities, linkColor = 0) {
    linkId("id", id);
    node("source", source);
    node("destination", destination);
    color("color", linkColor);
    const row = this.#capacityRow(capacities);
    this.#live.put(row, new Float32Array(MAX_CLASSES * MAX_LEVELS));
    this.#ask(`link ${id} (${source} > ${destination}) cannot be added`, "add_link", id, source,
      destination, MAX_CLASSES, MAX_CLASSES, linkColor);
  }

  setCapacity(source, destination, capacities) {
    node("source", source);
    node("destination", destination);
    const what = `the capacity of link ${source} > ${destination} cannot be set`;
    this.#live.put(this.#capacityRow(capacities));
    this.#ask(what, "set_capacity", source, destination);
    return this.#ids("misfits", source, destination).map((id) => this.lsp(id));
  }

  removeLink(source, destination) {
    node("source", source);
    node("destination", destination);
    const what = `link ${source} > ${destination} cannot be removed`;
    this.#refuseIfUsed(what, source, destination);
    this.#ask(what, "remove_link", source, destination);
  }

  removeNode(id) {
    node("id", id);
    const what = `node ${id} cannot be removed`;
    this.#refuseIfUsed(what, id, -1);
    this.#ask(what, "remove_node", id);
  }

  addLsp(id, traffic, path) {
    lspId("id", id);
    const checked = this.#traffic(traffic);
    const nodes = route("route", path);
    const what = `LSP ${id} (${describe(checked)}) cannot be placed over ${arrows(nodes)}`;
    this.#refuseIfUp(what, id);
    this.#live.put(Int32Array.from(nodes));
    this.#ask(what, "add_lsp", id, nodes.length, checked.level, checked.trafficClass,
      checked.bandwidth);
  }

  addBackup(id, primaryId, kind, traffic, path) {
    if (id !== undefined) lspId("id", id);
    lspId("primaryId", primaryId);
    backupKind(kind);
    const checked = this.#traffic(traffic);
    const nodes = route("route", path);
    const what = `${id === undefined ? "a backup" : `backup ${id}`} of LSP ${primaryId} `
      + `(${describe(checked)}) cannot be placed over ${arrows(nodes)}`;
    if (id !== undefined) this.#refuseIfUp(what, id);
    this.#primary(what, primaryId);
    const backupId = id ?? this.#freeId(what);
    this.#placeBackup(what, backupId, primaryId, kind, checked, nodes);
    return backupId;
  }

  request(id, source, destination, traffic, options = {}) {
    if (id !== undefined) lspId("id", id);
    node("source", source);
    node("destination", destination);
    const request = new Request(id, source, destination, this.#traffic(traffic), options);
    const what = request.what();
    const { outcome, answer, trace } = this.#send(what, request);
    const failed = (Failure, why) => new Failure(`${what}: ${why}`, trace);
    switch (outcome) {
      case Outcome.PLACED:
        return { lspId: answer.number(), route: answer.numbers(), isAdded: request.add,
          preempted: answer.rest() };
      case Outcome.REFUSED:
        throw failed(RefusedError, reason(trace));
      case Outcome.ID_IN_USE:
        throw failed(RefusedError, `the LSP id ${id} is in use`);
      case Outcome.NO_ID:
        throw failed(RefusedError, ALL_IN_USE);
      default:
        throw failed(NoRouteError, request.whyNot(outcome, answer));
    }
  }

  protect(id, protection) {
    return this.#protect(id, protection, false).backups;
  }

  protectPartly(id, protection) {
    return this.#protect(id, protection, true);
  }

  removeLsp(id) {
    lspId("id", id);
    const what = `LSP ${id} cannot be removed`;
    if (this.lsp(id) === undefined) throw new RefusedError(`${what}: it is not up`);
    this.#ask(what, "remove_lsp", id);
  }

  removeLspAndBackups(id) {
    const backups = this.backupsOf(id);
    const isUp = this.lsp(id) !== undefined;
    const what = `LSP ${id} cannot be removed`;
    if (!isUp && backups.length === 0)
      throw new RefusedError(`${what}: neither it nor a backup of it is up`);
    for (const lsp of isUp ? [...backups, id] : backups) this.#ask(what, "remove_lsp", lsp);
    return backups;
  }

  hasNode(id) {
    node("id", id);
    return this.#call("has_node", id) !== 0;
  }

  lsp(id) {
    lspId("id", id);
    return this.#find((answer) => this.#readLsp(answer), "lsp", id);
  }

  link(source, destination) {
    node("source", source);
    node("destination", destination);
    return this.#find((answer) => this.#readLink(answer), "link", source, destination);
  }

  lspsOn(source, destination) {
    node("source", source);
    node("destination", destination);
    const read = (answer) => answer.list(() => this.#readLsp(answer));
    return this.#find(read, "lsps_on", source, destination) ?? [];
  }

  backupsOf(id) {
    lspId("id", id);
    return this.#ids("backups_of", id);
  }

  state() {
    const answer = this.#ask("the state cannot be read", "state");
    return {
      nodes: answer.list(() => answer.number()),
      links: answer.list(() => this.#readLink(answer)),
      lsps: answer.list(() => this.#readLsp(answer)),
    };
  }

  dump() {
    this.#printed = [];
    this.#call("print");
    const tables = this.#printed.join("");
    this.#printed = null;
    return tables;
  }

  #capacityRow(capacities) {
    const row = typeof capacities === "number" ? [capacities] : array("capacities", capacities);
    if (row.length !== this.#nbClasses)
      throw new RangeError(`capacities has ${row.length} values, must have ${this.#nbClasses}`
        + ", one for each class");
    const checked = new Float32Array(MAX_CLASSES);
    row.forEach((value, oa) => { checked[oa] = amount(`capacities[${oa}]`, value); });
    return checked;
  }

  #traffic(traffic) {
    fields("traffic", traffic, ["bandwidth", "trafficClass", "level"]);
    const { bandwidth, trafficClass = 0, level = 0 } = traffic;
    return {
      bandwidth: amount("bandwidth", bandwidth),
      trafficClass: range("trafficClass", trafficClass, 0, this.#nbClasses - 1),
      level: range("level", level, 0, this.#nbLevels - 1),
    };
  }

  #primary(what, id) {
    const lsp = this.lsp(id);
    if (lsp === undefined) throw new RefusedError(`${what}: LSP ${id} is not up`);
    if (lsp.kind !== "primary") throw new RefusedError(`${what}: LSP ${id} is itself a backup`);
    return lsp;
  }

  #refuseIfUp(what, id) {
    if (this.lsp(id) !== undefined)
      throw new RefusedError(`${what}: the LSP id ${id} is in use`);
  }

  #refuseIfUsed(what, source, destination) {
    const users = this.#ids("dependants", source, destination);
    if (users.length === 0) return;
    const more = users.length > MAX_NAMED ? ` and ${users.length - MAX_NAMED} more` : "";
    throw new RefusedError(
      `${what}: LSPs that are up depend on it: ${users.slice(0, MAX_NAMED).join(", ")}${more}`);
  }

  #placeBackup(what, id, primaryId, kind, traffic, nodes) {
    this.#live.put(Int32Array.from(nodes));
    this.#ask(what, "add_backup", id, primaryId, nodes.length, traffic.level, traffic.trafficClass,
      traffic.bandwidth, kind === "local");
  }

  // All of a primary's backups or none; or as many as there are, and what has none.
  #protect(id, protection, isPartial) {
    lspId("id", id);
    const what = `LSP ${id} cannot be protected`;
    const wanted = { ...this.#protection(protection), what, isPartial };
    const primary = this.#primary(wanted.what, id);
    this.#checkBackupIds(wanted, primary);
    const backups = [];
    const unprotected = [];
    try {
      this.#backupRoutes(wanted, id).forEach((nodes, i) => {
        const backup = backupOf(primary, wanted.kind, nodes, i);
        const lack = this.#placeWanted(wanted, primary, backup, i);
        if (lack === undefined) backups.push(backup);
        else unprotected.push({ route: backup.protectedRoute, reason: lack });
      });
    } catch (error) {
      if (wanted.isPlaced)
        for (const backup of backups.reverse()) this.#call("remove_lsp", backup.lspId);
      throw error;
    }
    return { backups, unprotected, isComplete: unprotected.length === 0 };
  }

  #protection(protection) {
    fields("protection", protection, ["kind", "level", "placed", "backupIds"]);
    const { kind, level = 0, backupIds, placed = backupIds !== undefined } = protection;
    backupKind(kind);
    range("level", level, 0, this.#nbLevels - 1);
    const ids = backupIds === undefined ? null : list("backupIds", backupIds, lspId);
    if (!flag("placed", placed) && ids !== null)
      throw new TypeError("placed is false, must be true with backupIds");
    return { kind, level, isPlaced: placed, ids };
  }

  #checkBackupIds({ what, kind, ids }, primary) {
    if (ids === null) return;
    const nbBackups = kind === "global" ? 1 : primary.route.length - 1;
    if (ids.length !== nbBackups)
      throw new RangeError(`backupIds has ${ids.length} ids, must have ${nbBackups}`
        + `, one for each backup of LSP ${primary.id}`);
    if (new Set(ids).size < ids.length)
      throw new RangeError(`backupIds is ${text(ids)}, must have each id once`);
    for (const id of ids) this.#refuseIfUp(what, id);
  }

  // Places one of the backups if that is wanted; tells why it is lacking if it may.
  #placeWanted({ what, level, isPlaced, ids, isPartial }, primary, backup, index) {
    if (backup.route.length === 0)
      return this.#hasWayAround(what, backup.protectedRoute, primary)
        ? "no way around it has enough room" : "there is no way around it";
    if (!isPlaced) return undefined;
    const id = ids?.[index] ?? this.#freeId(what);
    const { kind, route: nodes } = backup;
    try {
      this.#placeBackup(what, id, primary.id, kind, { ...primary.traffic, level }, nodes);
    } catch (error) {
      if (!isPartial || !(error instanceof RefusedError)) throw error;
      return `its backup over ${arrows(nodes)} cannot be placed: ${reason(error.trace)}`;
    }
    backup.lspId = id;
    return undefined;
  }

  // The routes of the backups, empty for one that there is none for.
  #backupRoutes({ what, kind, isPartial }, id) {
    const isGlobal = kind === "global";
    if (isPartial && !isGlobal) {
      const answer = this.#ask(what, "local_backups", id);
      const routes = [];
      while (!answer.isRead) routes.push(answer.numbers());
      return routes;
    }
    try {
      const answer = this.#ask(what, "compute_backups", id, 0, isGlobal ? 1 : 2, false, false);
      return Array.from({ length: answer.number() }, () => answer.numbers());
    } catch (error) {
      if (!isPartial || !(error instanceof NoRouteError)) throw error;
      return [[]];
    }
  }

  // Whether a primary's last node can be reached without the links of a part of its route.
  #hasWayAround(what, part, primary) {
    const avoidingLinks = part.slice(1).map((head, i) => [part[i], head]);
    const traffic = { bandwidth: 0, trafficClass: 0, level: 0 };
    const request = new Request(undefined, part[0], primary.route.at(-1), traffic,
      { avoidingLinks });
    return this.#send(what, request).outcome !== Outcome.NO_WAY;
  }

  #readLsp(answer) {
    const id = answer.number();
    const kind = KINDS[answer.number()] ?? "primary";
    const level = answer.number();
    const trafficClass = answer.number();
    const traffic = { bandwidth: answer.amount(), trafficClass, level };
    const lsp = { id, kind, traffic, route: answer.numbers() };
    if (kind === "primary") return lsp;
    const primaryId = answer.number();
    const primaryRoute = answer.numbers();
    const from = Math.max(0, primaryRoute.indexOf(lsp.route[0]));
    const to = kind === "global" ? primaryRoute.length : from + 2;
    return { ...lsp, primaryId, primaryRoute, protectedRoute: primaryRoute.slice(from, to) };
  }

  #readLink(answer) {
    const numbers = [answer.number(), answer.number(), answer.number(), answer.number()];
    const [id, source, destination, color] = numbers;
    const row = (nb) => {
      const present = answer.number();
      const all = Array.from({ length: 8 }, (_, i) => (present >> i & 1 ? answer.amount() : 0));
      return all.slice(0, nb);
    };
    const table = () => Array.from({ length: MAX_CLASSES }, () => row(this.#nbLevels))
      .slice(0, this.#nbClasses);
    return {
      id, source, destination, color, capacity: row(this.#nbClasses), primary: table(),
      reserved: table(),
    };
  }

  // Calls the library. It does not end half-way unless it is at fault itself, or its stack or
  // its memory ends; the session is then of no use any more.
  #call(name, ...args) {
    const engine = this.#live;
    try {
      return engine.call(name, this.#id, ...args);
    } catch (error) {
      this.#engine = null;
      throw new KavrilError(`the library has failed: ${error.message}`);
    }
  }

  get #live() {
    if (this.#engine === null) throw new KavrilError("the library has failed in this session");
    return this.#engine;
  }

  #ask(what, name, ...args) {
    const outcome = this.#call(name, ...args);
    if (outcome === 0) {
      const answer = this.#engine.answer();
      this.#engine.messages(this.#id);
      return answer;
    }
    throw this.#refused(what, outcome === NO_ROUTE ? NoRouteError : RefusedError);
  }

  // What the answer to a request begins with, what is left of it, and the messages.
  #send(what, request) {
    const numbers = request.numbers();
    this.#live.put(numbers);
    if (this.#call("request", numbers.length) !== 0) throw this.#refused(what);
    const answer = this.#engine.answer();
    return { outcome: answer.number(), answer, trace: this.#trace() };
  }

  #refused(what, Failure = RefusedError) {
    const trace = this.#trace();
    return new Failure(`${what}: ${reason(trace)}`, trace);
  }

  #trace() {
    return this.#engine.messages(this.#id).map((message) => message.trim());
  }

  #find(read, name, ...args) {
    if (this.#call(name, ...args) === 0) return read(this.#engine.answer());
    const trace = this.#engine.messages(this.#id);
    if (trace.length > 0) throw new RefusedError(`${name} cannot be read: ${reason(trace)}`, trace);
    return undefined;
  }

  #ids(name, ...args) {
    return this.#ask("the session cannot be read", name, ...args).rest();
  }

  #freeId(what) {
    const [id] = this.#ids("free_lsp_id");
    if (id < 0) throw new RefusedError(`${what}: ${ALL_IN_USE}`);
    return id;
  }
}
