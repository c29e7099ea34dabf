// What is picked, in words and figures: a link, an LSP or a failure.
import {sum} from "d3";
import {add, amount, count, percent, plural, textButton} from "./format.js";
import {drawBars, keysOf, pieces} from "./charts.js";
import {makeTable} from "./table.js";

function heading(box, kind, name) {
    const title = add(box, "h2");
    add(title, "span", "kind", kind);
    add(title, "span", "name", name);
}

function facts(box, rows) {
    const list = add(box, "dl", "facts");
    for (const [name, value] of rows) {
        const row = add(list, "div");
        add(row, "dt", null, name);
        add(row, "dd", null, value);
    }
}

const hops = (model, path) => path.map((node) => model.nodes[node].name).join(" \u203a ");

function showLink(box, model, link, oa, go) {
    heading(box, "Link", link.name);
    facts(box, [
        ["Capacity", amount(link.capacityTotal)],
        ["For primaries", amount(link.primaryTotal)],
        ["Shared by backups", amount(link.backupTotal)],
        [model.classes.length > 1 ? "Reserved, fullest class" : "Reserved", percent(link.share)],
    ]);
    const rows = pieces(model, link, oa);
    const chart = add(box, "div", "plot");
    drawBars(chart.node(), model, [link], oa, box.clientWidth, keysOf(rows));
    const failure = model.failureByKey.get(`link-${link.ind}`);
    if (failure) textButton(box, "Fail this link", () => go(failure.key));
    add(box, "h3", null, "Bandwidth by class and level");
    makeTable(box.appendChild(document.createElement("div")), {
        caption: `bandwidth of ${link.name} by class and level`,
        rows, pageSize: 8,
        columns: [
            {name: "Class", value: (d) => d.className},
            {name: "Level", value: (d) => d.level, numeric: true},
            {name: "Use", value: (d) => (d.kind === "primary" ? "primaries" : "backups, shared")},
            {name: "Bandwidth", value: (d) => d.bw, text: (d) => amount(d.bw), numeric: true},
            {name: "Share", value: (d) => d.share, text: (d) => percent(d.share), numeric: true},
        ],
    });
    add(box, "h3", null, plural(link.lsps.length, "primary").replace("primarys", "primaries"));
    lspTable(box, model, link.lsps.map((lsp) => ({lsp})), go, []);
}

function lspTable(box, model, rows, go, more) {
    makeTable(box.appendChild(document.createElement("div")), {
        caption: "LSPs here", rows, pageSize: 7,
        columns: [
            {name: "LSP", value: (d) => d.lsp.id, numeric: true, pick: (d) => go(`lsp-${d.lsp.id}`)},
            {name: "Ends", value: (d) => d.lsp.name},
            {name: "Bandwidth", value: (d) => d.lsp.bw, text: (d) => amount(d.lsp.bw), numeric: true},
            ...more,
        ],
    });
}

function showLsp(box, model, lsp, go, hover) {
    heading(box, "LSP", `${lsp.id}: ${lsp.name}`);
    facts(box, [
        ["Bandwidth", amount(lsp.bw)],
        ["Class", lsp.className],
        ["Level", lsp.level],
        ["Backups", lsp.backups.length ? count(lsp.backups.length) : "none"],
    ]);
    add(box, "h3", "primary", "Primary");
    add(box, "p", "hops", hops(model, lsp.path));
    if (lsp.note) add(box, "p", "note", lsp.note);
    if (lsp.backups.length) add(box, "h3", "backup", "Backups");
    const list = add(box, "ul", "backups");
    for (const backup of lsp.backups) {
        const item = add(list, "li").attr("tabindex", 0)
            .on("pointerenter focus", () => hover(backup))
            .on("pointerleave blur", () => hover(null));
        add(item, "span", "hops", hops(model, backup.path));
        add(item, "span", "protects", `protects ${backup.protects.join(", ")}`);
    }
    const fatal = model.failures.filter((d) => d.lost.some((lost) => lost.lsp === lsp));
    const saved = model.failures.filter((d) => d.restored.some((restored) => restored.lsp === lsp));
    add(box, "h3", null, "When something fails");
    add(box, "p", null, `Restored after ${plural(saved.length, "failure")}, lost after ${fatal.length}` + (fatal.length ? ":" : "."));
    const links = add(box, "p", "list");
    for (const failure of fatal) textButton(links, `${failure.kind} ${failure.name}`, () => go(failure.key));
}

// How the lost LSPs were lost, as a sentence.
const CAUSES = [
    ["protected", (n) => `${plural(n, "LSP")} lost although protected`],
    ["unprotected", (n) => `${n} had no backup for this`],
    ["ends here", (n) => `${n} ${n === 1 ? "starts or ends" : "start or end"} at the failed node`],
];

function causesOf(failure) {
    return CAUSES.flatMap(([cause, text]) => {
        const n = failure.lost.filter((d) => d.cause === cause).length;
        return n ? [text(n)] : [];
    }).join(", ");
}

function failureTiles(box, failure) {
    const figures = [
        ["hit", "LSPs hit", failure.hit],
        ["restored", "restored", failure.restored.length],
        ["lost", "lost", failure.lost.length],
        ["overloads", "overloads", failure.overloads.length],
    ];
    const tiles = add(box, "div", "tiles");
    for (const [id, name, value] of figures) {
        const bad = value > 0 && (id === "lost" || id === "overloads");
        const tile = add(tiles, "div", bad ? "bad" : null);
        add(tile, "b", null, count(value)).attr("data-figure", id).attr("data-value", value);
        add(tile, "span", null, name);
    }
}

function loadLine(box, model, text, load, go) {
    const line = add(box, "p", null, text);
    textButton(line, load.link.name, () => go(`look-${load.link.ind}`));
    const of = model.classes.length > 1 ? ` (${model.classes[load.class]})` : "";
    add(line, "span", null, `${of} at ${percent(load.share)}.`);
    return line;
}

function showFailure(box, model, failure, go) {
    heading(box, `Failure of ${failure.kind}`, failure.name);
    failureTiles(box, failure);
    if (failure.lost.length) add(box, "p", null, `Of the lost ones: ${causesOf(failure)}.`);
    if (failure.fullest)
        loadLine(box, model, "Fullest link afterwards: ", failure.fullest, go)
            .attr("data-figure", "share").attr("data-value", failure.fullest.share);
    for (const load of failure.overloads) loadLine(box, model, "Overloaded: ", load, go);
    const rows = [
        ...failure.lost.map(({lsp, reason}) => ({lsp, outcome: `lost: ${reason}`})),
        ...failure.restored.map(({lsp, backup}) =>
            ({lsp, outcome: `restored over ${hops(model, backup.path)}`})),
    ];
    if (rows.length) lspTable(box, model, rows, go, [{name: "Outcome", value: (d) => d.outcome}]);
}

function showHint(box, model, go) {
    heading(box, "", "What to look at first");
    const worst = model.failures.filter((d) => d.hit > 0)
        .sort((a, b) => losses(b) - losses(a) || shareAfter(b) - shareAfter(a)).slice(0, 9);
    add(box, "p", null, "Failures whose losses a backup could have prevented, then those that fill a link most:");
    makeTable(box.appendChild(document.createElement("div")), {
        caption: "gravest failures", rows: worst, pageSize: 9, sort: null,
        columns: [
            {name: "Failure", value: (d) => d.name, text: (d) => `${d.kind} ${d.name}`, pick: (d) => go(d.key)},
            {name: "Hit", value: (d) => d.hit, numeric: true},
            {name: "Lost", value: (d) => d.lost.length, numeric: true},
            {name: "Fullest link", value: shareAfter, text: (d) => percent(shareAfter(d)), numeric: true},
        ],
    });
}

const shareAfter = (failure) => failure.fullest?.share ?? 0;

const losses = (failure) => sum(failure.lost, (d) => (d.cause === "ends here" ? 0 : d.lsp.bw));

// picked: {link}, {lsp}, {failure} or {}.
export function inspect(box, model, picked, oa, go, hover) {
    box.replaceChildren();
    if (picked.link) showLink(box, model, picked.link, oa, go);
    else if (picked.lsp) showLsp(box, model, picked.lsp, go, hover);
    else if (picked.failure) showFailure(box, model, picked.failure, go);
    else showHint(box, model, go);
}
