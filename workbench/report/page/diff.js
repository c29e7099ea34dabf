// Two plans side by side: what became of every LSP and link of the earlier one. Which LSPs
// are the same, and what has changed of them, comes with the data.
import {shareOf} from "./model.js";

export const CHANGES = ["moved", "gained", "lost", "newly unprotected", "newly protected", "resized", "other level"];

// Hangs the earlier plan onto the model: `former` of links, failures, classes and levels, and of
// LSPs that have moved, with those of their links that are still there; `model.changes`.
export function compare(model, before) {
    const links = new Map(before.links.map((link) => [link.name, link]));
    for (const link of model.links) link.former = links.get(link.name) ?? null;
    const now = new Map(model.links.map((link) => [link.name, link]));
    const lotOf = ({class: one, level}) => `${one.name}\n${level}`;
    const lots = new Map(before.lots.levels.map((lot) => [lotOf(lot), lot]));
    for (const lot of model.lots.levels) lot.former = lots.get(lotOf(lot)) ?? null;
    for (const failure of model.failures) failure.former = before.failureByKey.get(failure.key) ?? null;
    model.before = before;
    model.changes = model.changes.map(({before: then, after, what}) => {
        const [former, lsp] = [before.lsps[then] ?? null, model.lsps[after] ?? null];
        if (what.includes("moved")) {
            lsp.former = former;
            lsp.pastLinks = former.links.map((link) => now.get(link.name)).filter(Boolean);
        }
        if (lsp) lsp.changed = what;
        return {former, lsp, what, of: lsp ?? former};
    });
}

// How much more of a link is reserved than before; all of it where the link is new. Classes
// are those of the same name.
export function changeOf(model, link, oa) {
    const now = shareOf(link, link.reserved, oa);
    if (!link.former) return now;
    const then = oa < 0 ? -1 : model.before.classes.findIndex((d) => d.name === model.classes[oa].name);
    if (oa >= 0 && then < 0) return now;
    return now - shareOf(link.former, link.former.reserved, then);
}
