// Links with what they reserve, piece by piece: a track for every class, as long as the
// class's capacity. Plain boxes, so that names wrap and any number of classes fits.
import {max, range} from "d3";
import {add, amount, percent, textButton} from "./format.js";
import {ratio, shareOf} from "./model.js";

const EPSILON = 1e-9;

const chosen = (model, oa) => (oa >= 0 ? [model.classes[oa]] : model.byImportance);

// Primaries from the most important level on, then the levels' shares for backups.
export function pieces(model, link, oa = -1) {
    const kinds = [
        ["primary", (c, level) => link.pri[c][level]],
        ["backup", (c, level) => link.res[c][level] - link.pri[c][level]],
    ];
    return chosen(model, oa).flatMap((one) => kinds.flatMap(([kind, of]) =>
        range(model.levels).map((level) => ({
            level, kind, class: one, bw: of(one.ind, level), share: ratio(of(one.ind, level), link.cap[one.ind]),
        }))).filter((d) => d.bw > EPSILON && link.cap[d.class.ind] > 0));
}

// The end of all tracks: the capacity, more if there is overload, less if all is lightly used.
const ENDS = [0.05, 0.1, 0.2, 0.3, 0.5, 1, 1.1, 1.25, 1.5, 2, 3];
export const endOf = (highest) => ENDS.find((end) => highest <= end + EPSILON) ?? ENDS.at(-1);

function drawTrack(cell, parts, end) {
    const track = add(cell, "div", end > 1 ? "track beyond" : "track").style("--full", `${100 / end}%`);
    for (const part of parts)
        add(track, "i", part.kind + part.level).style("width", `${Math.min(100, (100 * part.share) / end)}%`)
            .attr("title", `${part.class.name}, level ${part.level}: ${amount(part.bw)} for ${part.kind === "primary" ? "primaries" : "backups (shared)"}, ${percent(part.share)}`);
}

function drawKeys(box, all) {
    const keys = add(box, "p", "keys");
    for (const [kind, name] of [["primary", "primaries, level"], ["backup", "shared by backups, level"]]) {
        const levels = range(8).filter((level) => all.some((d) => d.kind === kind && d.level === level));
        if (!levels.length) continue;
        add(keys, "span", null, name);
        for (const level of levels) add(keys, "i", kind + level, level);
    }
}

export function drawBars(box, model, links, oa, pick) {
    box.replaceChildren();
    const rows = links.map((link) => ({link, parts: pieces(model, link, oa)}));
    const end = endOf(max(links, (link) => shareOf(link, link.reserved, oa)) ?? 0);
    drawKeys(box, rows.flatMap((d) => d.parts));
    const table = add(box, "table", "bars");
    const head = add(table, "thead").append("tr");
    add(head, "th").attr("aria-label", "Link");
    for (const one of chosen(model, oa)) {
        const title = add(head, "th").attr("scope", "col").attr("title", one.name);
        add(title, "span", "classname", model.classes.length > 1 ? one.name : "");
        add(title, "span", "ends").call((ends) => { add(ends, "span", null, "0"); add(ends, "span", null, `${Math.round(100 * end)} %`); });
    }
    const body = add(table, "tbody");
    for (const {link, parts} of rows) {
        const row = add(body, "tr");
        const name = add(row, "th").attr("scope", "row").attr("title", link.name);
        if (pick) textButton(name, link.name, () => pick(link));
        else name.text(link.name);
        for (const one of chosen(model, oa)) drawTrack(add(row, "td"), parts.filter((d) => d.class === one), end);
    }
}
