// What can be asked for wherever the user is: more traffic, another protection.
import {add} from "../format.js";

function makeForm(box, title, submit) {
    const form = add(box, "form", "value").attr("aria-label", title);
    add(form, "span", "subject", title);
    form.on("submit", (event) => {
        event.preventDefault();
        submit();
        event.target.reset();
    });
    return form;
}

function makeField(form, label, of = {}) {
    const field = add(form, "input").attr("type", "text").attr("aria-label", label).attr("placeholder", label.toLowerCase())
        .attr("autocomplete", "off").attr("spellcheck", "false").attr("required", true);
    for (const [name, value] of Object.entries(of)) field.attr(name, value);
    return () => field.property("value").trim();
}

function makeChoice(form, label, options) {
    const list = add(form, "select").attr("aria-label", label);
    for (const [value, text] of options) add(list, "option", null, text).attr("value", value);
    return list;
}

const BANDWIDTH = {size: 7, placeholder: "2.5G"};

function demandForm(box, plan, addStep) {
    const form = makeForm(box, "Add a demand", () =>
        addStep(`add:${from()} > ${to()}=${bandwidth()}:${oa.property("value")}${level.property("value")}`));
    const [from, to] = ["From", "To"].map((label) => makeField(form, label, {list: "nodeNames", size: 12}));
    const bandwidth = makeField(form, "Bandwidth of the demand", BANDWIDTH);
    const oa = makeChoice(form, "Class", plan.byImportance.map(({name}) => [name, name])).attr("hidden", plan.classes.length > 1 ? null : true);
    const level = makeChoice(form, "Level", [["", "usual level"], ...Array.from({length: plan.levels}, (_, l) => [`:${l}`, `level ${l}`])]);
    add(form, "button", null, "Add").attr("type", "submit");
}

function cableForm(box, addStep) {
    const form = makeForm(box, "Add a cable", () => addStep(`link:${from()} - ${to()}:${capacity()}`));
    const [from, to] = ["Between", "And"].map((label) => makeField(form, label, {list: "nodeNames", size: 12}));
    const capacity = makeField(form, "Capacity of the cable", {...BANDWIDTH, placeholder: "10G"});
    add(form, "button", null, "Add").attr("type", "submit");
}

// All have values of their own but the protection, whose choice is the step; `plan` is the
// one that is asked about.
export function makeForms(box, plan, {add: addStep, protect}) {
    const names = add(box, "datalist").attr("id", "nodeNames");
    for (const node of plan.nodes) add(names, "option").attr("value", node.name);
    demandForm(box, plan, addStep);
    cableForm(box, addStep);
    const scale = makeForm(box, "Every demand times", () => addStep(`scale:${factor()}`));
    const factor = makeField(scale, "Factor for every demand", {size: 5, placeholder: "1.2"});
    add(scale, "button", null, "Scale").attr("type", "submit");
    const row = add(box, "label", "value");
    add(row, "span", "subject", "Protection");
    const kind = add(row, "select").on("change", (event) => protect(event.target.value));
    for (const [value, text] of [["", "as in the plan"], ["none", "none"], ["local", "local"], ["global", "global"]])
        add(kind, "option", null, text).attr("value", value);
    return {showProtection: (value) => kind.property("value", value)};
}
