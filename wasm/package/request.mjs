// A request for a primary path: what it asks for, in the library's numbers and in words.
import { arrows, color, describe, fields, flag, hop, list, MAX_NODE, node, range, route,
  text } from "./checks.mjs";

// What the library's answer begins with.
export const Outcome = Object.freeze({
  PLACED: 0, NO_NODE: 1, NO_ROOM: 2, NO_WAY: 3, NOT_BOTH: 4, GIVEN_UP: 5, REFUSED: 6,
  ID_IN_USE: 7, NO_ID: 8,
});

const OPTIONS = ["add", "preempt", "over", "through", "avoidingColors", "requiringColors",
  "avoidingNodes", "avoidingLinks", "withinLinks"];
const GAP = -1; // in a path to be found: other nodes may lie there

export class Request {
  /** The id is undefined to have one chosen; the traffic is checked. */
  constructor(id, source, destination, traffic, options) {
    fields("options", options, OPTIONS);
    this.id = id;
    this.traffic = traffic;
    this.add = flag("add", options.add ?? false);
    this.preempt = flag("preempt", options.preempt ?? false);
    this.path = wantedPath(source, destination, options);
    this.maxLinks = options.withinLinks === undefined ? 0
      : range("withinLinks", options.withinLinks, 1, MAX_NODE);
    const given = (name, check) => list(name, options[name] ?? [], check);
    this.colorsAvoided = given("avoidingColors", color);
    this.colorsRequired = given("requiringColors", color);
    this.nodesAvoided = given("avoidingNodes", node);
    this.linksAvoided = given("avoidingLinks", hop);
    for (const passed of this.path)
      if (this.nodesAvoided.includes(passed))
        throw new RangeError(`node ${passed} is to be passed, must not be avoided`);
  }

  get hasRoute() {
    return !this.path.includes(GAP);
  }

  /** As the library reads it. */
  numbers() {
    const { id = -1, traffic } = this;
    const [bandwidth] = new Int32Array(Float32Array.of(traffic.bandwidth).buffer);
    const lists = [this.path, this.colorsAvoided, this.colorsRequired, this.nodesAvoided,
      this.linksAvoided.flat()];
    return Int32Array.from([id, traffic.level, traffic.trafficClass, bandwidth, this.add,
      this.preempt, this.maxLinks, ...lists.flatMap((numbers) => [numbers.length, ...numbers])]);
  }

  /** What has failed if it fails. */
  what() {
    const lsp = this.id === undefined ? "an LSP" : `LSP ${this.id}`;
    const fails = this.hasRoute ? "cannot be placed over" : "finds no way from";
    const parts = [`${lsp} (${describe(this.traffic)}) ${fails} ${this.#way()}`];
    const links = this.maxLinks === 1 ? "link" : "links";
    if (this.maxLinks > 0) parts.push(`within ${this.maxLinks} ${links}`);
    const add = (name, values) => values.length > 0 && parts.push(`${name} ${text(values)}`);
    add("by the colours", this.colorsRequired);
    add("without the colours", this.colorsAvoided);
    add("without the nodes", this.nodesAvoided);
    for (const link of this.linksAvoided) parts.push(`without the link ${arrows(link)}`);
    return parts.join(", ");
  }

  #way() {
    if (this.hasRoute) return arrows(this.path);
    const ends = `${this.path[0]} to ${this.path.at(-1)}`;
    return this.path.length > 3 ? `${ends}, through ${drawn(this.path)}` : ends;
  }

  /** Why there is no path; the answer has been read up to what it begins with. */
  whyNot(outcome, answer) {
    switch (outcome) {
      case Outcome.NO_NODE:
        return `there is no node ${answer.number()}`;
      case Outcome.NO_WAY:
        return this.hasRoute ? "the route does not keep to the constraints"
          : "no path keeps to the constraints, however much room there is";
      case Outcome.NOT_BOTH:
        return "no path that keeps to the constraints has enough room, others have";
      case Outcome.GIVEN_UP:
        return "the search was given up after too many tries; there may be a path";
      default:
        return this.preempt ? "no path has enough room, even if LSPs of greater level give way"
          : "no path has enough room, and nothing may give way for it";
    }
  }
}

const drawn = (path) => arrows(path.map((id) => (id === GAP ? "..." : id)));

// The nodes that are to be passed, with gaps between them.
function wantedPath(source, destination, { over, through }) {
  if (over === undefined) return pathThrough(source, destination, through ?? []);
  if (through !== undefined) throw new TypeError("through must not be given besides over");
  const nodes = route("over", over);
  if (nodes[0] !== source || nodes.at(-1) !== destination)
    throw new RangeError(`over is ${text(nodes)}, must lead from ${source} to ${destination}`);
  return nodes;
}

// Of nodes and links; a link may begin at what is before it, or end at the destination.
function pathThrough(source, destination, through) {
  const parts = list("through", through,
    (name, part) => (typeof part === "number" ? [node(name, part)] : hop(name, part)));
  const path = [source];
  for (const part of parts) {
    const goesOn = part.length > 1 && part[0] === path.at(-1);
    path.push(...goesOn ? part.slice(1) : [GAP, ...part]);
  }
  const isThere = parts.length > 0 && parts.at(-1)[1] === destination;
  if (!isThere) path.push(GAP, destination);
  const nodes = path.filter((id) => id !== GAP);
  if (parts.length > 0 && new Set(nodes).size < nodes.length)
    throw new RangeError(`through gives ${drawn(path)}, must lead to no node twice`);
  return path;
}
