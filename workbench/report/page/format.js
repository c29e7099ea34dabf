// Numbers and small pieces of the document, the same everywhere on the page.
import {format, select} from "d3";

const whole = format(",.0f");
const fine = format(",.4~r");

// Bandwidths have whatever unit the network file uses.
export const amount = (x) => (Math.abs(x) >= 1000 || Number.isInteger(x) ? whole(x) : fine(x));
export const count = whole;
export const brief = (x) => (Math.abs(x) >= 1e6 ? format(".3s")(x) : amount(x));
export const percent = (share) => {
    if (share === null) return "n/a";
    return share === Infinity ? "no capacity" : format(".1f")(100 * share) + "\u00a0%";
};
export const stretchText = (x) => (x < Infinity ? x.toFixed(2) : "n/a");
// Where the fourth nine counts.
export const precise = (share) => format(".4f")(100 * share) + "\u00a0%";
export const plural = (n, noun, nouns = noun + "s") => `${whole(n)} ${n === 1 ? noun : nouns}`;

// A difference of shares.
export function points(change) {
    const size = Math.abs(100 * change);
    return `${change < 0 ? "\u2212" : "+"}${format(size < 0.1 ? ".2~r" : ".1f")(size)} points`;
}

// Appends an element and hands back its selection.
export function add(parent, tag, className, text) {
    const element = select(parent.node?.() ?? parent).append(tag);
    if (className) element.attr("class", className);
    if (text !== undefined) element.text(text);
    return element;
}

// A button that reads as a link within text.
export function textButton(parent, text, onClick) {
    return add(parent, "button", "text", text).attr("type", "button").on("click", onClick);
}
