// The plan and its audit as the page's other modules use them.
//
// The embedded data names nodes, links and LSPs by their position; here each becomes an
// object with references to the others. Nothing here depends on what is on show.
import {max, sort, sum} from "d3";
import {atOnce, mapped} from "./slices.js";

// Part of a capacity; infinite where there is load and no capacity.
export function ratio(part, whole) {
    return whole > 0 ? part / whole : part > 0 ? Infinity : 0;
}

// Over all classes (-1) a link is as full as its fullest class: none borrows from another.
// `loads` are the link's, by class.
export function shareOf(link, loads, oa = -1) {
    if (oa >= 0) return ratio(loads[oa], link.cap[oa]);
    return max(link.cap, (capacity, c) => ratio(loads[c], capacity)) ?? 0;
}

// The first level that a class is used at tells how important it is.
function classesOf({classes, configuration}) {
    return classes.map((name, ind) => {
        const levels = configuration.parts.filter((d) => d.trafficClass === ind).map((d) => d.level);
        return {ind, name, level: Math.min(...levels)};
    });
}

function linkOf(model, {a, b, cap, pri, res, drained = false}, ind) {
    const [from, to] = [model.nodes[a], model.nodes[b]];
    const link = {ind, from, to, cap, pri, res, drained, name: `${from.name} > ${to.name}`, lsps: [], failures: []};
    link.primary = pri.map((levels) => sum(levels));  // [class]
    link.reserved = res.map((levels) => sum(levels));
    link.capacityTotal = sum(cap);
    link.primaryTotal = sum(link.primary);
    link.backupTotal = sum(link.reserved) - link.primaryTotal;
    link.primaryShare = shareOf(link, link.primary);
    link.share = shareOf(link, link.reserved);
    from.links.push(link);
    to.links.push(link);
    return link;
}

// The links of a path of node positions. A broken plan, which the audit tells of, may have
// paths over links that do not exist.
function linksOf(model, path) {
    const links = [];
    for (let hop = 0; hop + 1 < path.length; hop++) {
        const link = model.linkAt.get(path[hop] * model.nodes.length + path[hop + 1]);
        if (link) links.push(link);
    }
    return links;
}

// A backup guards all of its primary unless the data says otherwise.
function backupOf(model, {path, guardedLinks, guardedNodes}, primary) {
    const links = guardedLinks?.map((ind) => model.links[ind]) ?? primary.links;
    const nodes = guardedNodes?.map((ind) => model.nodes[ind]) ?? primary.links.slice(1).map((d) => d.from);
    const list = (kind, all) => (all.length > 4 ? [`${all.length} ${kind}s`] : all.map((d) => `${kind} ${d.name}`));
    return {
        path, links: linksOf(model, path),
        get protects() { return [...list("node", nodes), ...list("link", links)].join(", "); },
    };
}

function lspOf(model, raw, ind) {
    const lsp = {
        ...raw, ind,
        from: model.nodes[raw.path[0]],
        to: model.nodes[raw.path.at(-1)],
        links: linksOf(model, raw.path),
        class: model.classes[raw.class],
        saved: [],  // failures that it survives over a backup
        fatal: [],  // failures that it does not, other than of its ends
    };
    lsp.exposed ??= [];  // names of failures that it is known not to survive
    lsp.beyond ??= [];   // what it keeps to and its backups do not
    lsp.name = `${lsp.from.name} > ${lsp.to.name}`;
    lsp.backups = raw.backups.map((backup) => backupOf(model, backup, lsp));
    for (const link of lsp.links) link.lsps.push(lsp);
    lsp.from.starting.push(lsp);
    lsp.to.ending.push(lsp);
    return lsp;
}

// The load of one class on a link, as the audit names it.
function loadOf(model, raw) {
    return raw && {link: model.links[raw.link], class: model.classes[raw.class], share: raw.share};
}

// Each LSP comes as its distance from the one before, with its backups if not just the first.
function restoredOf(model, list) {
    let at = 0;
    return list.map((one) => {
        const [distance, backups] = Array.isArray(one) ? one : [one, [0]];
        const lsp = model.lsps[at += distance];
        return {lsp, backups: backups.map((backup) => lsp.backups[backup])};
    });
}

function failureOf(model, raw, ind) {
    const failure = {
        ind, kind: raw.kind, name: raw.name, hit: raw.hit, probability: raw.probability ?? null, key: `${raw.kind}:${raw.name}`,
        links: raw.links.map((link) => model.links[link]),
        nodes: raw.nodes.map((node) => model.nodes[node]),
        restored: restoredOf(model, raw.restored),
        lost: raw.lost.map(([lsp, cause, reason]) =>
            ({lsp: model.lsps[lsp], cause, reason: model.reasons[reason]})),
        fullest: loadOf(model, raw.fullest),
        overloads: raw.overloads.map((load) => loadOf(model, load)),
    };
    failure.down = new Set([...failure.links, ...failure.nodes.flatMap((node) => node.links)]);
    for (const {lsp} of failure.restored) lsp.saved.push(failure);
    for (const {lsp, cause} of failure.lost) if (cause !== "ends here") lsp.fatal.push(failure);
    for (const link of failure.links) link.failures.push(failure);
    for (const node of failure.nodes) node.failures.push(failure);
    const lostBy = (...causes) => sum(failure.lost, (d) => (causes.includes(d.cause) ? d.lsp.bw : 0));
    failure.lostBw = sum(failure.lost, (d) => d.lsp.bw);
    failure.lostEnds = lostBy("ends here");
    failure.lostCutOff = lostBy("cut off");
    failure.preventable = failure.lostBw - failure.lostEnds - failure.lostCutOff;
    return failure;
}

// The fullest that the link gets in a class, and the failure that it takes, null for none.
function worstOf(model, link, byClass) {
    const shares = byClass.map(([load], c) => ratio(load, link.cap[c]));
    const fullest = shares.indexOf(Math.max(...shares));
    return {
        loads: byClass.map(([load]) => load), share: shares[fullest],
        failure: model.failures[byClass[fullest][1]] ?? null,
    };
}

// In pieces, see slices.js.
export function* buildModel(raw) {
    const model = {...raw};
    model.classes = classesOf(raw);
    model.byImportance = sort(model.classes, (d) => d.level, (d) => d.ind);
    model.nodes = raw.nodes.map((node, ind) => ({...node, ind, links: [], starting: [], ending: [], failures: []}));
    model.links = yield* mapped(raw.links, (link, ind) => linkOf(model, link, ind));
    model.linkAt = new Map(
        model.links.map((link) => [link.from.ind * model.nodes.length + link.to.ind, link]),
    );
    model.lsps = yield* mapped(raw.lsps, (lsp, ind) => lspOf(model, lsp, ind));
    model.failures = [];
    for (const failure of raw.failures) {
        model.failures.push(failureOf(model, failure, model.failures.length));
        yield;
    }
    for (const link of model.links) link.worst = worstOf(model, link, raw.worst[link.ind]);
    model.notPlaced = raw.notPlaced.map((demand) => ({
        ...demand, from: model.nodes[demand.from], to: model.nodes[demand.to], class: model.classes[demand.class],
    }));
    model.lots = {
        all: raw.lots.all,
        levels: sort(raw.lots.levels.map((lot) => ({...lot, class: model.classes[lot.class]})), (d) => d.level, (d) => d.class.ind),
    };
    model.knowsAvailability = "up" in raw.lots.all;
    model.failureByKey = new Map(model.failures.map((failure) => [failure.key, failure]));
    model.lspById = new Map(model.lsps.map((lsp) => [lsp.id, lsp]));
    return model;
}

export const makeModel = (raw) => atOnce(buildModel(raw));
