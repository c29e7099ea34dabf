// The two charts. Colours are the style sheet's variables, so they follow the theme.
import * as Plot from "@observablehq/plot";
import {max, mean, range, sort} from "d3";
import {amount, percent} from "./format.js";
import {ratio, shareOf} from "./model.js";

const FRAME = {style: {background: "none", fontFamily: "inherit", fontSize: "12px"}};
const EPSILON = 1e-9;

// One value per link and class with a capacity, as the summary counts them.
function cells(model, oa) {
    return model.links.flatMap((link) =>
        link.cap.flatMap((capacity, c) =>
            capacity > 0 && (oa < 0 || oa === c)
                ? [{primary: link.primary[c] / capacity, reserved: link.reserved[c] / capacity}]
                : []));
}

export function statistics(values) {
    const sorted = sort(values);
    return {
        mean: mean(sorted) ?? 0,
        p95: sorted[Math.max(0, Math.ceil(0.95 * sorted.length) - 1)] ?? 0,
        maximum: sorted.at(-1) ?? 0,
    };
}

export function drawDistribution(box, model, oa, width) {
    const all = cells(model, oa);
    const kinds = [["Without protection", "primary"], ["With protection", "reserved"]];
    const rows = kinds.flatMap(([kind, field]) =>
        all.map((cell) => ({kind, share: cell[field]})));
    const marks = kinds.map(([kind, field]) => ({kind, ...statistics(all.map((cell) => cell[field]))}));
    const top = axisTop(max(rows, (d) => d.share) ?? 0);
    // A share on the bound of two bins, such as a full link, belongs to the lower one.
    for (const row of rows) row.share = Math.min(Math.max(0, row.share - EPSILON), top - EPSILON);
    box.replaceChildren(Plot.plot({
        ...FRAME,
        width, height: 400, marginLeft: 44, marginRight: 12, marginTop: 26, marginBottom: 36,
        ariaLabel: "Histogram of the links' utilisation without and with protection",
        x: {label: "share of the capacity", domain: [0, top], tickFormat: "%", ticks: 6},
        y: {label: null, grid: true, ticks: 4},
        fy: {domain: kinds.map(([kind]) => kind), axis: null, padding: 0.22},
        marks: [
            Plot.rectY(rows, Plot.binX({y: "count"}, {
                x: "share", fy: "kind", thresholds: range(0, top + 0.04, 0.05), inset: 0.5,
                fill: (d) => (d.kind === kinds[0][0] ? "var(--primary)" : "var(--backup)"),
                title: "kind",
            })),
            Plot.ruleY([0], {stroke: "var(--muted)"}),
            Plot.ruleX(marks, {x: "p95", fy: "kind", stroke: "var(--text)", strokeDasharray: "3,3"}),
            Plot.text(kinds, {
                fy: (d) => d[0], text: (d) => d[0], frameAnchor: "top-left", dy: -14,
                fontWeight: 600, fill: "var(--text)",
            }),
            Plot.text(marks, {
                fy: "kind", frameAnchor: "top-right", dy: width < 520 ? 2 : -14, fill: "var(--muted)",
                text: (d) => `mean ${percent(d.mean)}, 95th percentile ${percent(d.p95)}, maximum ${percent(d.maximum)}`,
            }),
        ],
    }));
}

// What a link reserves, piece by piece: primaries from the most important level on, then
// the levels' shares for backups.
export function pieces(model, link, oa) {
    const kinds = [
        ["primary", (c, level) => link.pri[c][level]],
        ["backup", (c, level) => link.res[c][level] - link.pri[c][level]],
    ];
    return model.classes.flatMap((name, c) => oa >= 0 && oa !== c ? [] :
        kinds.flatMap(([kind, of]) => range(model.levels).map((level) => ({
            link, level, kind, className: name, bw: of(c, level), capacity: link.cap[c],
            share: ratio(of(c, level), link.cap[c]), key: `${kind} ${level}`,
        }))).filter((d) => d.bw > EPSILON && d.capacity > 0));
}

const colourOf = (key) => `var(--${key.replace(" ", "")})`;

export function keysOf(rows) {
    const keys = new Set(rows.map((d) => d.key));
    return ["primary", "backup"].flatMap((kind) =>
        range(8).map((level) => `${kind} ${level}`)).filter((key) => keys.has(key));
}

export function drawBars(box, model, links, oa, width, keys) {
    const rows = links.flatMap((link) => pieces(model, link, oa));
    const classes = model.classes.filter((name, c) => oa < 0 || oa === c);
    const names = links.map((link) => link.name);
    const margin = 12 + 7.2 * (max(names, (name) => shorten(name).length) ?? 0);
    const top = axisTop(max(rows.length ? links : [], (link) => shareOf(link, oa)) ?? 0);
    box.replaceChildren(Plot.plot({
        ...FRAME,
        width, height: 50 + 15 * links.length, marginLeft: margin, marginRight: 14, marginTop: classes.length > 1 ? 40 : 24, marginBottom: 8,
        ariaLabel: "Reserved share of links by class and level",
        x: {axis: "top", label: null, tickFormat: "%", ticks: Math.max(1, (width - margin) / classes.length / 55), domain: [0, top], clamp: true},
        y: {domain: names, label: null, tickSize: 0, tickFormat: (name) => shorten(name)},
        fx: {domain: classes, axis: null, padding: 0.12},
        color: {domain: keys, range: keys.map(colourOf)},
        marks: [
            Plot.ruleX([0], {stroke: "var(--muted)"}),
            Plot.barX(rows, {
                x: "share", y: (d) => d.link.name, fx: "className", fill: "key", order: keys, insetTop: 1, insetBottom: 1,
                title: (d) => `${d.link.name}, ${d.className}, level ${d.level}: ${amount(d.bw)} for ${d.kind === "primary" ? "primaries" : "backups (shared)"}, ${percent(d.share)}`,
            }),
            top >= 1 ? Plot.ruleX([1], {stroke: "var(--over)", strokeWidth: 1.2}) : null,
            classes.length > 1 ? Plot.text(classes, {
                fx: (d) => d, text: (d) => d, frameAnchor: "top-left", dy: -34, fontWeight: 600, fill: "var(--text)",
            }) : null,
        ],
    }));
}

// The whole capacity, more if there is overload, less if all is lightly used.
function axisTop(highest) {
    if (highest > 0.45) return Math.max(1, Math.min(3, Math.ceil(20 * highest) / 20));
    return Math.max(0.1, Math.ceil(22 * highest) / 20);
}

const shorten = (name) => (name.length > 28 ? name.slice(0, 27) + "\u2026" : name);
