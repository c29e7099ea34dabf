// The plan and its audit as the page's other modules use them.
//
// The embedded data names nodes, links and LSPs by their position; here each becomes an
// object with references to the others. Every figure of a failure comes from the audit as
// it was computed; only the load of each link after it is added up here, for the colours.
import {max, sum} from "d3";

// Part of a capacity; infinite where there is load and no capacity.
export function ratio(part, whole) {
    return whole > 0 ? part / whole : part > 0 ? Infinity : 0;
}

// Over all classes a link is as full as its fullest class: none borrows from another.
export function shareOf(link, oa, field = "reserved") {
    if (oa >= 0) return ratio(link[field][oa], link.cap[oa]);
    return max(link.cap, (capacity, c) => ratio(link[field][c], capacity));
}

function linkOf(model, {a, b, cap, pri, res}, ind) {
    const [from, to] = [model.nodes[a], model.nodes[b]];
    const link = {ind, from, to, cap, pri, res, name: `${from.name} > ${to.name}`, lsps: []};
    link.primary = pri.map((levels) => sum(levels));  // [class]
    link.reserved = res.map((levels) => sum(levels));
    link.capacityTotal = sum(cap);
    link.primaryTotal = sum(link.primary);
    link.backupTotal = sum(link.reserved) - link.primaryTotal;
    link.share = shareOf(link, -1);
    link.primaryShare = shareOf(link, -1, "primary");
    return link;
}

// The links of a path of node positions.
function linksOf(model, path) {
    const links = [];
    for (let hop = 0; hop + 1 < path.length; hop++)
        links.push(model.linkAt.get(path[hop] * model.nodes.length + path[hop + 1]));
    return links;
}

function lspOf(model, raw, ind) {
    const lsp = {
        ...raw, ind,
        from: model.nodes[raw.path[0]],
        to: model.nodes[raw.path.at(-1)],
        links: linksOf(model, raw.path),
        backups: raw.backups.map((backup) => ({
            ...backup,
            links: linksOf(model, backup.path),
            protects: [
                ...backup.guardedNodes.map((node) => `node ${model.nodes[node].name}`),
                ...backup.guardedLinks.map((link) => `link ${model.links[link].name}`),
            ],
        })),
    };
    lsp.name = `${lsp.from.name} > ${lsp.to.name}`;
    lsp.className = model.classes[lsp.class];
    for (const link of lsp.links) link.lsps.push(lsp);
    return lsp;
}

// The load of one class on a link, as the audit names it.
function loadOf(model, raw) {
    return raw && {link: model.links[raw.link], class: raw.class, share: raw.share};
}

function failureOf(model, raw, ind) {
    const kind = raw.link === undefined ? "node" : "link";
    const [link, node] = [model.links[raw.link] ?? null, model.nodes[raw.node] ?? null];
    const lost = raw.lost.map(([lsp, cause, reason]) =>
        ({lsp: model.lsps[lsp], cause, reason: model.reasons[reason]}));
    return {
        ind, kind, link, node, lost,
        hit: raw.hit,
        key: `${kind}-${raw[kind]}`,
        name: (link ?? node).name,
        restored: raw.restored.map(([lsp, backup]) =>
            ({lsp: model.lsps[lsp], backup: model.lsps[lsp].backups[backup]})),
        lostBw: sum(lost, (d) => d.lsp.bw),
        fullest: loadOf(model, raw.fullest),
        overloads: raw.overloads.map((load) => loadOf(model, load)),
    };
}

function notPlacedOf(model, raw) {
    const [from, to] = [model.nodes[raw.from], model.nodes[raw.to]];
    return {...raw, from, to, className: model.classes[raw.class]};
}

export function makeModel(raw) {
    const model = {...raw};
    model.nodes = raw.nodes.map((node, ind) => ({...node, ind}));
    model.links = raw.links.map((link, ind) => linkOf(model, link, ind));
    model.linkAt = new Map(
        model.links.map((link) => [link.from.ind * raw.nodes.length + link.to.ind, link]),
    );
    model.lsps = raw.lsps.map((lsp, ind) => lspOf(model, lsp, ind));
    model.failures = raw.failures.map((failure, ind) => failureOf(model, failure, ind));
    model.notPlaced = raw.notPlaced.map((demand) => notPlacedOf(model, demand));
    model.failureByKey = new Map(model.failures.map((failure) => [failure.key, failure]));
    model.lspById = new Map(model.lsps.map((lsp) => [lsp.id, lsp]));
    return model;
}

export function failedLinks(model, failure) {
    return failure.link
        ? new Set([failure.link])
        : new Set(model.links.filter((link) => failure.node === link.from || failure.node === link.to));
}

// What every link carries while the failure lasts, [link][class]: its primaries, less
// those that the failure hits, and the backups in use.
export function loadsAfter(model, failure) {
    const loads = model.links.map((link) => [...link.primary]);
    const book = (links, lsp, sign) => {
        for (const link of links) loads[link.ind][lsp.class] += sign * lsp.bw;
    };
    for (const {lsp, backup} of failure.restored) {
        book(lsp.links, lsp, -1);
        book(detour(lsp, backup), lsp, 1);
    }
    for (const {lsp} of failure.lost) book(lsp.links, lsp, -1);
    for (const link of failedLinks(model, failure)) loads[link.ind].fill(0);
    return loads;
}

// The links that an LSP's traffic takes over a backup, which leaves the primary at its
// first node and joins it again at its last.
function detour(lsp, backup) {
    const nodes = [lsp.from, ...lsp.links.map((link) => link.to)];
    const leave = nodes.indexOf(backup.links[0].from);
    const join = nodes.indexOf(backup.links.at(-1).to);
    return [...lsp.links.slice(0, leave), ...backup.links, ...lsp.links.slice(join)];
}
