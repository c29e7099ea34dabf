// With nothing picked: what becomes of every class, and the failures to look at first.
import {max, sum} from "d3";
import {showChanges} from "./changes.js";
import {bandwidth, number, share} from "./columns.js";
import {heading, subtable} from "./detail.js";
import {add} from "./format.js";
import {ratio} from "./model.js";

const bandwidthOf = (list) => sum(list, (d) => d.bw);

// The traffic of one class and what the worst failure for it takes.
function lotOf(model, one) {
    const isOf = (d) => d.class === one;
    const up = model.lsps.filter(isOf);
    const carried = bandwidthOf(up);
    const lostIn = (failure) => sum(failure.lost, (d) => (isOf(d.lsp) && d.cause !== "ends here" ? d.lsp.bw : 0));
    return {
        class: one, offered: carried + bandwidthOf(model.notPlaced.filter(isOf)), carried,
        safe: bandwidthOf(up.filter((d) => !d.fatal.length)),
        worst: max(model.failures, lostIn) ?? 0,
    };
}

function showClasses(box, model) {
    add(box, "h3", null, "Does the traffic survive?");
    subtable(box, {
        caption: "traffic by class", rows: model.byImportance.map((one) => lotOf(model, one)), pageSize: 8, sort: null,
        columns: [
            {name: "Class", value: (d) => model.byImportance.indexOf(d.class), text: (d) => d.class.name},
            bandwidth("Offered", (d) => d.offered),
            share("Carried", (d) => ratio(d.carried, d.offered)),
            share("Survives", (d) => ratio(d.safe, d.carried), "Part of what is carried that survives every failure that spares its ends"),
            share("Lost at worst", (d) => ratio(d.worst, d.carried), "Part of what is carried that the worst failure for the class takes, not counting LSPs that end at a failed node"),
        ],
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
    if (model.before) showChanges(box, model);
    showClasses(box, model);
    showGravest(box, model, change);
}
