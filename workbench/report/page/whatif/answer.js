// From what the engine answers to what the page shows: the changed plan as a model, compared
// with the plan of the page.
import {group} from "d3";
import {CHANGES, compare} from "../diff.js";
import {count, plural} from "../format.js";
import {buildModel} from "../model.js";

// In pieces, see slices.js. Nodes keep their number, order and places.
export function* modelOf(answer, plan) {
    const places = (ind) => ({spot: plan.nodes[ind].spot, computed: plan.nodes[ind].computed});
    const model = yield* buildModel({...answer, nodes: answer.nodes.map((node, ind) => ({...node, ...places(ind)}))});
    compare(model, plan);
    yield;
    model.isWhatIf = true;
    model.askedFailure = model.failures[answer.asked] ?? null;
    explainLosses(model);
    return model;
}

// Why those are lost that are not in the changed plan. A demand that is not placed has no
// number: it is told by its ends and class, its level and bandwidth if they are as before, and
// equal ones in their order.
function explainLosses(model) {
    const keyOf = (d) => [d.from.ind, d.to.ind, d.class.ind].join(" ");
    const refused = group(model.notPlaced, keyOf);
    const reasonOf = (lsp) => {
        const left = refused.get(keyOf(lsp)) ?? [];
        const same = left.findIndex((d) => d.level === lsp.level && d.bw === lsp.bw);
        return left.splice(Math.max(0, same), 1)[0]?.reason ?? "";
    };
    for (const one of model.changes) one.why = one.lsp ? one.lsp.note ?? "" : reasonOf(one.former);
}

function changesIn(model) {
    const counts = CHANGES.map((kind) => [kind, model.changes.filter((d) => d.what.includes(kind)).length]).filter(([, n]) => n);
    return counts.length ? `LSPs: ${counts.map(([kind, n]) => `${count(n)} ${kind}`).join(", ")}.` : "No LSP changes.";
}

function refusedIn({notPlaced, before}) {
    if (notPlaced.length === before.notPlaced.length) return "";
    return `Not placed: ${plural(notPlaced.length, "demand")}, before ${count(before.notPlaced.length)}.`;
}

function outcomeOf({hit, restored, lost}) {
    if (!hit) return "The failure hits no LSP.";
    return `Of ${plural(hit, "LSP")} hit, ${count(restored.length)} switch to backups and ${count(lost.length)} are lost.`;
}

function recoveryOf({restored, lost, endsHere, placedAgain, displaced}) {
    const counts = [`${count(restored.lsps)} switch to backups`, `${count(lost.lsps)} are lost, ${count(placedAgain.lsps)} of them placed again`];
    if (endsHere.lsps) counts.push(`${count(endsHere.lsps)} end at what failed`);
    const others = displaced.lsps ? ` ${plural(displaced.lsps, "other LSP")} gave way to them.` : "";
    return `Of ${plural(restored.lsps + lost.lsps + endsHere.lsps, "LSP")} hit, ${counts.join(", ")}.${others}`;
}

// The answer in a few sentences.
export function summaryOf(model) {
    const {askedFailure: failure, recovery} = model;
    const sentences = [
        model.changes.length || !failure ? changesIn(model) : "", refusedIn(model),
        failure ? outcomeOf(failure) : "", recovery ? recoveryOf(recovery) : "",
    ];
    return sentences.filter(Boolean).join(" ");
}
