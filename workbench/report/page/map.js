// The map: every directed link on the right-hand side of its direction, coloured and as
// wide as its share. Positions are worked out in pixels on every move, so lines, names and
// symbols keep their size when the map is zoomed.
import {extent, pointer, select, zoom, zoomIdentity} from "d3";
import {add, percent} from "./format.js";

const MARGIN = 36;
const REACH = 8;  // pixels around a link or node that count as on it

// Upper bounds of the colour steps; above 1 a link is overloaded.
export const STEPS = [0.2, 0.4, 0.6, 0.8, 1 + 1e-9, Infinity];

export function stepOf(share) {
    return share <= 0 ? "none" : STEPS.findIndex((bound) => share <= bound);
}

const widthOf = (share) => 1.1 + 3.6 * Math.min(1, share);

export function makeMap(svg, tip, model, pick) {
    const scene = svg.append("g");
    const layers = ["halo", "links", "overlay", "nodes", "names", "marks"].map((name) =>
        scene.append("g").attr("class", name));
    const [halo, links, overlay, nodes, names, marks] = layers;
    const neighbours = model.nodes.map(() => 0);
    for (const link of model.links) neighbours[link.from.ind]++;
    const byDegree = [...model.nodes].sort((a, b) => neighbours[b.ind] - neighbours[a.ind]);
    const radius = model.nodes.length > 150 ? 2.4 : model.nodes.length > 40 ? 3.4 : 5;
    const air = model.nodes.length > 60 ? 10 : 0;  // between names
    const gap = model.nodes.length > 150 ? 0.8 : 1.2;

    let size = {width: 640, height: 440};
    let transform = zoomIdentity;
    let computed = !model.nodes.every((node) => node.spot);
    let view = {shares: model.links.map((link) => link.share), paths: [], failed: new Set()};

    function place() {
        const spots = model.nodes.map((node) => (computed ? node.computed : node.spot));
        const [left, right] = extent(spots, (d) => d[0]);
        const [top, bottom] = extent(spots, (d) => d[1]);
        const scale = Math.min(
            (size.width - 2 * MARGIN) / (right - left || 1),
            (size.height - 2 * MARGIN) / (bottom - top || 1),
        );
        for (const node of model.nodes) {
            const [x, y] = spots[node.ind];
            node.px = transform.applyX(size.width / 2 + (x - (left + right) / 2) * scale);
            node.py = transform.applyY(size.height / 2 + (y - (top + bottom) / 2) * scale);
        }
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
        const [x1, y1, x2, y2] = segment(link, gap + width / 2 + lane);
        return `M${x1.toFixed(1)},${y1.toFixed(1)}L${x2.toFixed(1)},${y2.toFixed(1)}`;
    }

    function drawLinks() {
        links.selectAll("path").data(model.links).join("path")
            .attr("class", (d) => view.failed.has(d) ? "failed" : `u${stepOf(view.shares[d.ind])}`)
            .attr("stroke-width", (d) => widthOf(view.shares[d.ind]))
            .attr("d", (d) => line(d, widthOf(view.shares[d.ind])));
        halo.selectAll("path").data(view.raised ?? []).join("path")
            .attr("d", (d) => line(d, widthOf(view.shares[d.ind])))
            .attr("stroke-width", (d) => widthOf(view.shares[d.ind]) + 5);
        links.classed("faint", view.paths.length > 0);
    }

    function drawPaths() {
        const hops = view.paths.flatMap(({kind, links, lane}) =>
            links.map((link) => ({kind, link, lane})));
        overlay.selectAll("path").data(hops).join("path")
            .attr("class", (d) => d.kind)
            .attr("d", (d) => line(d.link, 3, d.lane));
    }

    function drawNodes() {
        const touched = new Set(view.paths.flatMap(({links}) => links.flatMap((l) => [l.from, l.to])));
        nodes.selectAll("circle").data(model.nodes).join("circle")
            .attr("class", (d) => d === view.failedNode ? "failed" : touched.has(d) ? "on" : null)
            .attr("r", radius).attr("cx", (d) => d.px).attr("cy", (d) => d.py);
        const crosses = [...(view.cross ?? [])].map((d) => d.from
            ? [(d.from.px + d.to.px) / 2, (d.from.py + d.to.py) / 2] : [d.px, d.py]);
        marks.selectAll("path").data(crosses).join("path")
            .attr("d", ([x, y]) => `M${x - 7},${y - 7}l14,14m0,-14l-14,14`);
        return touched;
    }

    const apart = (a, b) => a[0] >= b[2] || a[2] <= b[0] || a[1] >= b[3] || a[3] <= b[1];

    // Where a name would be on one side of its node, as [left, top, right, bottom].
    function nameBox(node, side) {
        const width = 6.4 * node.name.length;
        const x = side > 0 ? node.px + radius + 2 : node.px - radius - 2 - width;
        return [x - air, node.py - 7 - air, x + width + air, node.py + 7 + air];
    }

    // Names that overlap none of those set before, nor, unless they have to be there, a
    // node; those of the nodes on view.paths come first.
    function drawNames(touched) {
        const taken = [];
        const screen = [0, 0, size.width, size.height];
        const hidesNode = (box, node) => model.nodes.some((d) =>
            d !== node && !apart(box, [d.px - 3, d.py - 3, d.px + 3, d.py + 3]));
        const fits = (node) => {
            const boxes = [1, -1].map((side) => ({side, box: nameBox(node, side)}))
                .filter(({box}) => box[0] >= -air && box[2] <= size.width + air && !apart(box, screen)
                    && taken.every((other) => apart(box, other)));
            const best = boxes.find(({box}) => !hidesNode(box, node)) ?? (touched.has(node) ? boxes[0] : undefined);
            if (!best) return false;
            node.side = best.side;
            return taken.push(best.box);
        };
        const first = byDegree.filter((d) => touched.has(d) || d === view.failedNode);
        const rest = byDegree.filter((d) => !touched.has(d) && d !== view.failedNode);
        const shown = [...first, ...rest].filter(fits);
        names.selectAll("text").data(shown, (d) => d.ind).join("text")
            .text((d) => d.name)
            .attr("text-anchor", (d) => (d.side > 0 ? "start" : "end"))
            .attr("x", (d) => d.px + (radius + 2) * d.side).attr("y", (d) => d.py + 4);
    }

    function draw() {
        place();
        drawLinks();
        drawPaths();
        drawNames(drawNodes());
    }

    function distanceTo(link, x, y) {
        const [x1, y1, x2, y2] = segment(link, gap + 2);
        const [dx, dy] = [x2 - x1, y2 - y1];
        const along = ((x - x1) * dx + (y - y1) * dy) / (dx * dx + dy * dy || 1);
        const t = Math.max(0, Math.min(1, along));
        return Math.hypot(x - x1 - t * dx, y - y1 - t * dy);
    }

    function nearest(event) {
        const [x, y] = pointer(event, svg.node());
        const node = model.nodes.find((d) => Math.hypot(d.px - x, d.py - y) <= radius + 3);
        if (node) return {node};
        let [link, best] = [null, REACH];
        for (const candidate of model.links) {
            const distance = distanceTo(candidate, x, y);
            if (distance < best) [link, best] = [candidate, distance];
        }
        return link ? {link} : null;
    }

    function showTip(event) {
        const found = nearest(event);
        svg.classed("over", found !== null);
        tip.attr("hidden", found ? null : true);
        if (!found) return;
        const [x, y] = pointer(event, svg.node().parentNode);
        tip.style("left", `${Math.min(x + 14, size.width - 180)}px`).style("top", `${y + 14}px`);
        tip.selectAll("*").remove();
        add(tip, "b", null, (found.link ?? found.node).name);
        if (found.link) add(tip, "span", null, `${percent(view.shares[found.link.ind])} ${view.what}`);
    }

    const zooming = zoom().scaleExtent([0.8, 40]).on("zoom", (event) => {
        transform = event.transform;
        draw();
    });
    svg.call(zooming)
        .on("pointermove", showTip)
        .on("pointerleave", () => tip.attr("hidden", true))
        .on("click", (event) => {
            const found = nearest(event);
            if (found) pick(found);
        })
        .on("keydown.map", (event) => {
            const pan = {ArrowLeft: [40, 0], ArrowRight: [-40, 0], ArrowUp: [0, 40], ArrowDown: [0, -40]};
            if (pan[event.key]) svg.call(zooming.translateBy, ...pan[event.key].map((d) => d / transform.k));
            else if (event.key === "+" || event.key === "=") zoomBy(1.5);
            else if (event.key === "-") zoomBy(1 / 1.5);
            else if (event.key === "0") fit();
            else return;
            event.preventDefault();
        });

    const zoomBy = (factor) => svg.call(zooming.scaleBy, factor);
    const fit = () => svg.call(zooming.transform, zoomIdentity);

    function resize() {
        const box = svg.node().getBoundingClientRect();
        if (!box.width || !box.height) return;
        size = {width: box.width, height: box.height};
        svg.attr("viewBox", `0 0 ${size.width} ${size.height}`);
        zooming.extent([[0, 0], [size.width, size.height]]);
        draw();
    }
    new ResizeObserver(resize).observe(svg.node());

    const placeBy = (layout) => { computed = layout === "computed"; fit(); };
    return {zoomBy, fit, placeBy, show(next) { view = next; draw(); }};
}

// Steps of the scale with their colours, and the signs of what is shown.
export function drawLegend(box, what, signs) {
    const legend = select(box).html("");
    add(legend, "span", "what", what);
    const names = ["0 to 20 %", "20 to 40", "40 to 60", "60 to 80", "80 to 100", "over 100"];
    add(legend, "span", "key").call((key) => {
        swatch(key, "unone", 1);
        key.append("span").text("nothing");
    });
    names.forEach((name, ind) => {
        const key = add(legend, "span", "key");
        swatch(key, `u${ind}`, widthOf(0.2 * (ind + 0.5)));
        key.append("span").text(name);
    });
    for (const [kind, name] of signs) {
        const key = add(legend, "span", "key");
        swatch(key, kind, 3);
        key.append("span").text(name);
    }
}

function swatch(key, kind, width) {
    const svg = key.append("svg").attr("width", 26).attr("height", 12).attr("aria-hidden", true);
    svg.append("g").attr("class", "links overlay").append("path")
        .attr("class", kind).attr("stroke-width", width).attr("d", "M1,6h24");
}
