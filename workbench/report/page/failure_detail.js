// A failure: whom it hits, what becomes of them, and where it gets tight.
import {briefHops, facts, heading, loadLine, lspTable} from "./detail.js";
import {add, amount, count, plural} from "./format.js";

function tiles(box, failure) {
    const figures = [
        ["hit", "LSPs hit", failure.hit],
        ["restored", "restored", failure.restored.length],
        ["lost", "lost", failure.lost.length],
        ["overloads", "overloads", failure.overloads.length],
    ];
    const row = add(box, "div", "tiles");
    for (const [id, name, value] of figures) {
        const bad = value > 0 && (id === "lost" || id === "overloads");
        const tile = add(row, "div", bad ? "bad" : null);
        add(tile, "b", null, count(value)).attr("data-figure", id).attr("data-value", value);
        add(tile, "span", null, name);
    }
}

// How the lost LSPs were lost, as a sentence.
const CAUSES = [
    ["protected", (n) => `${plural(n, "LSP")} lost although promised protection`],
    ["not covered", (n) => `${plural(n, "LSP")} with backups that do not cover this`],
    ["unprotected", (n) => `${n} without a backup`],
    ["cut off", (n) => `${n} cut off, with no way left`],
    ["ends here", (n) => `${n} that ${n === 1 ? "starts or ends" : "start or end"} at a failed node`],
];

function causesOf(failure) {
    return CAUSES.flatMap(([cause, text]) => {
        const n = failure.lost.filter((d) => d.cause === cause).length;
        return n ? [text(n)] : [];
    }).join(", ");
}

// There are thousands of them; what is not on show is not put into words.
const wordsOf = ({outcome, text}) => (outcome === "lost" ? `lost: ${text()}` : `restored over ${text()}`);
const isOutcome = (name) => (d) => d.outcome === name;

export function showFailure(box, model, {failure}, change) {
    heading(box, `Failure of ${failure.kind}`, failure.name);
    tiles(box, failure);
    if (failure.lost.length) {
        add(box, "p", null, `Lost: ${causesOf(failure)}.`);
        facts(box, [
            ["Lost, preventable", amount(failure.preventable)],
            ["Lost, cut off", amount(failure.lostCutOff)],
            ["Lost with its ends", amount(failure.lostEnds)],
        ]);
    }
    if (failure.fullest)
        loadLine(box, model, "Fullest link afterwards: ", failure.fullest, change)
            .attr("data-figure", "share").attr("data-value", failure.fullest.share);
    for (const load of failure.overloads.slice(0, 5)) loadLine(box, model, "Overloaded: ", load, change);
    if (failure.overloads.length > 5) add(box, "p", null, `and ${count(failure.overloads.length - 5)} more.`);
    const rows = [
        ...failure.lost.map(({lsp, reason}) => ({lsp, outcome: "lost", text: () => reason})),
        ...failure.restored.map(({lsp, backups}) =>
            ({lsp, outcome: "restored", text: () => backups.map((d) => briefHops(model, d.path)).join(", then ")})),
    ];
    if (!rows.length) return;
    lspTable(box, model, `LSPs after the failure of ${failure.name}`, rows, change,
        [{name: "Outcome", value: wordsOf}],
        [{label: "Lost and restored", options: [{name: "lost", test: isOutcome("lost")}, {name: "restored", test: isOutcome("restored")}]}]);
}
