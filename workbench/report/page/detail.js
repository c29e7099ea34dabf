// Pieces that the details of links, nodes, LSPs and failures share.
import {bandwidth, classColumn, number, several} from "./columns.js";
import {add, percent, textButton} from "./format.js";
import {makeTable} from "./table.js";

export function heading(box, kind, name) {
    const title = add(box, "h2");
    add(title, "span", "kind", kind);
    add(title, "span", "name", name);
}

// rows: [[name, value]]; without those that are null.
export function facts(box, rows) {
    const list = add(box, "dl", "facts");
    for (const [name, value] of rows.filter(Boolean)) {
        const row = add(list, "div");
        add(row, "dt", null, name);
        add(row, "dd", null, value);
    }
}

const chain = (names) => names.join(" \u203a ");
export const hops = (model, path) => chain(path.map((node) => model.nodes[node].name));

// The same for a cell of a table: the ends and what is next to them.
export function briefHops(model, path) {
    if (path.length < 6) return hops(model, path);
    const names = path.map((node) => model.nodes[node].name);
    return `${chain([...names.slice(0, 2), "\u2026", ...names.slice(-2)])} (${path.length - 1} hops)`;
}

export function subtable(box, table) {
    makeTable(box.appendChild(document.createElement("div")), table);
}

// rows: [{lsp, ...}]; `more` are further columns.
export function lspTable(box, model, caption, rows, change, more = [], filters = []) {
    subtable(box, {
        caption, rows, pageSize: 8, filters, isWholeOnPaper: true, file: `${model.title} ${caption}`,
        columns: [
            {...number("LSP", (d) => d.lsp.id), pick: ({lsp}) => change({lsp})},
            {name: "Ends", value: (d) => d.lsp.name},
            ...several(model, classColumn(model, (d) => d.lsp.class)),
            bandwidth("Bandwidth", (d) => d.lsp.bw),
            ...more,
        ],
    });
}

// "Fullest link afterwards: A > B (gold) at 97.0 %."
export function loadLine(box, model, text, load, change) {
    const line = add(box, "p", null, text);
    textButton(line, load.link.name, () => change({link: load.link}));
    const of = model.classes.length > 1 ? ` (${load.class.name})` : "";
    add(line, "span", null, `${of} at ${percent(load.share)}.`);
    return line;
}

// The failures of a link or node, as buttons.
export function failButtons(box, failures, change) {
    const line = add(box, "p", "list noprint");
    for (const failure of failures)
        add(line, "button", null, `Fail ${failure.kind} ${failure.name}`).attr("type", "button").on("click", () => change({failure}));
}
