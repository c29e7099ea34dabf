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
                ...backup.nodes.map((node) => model.nodes[node].name),
                ...backup.linkIds.map((link) => model.links[link].name),
            ],
        })),
    };
    lsp.name = `${lsp.from.name} > ${lsp.to.name}`;
    lsp.className = model.classes[lsp.class];
    for (const link of lsp.links) link.lsps.push(lsp);
    return lsp;
}

function failureOf(model, raw, ind) {
    const link = raw.link === undefined ? null : model.links[raw.link];
    const node = raw.node === undefined ? null : model.nodes[raw.node];
    return {
        ...raw, ind, link, node,
        kind: link ? "link" : "node",
        key: link ? `link-${link.ind}` : `node-${node.ind}`,
        name: link ? link.name : node.name,
        restored: raw.restored.map(([lsp, ...backups]) => ({
            lsp: model.lsps[lsp],
            backups: backups.map((ind) => model.lsps[lsp].backups[ind]),
        })),
        lost: raw.lost.map(([lsp, reason]) => ({lsp: model.lsps[lsp], reason: model.reasons[reason]})),
        fullest: raw.fullest === null ? null : model.links[raw.fullest],
        overflows: raw.overflows.map((link) => model.links[link]),
    };
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
    for (const {lsp, backups} of failure.restored) {
        book(lsp.links, lsp, -1);
        book(routeWith(lsp, backups), lsp, 1);
    }
    for (const {lsp} of failure.lost) book(lsp.links, lsp, -1);
    for (const link of failedLinks(model, failure)) loads[link.ind].fill(0);
    return loads;
}

// The links that an LSP's traffic takes with these backups in use. A local backup leaves
// the primary at its first node and joins it again at its last.
export function routeWith(lsp, backups) {
    let route = lsp.links;
    for (const backup of backups) {
        const first = route.findIndex((link) => link.from === backup.links[0].from);
        const last = route.findLastIndex((link) => link.to === backup.links.at(-1).to);
        if (first >= 0 && last >= first)
            route = [...route.slice(0, first), ...backup.links, ...route.slice(last + 1)];
    }
    return route;
}
