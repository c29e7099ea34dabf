// How full the links are: one histogram for every way of counting, each link once.
import * as Plot from "@observablehq/plot";
import {max, mean, range, sort} from "d3";
import {endOf} from "./bars.js";
import {add, percent, plural} from "./format.js";
import {shareOf} from "./model.js";

const KINDS = [
    {name: "In use, nothing failed", colour: "var(--primary)", loads: (d) => d.primary},
    {name: "In use, worst failure of each link", colour: "var(--worst)", loads: (d) => d.worst.loads},
    {name: "Reserved, with backups", colour: "var(--backup)", loads: (d) => d.reserved},
];
const binsFor = (nbLinks) => (nbLinks < 200 ? 20 : 40);

// The 95th percentile is a nearest rank.
export function statistics(values) {
    const sorted = sort(values);
    return {
        mean: mean(sorted) ?? 0,
        p95: sorted[Math.max(0, Math.ceil(0.95 * sorted.length) - 1)] ?? 0,
        maximum: sorted.at(-1) ?? 0,
    };
}

function drawHistogram(box, {name, colour}, shares, {end, bins, top, width}) {
    const {mean: middle, p95, maximum} = statistics(shares);
    const title = add(box, "p", "charttitle");
    add(title, "b", null, name);
    add(title, "span", null, `mean ${percent(middle)}, 95th percentile ${percent(p95)}, maximum ${percent(maximum)}`);
    // A share on the bound of two bins, such as a full link, belongs to the lower one.
    const rows = shares.map((share) => Math.min(Math.max(0, share - 1e-9), end - 1e-9));
    box.append(Plot.plot({
        style: {background: "none", fontFamily: "inherit", fontSize: "11px"},
        width: Math.max(260, width), height: 118, marginLeft: 38, marginRight: 16, marginTop: 6, marginBottom: 20,
        ariaLabel: `Histogram of links: ${name}`,
        x: {label: null, domain: [0, end], tickFormat: "%", ticks: 6, tickSize: 3},
        y: {type: "sqrt", label: null, grid: true, ticks: 3, tickSize: 0, domain: [0, top]},
        marks: [
            Plot.rectY(rows, Plot.binX({y: "count"}, {x: (d) => d, thresholds: range(0, end * (1 + 0.5 / bins), end / bins), inset: 0.5, fill: colour})),
            Plot.ruleY([0], {stroke: "var(--muted)"}),
            Plot.ruleX([p95], {stroke: "var(--text)", strokeDasharray: "3,3"}),
        ],
    }));
}

// All histograms go up to the same number of links.
function highestBin(shares, end, bins) {
    const counts = Array(bins).fill(0);
    for (const share of shares) counts[Math.max(0, Math.min(bins, Math.ceil((share / end) * bins - 1e-6)) - 1)]++;
    return max(counts);
}

// In pieces, see slices.js.
export function* drawDistribution(box, model, oa, width) {
    box.replaceChildren();
    const links = model.links.filter((link) => (oa >= 0 ? link.cap[oa] : link.capacityTotal) > 0);
    const kinds = KINDS.map((kind) => ({kind, shares: links.map((link) => shareOf(link, kind.loads(link), oa))}));
    const end = endOf(max(kinds.flatMap((d) => d.shares)) ?? 0);
    const bins = binsFor(links.length);
    const top = max(kinds, (d) => highestBin(d.shares, end, bins));
    for (const {kind, shares} of kinds) {
        drawHistogram(box, kind, shares, {end, bins, top, width});
        yield;
    }
    add(box, "p", "help", `${plural(links.length, "link")}${oa < 0 && model.classes.length > 1 ? ", each by its fullest class" : ""}; `
        + "across: share of the capacity; up: links, as a square root; dashed: 95th percentile.");
}
