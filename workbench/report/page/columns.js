// Columns and filters that several tables share.
import {amount, percent, precise, stretchText} from "./format.js";
import {ratio} from "./model.js";

export const number = (name, value, text, title) =>
    ({name, value, text: text && ((d) => text(value(d))), numeric: true, title});
export const bandwidth = (name, value, title) => number(name, value, amount, title);
export const share = (name, value, title) => number(name, value, percent, title);

// Classes sort by importance, not by name.
export function classColumn(model, of = (d) => d.class) {
    return {name: "Class", value: (d) => model.byImportance.indexOf(of(d)), text: (d) => of(d).name};
}

export function classFilter(model, of = (d) => d.class) {
    return {
        label: "All classes",
        options: model.byImportance.map((one) => ({name: one.name, test: (row) => of(row) === one})),
    };
}

// Only where there is something to tell apart.
export const several = (model, ...what) => (model.classes.length > 1 ? what : []);

export const stretch = (name, value, title) =>
    number(name, (d) => value(d) ?? Infinity, stretchText, title);
export const available = (name, value, title) => number(name, (d) => value(d) ?? 0, precise, title);

// What becomes of a class and level; the brief ones tell whether it survives.
export function lotColumns(model) {
    const brief = (column) => ({...column, isBrief: true});
    return [
        ...several(model, brief(classColumn(model))),
        brief(number("Level", (d) => d.level)),
        bandwidth("Offered", (d) => d.offered),
        brief(share("Carried", (d) => ratio(d.carried, d.offered))),
        brief(share("Survives", (d) => ratio(d.safe, d.carried), "Part of what is carried that survives every failure that spares its ends")),
        brief(share("Lost at worst", (d) => ratio(d.worst, d.carried), "Part of what is carried that the worst failure takes, not counting LSPs that end at a failed node")),
        bandwidth("Primaries", (d) => d.booked, "Booked by primaries, summed over links"),
        bandwidth("Backups, shared", (d) => d.backups, "Reserved for backups, summed over links"),
        share("Cost of protection", (d) => ratio(d.backups, d.booked), "Reserved for backups against what the primaries book"),
        stretch("Stretch", (d) => d.stretch, "Length of the paths by the links' metrics against the shortest, on the average"),
        stretch("Longest", (d) => d.longest, "The largest stretch"),
        ...(model.before ? [
            share("Carried before", (d) => d.former && ratio(d.former.carried, d.former.offered)),
            share("Survives before", (d) => d.former && ratio(d.former.safe, d.former.carried)),
        ] : []),
        ...(model.knowsAvailability ? [
            available("Available", (d) => d.up, "Part of the time, on the average of the bandwidth"),
            available("Worst LSP", (d) => d.lowest, "Part of the time that the worst LSP is up"),
        ] : []),
    ];
}
