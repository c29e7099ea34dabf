// What a failure does to the links, from the audit's outcome of every LSP that it hits.
import {atOnce} from "./slices.js";

// The links that an LSP's traffic takes over backups, in the order in which it meets them.
// A backup leaves the primary at its first node and joins it again at its last.
export function linksInUse(lsp, backups) {
    const nodes = [lsp.from, ...lsp.links.map((link) => link.to)];
    const links = [];
    let at = 0;  // hops of the primary that are done with
    for (const backup of backups) {
        const leave = nodes.indexOf(backup.links[0].from);
        links.push(...lsp.links.slice(at, leave), ...backup.links);
        at = nodes.indexOf(backup.links.at(-1).to);
    }
    return [...links, ...lsp.links.slice(at)];
}

// The links that carry something else while the failure lasts: a map to their loads by class.
export function changedLoads(failure) {
    return failure.changed ??= atOnce(countLoads(failure));
}

// The same in pieces, see slices.js: a failure in a large network hits thousands of LSPs.
export function* countLoads(failure) {
    const changed = new Map();
    const book = (links, {class: of, bw}, sign) => {
        for (const link of links) {
            let loads = changed.get(link);
            if (!loads) changed.set(link, loads = [...link.primary]);
            loads[of.ind] += sign * bw;
        }
    };
    for (const {lsp, backups} of failure.restored) {
        book(lsp.links, lsp, -1);
        book(linksInUse(lsp, backups), lsp, 1);
        yield;
    }
    for (const {lsp} of failure.lost) book(lsp.links, lsp, -1);
    for (const link of failure.down) changed.set(link, link.primary.map(() => 0));
    return changed;
}

// "restored", "lost" or "" for an LSP that the failure does not touch, and its way then.
export function outcomeOf(lsp, failure) {
    const restored = failure.restored.find((d) => d.lsp === lsp);
    if (restored) return {outcome: "restored", links: linksInUse(lsp, restored.backups)};
    const lost = failure.lost.find((d) => d.lsp === lsp);
    if (lost) return {outcome: "lost", reason: lost.reason, links: []};
    return {outcome: "", links: lsp.links};
}
