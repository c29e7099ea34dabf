// What can be asked of the thing that is picked, as buttons: pressed where it is among the
// steps already. Some need a value and come as small forms.
import {add} from "../format.js";
import {cableOf, elementsOf} from "./steps.js";

const LEVELS = [0, 1, 2, 3, 4, 5, 6, 7];

// The other of what it is in the plan.
const serviceOf = (name, isDrained) =>
    (isDrained ? {text: "Back into service", steps: [`undrain:${name}`]} : {text: "Drain", steps: [`drain:${name}`]});

// Of a new one there are its steps: it can fail.
function linkActions(name, {drained}, isNew) {
    const fails = {text: "Fails", steps: [`fail:${name}`]};
    return isNew ? [fails] : [
        fails,
        serviceOf(name, drained),
        {text: "Remove for good", steps: [`without:${name}`]},
        {text: "Set capacity", label: `Capacity of ${name}`, placeholder: "40G", stepFor: (value) => `capacity:${name}=${value}`},
    ];
}

function offersFor({failure, lsp, link, node, isNewLink}) {
    const groups = [];
    if (lsp) groups.push({name: `LSP ${lsp.id}`, actions: [
        {text: "Remove", steps: [`remove:${lsp.id}`]},
        {text: "Scale", label: `Times, for LSP ${lsp.id}`, placeholder: "1.5", stepFor: (value) => `scale:${lsp.id}=${value}`},
        {text: "Set level", label: `Level of LSP ${lsp.id}`, choices: LEVELS, chosen: lsp.level, stepFor: (value) => `level:${lsp.id}=${value}`},
    ]});
    if (link) {
        const cable = cableOf(link);
        if (cable) groups.push({name: `Cable ${cable}`, actions: linkActions(cable, link, isNewLink)});
        groups.push({name: `Link ${link.name}`, actions: linkActions(link.name, link, isNewLink)});
    }
    if (node) groups.push({name: `Node ${node.name}`, actions: [{text: "Fails", steps: [`fail:${node.name}`]}, serviceOf(node.name, node.drained)]});
    if (failure) {
        const names = elementsOf(failure);
        const isDrained = [...failure.nodes, ...failure.links].every((d) => d.drained);
        groups.push({name: `${failure.kind} ${failure.name}`, actions: [
            {text: "Fails", steps: names.map((name) => `fail:${name}`)},
            ...(names.length === 1 ? [serviceOf(names[0], isDrained)] : []),
        ]});
    }
    return groups.filter(({name}, ind) => groups.findIndex((d) => d.name.toLowerCase() === name.toLowerCase()) === ind);
}

function drawButton(row, {text, steps: own}, steps, change) {
    const isOn = own.every((step) => steps.includes(step));
    add(row, "button", null, text).attr("type", "button").attr("aria-pressed", isOn)
        .on("click", () => change(isOn ? steps.filter((step) => !own.includes(step)) : [...steps, ...own]));
}

// A new value takes the place of one that was asked for before.
function drawForm(row, {text, label, placeholder, choices, chosen, stepFor}, steps, change) {
    const former = stepFor("");
    const asked = steps.find((step) => step.startsWith(former));
    const form = add(row, "form", "value");
    const field = choices ? add(form, "select") : add(form, "input").attr("type", "text").attr("size", 5).attr("placeholder", placeholder);
    field.attr("aria-label", label).attr("required", true);
    for (const choice of choices ?? []) add(field, "option", null, choice);
    field.property("value", asked?.slice(former.length) ?? chosen ?? "");
    add(form, "button", null, text).attr("type", "submit").attr("aria-label", `${text}: ${label}`);
    form.on("submit", (event) => {
        event.preventDefault();
        const step = stepFor(field.property("value").trim());
        change([...steps.filter((one) => one !== asked), step]);
    });
}

// For things of the plan that is asked about; `change` takes the new list of steps.
export function drawActions(box, state, change) {
    box.replaceChildren();
    for (const {name, actions} of offersFor(state)) {
        const row = add(box, "div", "actions").attr("role", "group").attr("aria-label", `What if, ${name}`);
        add(row, "span", "subject", name);
        for (const action of actions) (action.stepFor ? drawForm : drawButton)(row, action, state.steps, change);
    }
}
