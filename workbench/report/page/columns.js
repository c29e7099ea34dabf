// Columns and filters that several tables share.
import {amount, percent} from "./format.js";

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
