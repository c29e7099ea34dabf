// Puts the page together: the state of the address goes in, everything on show comes out.
import {select, sort} from "d3";
import {drawBars} from "./bars.js";
import {drawDistribution} from "./charts.js";
import {compare} from "./diff.js";
import {showFailure} from "./failure_detail.js";
import {figuresOf, settingsOf, subtitleOf} from "./figures.js";
import {add, plural} from "./format.js";
import {drawLegend} from "./legend.js";
import {showLink} from "./link_detail.js";
import {showLsp} from "./lsp_detail.js";
import {makeMap} from "./map.js";
import {makeModel, shareOf} from "./model.js";
import {showNode} from "./node_detail.js";
import {showOverview} from "./overview.js";
import {makePicker, searchIn} from "./picker.js";
import {hashOf, NOTHING_PICKED, readState} from "./state.js";
import {makeTables} from "./tables.js";
import {viewOf} from "./view.js";

const BARS = 22;

const byId = (id) => document.getElementById(id);
const data = JSON.parse(byId("data").textContent);
const model = makeModel(data);
if (data.before) compare(model, makeModel(data.before));
const map = makeMap(select("#map"), select("#tip"), model, (found) => change(found));
let state = readState(model, location.hash);
let shown = null;  // the hash that is on show

// Picks a thing, a failure, or another way to count. At once: the browser tells of a new
// hash only later.
function change(fields) {
    const picks = ["lsp", "link", "node"].some((name) => name in fields);
    state = {...state, ...(picks ? NOTHING_PICKED : {}), ...fields};
    location.hash = hashOf(model, state);
    show();
}

function drawHead() {
    document.title = `${model.title} - KAVRIL plan`;
    byId("title").textContent = model.title;
    byId("subtitle").textContent = subtitleOf(model);
    byId("producer").textContent = settingsOf(model);
    for (const {name, value, note, bad, change: fields} of figuresOf(model)) {
        const tile = add(byId("figures"), fields ? "button" : "div", bad ? "figure bad" : "figure");
        if (fields) tile.attr("type", "button").on("click", () => change({...NOTHING_PICKED, ...fields}));
        add(tile, "span", "name", name);
        add(tile, "b", null, value);
        add(tile, "span", "note", note);
    }
}

function showMap(hovered = null) {
    const view = viewOf(model, state, hovered);
    map.show(view);
    drawLegend("#legend", view);
    const subject = state.lsp ? `with LSP ${state.lsp.id}` : view.title;
    select("#map").attr("aria-label", `Map of ${model.title}: ${subject}`);
}

function showDetail() {
    const box = byId("detail");
    box.replaceChildren();
    const draw = state.lsp ? showLsp : state.link ? showLink : state.node ? showNode
        : state.failure ? showFailure : showOverview;
    draw(box, model, state, change, showMap);
}

function drawCharts() {
    const [first, second] = ["distribution", "fullest"].map((id) => byId(id).querySelector(".plot"));
    drawDistribution(first, model, state.oa, first.clientWidth);
    const of = (link) => shareOf(link, link.reserved, state.oa);
    const fullest = sort(model.links.filter((d) => of(d) > 0), (d) => -of(d));
    drawBars(second, model, fullest.slice(0, BARS), state.oa, (link) => change({link}));
    byId("fullest").querySelector("figcaption").textContent = fullest.length > BARS
        ? `The ${BARS} fullest of ${plural(fullest.length, "link")} in use; the table has them all.` : "";
}

const labelOf = ({lsp, link, node}) =>
    (lsp ? `LSP ${lsp.id}: ${lsp.name}` : link ? `link ${link.name}` : node ? `node ${node.name}` : "");

function show() {
    const former = shown === null ? null : readState(model, shown);
    shown = location.hash;
    failurePicker.set(state.failure ? `${state.failure.kind} ${state.failure.name}` : "");
    thingPicker.set(labelOf(state));
    byId("noFailure").disabled = !state.failure;
    byId("noThing").disabled = !labelOf(state);
    byId("class").value = state.oa;
    byId("show").value = state.show;
    byId("showLabel").hidden = state.failure !== null;
    byId("over").value = state.over || "";
    showMap();
    showDetail();
    if (former?.oa !== state.oa) drawCharts();
}

const KINDS = [["cable", "Cables"], ["link", "Links"], ["node", "Nodes"], ["group", "Risk groups"], ["pair", "Pairs"], ["custom", "Others"]];

const failurePicker = makePicker(byId("failure"), {
    id: "pickFailure", label: "Failure", placeholder: "cable, node or risk group",
    search: searchIn(KINDS.map(([kind, name]) => ({
        name,
        items: model.failures.filter((d) => d.kind === kind).map((failure) => ({
            text: failure.name, value: failure, note: failure.lost.length ? `${plural(failure.lost.length, "LSP")} lost` : "",
        })),
    }))),
    onPick: (failure) => change({failure}),
});

const thingPicker = makePicker(byId("thing"), {
    id: "pickThing", label: "LSP, link or node", placeholder: "LSP, link or node",
    search: searchIn([
        {name: "Nodes", items: model.nodes.map((node) => ({text: node.name, value: {node}}))},
        {name: "Links", items: model.links.map((link) => ({text: link.name, value: {link}}))},
        {name: "LSPs", items: model.lsps.map((lsp) => ({text: `${lsp.id}: ${lsp.name}`, value: {lsp}, note: model.classes.length > 1 ? lsp.class.name : ""}))},
    ]),
    onPick: change,
});

function stepFailure(by) {
    const at = state.failure?.ind ?? (by > 0 ? -1 : 0);
    change({failure: model.failures.at((at + by) % model.failures.length) ?? null});
}

function fillControls() {
    const classes = select("#class");
    add(classes, "option", null, "all (the fullest)").attr("value", -1);
    for (const one of model.byImportance) add(classes, "option", null, one.name).attr("value", one.ind);
    classes.on("change", () => change({oa: Number(classes.property("value"))}));
    select("#classLabel").attr("hidden", model.classes.length > 1 ? null : true);
    select("#show option[value=change]").attr("hidden", model.before ? null : true);
    select("#show").on("change", (event) => change({show: event.target.value}));
    select("#over").on("input", (event) => change({over: Math.max(0, Number(event.target.value))}));
    select("#places").on("change", (event) => map.placeBy(event.target.value));
    select("#placesLabel").attr("hidden", model.nodes.every((d) => d.spot) ? null : true);
    select("#prevFailure").on("click", () => stepFailure(-1));
    select("#nextFailure").on("click", () => stepFailure(1));
    select("#noFailure").on("click", () => change({failure: null}));
    select("#noThing").on("click", () => change(NOTHING_PICKED));
    select("#zoomIn").on("click", () => map.zoomBy(1.5));
    select("#zoomOut").on("click", () => map.zoomBy(1 / 1.5));
    select("#zoomFit").on("click", map.fit);
}

drawHead();
fillControls();
show();
makeTables(byId("tables"), model, change);
addEventListener("hashchange", () => {
    if (location.hash === shown) return;
    state = readState(model, location.hash);
    show();
});
addEventListener("keydown", (event) => {
    if (event.key === "Escape") change({...NOTHING_PICKED, failure: null});
});
let width = innerWidth;
addEventListener("resize", () => {
    if (innerWidth === width) return;
    width = innerWidth;
    drawCharts();
});
