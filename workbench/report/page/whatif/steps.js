// The steps of a what-if. A step is a text, "KIND:VALUE", its value what the option of that
// name takes on the command line: "drain:Koeln", "capacity:Ulm - Bonn=40G", or just "replan".
// What a value means, and whether it makes sense, is for the engine to say; here it is put
// into words and handed on.

const bandwidthWords = (text) => text.replace(/^(\d+(?:\.\d+)?)([kMGT])$/, "$1 $2bit/s");

// "WHAT=VALUE" and "WHAT:VALUE" are split at the last sign, for names may hold one.
function halves(text, sign) {
    const at = text.lastIndexOf(sign);
    return at < 0 ? [text, "?"] : [text.slice(0, at), text.slice(at + 1)];
}

// "LSP 12 (Ulm > Bonn)" of an id, or the name of a demand.
function lspWords(text, plan) {
    const lsp = plan.lspById.get(Number(text));
    return lsp ? `LSP ${text} (${lsp.name})` : text;
}

function demandWords(text) {
    const [ends, value] = halves(text, "=");
    const [bandwidth, ...of] = value.split(":");
    const level = of.length > 1 ? `, level ${of.pop()}` : "";
    return `${ends}: a demand of ${bandwidthWords(bandwidth)}${of.length ? `, ${of.join(":")}` : ""}${level}`;
}

function scaleWords(text, plan) {
    if (text.includes("=")) {
        const [lsp, factor] = halves(text, "=");
        return `${lspWords(lsp, plan)} times ${factor}`;
    }
    const more = Math.round(1000 * (Number(text) - 1)) / 10;
    return Number.isNaN(more) || text === "" ? `Every demand times ${text}`
        : `${more < 0 ? "\u2212" : "+"}${Math.abs(more)} % on every demand`;
}

const valued = (sign, words) => (text, plan) => {
    const [what, value] = halves(text, sign);
    return words(what, value, plan);
};

const WORDS = {
    fail: (text) => `${text} fails`,
    drain: (text) => `${text} is drained`,
    undrain: (text) => `${text} is back in service`,
    capacity: valued("=", (what, value) => `${what}: ${bandwidthWords(value)}`),
    link: valued(":", (what, value) => `${what} is new, with ${bandwidthWords(value)}`),
    without: (text) => `${text} is gone`,
    add: demandWords,
    remove: (text, plan) => `${lspWords(text, plan)} is removed`,
    scale: scaleWords,
    level: valued("=", (what, value, plan) => `${lspWords(what, plan)} on level ${value}`),
    route: valued("=", (what, value, plan) => `${lspWords(what, plan)} goes over ${value}`),
    lock: (text, plan) => `${lspWords(text, plan)} keeps its path`,
    unlock: (text, plan) => `${lspWords(text, plan)} may move`,
    protection: (text) => (text === "none" ? "No protection" : `Protection: ${text}`),
};

export function split(step) {
    const at = step.indexOf(":");
    return at < 0 ? {kind: step, value: ""} : {kind: step.slice(0, at), value: step.slice(at + 1)};
}

export function wordsOf(step, plan) {
    const {kind, value} = split(step);
    return WORDS[kind](value, plan);
}

// A link's cable, both directions, as the page's failures name it.
export function cableOf(link) {
    const back = link.to.links.some((d) => d.from === link.to && d.to === link.from);
    const [a, b] = link.from.ind < link.to.ind ? [link.from, link.to] : [link.to, link.from];
    return back ? `${a.name} - ${b.name}` : null;
}

// What fails in a failure that the page knows, each with a name that the plan knows, too: a
// risk group of the report's own may not be in it.
export function elementsOf({kind, name, links, nodes}) {
    if (kind === "cable" || kind === "link" || kind === "node") return [name];
    const isWhole = (link) => links.some((d) => d.from === link.to && d.to === link.from);
    return [...nodes.map((d) => d.name), ...new Set(links.map((link) => (isWhole(link) ? cableOf(link) : link.name)))];
}

export const isFail = (step) => step.startsWith("fail:");
export const REPLAN = "replan";

// Demands may be as like as two peas; any other step is there once.
const isLeft = (step, ind, steps) => step.startsWith("add:") || steps.indexOf(step) === ind;

// Where nothing fails nothing is lost.
export const tidied = (steps) => steps.filter(isLeft).filter((step) => step !== REPLAN || steps.some(isFail));

// As the engine takes them: lists by kind.
export function asked(steps) {
    const question = {};
    for (const {kind, value} of steps.map(split))
        if (kind === "protection") question.protection = value;
        else if (kind !== REPLAN) (question[kind] ??= []).push(value);
    if (steps.includes(REPLAN)) question.replan = true;
    return question;
}

const MOST_IN_ADDRESS = 4000;  // characters; mail programs break longer ones

export const fitsAddress = (steps) =>
    steps.map((step) => `do=${encodeURIComponent(step)}`).join("&").length <= MOST_IN_ADDRESS;

// From an address that anybody may have written: what is no step is left out.
export function readSteps(texts) {
    const isStep = (text) => text === REPLAN || (Object.hasOwn(WORDS, split(text).kind) && split(text).value !== "");
    const steps = tidied(texts.filter(isStep));
    return fitsAddress(steps) ? steps : [];
}
