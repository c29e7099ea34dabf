// The filters above a table. Each hands back a test of a row, or null while it is off.
//
//     {label, options: [{name, test}]}    one of several
//     {label, over: value(row)}           a share above so many percent
import {add} from "./format.js";

function makeChoice(bar, {label, options}, changed) {
    const list = add(bar, "select").attr("aria-label", label).on("change", changed);
    add(list, "option", null, label).attr("value", -1);
    options.forEach(({name}, ind) => add(list, "option", null, name).attr("value", ind));
    return () => options[Number(list.property("value"))]?.test ?? null;
}

function makeThreshold(bar, {label, over}, changed) {
    const box = add(bar, "label", null, `${label} over `);
    const input = add(box, "input", "percent").attr("type", "number").attr("min", 0).attr("step", 5).on("input", changed);
    add(box, "span", null, " %");
    return () => {
        const text = input.property("value");
        return text === "" ? null : (row) => over(row) > Number(text) / 100;
    };
}

export function makeFilters(bar, filters, changed) {
    const tests = filters.map((filter) => (filter.over ? makeThreshold : makeChoice)(bar, filter, changed));
    return (row, ...rest) => tests.every((test) => test()?.(row, ...rest) ?? true);
}
