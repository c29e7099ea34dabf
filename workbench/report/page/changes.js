// What a later plan does better or worse than the one before, in words and figures.
import {max, sum} from "d3";
import {bandwidth, classColumn, classFilter, number, several, stretch} from "./columns.js";
import {briefHops, subtable} from "./detail.js";
import {CHANGES} from "./diff.js";
import {gravestOf} from "./figures.js";
import {add, amount, count, percent} from "./format.js";
import {ratio} from "./model.js";

const bandwidthOf = (list) => sum(list, (d) => d.bw);

function worstFailure(model) {
    const failure = gravestOf(model);
    return failure ? `${amount(failure.preventable + failure.lostCutOff)} (${failure.kind} ${failure.name})` : "nothing";
}

// Plans that may differ in all but their names.
const FIGURES = [
    ["LSPs", (model) => count(model.lsps.length)],
    ["Carried", ({lsps, notPlaced}) => percent(ratio(bandwidthOf(lsps), bandwidthOf(lsps) + bandwidthOf(notPlaced)))],
    ["Survives any failure", ({lsps}) => percent(ratio(bandwidthOf(lsps.filter((d) => !d.fatal.length)), bandwidthOf(lsps)))],
    ["Fullest link, in use", ({links}) => percent(max(links, (d) => d.primaryShare) ?? 0)],
    ["Worst load of any failure", ({links}) => percent(max(links, (d) => d.worst.share) ?? 0)],
    ["Lost in the worst failure", worstFailure],
    ["Failures that overload a link", ({failures}) => count(failures.filter((d) => d.overloads.length).length)],
];

// Whom a what-if changes, and to what; a report of two plans has a table of it below.
function showChanged(box, model, change) {
    add(box, "h3", null, "LSPs that change");
    subtable(box, {
        caption: "LSPs that change", rows: model.changes, pageSize: 8, file: `${model.title} what if`,
        filters: [{label: "All changes", options: CHANGES.map((name) => ({name, test: (d) => d.what.includes(name)}))}],
        columns: [
            {...number("LSP", (d) => d.of.id), pick: ({lsp}) => lsp && change({lsp})},
            {name: "Ends", value: (d) => d.of.name},
            bandwidth("Bandwidth", (d) => d.of.bw),
            {name: "Change", value: (d) => d.what.join(", ")},
            {name: "Now", value: (d) => (d.lsp ? briefHops(model, d.lsp.path) : d.why)},
        ],
    });
}

export function showChanges(box, model, change) {
    add(box, "h3", null, model.isWhatIf ? "What if, against the plan" : `Since ${model.before.file}`);
    const counts = CHANGES.map((name) => [name, model.changes.filter((d) => d.what.includes(name)).length]).filter(([, n]) => n);
    add(box, "p", null, counts.length ? `LSPs: ${counts.map(([name, n]) => `${count(n)} ${name}`).join(", ")}.` : "No LSP has changed.");
    subtable(box, {
        caption: "before and after", pageSize: FIGURES.length, sort: null,
        rows: FIGURES.map(([name, of]) => ({name, before: of(model.before), after: of(model)})),
        columns: [
            {name: "", value: (d) => d.name},
            {name: "Before", value: (d) => d.before},
            {name: "After", value: (d) => d.after},
        ],
    });
    if (model.isWhatIf && model.changes.length) showChanged(box, model, change);
}

export function changeTable(model, change) {
    const way = (plan, lsp) => (lsp ? briefHops(plan, lsp.path) : "");
    return {
        caption: "Changes", rows: model.changes,
        filters: [
            ...several(model, classFilter(model, (d) => model.classes.find((one) => one.name === d.of.class.name))),
            {label: "All changes", options: CHANGES.map((name) => ({name, test: (d) => d.what.includes(name)}))},
        ],
        columns: [
            {...number("LSP", (d) => d.of.id), pick: ({lsp}) => lsp && change({lsp})},
            {name: "From", value: (d) => d.of.from.name},
            {name: "To", value: (d) => d.of.to.name},
            ...several(model, classColumn(model, (d) => model.classes.find((one) => one.name === d.of.class.name) ?? d.of.class)),
            bandwidth("Bandwidth", (d) => d.of.bw),
            {name: "Change", value: (d) => d.what.join(", ")},
            {name: "Before", value: (d) => way(model.before, d.former)},
            stretch("Stretch before", (d) => d.former?.stretch),
            {name: "After", value: (d) => way(model, d.lsp)},
            stretch("Stretch", (d) => d.lsp?.stretch),
            ...(model.isWhatIf ? [{name: "Why", value: (d) => d.why}] : []),
        ],
    };
}
