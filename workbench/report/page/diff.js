// Two plans side by side: what became of every LSP and link of the earlier one.
//
// LSPs are the same if their ends, class and level are; of several such those with the same
// id go together first, the rest in order.
import {group} from "d3";
import {shareOf} from "./model.js";

const keyOf = (lsp) => [lsp.from.name, lsp.to.name, lsp.class.name, lsp.level].join("\n");

// [[former, lsp]], either of them null where it has no partner.
function pairLsps(before, after) {
    const former = group(before, keyOf);
    const pairs = [];
    for (const [key, lsps] of group(after, keyOf)) {
        const left = new Map((former.get(key) ?? []).map((lsp) => [lsp.id, lsp]));
        former.delete(key);
        const strangers = lsps.filter((lsp) => {
            if (!left.has(lsp.id)) return true;
            pairs.push([left.get(lsp.id), lsp]);
            left.delete(lsp.id);
            return false;
        });
        const rest = [...left.values()];
        for (const lsp of strangers) pairs.push([rest.shift() ?? null, lsp]);
        for (const lsp of rest) pairs.push([lsp, null]);
    }
    for (const lsps of former.values()) for (const lsp of lsps) pairs.push([lsp, null]);
    return pairs;
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
