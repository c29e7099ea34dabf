// The tables below the charts, one tab each.
import {changeTable} from "./changes.js";
import {available, bandwidth, classColumn, classFilter, lotColumns, number, several, share, stretch} from "./columns.js";
import {makeTabs} from "./tabs.js";

function linkTable(model, change) {
    const fullest = model.classes.length > 1 ? ", fullest class" : "";
    return {
        caption: "Links", rows: model.links, sort: 6, down: true,
        filters: [
            {label: "Reserved", over: (d) => d.share},
            {label: "Worst load", over: (d) => d.worst.share},
        ],
        columns: [
            {name: "From", value: (d) => d.from.name},
            {name: "To", value: (d) => d.to.name, pick: (link) => change({link})},
            bandwidth("Capacity", (d) => d.capacityTotal),
            bandwidth("Primaries", (d) => d.primaryTotal),
            bandwidth("Backups, shared", (d) => d.backupTotal),
            share("In use", (d) => d.primaryShare, `With nothing failed${fullest}`),
            share("Reserved", (d) => d.share, `For primaries and backups${fullest}`),
            share("Worst load", (d) => d.worst.share, `In use after the worst failure for this link${fullest}`),
            {name: "Caused by", value: (d) => d.worst.failure?.name ?? "", pick: (d) => change({failure: d.worst.failure})},
            number("LSPs", (d) => d.lsps.length),
            ...(model.before ? [
                share("Reserved before", (d) => d.former?.share ?? 0),
                share("Worst load before", (d) => d.former?.worst.share ?? 0),
            ] : []),
        ],
    };
}

const ifAny = (number) => number ?? "n/a";
const lostOf = (lsp) => lsp.fatal.length;

function noteOf({note, exposed, beyond}) {
    return [
        note, exposed.length && `exposed to ${exposed.join(", ")}`, beyond.length && `backups beyond its ${beyond.join(", ")}`,
    ].filter(Boolean).join("; ");
}

function lspTable(model, change) {
    return {
        caption: "LSPs", rows: model.lsps,
        filters: [
            ...several(model, classFilter(model)),
            {label: "Protected or not", options: [
                {name: "protected", test: (d) => d.backups.length > 0},
                {name: "unprotected", test: (d) => d.backups.length === 0},
            ]},
            {label: "Whatever fails", options: [
                {name: "survives every failure", test: (d) => !lostOf(d)},
                {name: "lost in some failure", test: (d) => lostOf(d) > 0},
                {name: "lost though it has backups", test: (d) => lostOf(d) > 0 && d.backups.length > 0},
                {name: "known to be exposed", test: (d) => d.exposed.length > 0},
                {name: "backups beyond its limits", test: (d) => d.beyond.length > 0},
            ]},
        ],
        columns: [
            {...number("LSP", (d) => d.id), pick: (lsp) => change({lsp})},
            {name: "From", value: (d) => d.from.name},
            {name: "To", value: (d) => d.to.name},
            ...several(model, classColumn(model)),
            number("Level", (d) => d.level),
            bandwidth("Bandwidth", (d) => d.bw),
            number("Hops", (d) => d.links.length),
            stretch("Stretch", (d) => d.stretch, "Length by the links' metrics against the shortest path; 1 is as short as can be"),
            number("Backups", (d) => d.backups.length),
            number("Lost in", lostOf, undefined, "Failures that it does not survive, not counting those of its ends"),
            ...(model.knowsAvailability ? [available("Available", (d) => d.up, "Part of the time")] : []),
            ...(model.isWhatIf ? [
                number("Hops before", (d) => (d.changed?.includes("gained") ? null : (d.former ?? d).links.length), ifAny),
                {name: "Change", value: (d) => d.changed?.join(", ") ?? ""},
            ] : []),
            {name: "Note", value: noteOf},
        ],
    };
}

function failureTable(model, change) {
    const kinds = [...new Set(model.failures.map((d) => d.kind))];
    return {
        caption: "Failures", rows: model.failures, sort: 5, down: true,
        filters: [
            {label: "All kinds", options: kinds.map((kind) => ({name: kind, test: (d) => d.kind === kind}))},
            {label: "Whatever happens", options: [
                {name: "LSPs lost", test: (d) => d.lost.length > 0},
                {name: "preventable losses", test: (d) => d.preventable > 0},
                {name: "overloads", test: (d) => d.overloads.length > 0},
            ]},
            {label: "Fullest link", over: (d) => d.fullest?.share ?? 0},
        ],
        columns: [
            {name: "Kind", value: (d) => d.kind},
            {name: "Fails", value: (d) => d.name, pick: (failure) => change({failure})},
            ...(model.knowsAvailability ? [available("Down", (d) => d.probability, "Part of the time")] : []),
            number("LSPs hit", (d) => d.hit),
            number("Restored", (d) => d.restored.length),
            number("Lost", (d) => d.lost.length),
            bandwidth("Lost, preventable", (d) => d.preventable, "Bandwidth that had another way"),
            bandwidth("Lost, cut off", (d) => d.lostCutOff, "Bandwidth with no way left: no backup could help"),
            bandwidth("Lost with its ends", (d) => d.lostEnds, "Bandwidth that starts or ends at a failed node"),
            {name: "Fullest link after it", value: (d) => d.fullest?.link.name ?? "", pick: (d) => change({failure: d, link: d.fullest.link})},
            share("Its load", (d) => d.fullest?.share ?? 0),
            number("Overloads", (d) => d.overloads.length),
            ...(model.isWhatIf ? [
                number("Lost before", (d) => d.former?.lost.length ?? null, ifAny),
                share("Load before", (d) => (d.former ? d.former.fullest?.share ?? 0 : null)),
            ] : []),
        ],
    };
}

function classTable(model) {
    return {caption: "Classes", rows: model.lots.levels, sort: null, columns: lotColumns(model)};
}

function notPlacedTable(model) {
    return {
        caption: "Not placed", rows: model.notPlaced, sort: model.classes.length > 1 ? 4 : 3, down: true,
        filters: several(model, classFilter(model)),
        columns: [
            {name: "From", value: (d) => d.from.name},
            {name: "To", value: (d) => d.to.name},
            ...several(model, classColumn(model)),
            number("Level", (d) => d.level),
            bandwidth("Bandwidth", (d) => d.bw),
            {name: "Outcome", value: (d) => d.outcome},
            {name: "Why", value: (d) => d.reason},
        ],
    };
}

// In pieces, see slices.js.
export function* makeTables(section, model, change, memory) {
    const all = [linkTable, lspTable, failureTable, classTable, notPlacedTable, ...(model.before ? [changeTable] : [])];
    yield* makeTabs(section, model.title, all.map((of) => of(model, change)), memory);
}
