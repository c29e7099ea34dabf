// Puts the page together: the state of the address goes in, everything on show comes out.
//
// It is the page of a plan, `own`. A what-if puts another model of the same network in its
// place, and back.
import {select, sort} from "d3";
import {drawBars} from "./bars.js";
import {drawDistribution} from "./charts.js";
import {compare} from "./diff.js";
import {countLoads} from "./failure.js";
import {showFailure} from "./failure_detail.js";
import {differenceOf, figuresOf, settingsOf, subtitleOf} from "./figures.js";
import {keepFocus} from "./focus.js";
import {add, plural} from "./format.js";
import {drawLegend} from "./legend.js";
import {showLink} from "./link_detail.js";
import {showLsp} from "./lsp_detail.js";
import {makeMap} from "./map.js";
import {makeModel, shareOf} from "./model.js";
import {showNode} from "./node_detail.js";
import {showOverview} from "./overview.js";
import {makePicker, searchIn} from "./picker.js";
import {atOnce} from "./slices.js";
import {carried, hashOf, NOTHING_PICKED, readState} from "./state.js";
import {makeTables} from "./tables.js";
import {viewOf} from "./view.js";
import {fitsAddress} from "./whatif/steps.js";
import {makeWhatif} from "./whatif/whatif.js";

const BARS = 22;

const byId = (id) => document.getElementById(id);
const data = JSON.parse(byId("data").textContent);
const own = makeModel(data);
if (data.before) compare(own, makeModel(data.before));
let model = own;
const map = makeMap(select("#map"), select("#tip"), own, pickOnMap);
let state = readState(model, location.hash);
let shown = null;  // the hash that is on show
let isFresh = true;  // the state is the address's and may name what only an answer brings
let side = "after";  // of a what-if, on the map: the plan "before" or "after"
let charted = null;  // the class that the charts are of
const tableMemory = new Map();

// Picks a thing, a failure, or another way to count. At once: the browser tells of a new
// hash only later.
function change(fields) {
    const picks = ["lsp", "link", "node"].some((name) => name in fields);
    state = {...state, ...(picks ? NOTHING_PICKED : {}), ...fields};
    isFresh = false;
    location.hash = hashOf(model, state);
    if (fields.steps) follow();
    else show();
}

// What is asked for changes nothing yet of what is on show.
function follow() {
    shown = location.hash;
    whatif.follow(state.steps);
    whatif.offer(state);
}

// The map may be that of the plan before, where a link may be that is no more.
function pickOnMap(found) {
    const {link, node} = carried(found, model);
    if (link) change({link});
    else if (node) change({node});
}

function drawHead() {
    document.title = `${model.isWhatIf ? "What if: " : ""}${model.title} - KAVRIL plan`;
    byId("sign").hidden = !model.isWhatIf;
    document.body.classList.toggle("asking", Boolean(model.isWhatIf));
    byId("title").textContent = model.title;
    byId("subtitle").textContent = subtitleOf(model);
    byId("producer").textContent = settingsOf(model);
    select("#show option[value=change]").attr("hidden", model.before ? null : true);
}

function drawFigures(box, of) {
    const former = of.isWhatIf ? figuresOf(of.before) : [];
    for (const figure of figuresOf(of)) {
        const {name, value, note, bad, change: fields} = figure;
        const tile = add(box, fields ? "button" : "div", bad ? "figure bad" : "figure");
        if (fields) tile.attr("type", "button").on("click", () => change({...NOTHING_PICKED, ...fields}));
        add(tile, "span", "name", name);
        add(tile, "b", null, value);
        const past = former.find((d) => d.name === name);
        if (past) add(tile, "span", "difference", differenceOf(past, figure));
        add(tile, "span", "note", note);
    }
}

// `ready` is {view, drawing} of the model, drawn before.
function showMap(hovered = null, ready = null) {
    const of = side === "before" ? own : model;
    const seen = of === model ? state : carried(state, of);
    const isReady = ready !== null && of === model;
    const view = isReady ? ready.view : viewOf(of, seen, of === model ? hovered : null);
    map.show(view, of, isReady ? ready.drawing : null);
    drawLegend("#legend", view);
    byId("sides").hidden = !model.isWhatIf;
    for (const button of byId("sides").children) button.ariaPressed = button.value === side;
    const subject = seen.lsp ? `with LSP ${seen.lsp.id}` : view.title;
    select("#map").attr("aria-label", `Map of ${model.title}${of === model ? "" : " before"}: ${subject}`);
}

function detailOf(of, seen) {
    const box = document.createElement("div");
    const draw = seen.lsp ? showLsp : seen.link ? showLink : seen.node ? showNode
        : seen.failure ? showFailure : showOverview;
    draw(box, of, seen, change, showMap);
    return box;
}

// Aside and in pieces, see slices.js; what it hands back puts them on show.
function* makeCharts(of, oa) {
    const plots = ["distribution", "fullest"].map((id) => byId(id).querySelector(".plot"));
    const widths = plots.map((plot) => plot.clientWidth);
    const [first, second] = plots.map(() => document.createElement("div"));
    yield* drawDistribution(first, of, oa, widths[0]);
    const shareIn = (link) => shareOf(link, link.reserved, oa);
    const fullest = sort(of.links.filter((d) => shareIn(d) > 0), (d) => -shareIn(d));
    drawBars(second, of, fullest.slice(0, BARS), oa, (link) => change({link}));
    yield;
    return () => {
        charted = oa;
        plots[0].replaceChildren(...first.childNodes);
        plots[1].replaceChildren(...second.childNodes);
        byId("fullest").querySelector("figcaption").textContent = fullest.length > BARS
            ? `The ${BARS} fullest of ${plural(fullest.length, "link")} in use; the table has them all.` : "";
    };
}

const drawCharts = () => atOnce(makeCharts(model, state.oa))();

// What is picked, in a model that is to come.
function stateIn(next) {
    const {steps} = state;
    const seen = {...(isFresh ? readState(next, location.hash) : carried(state, next)), steps};
    if (!isFresh || !seen.failure) seen.failure = next.askedFailure ?? seen.failure;
    if (!next.before && seen.show === "change") seen.show = "reserved";
    return seen;
}

// Makes what shows a model, aside and in pieces, see slices.js; what it hands back puts all of
// it on show in place of the model before.
function* prepare(next) {
    const figures = document.createElement("div");
    drawFigures(figures, next);
    yield;
    const showCharts = yield* makeCharts(next, state.oa);
    const tables = byId("tables").cloneNode();
    add(tables, "div", "noprint").attr("role", "tablist").attr("aria-label", "Tables");
    yield* makeTables(tables, next, change, tableMemory);
    if (next.askedFailure) next.askedFailure.changed = yield* countLoads(next.askedFailure);
    const seen = stateIn(next);
    const detail = detailOf(next, seen);
    yield;
    const view = viewOf(next, seen);
    yield;
    const drawing = map.prepare(view, next);
    yield;
    return () => keepFocus(() => {
        state = stateIn(next);
        model = next;
        searches = null;
        if (!model.isWhatIf) side = "after";
        history.replaceState(null, "", hashOf(model, state));  // first, for it lays the page out
        drawHead();
        byId("figures").replaceChildren(...figures.childNodes);
        showCharts();
        byId("tables").replaceChildren(...tables.childNodes);
        const isSame = Object.keys(state).every((name) => state[name] === seen[name]);
        show(isSame ? {detail, view, drawing} : null);
    });
}

const labelOf = ({lsp, link, node}) =>
    (lsp ? `LSP ${lsp.id}: ${lsp.name}` : link ? `link ${link.name}` : node ? `node ${node.name}` : "");

// `ready` is what has been made of this state before.
function show(ready = null) {
    follow();
    failurePicker.set(state.failure ? `${state.failure.kind} ${state.failure.name}` : "");
    thingPicker.set(labelOf(state));
    byId("noFailure").disabled = !state.failure;
    byId("noThing").disabled = !labelOf(state);
    byId("class").value = state.oa;
    byId("show").value = state.show;
    byId("showLabel").hidden = state.failure !== null;
    byId("over").value = state.over || "";
    showMap(null, ready);
    const detail = ready?.detail ?? detailOf(model, state);
    keepFocus(() => byId("detail").replaceChildren(...detail.childNodes));
    if (charted !== state.oa) drawCharts();
}

const KINDS = [["cable", "Cables"], ["link", "Links"], ["node", "Nodes"], ["group", "Risk groups"], ["pair", "Pairs"], ["custom", "Others"]];

function searchesIn(of) {
    const failures = KINDS.map(([kind, name]) => ({
        name,
        items: of.failures.filter((d) => d.kind === kind).map((failure) => ({
            text: failure.name, value: failure, note: failure.lost.length ? `${plural(failure.lost.length, "LSP")} lost` : "",
        })),
    }));
    const things = [
        {name: "Nodes", items: of.nodes.map((node) => ({text: node.name, value: {node}}))},
        {name: "Links", items: of.links.map((link) => ({text: link.name, value: {link}}))},
        {name: "LSPs", items: of.lsps.map((lsp) => ({text: `${lsp.id}: ${lsp.name}`, value: {lsp}, note: of.classes.length > 1 ? lsp.class.name : ""}))},
    ];
    return {failures: searchIn(failures), things: searchIn(things)};
}

let searches = null;  // made when first needed, in the model on show
const search = (kind) => (words) => (searches ??= searchesIn(model))[kind](words);

const failurePicker = makePicker(byId("failure"), {
    id: "pickFailure", label: "Failure", placeholder: "cable, node or risk group",
    search: search("failures"), onPick: (failure) => change({failure}),
});

const thingPicker = makePicker(byId("thing"), {
    id: "pickThing", label: "LSP, link or node", placeholder: "LSP, link or node",
    search: search("things"), onPick: change,
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
    for (const button of byId("sides").children) button.addEventListener("click", () => { side = button.value; showMap(); });
}

const whatif = makeWhatif({
    plan: own, text: byId("data").textContent, box: byId("whatif"), button: byId("ask"), change, prepare,
});

drawHead();
drawFigures(byId("figures"), model);
fillControls();
show();
atOnce(makeTables(byId("tables"), model, change, tableMemory));
addEventListener("hashchange", () => {
    if (location.hash === shown) return;
    const {steps} = state;
    state = readState(model, location.hash);
    if (!fitsAddress(steps) && !state.steps.length) state.steps = steps;
    isFresh = true;
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
