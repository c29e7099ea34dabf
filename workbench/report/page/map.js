// The map: every directed link on the right-hand side of its direction. Positions are
// worked out in pixels on every move, so lines, names and symbols keep their size when the
// map is zoomed.
import {pointer, zoom, zoomIdentity} from "d3";
import {makeDrawing} from "./drawing.js";
import {add, percent} from "./format.js";
import {CHANGES} from "./scale.js";

export function makeMap(svg, tip, first, pick) {
    const stage = {
        size: {width: 640, height: 440}, transform: zoomIdentity, isComputed: !first.nodes.every((node) => node.spot),
    };
    let drawing = makeDrawing(first, stage);
    let view = null;
    svg.node().append(drawing.scene);

    const draw = () => { if (view) drawing.draw(view); };
    const nearest = (event) => drawing.nearest(...pointer(event, svg.node()));

    function textOf({link, node}) {
        if (node) return `${drawing.degree[node.ind]} links out`;
        if (view.failed.has(link)) return "failed";
        if (link.drained) return "out of service";
        const value = view.shares[link.ind];
        return view.scale === CHANGES ? `${value > 0 ? "+" : ""}${percent(value)} of its capacity` : percent(value);
    }

    function showTip(event) {
        const found = nearest(event);
        svg.classed("over", found !== null);
        tip.attr("hidden", found ? null : true);
        if (!found) return;
        const [x, y] = pointer(event, svg.node().parentNode);
        tip.style("left", `${Math.min(x + 14, stage.size.width - 180)}px`).style("top", `${y + 14}px`);
        tip.selectAll("*").remove();
        add(tip, "b", null, (found.link ?? found.node).name);
        add(tip, "span", null, textOf(found));
    }

    const zooming = zoom().scaleExtent([0.8, 60]).on("zoom", (event) => {
        stage.transform = event.transform;
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
            if (pan[event.key]) svg.call(zooming.translateBy, ...pan[event.key].map((d) => d / stage.transform.k));
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
        stage.size = {width: box.width, height: box.height};
        svg.attr("viewBox", `0 0 ${box.width} ${box.height}`);
        zooming.extent([[0, 0], [box.width, box.height]]);
        draw();
    }
    // A map on show is drawn anew after the frame, which is long enough; until then the
    // browser scales it.
    new ResizeObserver(() => (svg.attr("viewBox") ? setTimeout(resize) : resize())).observe(svg.node());

    return {
        zoomBy, fit,
        placeBy(layout) {
            stage.isComputed = layout === "computed";
            fit();
        },
        // A view of a model, aside: to be shown later.
        prepare(next, model) {
            const aside = makeDrawing(model, stage);
            aside.draw(next);
            return aside;
        },
        // A view of a model, whose nodes are those of the first, from a drawing of just that
        // if there is one.
        show(next, model, ready = null) {
            view = next;
            if (ready || model !== drawing.model) {
                const former = drawing;
                drawing = ready ?? makeDrawing(model, stage);
                former.scene.replaceWith(drawing.scene);
            }
            if (!ready || ready.isStale()) draw();
        },
    };
}
