// What the map shows of a state: a share for every link, what stands out, and its legend.
import {changeOf} from "./diff.js";
import {changedLoads, outcomeOf} from "./failure.js";
import {shareOf} from "./model.js";
import {CHANGES, SHARES} from "./scale.js";

const MEASURE = {
    reserved: {title: "Reserved", loads: (link) => link.reserved},
    used: {title: "In use, nothing failed", loads: (link) => link.primary},
    worst: {title: "In use after the worst failure for each link", loads: (link) => link.worst.loads},
};

// Links that the failure gives more to carry.
function gaining(changed) {
    return [...changed].filter(([link, loads]) => loads.some((load, c) => load > link.primary[c] * (1 + 1e-9)))
        .map(([link]) => link);
}

function failureView(model, failure, oa) {
    const changed = changedLoads(failure);
    const strong = new Set(gaining(changed));
    return {
        title: `In use after the failure of ${failure.name}`,
        shares: model.links.map((link) => shareOf(link, changed.get(link) ?? link.primary, oa)),
        strong: strong.size ? strong : null,
        signs: [["failed", "failed"], ...(strong.size ? [["faint u3", "carries no more than before"]] : [])],
    };
}

function pathsOf(lsp, failure, hovered) {
    const after = failure && outcomeOf(lsp, failure);
    if (after?.outcome === "restored" && !hovered)
        return {paths: [{kind: "primary former", links: lsp.links}, {kind: "backup", links: after.links}],
            signs: [["primary", "primary"], ["backup", "its way now"]]};
    const backups = hovered ? [hovered] : lsp.backups;
    if (lsp.former && !hovered)
        return {
            paths: [{kind: "primary", links: lsp.links}, {kind: "past", links: lsp.pastLinks}],
            signs: [["primary", "primary"], ["past", "its way before"]],
        };
    return {
        paths: [{kind: "primary", links: lsp.links}, ...backups.map(({links}) => ({kind: "backup", links}))],
        signs: [["primary", "primary"], ...(backups.length ? [["backup", backups.length > 1 ? "backups" : "backup"]] : [])],
    };
}

function measureView(model, show, oa) {
    if (show === "change" && model.before)
        return {title: `Reserved, against ${model.before.file}`, shares: model.links.map((link) => changeOf(model, link, oa)),
            strong: null, signs: [], scale: CHANGES};
    const {title, loads} = MEASURE[show] ?? MEASURE.reserved;
    return {title, shares: model.links.map((link) => shareOf(link, loads(link), oa)), strong: null, signs: []};
}

export function viewOf(model, {failure, lsp, link, node, oa, show, over}, hovered = null) {
    const view = failure ? failureView(model, failure, oa) : measureView(model, show, oa);
    view.scale ??= SHARES;
    view.failed = failure?.down ?? new Set();
    view.failedNodes = new Set(failure?.nodes);
    view.crosses = failure ? [...failure.nodes, ...failure.links] : [];
    view.picked = [link ?? node].filter(Boolean);
    view.over = over / 100;
    view.paths = [];
    if (lsp) {
        const {paths, signs} = pathsOf(lsp, failure, hovered);
        view.paths = paths;
        view.strong = new Set();
        view.signs = [...signs, ...(failure ? [["failed", "failed"]] : [])];
    }
    if (model.links.some((d) => d.drained)) view.signs = [...view.signs, ["drained", "out of service"]];
    return view;
}
