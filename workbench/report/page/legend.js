// What the map's colours and signs mean.
import {select} from "d3";
import {add} from "./format.js";

function addKey(legend, kind, width, name) {
    const key = add(legend, "span", "key");
    const svg = key.append("svg").attr("width", 24).attr("height", 12).attr("aria-hidden", true);
    svg.append("g").attr("class", "links overlay").append("path")
        .attr("class", kind).attr("stroke-width", width).attr("d", "M1,6h22");
    key.append("span").text(name);
}

export function drawLegend(box, {title, signs, scale}) {
    const legend = select(box).html("");
    add(legend, "span", "what", title);
    const steps = add(legend, "span", "keys");
    if (scale.steps[0].kind.startsWith("u")) addKey(steps, "unone", 1, "nothing");
    for (const {kind, width, name} of scale.steps) addKey(steps, kind, width, name);
    for (const [kind, name] of signs) addKey(steps, kind, 3, name);
}
