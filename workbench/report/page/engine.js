// The engine of a report: the workbench's own, compiled for browsers, in a worker that is
// made from the page itself. It starts when it is first asked.

const textOf = (id) => document.getElementById(id)?.textContent ?? "";

// A build without a compiler for WebAssembly makes pages without; so does a plan that the
// engine could not have made.
export const hasEngine = () => textOf("engine") !== "" && textOf("rest") !== "";

// What keeps the engine from running in this browser, "" for nothing.
export function obstacle() {
    const needed = {WebAssembly: "WebAssembly", Worker: "workers", DecompressionStream: "decompression"};
    const missing = Object.keys(needed).filter((name) => !(name in globalThis));
    return missing.length ? `This browser has no ${missing.map((name) => needed[name]).join(", no ")}.` : "";
}

const cancelled = () => new DOMException("The engine was stopped.", "AbortError");

export class Engine {
    #data;
    #worker = null;
    #compiled = null;  // the module, kept for the next worker
    #running = null;   // the call that an answer is awaited of

    // Called with what is being done, how many steps of it are done and of how many, 0 for
    // an unknown number.
    onprogress = () => {};

    // The text of the page's data.
    constructor(data) {
        this.#data = data;
    }

    // What the page's data is once the steps are taken, and `changes` since. Rejects with
    // what the engine has against them, or with an AbortError if cancelled.
    async ask(steps) {
        const lists = {};
        const {answer} = await this.#call({call: "ask", steps}, ({list, more}) => (lists[list] ??= []).push(...more));
        return {...answer, ...lists};
    }

    // The text of the plan that was last asked for, as the command line writes it.
    async plan() {
        return (await this.#call({call: "plan"})).plan;
    }

    // Ends what is running. The next question starts the engine again.
    cancel() {
        this.#worker?.terminate();
        this.#worker = null;
        this.#running?.reject(cancelled());
        this.#running = null;
    }

    async #call(input, take = () => {}) {
        if (this.#running) this.cancel();
        return new Promise((resolve, reject) => {
            this.#running = {resolve, reject, take};
            try {
                this.#worker ??= this.#start();
                this.#worker.postMessage(input);
            } catch (error) {
                this.#fail(`The browser does not let the engine start: ${error.message}`);
            }
        });
    }

    #start() {
        const hindrance = obstacle();
        if (hindrance) throw new Error(hindrance);
        const url = URL.createObjectURL(new Blob([textOf("worker")], {type: "text/javascript"}));
        const worker = new Worker(url);
        worker.addEventListener("message", ({data}) => worker === this.#worker && this.#read(data));
        worker.addEventListener("error", (event) => {
            event.preventDefault();
            this.#fail(`The browser does not let the engine start: ${event.message ?? "its policy forbids it"}`);
        });
        worker.postMessage({
            call: "open", packed: this.#compiled ? "" : textOf("engine"), compiled: this.#compiled,
            data: this.#data, rest: textOf("rest"),
        });
        return worker;
    }

    #read(message) {
        if (message.progress) this.onprogress(...message.progress);
        else if (message.compiled) this.#compiled = message.compiled;
        else if (message.list) this.#running?.take(message);
        else if (message.hasFailed) this.#fail(message.error);
        else this.#settle(message);
    }

    #settle(message) {
        const {resolve, reject} = this.#running;
        this.#running = null;
        if ("error" in message) reject(new Error(message.error));
        else resolve(message);
    }

    // Nothing can be asked of such a worker again.
    #fail(text) {
        const running = this.#running;
        this.#running = null;
        this.cancel();
        running?.reject(new Error(text));
    }
}
