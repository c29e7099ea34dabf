// A heat map: a cell for every two values of the axes.
import * as Plot from "@observablehq/plot";
import {max, min} from "d3";
import {add, count, percent} from "./format.js";

const LETTERS = 30;
const FIGURE = 34;  // room for one in a cell, in pixels

const middle = (text) => (text.length > LETTERS ? `${text.slice(0, LETTERS / 2)}\u2026${text.slice(-LETTERS / 2)}` : text);

// Names without what all of them start and end with, up to a dot or slash: "hourly/07.demands"
// among others of that folder is "07".
function briefly(values) {
    const texts = values.map(String);
    const [first] = texts;
    const shares = (length, part) => texts.every((text) => part(text, length) === part(first, length));
    const longest = (part) => {
        let length = 0;
        while (texts.length > 1 && length < first.length && shares(length + 1, part)) length++;
        return length;
    };
    const head = first?.slice(0, longest((text, length) => text.slice(0, length))).lastIndexOf("/") + 1;
    const end = first?.slice(first.length - longest((text, length) => text.slice(-length))) ?? "";
    const tail = end.includes(".") ? end.length - end.indexOf(".") : 0;
    return (value) => middle(String(value).slice(head, tail ? -tail : undefined));
}

// In the order of the study, failures from the gravest on, numbers by size.
function domainOf(values, order) {
    const all = [...new Set(values)];
    if (order) return all.sort((a, b) => order.indexOf(a) - order.indexOf(b));
    return all.every((value) => typeof value === "number") ? all.sort((a, b) => a - b) : all;
}

export function drawHeat(box, cells, {across, down, measure, width}) {
    box.replaceChildren();
    const show = measure.kind === "share" ? percent : count;
    const [xs, ys] = [domainOf(cells.map((d) => d.x), across.order), domainOf(cells.map((d) => d.y), down.order)];
    const [xName, yName] = [briefly(xs), briefly(ys)];
    const longest = (values, name) => max(values, (value) => name(value).length) ?? 0;
    const marginLeft = Math.min(210, 16 + 6.5 * longest(ys, yName));
    const isSlanted = longest(xs, xName) * 7.5 * xs.length > width - marginLeft;
    const isCrowded = xs.length * 18 > width - marginLeft;
    const marginBottom = isSlanted ? 20 + (isCrowded ? 6.5 : 5) * longest(xs, xName) : 24;
    const hasRoom = (width - marginLeft) / xs.length > FIGURE;
    const values = cells.map((d) => d.value ?? 0);
    const domain = [Math.min(0, min(values) ?? 0), Math.max(max(values) ?? 0, 1e-9)];
    if (measure.good) domain[0] = min(values);
    const text = (d) => (d.value === null || d.value === undefined ? "" : show(d.value).replace("\u00a0%", ""));
    box.append(Plot.plot({
        style: {background: "none", fontFamily: "inherit", fontSize: "11px"},
        width: Math.max(300, width), height: Math.max(60, ys.length * (ys.length > 16 ? 15 : 26)) + marginBottom + 12,
        marginLeft, marginBottom, marginTop: 6, marginRight: isSlanted ? 30 : 12,
        ariaLabel: `Heat map: ${measure.name}, ${across.name} across${across === down ? "" : `, ${down.name} down`}`,
        x: {domain: xs, label: null, tickFormat: xName, tickRotate: isCrowded ? -90 : isSlanted ? -45 : 0, tickSize: 0},
        y: {domain: ys, label: null, tickFormat: yName, tickSize: 0},
        color: {type: "linear", scheme: measure.good ? "Blues" : "YlOrRd", domain, legend: true, label: measure.name,
            tickFormat: measure.kind === "share" ? "%" : undefined},
        marks: [
            Plot.cell(cells, {x: "x", y: "y", fill: "value", inset: 0.5,
                title: (d) => `${across.name}: ${d.x}${across === down ? "" : `\n${down.name}: ${d.y}`}\n${measure.name}: ${show(d.value)}`}),
            hasRoom ? Plot.text(cells, {x: "x", y: "y", text, pointerEvents: "none",
                fill: (d) => ((d.value - domain[0]) / (domain[1] - domain[0]) > 0.6 ? "white" : "black")}) : null,
        ],
    }));
}

export function sayNoMap(box, words) {
    box.replaceChildren();
    add(box, "p", "help", words);
}
