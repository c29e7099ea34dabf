// With nothing picked: what becomes of every class, and the failures to look at first.
import {showChanges} from "./changes.js";
import {bandwidth, lotColumns, number, share} from "./columns.js";
import {heading, subtable} from "./detail.js";
import {add} from "./format.js";

function showClasses(box, model) {
    add(box, "h3", null, "Does the traffic survive?");
    subtable(box, {
        caption: "traffic by class and level", rows: model.lots.levels, pageSize: 8, sort: null,
        columns: lotColumns(model).filter((d) => d.isBrief),
    });
}

function showGravest(box, model, change) {
    const hit = model.failures.filter((d) => d.hit > 0);
    add(box, "h3", null, "Failures to look at first");
    subtable(box, {
        caption: "gravest failures", pageSize: 9, sort: 1, down: true, file: `${model.title} gravest failures`,
        rows: hit.sort((a, b) => (b.fullest?.share ?? 0) - (a.fullest?.share ?? 0)),
        columns: [
            {name: "Failure", value: (d) => d.name, text: (d) => `${d.kind} ${d.name}`, pick: (failure) => change({failure})},
            bandwidth("Preventable", (d) => d.preventable, "Bandwidth lost that had another way"),
            bandwidth("Cut off", (d) => d.lostCutOff, "Bandwidth lost with no way left: no backup could help"),
            number("LSPs hit", (d) => d.hit),
            share("Fullest link", (d) => d.fullest?.share ?? 0, "After the failure"),
        ],
    });
}

export function showOverview(box, model, state, change) {
    heading(box, "", "What to look at first");
    if (model.before) showChanges(box, model, change);
    showClasses(box, model);
    showGravest(box, model, change);
}
