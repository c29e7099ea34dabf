/**
 * Sessions of the KAVRIL library: a network, the label switched paths (LSPs) in it, and the
 * computation of primary and backup paths.
 *
 * Ids are chosen by the caller and used as indexes, so small and dense ids save memory and time:
 * nodes 0 to 16382, links 0 to 1048575, LSPs 0 to 16777215. Bandwidths and capacities are in one
 * unit of the caller's choice, 0 or more, and kept in single precision. A class is 0 to 7 and below
 * the session's number of classes, a preemption level 0 (the most important) to 7 and below its
 * number of levels. Links are directed; there is at most one from one node to another.
 *
 * An argument outside its range gives a RangeError, one that is no such thing a TypeError, and
 * what the network cannot do a KavrilError. Nothing has changed then.
 */

/**
 * Loads the library; to be awaited before the first session is opened.
 *
 * @param source kavril.wasm: where it is, its bytes, or the compiled module. The file beside this
 *     one unless it is given
 */
export function init(source?: URL | BufferSource | WebAssembly.Module): Promise<void>;

/** What the network cannot do. */
export class KavrilError extends Error {
  /** The library's messages, the newest first. */
  readonly trace: readonly string[];
}

/** A change that is refused. */
export class RefusedError extends KavrilError {}

/** A path that does not exist, or has not enough room. */
export class NoRouteError extends KavrilError {}

/** Criteria of the paths. Those that are not given do not count. */
export interface Weights {
  loadBalance?: number;
  load?: number;
  squaredLoad?: number;
  relativeLoad?: number;
  squaredRelativeLoad?: number;
  delay?: number;
  /** The congestion cost, which has weight 1 if no weights are given. */
  fortz?: number;
}

export interface SessionOptions {
  /** Number of classes, 1 to 8; 1 unless it is given. */
  classes?: number;
  /** Number of preemption levels, 1 to 8; 8 unless it is given. */
  levels?: number;
  /** False to let links carry any load. */
  capacityClause?: boolean;
  weights?: Weights;
}

/** One for each class of the session; a number will do for one class. */
export type Capacities = number | readonly number[] | Float32Array | Float64Array;

export interface Traffic {
  bandwidth: number;
  /** 0 unless it is given. */
  trafficClass?: number;
  /** 0 unless it is given. */
  level?: number;
}

/** Nodes from head to tail. */
export type Route = readonly number[];

export type BackupKind = "local" | "global";

/** Two ids of nodes: where a link comes from and where it goes. */
export type Hop = readonly [source: number, destination: number];

/**
 * What a path keeps to. Constraints are kept when the path is looked for, and are not those of
 * backups. If there is a path with room on every link that keeps to all of them and passes no node
 * twice, one is found; with many nodes to pass the search may be given up, and says so.
 *
 * Colours, nodes and links to avoid, and colours to require, are as if the network had not those
 * links: the path is the one that is found there. With nodes or links to pass, or where that path
 * has too many links, it is the one with the least sum of what its links cost one by one. No other
 * is better, unless loadBalance or delay has a weight.
 */
export interface Constraints {
  /** The route: the LSP is placed there or nowhere. Not to be given besides through. */
  over?: Route;
  /** Nodes to pass, in this order, and links: `[4, [5, 6]]` is node 4, then link 5 > 6. */
  through?: readonly (number | Hop)[];
  /** Colours that no link has. */
  avoidingColors?: readonly number[];
  /** Colours of which every link has one. */
  requiringColors?: readonly number[];
  avoidingNodes?: readonly number[];
  avoidingLinks?: readonly Hop[];
  /** The most links, 1 to 16382. */
  withinLinks?: number;
}

export interface RequestOptions extends Constraints {
  /** Places the LSP. */
  add?: boolean;
  /** Lets LSPs of greater levels give way; they are removed, even if the LSP is not placed. */
  preempt?: boolean;
}

export interface Placement {
  lspId: number;
  route: number[];
  isAdded: boolean;
  /** Ids of the LSPs that gave way, ascending. */
  preempted: number[];
}

export interface Protection {
  kind: BackupKind;
  /** Preemption level of the backups, 0 unless it is given. */
  level?: number;
  /**
   * Places the backups, under ids that the library chooses unless there are some for them: each the
   * one after the highest LSP id in use, or else the lowest that is free.
   */
  placed?: boolean;
  /** Places the backups, under these ids: one for each link of the LSP, or one if global. */
  backupIds?: readonly number[];
}

export interface Backup {
  /** Undefined if it is not placed. */
  lspId?: number;
  primaryId: number;
  kind: BackupKind;
  route: number[];
  /** The part of the primary whose links it protects. */
  protectedRoute: number[];
  /** Inner nodes of the primary whose failure it survives too, since it goes around them. */
  protectedNodes: number[];
}

/** The backups that there are for an LSP, and what none protects. */
export interface PartialProtection {
  /** Placed if that was asked for; local ones in the order of the primary's links. */
  backups: Backup[];
  /**
   * Links of the primary in its order, each as a route, or the whole of it for a global backup.
   * With the reason: there is no way around it, or none with enough room, or no room for its backup
   * beside the others.
   */
  unprotected: { route: number[]; reason: string }[];
  /** Whether nothing is unprotected. */
  isComplete: boolean;
}

export interface Lsp {
  id: number;
  kind: "primary" | BackupKind;
  /** The class is -1 if there is bandwidth in several, which only C++ can place. */
  traffic: Required<Traffic>;
  route: number[];
  /** Of a backup: the LSP that it protects, and its route. */
  primaryId?: number;
  primaryRoute?: number[];
  /** Of a backup: the part of that route whose links it protects. */
  protectedRoute?: number[];
}

export interface Link {
  id: number;
  source: number;
  destination: number;
  color: number;
  /** By class. */
  capacity: number[];
  /** What primaries have, by class and level. */
  primary: number[][];
  /** What is reserved for primaries and backups, by class and level. */
  reserved: number[][];
}

export interface NetworkState {
  /** Ids, ascending. */
  nodes: number[];
  /** In the order of their ids. */
  links: Link[];
  lsps: Lsp[];
}

/** A network and the LSPs in it. Its memory is freed once nobody has the session any more. */
export class Session {
  /** Opens a session with an empty network. */
  constructor(options?: SessionOptions);

  /** Opens the session that is in a file; save tells of these. */
  static load(bytes: Uint8Array): Session;

  readonly classes: number;
  readonly levels: number;

  /** Opens a session that from now on does what this one would, to the last bit and message. */
  copy(): Session;

  /** The session as the bytes of a file, which the library can load in all its languages. */
  save(): Uint8Array;

  addNode(id: number): void;

  /**
   * Adds a link with no traffic on it.
   *
   * @param color any integer of 32 bits, by which requests may avoid or require the link; 0 unless
   *     it is given
   */
  addLink(id: number, source: number, destination: number, capacities: Capacities, color?: number):
    void;

  /**
   * Sets the capacities of a link. LSPs that cross it stay where they are, also if they no longer
   * fit.
   *
   * @returns the LSPs that no longer fit, in the order of their ids: in each class that is booked
   *     beyond its capacity now, those that would have to give way, from the greatest level on, for
   *     the rest to fit. A backup counts in full, also where it shares its bandwidth
   */
  setCapacity(source: number, destination: number, capacities: Capacities): Lsp[];

  /** Removes a link that no LSP uses, nor a backup whose primary does or did. */
  removeLink(source: number, destination: number): void;

  /** Removes a node that no LSP passes, and its links. */
  removeNode(id: number): void;

  /** Places a primary LSP along a route found elsewhere, without preempting others. */
  addLsp(id: number, traffic: Traffic, route: Route): void;

  /**
   * Places a backup along a route found elsewhere, which starts on the primary. Backups share
   * bandwidth: a link reserves what its worst single failure brings.
   *
   * @param id undefined to have one chosen: the one after the highest in use, or else the lowest
   *     that is free
   * @returns its id
   */
  addBackup(id: number | undefined, primaryId: number, kind: BackupKind, traffic: Traffic,
    route: Route): number;

  /**
   * Asks for a primary path; does nothing more unless the options say so.
   *
   * @param id undefined to have one chosen, as by addBackup
   */
  request(id: number | undefined, source: number, destination: number, traffic: Traffic,
    options?: RequestOptions): Placement;

  /**
   * Computes backups with the bandwidth and class of a primary, and places them if that is asked
   * for: all or none. Local ones come in the order of the primary's links.
   */
  protect(id: number, protection: Protection): Backup[];

  /**
   * Protects what can be protected of a primary: a link that no backup gets around, or whose backup
   * finds no room beside the others, is listed with the reason.
   */
  protectPartly(id: number, protection: Protection): PartialProtection;

  /** Removes an LSP, primary or backup. The backups of a primary stay up, see backupsOf. */
  removeLsp(id: number): void;

  /**
   * Removes an LSP and its backups, those of backupsOf, also if they are all that is left of it.
   *
   * @returns ids of the backups that were removed, ascending
   */
  removeLspAndBackups(id: number): number[];

  hasNode(id: number): boolean;
  lsp(id: number): Lsp | undefined;
  link(source: number, destination: number): Link | undefined;

  /** The LSPs whose own route crosses a link, in the order of their ids. */
  lspsOn(source: number, destination: number): Lsp[];

  /**
   * Ids of the backups that go around links of the LSP's present route; if no primary has the id,
   * of those that are left from one.
   */
  backupsOf(id: number): number[];

  /** Everything that is in the session, as of now. */
  state(): NetworkState;

  /**
   * The library's tables as text, many lines: nodes with their neighbours, links with the LSPs that
   * cross them and the capacity, primary and reserved bandwidth of each class.
   */
  dump(): string;
}
