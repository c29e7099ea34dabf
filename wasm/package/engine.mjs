// An instance of kavril.wasm: numbers and arrays in and out of its memory. What each
// function means is told in entry_points.cpp of the library's sources.

/** Numbers that a call has answered with, read one after the other. */
export class Answer {
  constructor(bytes) {
    this.bytes = bytes;
    this.view = new DataView(bytes.buffer);
    this.at = 0;
  }

  get isRead() {
    return this.at >= this.bytes.length;
  }

  number() {
    this.at += 4;
    return this.view.getInt32(this.at - 4, true);
  }

  amount() {
    this.at += 8;
    return this.view.getFloat64(this.at - 8, true);
  }

  /** So many numbers, or as many as the next number says. */
  numbers(nb = this.number()) {
    return Array.from({ length: nb }, () => this.number());
  }

  /** All numbers that are left. */
  rest() {
    return this.numbers((this.bytes.length - this.at) / 4);
  }

  /** What element() reads, as long as a 1 stands before it. */
  list(element) {
    const list = [];
    while (this.number() !== 0) list.push(element());
    return list;
  }
}

export class Engine {
  #exports;
  #print;

  /**
   * print(bytes, stream) is given what the library writes to its standard streams, 1 and 2.
   * `more` has what a module imports besides.
   */
  constructor(module, print = () => {}, more = {}) {
    this.#print = print;
    const { exports } = new WebAssembly.Instance(module, {
      wasi_snapshot_preview1: this.#system(module),
      ...more,
    });
    this.#exports = exports;
    exports._initialize();
  }

  /** Makes this instance's memory what another one's is, which is all that there is of it. */
  assume(other) {
    const { memory } = this.#exports;
    const from = new Uint8Array(other.#exports.memory.buffer);
    const missing = from.length - memory.buffer.byteLength;
    if (missing > 0) memory.grow(missing / 65536);
    new Uint8Array(memory.buffer).set(from);
  }

  /** Puts arrays, one after the other, where the next call reads them. */
  put(...arrays) {
    const nb = arrays.reduce((sum, array) => sum + array.byteLength, 0);
    let at = this.#unsigned("input", nb);
    if (nb > 0 && at === 0) throw new RangeError("there is no memory for the arguments");
    for (const array of arrays) {
      const bytes = new Uint8Array(array.buffer, array.byteOffset, array.byteLength);
      new Uint8Array(this.#exports.memory.buffer).set(bytes, at);
      at += array.byteLength;
    }
  }

  // Addresses come as signed numbers, and may be above 2 GB.
  #unsigned(name, ...args) {
    return this.#exports[`kavril_${name}`](...args) >>> 0;
  }

  /** Calls kavril_NAME. */
  call(name, ...args) {
    return this.#exports[`kavril_${name}`](...args);
  }

  /** The bytes that the last call has answered with, a copy. */
  answerBytes() {
    return this.bytes(this.#unsigned("answer"), this.#unsigned("answer_size"));
  }

  /** A copy of so many bytes of the memory. */
  bytes(at, length) {
    return new Uint8Array(this.#exports.memory.buffer.slice(at >>> 0, (at >>> 0) + length));
  }

  answer() {
    return new Answer(this.answerBytes());
  }

  /** Takes the messages of a session, newest first. */
  messages(session) {
    this.call("messages", session);
    return new TextDecoder("latin1").decode(this.answerBytes()).split("\0").slice(0, -1);
  }

  // The library prints, and does nothing else with a system. Functions that it has in it but
  // does not call end what calls them after all.
  #system(module) {
    const system = {};
    for (const { name } of WebAssembly.Module.imports(module))
      system[name] = () => {
        throw new Error(`the library has called ${name}`);
      };
    system.fd_write = (stream, texts, nb, written) => {
      const { buffer } = this.#exports.memory;
      const view = new DataView(buffer);
      let sum = 0;
      for (let i = 0; i < nb; i++) {
        const at = view.getUint32((texts >>> 0) + 8 * i, true);
        const length = view.getUint32((texts >>> 0) + 8 * i + 4, true);
        this.#print(new Uint8Array(buffer.slice(at, at + length)), stream);
        sum += length;
      }
      view.setUint32(written >>> 0, sum, true);
      return 0;
    };
    // Standard output is no terminal, and no file either.
    system.fd_fdstat_get = (stream, stat) => {
      new Uint8Array(this.#exports.memory.buffer, stat >>> 0, 24).fill(0);
      return 0;
    };
    return system;
  }
}
