// Sessions of the KAVRIL library; kavril.d.mts and README.md tell how to use them.
import { Engine } from "./engine.mjs";

const MAX_CLASSES = 8;
const MAX_LEVELS = 8;
const MAX_NODE = 16382;
const MAX_LINK = 2 ** 20 - 1;
const MAX_LSP = 2 ** 24 - 1;
const MAX_AMOUNT = (2 - 2 ** -23) * 2 ** 127; // in single precision
const MAX_NAMED = 20; // LSPs in a message

const KINDS = ["primary", "local", "global"];
// As the library takes their weights.
const CRITERIA = ["loadBalance", "load", "squaredLoad", "relativeLoad", "squaredRelativeLoad",
  "delay", "fortz"];
// What calls end with.
const NO_ROUTE = 2;

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

// Checks of arguments; each failure names the argument, its value and its range.

const text = (value) => (Array.isArray(value) ? `[${value}]` : String(value));

function range(name, value, min, max) {
  if (!Number.isInteger(value) || value < min || value > max)
    throw new RangeError(`${name} is ${text(value)}, must be ${min} to ${max}`);
  return value;
}
const node = (name, value) => range(name, value, 0, MAX_NODE);
const lspId = (name, value) => range(name, value, 0, MAX_LSP);

function amount(name, value) {
  if (typeof value !== "number" || !(value >= 0 && value <= MAX_AMOUNT))
    throw new RangeError(`${name} is ${text(value)}, must be 0 to ${MAX_AMOUNT}`);
  return Math.fround(value);
}

// An object with no other fields than these: one that is misspelt would be overlooked.
function fields(name, value, known) {
  if (typeof value !== "object" || value === null)
    throw new TypeError(`${name} is ${text(value)}, must be an object`);
  for (const field of Object.keys(value))
    if (!known.includes(field))
      throw new TypeError(`${name} has no field ${field}, but ${known.join(", ")}`);
  return value;
}

function array(name, value) {
  if (!Array.isArray(value) && !ArrayBuffer.isView(value))
    throw new TypeError(`${name} is ${text(value)}, must be an array`);
  return Array.from(value);
}

function flag(name, value) {
  if (typeof value !== "boolean")
    throw new TypeError(`${name} is ${text(value)}, must be true or false`);
  return value;
}

function backupKind(value) {
  if (value !== "local" && value !== "global")
    throw new TypeError(`kind is ${text(value)}, must be local or global`);
  return value;
}

function route(name, value) {
  const nodes = array(name, value).map((id, i) => node(`${name}[${i}]`, id));
  if (nodes.length === 0) throw new RangeError(`${name} is empty, must have a node at least`);
  return nodes;
}

function weightsOf(weights) {
  if (weights === undefined) return CRITERIA.map((criterion) => (criterion === "fortz" ? 1 : 0));
  fields("weights", weights, CRITERIA);
  return CRITERIA.map((criterion) => amount(`weights.${criterion}`, weights[criterion] ?? 0));
}

const describe = ({ bandwidth, trafficClass, level }) =>
  `${bandwidth} in class ${trafficClass} at level ${level}`;
const arrows = (nodes) => nodes.join(" > ");

// What the oldest message says, without where in the sources: it is what went wrong first.
const reason = (trace) =>
  trace.length === 0 ? "the library gives no reason"
    : trace[trace.length - 1].replace(/ in \S+ at line \d+$/, "");

export class Session {
  // An instance for each session: its memory goes when nobody has the session any more.
  #engine;
  #id = 0;
  #nbClasses;
  #nbLevels;

  constructor(options = {}) {
    if (library === null)
      throw new Error("the library is not loaded: await init() before the first session");
    fields("options", options, ["classes", "levels", "capacityClause", "weights"]);
    const { classes = 1, levels = MAX_LEVELS, capacityClause = true } = options;
    this.#nbClasses = range("classes", classes, 1, MAX_CLASSES);
    this.#nbLevels = range("levels", levels, 1, MAX_LEVELS);
    flag("capacityClause", capacityClause);
    const weights = weightsOf(options.weights);
    this.#engine = new Engine(library);
    // All classes and levels, as in files; those that are not in use stay 0.
    this.#live.put(new Float32Array(MAX_CLASSES * MAX_LEVELS));
    this.#id = this.#engine.call("open", MAX_CLASSES, MAX_LEVELS, false, false, capacityClause,
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

  addLink(id, source, destination, capacities) {
    range("id", id, 0, MAX_LINK);
    node("source", source);
    node("destination", destination);
    const row = typeof capacities === "number" ? [capacities] : array("capacities", capacities);
    if (row.length !== this.#nbClasses)
      throw new RangeError(`capacities has ${row.length} values, must have ${this.#nbClasses}`
        + ", one for each class");
    const checked = new Float32Array(MAX_CLASSES);
    row.forEach((value, oa) => { checked[oa] = amount(`capacities[${oa}]`, value); });
    this.#live.put(checked, new Float32Array(MAX_CLASSES * MAX_LEVELS));
    this.#ask(`link ${id} (${source} > ${destination}) cannot be added`, "add_link", id, source,
      destination, MAX_CLASSES, MAX_CLASSES);
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
    lspId("id", id);
    lspId("primaryId", primaryId);
    backupKind(kind);
    const checked = this.#traffic(traffic);
    const nodes = route("route", path);
    const what = `backup ${id} of LSP ${primaryId} (${describe(checked)}) cannot be placed over `
      + arrows(nodes);
    this.#refuseIfUp(what, id);
    this.#primary(what, primaryId);
    this.#placeBackup(what, id, primaryId, kind, checked, nodes);
  }

  request(id, source, destination, traffic, options = {}) {
    lspId("id", id);
    node("source", source);
    node("destination", destination);
    const checked = this.#traffic(traffic);
    fields("options", options, ["add", "preempt"]);
    const { add = false, preempt = false } = options;
    flag("add", add);
    flag("preempt", preempt);
    const what = `LSP ${id} (${describe(checked)}) finds no way from ${source} to ${destination}`;
    this.#refuseIfUp(what, id);
    for (const end of [source, destination])
      if (!this.hasNode(end)) throw new NoRouteError(`${what}: there is no node ${end}`);
    const answer = this.#ask(what, "compute_path", id, source, destination, checked.trafficClass,
      checked.level, checked.bandwidth, add, preempt);
    return { lspId: id, route: answer.numbers(), isAdded: add, preempted: answer.numbers() };
  }

  protect(id, options) {
    lspId("id", id);
    fields("options", options, ["kind", "level", "backupIds"]);
    const { kind, level = 0, backupIds } = options;
    backupKind(kind);
    range("level", level, 0, this.#nbLevels - 1);
    const ids = backupIds === undefined ? null
      : array("backupIds", backupIds).map((backup, i) => lspId(`backupIds[${i}]`, backup));
    const what = `LSP ${id} cannot be protected`;
    const primary = this.#primary(what, id);
    const nbLinks = primary.route.length - 1;
    if (ids !== null) this.#checkBackupIds(what, ids, id, kind === "global" ? 1 : nbLinks);
    const answer = this.#ask(what, "compute_backups", id, 0, kind === "global" ? 1 : 2, false, false);
    const routes = Array.from({ length: answer.number() }, () => answer.numbers());
    if (ids !== null) this.#placeBackups(what, ids, id, kind, { ...primary.traffic, level }, routes);
    return routes.map((nodes, i) => ({
      lspId: ids?.[i],
      primaryId: id,
      kind,
      route: nodes,
      protectedRoute: kind === "global" ? primary.route : primary.route.slice(i, i + 2),
    }));
  }

  removeLsp(id) {
    lspId("id", id);
    const what = `LSP ${id} cannot be removed`;
    if (this.lsp(id) === undefined) throw new RefusedError(`${what}: it is not up`);
    this.#ask(what, "remove_lsp", id);
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

  #checkBackupIds(what, ids, primaryId, nbBackups) {
    if (ids.length !== nbBackups)
      throw new RangeError(`backupIds has ${ids.length} ids, must have ${nbBackups}`
        + `, one for each backup of LSP ${primaryId}`);
    if (new Set(ids).size < ids.length)
      throw new RangeError(`backupIds is ${text(ids)}, must have each id once`);
    for (const id of ids) this.#refuseIfUp(what, id);
  }

  #placeBackup(what, id, primaryId, kind, traffic, nodes) {
    this.#live.put(Int32Array.from(nodes));
    this.#ask(what, "add_backup", id, primaryId, nodes.length, traffic.level, traffic.trafficClass,
      traffic.bandwidth, kind === "local");
  }

  // All or none.
  #placeBackups(what, ids, primaryId, kind, traffic, routes) {
    let nbPlaced = 0;
    try {
      for (const nodes of routes) {
        this.#placeBackup(what, ids[nbPlaced], primaryId, kind, traffic, nodes);
        nbPlaced++;
      }
    } catch (error) {
      while (nbPlaced > 0) this.#call("remove_lsp", ids[--nbPlaced]);
      throw error;
    }
  }

  #readLsp(answer) {
    const id = answer.number();
    const kind = KINDS[answer.number()] ?? "primary";
    const level = answer.number();
    const trafficClass = answer.number();
    const traffic = { bandwidth: answer.amount(), trafficClass, level };
    const lsp = { id, kind, traffic, route: answer.numbers() };
    if (kind === "primary") return lsp;
    return { ...lsp, primaryId: answer.number(), primaryRoute: answer.numbers() };
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

  #refused(what, Failure = RefusedError) {
    const trace = this.#engine.messages(this.#id).map((message) => message.trim());
    return new Failure(`${what}: ${reason(trace)}`, trace);
  }

  #find(read, name, ...args) {
    if (this.#call(name, ...args) === 0) return read(this.#engine.answer());
    const trace = this.#engine.messages(this.#id);
    if (trace.length > 0) throw new RefusedError(`${name} cannot be read: ${reason(trace)}`, trace);
    return undefined;
  }

  #ids(name, ...args) {
    const answer = this.#ask("the session cannot be read", name, ...args);
    const ids = [];
    while (!answer.isRead) ids.push(answer.number());
    return ids;
  }
}
