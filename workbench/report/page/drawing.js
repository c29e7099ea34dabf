// What the map has drawn of one model, in a group of its own: links, paths, nodes and names.
// Links of one look are one path: thousands of them stay quick.
//
// `stage` is what all drawings share: {size, transform, isComputed}, the map's size in pixels,
// the zoom, and whose places the nodes are at.
import {create, extent, group, median} from "d3";
import {MARK, placeNames} from "./labels.js";

const MARGIN = 30;
const REACH = 8;  // pixels around a link or node that count as on it
const LANE = 4;   // between a primary and a backup on the same link

// How large nodes and lines may be: as the space between neighbours allows before zooming.
function sizesFor(spacing) {
    const room = Math.max(0, Math.min(1, (spacing - 8) / 52));
    return {radius: 1.5 + 3 * room, gap: 0.3 + 0.9 * room, stretch: 0.6 + 0.4 * room};
}

export function makeDrawing(model, stage) {
    const scene = create("svg:g");
    const [halo, links, overlay, nodes, names, marks] =
        ["halo", "links", "overlay", "nodes", "names", "marks"].map((name) => scene.append("g").attr("class", name));
    const degree = model.nodes.map(() => 0);
    for (const link of model.links) degree[link.from.ind]++;
    const byDegree = [...model.nodes].sort((a, b) => degree[b.ind] - degree[a.ind]);

    let sizes = sizesFor(60);
    let view = null;
    let drawnOn = {};  // the stage as it was

    function place() {
        const {size, transform} = stage;
        const spots = model.nodes.map((node) => (stage.isComputed ? node.computed : node.spot));
        const [left, right] = extent(spots, (d) => d[0]);
        const [top, bottom] = extent(spots, (d) => d[1]);
        const unit = Math.min(
            (size.width - 2 * MARGIN) / (right - left || 1),
            (size.height - 2 * MARGIN) / (bottom - top || 1),
        );
        for (const node of model.nodes) {
            const [x, y] = spots[node.ind];
            node.px = transform.applyX(size.width / 2 + (x - (left + right) / 2) * unit);
            node.py = transform.applyY(size.height / 2 + (y - (top + bottom) / 2) * unit);
        }
        const lengths = model.links.map(({from, to}) => Math.hypot(to.px - from.px, to.py - from.py));
        sizes = sizesFor((median(lengths) ?? 60) / transform.k);
    }

    // The link moved to the right by `offset`, as [x1, y1, x2, y2].
    function segment(link, offset) {
        const dx = link.to.px - link.from.px;
        const dy = link.to.py - link.from.py;
        const length = Math.hypot(dx, dy) || 1;
        const [ox, oy] = [(-dy / length) * offset, (dx / length) * offset];
        return [link.from.px + ox, link.from.py + oy, link.to.px + ox, link.to.py + oy];
    }

    function line(link, width, lane = 0) {
        const [x1, y1, x2, y2] = segment(link, sizes.gap + width / 2 + lane);
        return `M${x1.toFixed(1)},${y1.toFixed(1)}L${x2.toFixed(1)},${y2.toFixed(1)}`;
    }

    function lookOf(link) {
        if (view.failed.has(link)) return {kind: "failed", rank: 100, width: 1.5};
        if (link.drained) return {kind: "drained", rank: -2, width: 1};
        const value = view.shares[link.ind];
        const shown = view.over ? Math.abs(value) >= view.over : true;
        if (!shown) return {kind: "below", rank: -1, width: 0.7};
        const width = view.scale.widthOf(value) * sizes.stretch;
        const isFaint = view.strong && !view.strong.has(link);
        return {kind: view.scale.classOf(value) + (isFaint ? " faint" : ""), rank: (isFaint ? 0 : 50) + width, width};
    }

    // The widest last, over the others.
    function drawLinks() {
        const looks = [...group(model.links.map((link) => ({link, ...lookOf(link)})), (d) => d.kind)]
            .map(([kind, all]) => ({kind, all, width: all[0].width, rank: all[0].rank}))
            .sort((a, b) => a.rank - b.rank);
        links.selectAll("path").data(looks).join("path")
            .attr("class", (d) => d.kind)
            .attr("stroke-width", (d) => d.width.toFixed(2))
            .attr("d", (d) => d.all.map(({link}) => line(link, d.width)).join(""));
        const picked = view.picked.filter((d) => d.from);
        halo.selectAll("path").data(picked).join("path").attr("d", (d) => line(d, lookOf(d).width));
    }

    function drawPaths() {
        const hops = view.paths.flatMap(({kind, links}) => links.map((link) => ({kind, link})));
        overlay.selectAll("path").data(hops).join("path")
            .attr("class", (d) => d.kind)
            .attr("d", (d) => line(d.link, 3, d.kind.startsWith("primary") ? 0 : LANE));
    }

    function drawNodes() {
        const touched = new Set(view.paths.flatMap(({links}) => links.flatMap((l) => [l.from, l.to])));
        const picked = view.picked.flatMap((d) => (d.from ? [d.from, d.to] : [d]));
        const failed = view.crosses.flatMap((d) => (d.from ? [d.from, d.to] : [d]));
        const wanted = new Set([...touched, ...picked, ...failed]);
        nodes.attr("class", sizes.radius < 3 ? "nodes dots" : "nodes");
        nodes.selectAll("circle").data(model.nodes).join("circle")
            .attr("class", (d) => (view.failedNodes.has(d) ? "failed" : d.drained ? "drained" : touched.has(d) || picked.includes(d) ? "on" : null))
            .attr("r", (d) => (wanted.has(d) ? Math.max(3, sizes.radius) : sizes.radius).toFixed(2))
            .attr("cx", (d) => d.px).attr("cy", (d) => d.py);
        const crosses = view.crosses.map((d) => (d.from
            ? [(d.from.px + d.to.px) / 2, (d.from.py + d.to.py) / 2] : [d.px, d.py]));
        marks.selectAll("path").data(crosses).join("path")
            .attr("d", ([x, y]) => `M${x - MARK},${y - MARK}l${2 * MARK},${2 * MARK}m0,${-2 * MARK}l${-2 * MARK},${2 * MARK}`);
        names.selectAll("text").data(placeNames(byDegree, sizes.radius, stage.size, wanted, crosses), (d) => d.node.ind).join("text")
            .text((d) => d.node.name)
            .attr("class", (d) => (wanted.has(d.node) ? "wanted" : null))
            .attr("text-anchor", (d) => d.anchor)
            .attr("x", (d) => d.x).attr("y", (d) => d.y);
    }

    function draw(next) {
        view = next;
        drawnOn = {...stage};
        place();
        drawLinks();
        drawPaths();
        drawNodes();
    }

    function distanceTo(link, x, y) {
        const [x1, y1, x2, y2] = segment(link, sizes.gap + 2);
        const [dx, dy] = [x2 - x1, y2 - y1];
        const along = ((x - x1) * dx + (y - y1) * dy) / (dx * dx + dy * dy || 1);
        const t = Math.max(0, Math.min(1, along));
        return Math.hypot(x - x1 - t * dx, y - y1 - t * dy);
    }

    function nearest(x, y) {
        const node = model.nodes.find((d) => Math.hypot(d.px - x, d.py - y) <= sizes.radius + 3);
        if (node) return {node};
        let [link, best] = [null, REACH];
        for (const candidate of model.links) {
            const distance = distanceTo(candidate, x, y);
            if (distance < best) [link, best] = [candidate, distance];
        }
        return link ? {link} : null;
    }

    const isStale = () => Object.keys(stage).some((name) => stage[name] !== drawnOn[name]);

    return {model, scene: scene.node(), degree, draw, nearest, isStale};
}
