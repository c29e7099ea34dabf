// The engine at work, away from the page's own thread. Every question is asked of a fresh
// copy of the instance that has opened the plan: whatever one leaves behind, or breaks off
// in the middle of, is gone with it.
import {Engine} from "../../../wasm/package/engine.mjs";

const ENTRIES = 200;     // of a list in one message: the page must not stop to read it
const PROGRESS_MS = 60;  // between two words on it

const fromBase64 = (text) => Uint8Array.from(atob(text), (letter) => letter.charCodeAt(0));

async function unpack(text) {
    const stream = new Blob([fromBase64(text)]).stream().pipeThrough(new DecompressionStream("gzip"));
    return new Response(stream).arrayBuffer();
}

let module = null;
let opened = null;  // an instance with the plan
let asked = null;   // the copy that has answered last
let told = {what: "", at: 0};

function tell(what, done, of) {
    if (what === told.what && performance.now() < told.at + PROGRESS_MS) return;
    told = {what, at: performance.now()};
    postMessage({progress: [what, done, of]});
}

function instance() {
    const text = (at, length) => new TextDecoder().decode(engine.bytes(at, length));
    const engine = new Engine(module, undefined, {
        page: {
            raise(message, length) { throw new Error(text(message, length)); },
            progress(what, length, done, of) { tell(text(what, length), done, of); },
        },
    });
    return engine;
}

function answerOf(engine, call, text) {
    engine.put(new TextEncoder().encode(text));
    engine.call(call);
    return new TextDecoder().decode(engine.answerBytes());
}

const calls = {
    // The module as it stands in the page, or compiled already.
    async open({packed, compiled, data, rest}) {
        module = compiled ?? await WebAssembly.compile(await unpack(packed));
        if (!compiled) postMessage({compiled: module});
        const engine = instance();
        answerOf(engine, "open", `{"data": ${data}, "rest": ${new TextDecoder().decode(await unpack(rest))}}`);
        opened = engine;
    },

    // Lists in pieces, the rest at last.
    async ask({steps}) {
        asked = instance();
        asked.assume(opened);
        const answer = JSON.parse(answerOf(asked, "ask", JSON.stringify(steps)));
        for (const [name, list] of Object.entries(answer).filter(([, value]) => Array.isArray(value))) {
            for (let at = 0; at < list.length; at += ENTRIES) postMessage({list: name, more: list.slice(at, at + ENTRIES)});
            answer[name] = [];
        }
        postMessage({answer});
    },

    async plan() {
        postMessage({plan: answerOf(asked, "plan", "")});
    },
};

// One call after the other, in the order in which they come; none where there is no plan
// to ask of.
let last = Promise.resolve();
let isBroken = false;
addEventListener("message", ({data: {call, ...input}}) => {
    last = last.then(() => isBroken || calls[call](input)).catch((error) => {
        const isOurs = error.constructor === Error;
        isBroken = opened === null;
        postMessage({
            error: isOurs ? error.message : `The engine has failed: ${error.message}`,
            hasFailed: isBroken,
        });
    });
});
