// Long work in slices: a generator that yields between small pieces, so that the page can
// draw and answer in between. The same work can be done at once, where nobody waits yet.

const SLICE = 8;  // ms; a frame has 16, and the collector of garbage wants some

export function atOnce(work) {
    for (;;) {
        const {done, value} = work.next();
        if (done) return value;
    }
}

// Lets the browser do what has come up. Time-outs in a chain are put off by 4 ms each,
// which the slices bear; not all browsers have better.
const breath = () => globalThis.scheduler?.yield?.() ?? new Promise((go) => setTimeout(go));

// The value of the work, or undefined once `isWanted()` is not so any more.
export async function inSlices(work, isWanted = () => true) {
    for (;;) {
        await breath();
        if (!isWanted()) return undefined;
        const end = performance.now() + SLICE;
        do {
            const {done, value} = work.next();
            if (done) return value;
        } while (performance.now() < end);
    }
}

const PIECE = 32;

// `of` of every element, as Array.map has it.
export function* mapped(list, of) {
    const values = [];
    for (const one of list) {
        values.push(of(one, values.length));
        if (values.length % PIECE === 0) yield;
    }
    return values;
}
