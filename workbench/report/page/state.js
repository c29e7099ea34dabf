// What is on show: a failure, one thing picked, and how the map counts. It is kept in the
// address after "#", so that it can be sent, and is the same in a report of a later plan:
//
//     #fail=cable:Essen - Dortmund&lsp=12&class=gold&show=worst&over=80
//
// A what-if adds its steps, as long as they are short enough to be sent (whatif/steps.js):
//
//     #do=drain:Koeln&do=fail:Essen - Dortmund&do=replan&lsp=12
//
// Everything that the page draws is a function of the model and of this.
import {fitsAddress, readSteps} from "./whatif/steps.js";

export const MEASURES = ["reserved", "used", "worst", "change"];

export function readState(model, hash) {
    const fields = new URLSearchParams(hash.replace(/^#/, ""));
    const at = (list, name) => (fields.has(name) ? list[Number(fields.get(name))] ?? null : null);
    const classInd = model.classes.findIndex((d) => d.name === fields.get("class"));
    const over = Number(fields.get("over"));
    return {
        failure: model.failureByKey.get(fields.get("fail")) ?? null,
        lsp: model.lspById.get(Number(fields.get("lsp") ?? NaN)) ?? null,
        link: at(model.links, "link"),
        node: at(model.nodes, "node"),
        oa: classInd,  // -1 for all
        show: MEASURES.includes(fields.get("show")) ? fields.get("show") : MEASURES[0],
        over: over > 0 ? over : 0,  // percent
        steps: readSteps(fields.getAll("do")),
    };
}

export function hashOf(model, {failure, lsp, link, node, oa, show, over, steps}) {
    const fields = [
        ...(fitsAddress(steps) ? steps.map((step) => ["do", step]) : []),
        ["fail", failure?.key], ["lsp", lsp?.id], ["link", link?.ind], ["node", node?.ind],
        ["class", model.classes[oa]?.name], ["show", show === MEASURES[0] ? null : show], ["over", over || null],
    ].filter(([, value]) => value !== null && value !== undefined);
    return "#" + fields.map(([name, value]) => `${name}=${encodeURIComponent(value)}`).join("&");
}

// One thing is picked at a time.
export const NOTHING_PICKED = {lsp: null, link: null, node: null};

// The same things in another model of the network, as far as they are there.
export function carried({failure, lsp, link, node, ...rest}, model) {
    return {
        ...rest,
        failure: model.failureByKey.get(failure?.key) ?? null,
        lsp: model.lspById.get(lsp?.id) ?? null,
        link: (link && model.linkAt.get(link.from.ind * model.nodes.length + link.to.ind)) ?? null,
        node: model.nodes[node?.ind] ?? null,
    };
}
