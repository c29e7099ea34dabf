// Two plans side by side: what became of every LSP and link of the earlier one.
//
// LSPs are the same if their demand's name, ends, class and level are; the first with these
// in one plan is the first in the other.
import {shareOf} from "./model.js";

const keyOf = (lsp) => [lsp.demand, lsp.from.name, lsp.to.name, lsp.class.name, lsp.level, lsp.nth ?? 0].join("\n");

// [[former, lsp]], either of them null where it has no partner.
function pairLsps(before, after) {
    const former = new Map(before.map((lsp) => [keyOf(lsp), lsp]));
    const pairs = after.map((lsp) => {
        const partner = former.get(keyOf(lsp)) ?? null;
        former.delete(keyOf(lsp));
        return [partner, lsp];
    });
    return [...pairs, ...[...former.values()].map((lsp) => [lsp, null])];
}

const wayOf = ({from, links}) => [from, ...links.map((link) => link.to)].map((node) => node.name).join("\n");

function changesOf(former, lsp) {
    if (!former) return ["gained"];
    if (!lsp) return ["lost"];
    const [had, has] = [former.backups.length > 0, lsp.backups.length > 0];
    return [
        wayOf(former) !== wayOf(lsp) && "moved",
        had && !has && "newly unprotected",
        !had && has && "newly protected",
        former.bw !== lsp.bw && "resized",
    ].filter(Boolean);
}

export const CHANGES = ["moved", "gained", "lost", "newly unprotected", "newly protected", "resized"];

// Hangs the earlier plan onto the model: `former` of links and of LSPs that
// have moved, with those of their links that are still there, and `model.changes`.
export function compare(model, before) {
    const links = new Map(before.links.map((link) => [link.name, link]));
    for (const link of model.links) link.former = links.get(link.name) ?? null;
    const now = new Map(model.links.map((link) => [link.name, link]));
    model.before = before;
    model.changes = [];
    for (const [former, lsp] of pairLsps(before.lsps, model.lsps)) {
        const what = changesOf(former, lsp);
        if (!what.length) continue;
        if (lsp && former && what.includes("moved")) {
            lsp.former = former;
            lsp.pastLinks = former.links.map((link) => now.get(link.name)).filter(Boolean);
        }
        model.changes.push({former, lsp, what, of: lsp ?? former});
    }
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
