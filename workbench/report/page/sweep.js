// The page of a sweep: what becomes of the traffic over all its cases.
import * as Plot from "@observablehq/plot";
import {max, range, sum} from "d3";
import {add, amount, brief, count, percent, plural} from "./format.js";
import {drawHeat, sayNoMap} from "./heat.js";
import {ratio} from "./model.js";
import {atOnce} from "./slices.js";
import {cellsOf, makeSweep, MEASURES} from "./sweep_model.js";
import {bandwidth, number, share} from "./columns.js";
import {makeTabs} from "./tabs.js";

const byId = (id) => document.getElementById(id);
const model = makeSweep(JSON.parse(byId("data").textContent));
const {totals} = model;

const settingOf = ({network, matrix, scale, classes, weights, protection, replanning}) =>
    [network, `${matrix} \u00d7 ${scale}`, classes === "usual" ? null : classes, weights === "usual" ? null : weights,
        `protection ${protection}`, replanning === "place" ? "lost traffic placed again" : null].filter(Boolean).join(", ");

function drawHead() {
    const title = model.networks.map((one) => one.name).join(", ");
    document.title = `${model.file} - KAVRIL sweep`;
    byId("title").textContent = `Sweep over ${title}`;
    const units = [...new Set(model.networks.map((one) => one.unit))];
    byId("subtitle").textContent = `${plural(totals.cases, "case")} of ${plural(totals.plans, "plan")}, ${model.file}`
        + (units.length === 1 && units[0] ? `; bandwidths in ${units[0]}` : "");
    byId("producer").textContent = `KAVRIL ${model.version}.`;
    const tried = totals.cases - totals.failed;
    const worst = model.worst.find((one) => one.lost > 0);
    const [fullest] = model.fullest;
    const offered = sum(model.plans, (d) => d.plan.offered);
    const refused = sum(model.plans, (d) => d.plan.refused);
    const figures = [
        {name: "Cases that lose nothing", value: percent(ratio(tried - totals.losing, tried)), bad: totals.losing > 0,
            note: `${count(totals.losing)} of ${count(tried)} lose traffic that does not end at what fails`},
        {name: "Lost at worst", value: worst ? percent(worst.lost_share) : "nothing", bad: Boolean(worst),
            note: worst ? `${worst.failure}: ${settingOf(worst)}` : "in any case", pick: worst},
        {name: "Lost on the average", value: percent(totals.meanLost ?? 0), note: "of what its plan carries, over all cases"},
        {name: "Worst load of a link", value: percent(totals.worstLoad ?? 0), bad: totals.overloading > 0,
            note: fullest ? `${fullest.worst_link}; ${count(totals.overloading)} cases overload a link` : "", pick: fullest},
        {name: "Refused when placing", value: percent(ratio(refused, offered)), bad: refused > 0,
            note: `of what is offered, over ${plural(model.plans.length, "plan")}`},
        ...(totals.failed ? [{name: "Cases without a result", value: count(totals.failed), bad: true, note: "the table has the reasons"}] : []),
    ];
    for (const {name, value, note, bad, pick} of figures) {
        const tile = add(byId("figures"), pick ? "button" : "div", bad ? "figure bad" : "figure");
        if (pick) tile.attr("type", "button").on("click", () => showCase(pick));
        add(tile, "span", "name", name);
        add(tile, "b", null, value);
        add(tile, "span", "note", note);
    }
}

// What to type for the plan of a case; the shell takes a text in quotes as it is.
function commandOf(one) {
    const file = /^[\w./-]+$/.test(model.file) ? model.file : `'${model.file.replaceAll("'", "'\\''")}'`;
    return `kavril sweep ${file} --case ${one.id} -o plan.json && kavril report plan.json -o plan.html`;
}

function showCase(one) {
    const box = byId("case");
    box.hidden = false;
    box.replaceChildren();
    add(box, "h2", null, `Failed: ${one.failure}`);
    add(box, "p", null, settingOf(one));
    const facts = add(box, "dl", "facts");
    for (const [name, value] of [
        ["lost", `${amount(one.lost)} (${percent(one.lost_share ?? 0)})`], ["ends at what fails", amount(one.ended)],
        ["restored by backups", amount(one.restored)], ["placed again", amount(one.again)], ["still carried", amount(one.carried)],
        ["fullest link", one.worst_link ? `${one.worst_link}, ${percent(one.worst_load)}` : "none"], ["overloaded links", count(one.overloads)],
    ]) {
        const fact = add(facts, "div");
        add(fact, "dt", null, name);
        add(fact, "dd", null, value);
    }
    const line = add(box, "p", "command");
    add(line, "span", null, "Its plan: ");
    add(line, "code", null, commandOf(one));
    add(line, "button", "noprint", "Copy").attr("type", "button").on("click", () => navigator.clipboard?.writeText(commandOf(one)));
    location.hash = `case=${one.id}`;
    box.scrollIntoView({block: "nearest"});
}

const state = {measure: MEASURES[0], across: null, down: null};

function readState() {
    const fields = new URLSearchParams(location.hash.replace(/^#/, ""));
    const axis = (name, usual) => model.axes.find((one) => one.key === fields.get(name)) ?? usual;
    const [first, second] = model.axes.length > 1 ? chooseAxes() : [model.axes[0], model.axes[0]];
    state.measure = MEASURES.find((one) => one.key === fields.get("show")) ?? MEASURES[0];
    state.across = axis("across", first);
    state.down = axis("down", second ?? first);
    const wanted = model.worst.find((one) => one.id === fields.get("case"));
    if (wanted) showCase(wanted);
}

// The two with most values tell most, as long as they are figures of whole plans.
function chooseAxes() {
    const sized = (model.planAxes.length > 1 ? model.planAxes : model.axes)
        .map((axis) => [axis, new Set(model.isFor(axis).map(axis.of)).size]).sort((a, b) => b[1] - a[1]);
    return [sized[0][0], sized[1][0]];
}

function drawMap() {
    const figure = byId("heat");
    const box = figure.querySelector(".plot");
    const caption = figure.querySelector("figcaption");
    const {across, down, measure} = state;
    if (!across) return sayNoMap(box, "There is one plan and one case: nothing to compare.");
    const cells = cellsOf(model, across, down, measure);
    if (!cells) return sayNoMap(box, `"${measure.name}" is a figure of whole plans: choose other axes than failures.`);
    const byCase = [across, down].some((axis) => model.caseAxes.includes(axis));
    drawHeat(box, cells, {across, down, measure, width: box.clientWidth});
    caption.textContent = byCase
        ? `Only the ${plural(model.failures.length, "failure")} that cost most, by themselves or with another.`
        : "Over all cases of the plans that share a cell.";
}

function drawLost() {
    const box = byId("lost").querySelector(".plot");
    box.replaceChildren();
    const groups = [...new Set(model.histogram.map((d) => JSON.stringify([d.protection, d.replanning])))].map((key) => JSON.parse(key));
    const last = max(model.histogram, (d) => d.bin) ?? 0;
    const top = max(model.histogram, (d) => d.cases) ?? 1;
    for (const [protection, replanning] of groups) {
        const bins = model.histogram.filter((d) => d.protection === protection && d.replanning === replanning);
        const all = sum(bins, (d) => d.cases);
        const none = sum(bins.filter((d) => d.bin === 0), (d) => d.cases);
        const title = add(box, "p", "charttitle");
        add(title, "b", null, `Protection ${protection}${replanning === "place" ? ", lost traffic placed again" : ""}`);
        add(title, "span", null, `nothing lost in ${percent(ratio(none, all))} of ${plural(all, "case")}`);
        box.append(Plot.plot({
            style: {background: "none", fontFamily: "inherit", fontSize: "11px"},
            width: Math.max(260, box.clientWidth), height: groups.length > 2 ? 110 : 170,
            marginLeft: 48, marginRight: 16, marginTop: 6, marginBottom: 22,
            ariaLabel: `Histogram of cases: bandwidth lost with protection ${protection}`,
            x: {label: null, domain: range(0, last + 1), tickFormat: (bin) => (bin === 0 ? "0" : bin % Math.ceil(last / 12) === 0 ? `${bin} %` : ""), tickSize: 0},
            y: {type: "sqrt", label: null, grid: true, ticks: 4, tickSize: 0, domain: [0, top], tickFormat: brief},
            marks: [
                Plot.barY(bins, {x: "bin", y: "cases", fill: (d) => (d.bin === 0 ? "var(--primary)" : "var(--bad)"), inset: 0.5,
                    title: (d) => `${d.bin === 0 ? "nothing" : `${d.bin - 1} to ${d.bin} %`} lost: ${plural(d.cases, "case")}`}),
                Plot.ruleY([0], {stroke: "var(--muted)"}),
            ],
        }));
    }
    byId("lost").querySelector("figcaption").textContent =
        "Across: part of what the plan carries, by percent begun; up: cases, as a square root. What ends at a node that is down is not counted.";
}

function fillControls() {
    const fill = (id, list, current, act) => {
        const select = byId(id);
        for (const one of list) {
            const option = add(select, "option", null, one.name).attr("value", one.key);
            if (one === current) option.attr("selected", true);
        }
        select.onchange = () => {
            act(list.find((one) => one.key === select.value));
            location.hash = `show=${state.measure.key}&across=${state.across.key}&down=${state.down.key}`;
            drawMap();
        };
    };
    fill("measure", MEASURES, state.measure, (one) => { state.measure = one; });
    fill("across", model.axes, state.across, (one) => { state.across = one; });
    fill("down", model.axes, state.down, (one) => { state.down = one; });
}

const settingColumns = [
    ...["network", "matrix", "scale", "classes", "weights", "protection", "replanning"].filter((key) => model.planAxes.some((axis) => axis.key === key))
        .map((key) => ({name: key[0].toUpperCase() + key.slice(1), value: (d) => d[key], numeric: key === "scale"})),
];

function worstTable() {
    return {
        caption: "Worst cases", rows: model.worst, sort: null,
        columns: [
            {name: "Failed", value: (d) => d.failure, pick: showCase},
            ...settingColumns,
            bandwidth("Lost", (d) => d.lost),
            share("Of the carried", (d) => d.lost_share ?? 0),
            bandwidth("Restored", (d) => d.restored),
            ...(model.worst.some((d) => d.again > 0) ? [bandwidth("Placed again", (d) => d.again)] : []),
            {name: "Fullest link", value: (d) => d.worst_link ?? ""},
            share("Its load", (d) => d.worst_load ?? 0),
            number("Overloads", (d) => d.overloads),
            {name: "Case", value: (d) => d.id, pick: showCase},
        ],
    };
}

function planTable() {
    return {
        caption: "Plans", rows: model.plans.map((d) => d.plan), sort: null,
        columns: [
            ...settingColumns,
            number("Cases", (d) => d.cases ?? 0),
            bandwidth("Offered", (d) => d.offered),
            share("Carried", (d) => ratio(d.carried, d.offered)),
            share("With backups", (d) => ratio(d.protected, d.carried)),
            share("Lost at worst", (d) => ratio(d.worstLost ?? 0, d.carried)),
            share("Lost on the average", (d) => ratio(d.meanLost ?? 0, d.carried)),
            share("Worst load", (d) => d.worstLoad ?? 0),
            number("Overloading cases", (d) => d.overloading ?? 0),
        ],
    };
}

function errorTable() {
    return {
        caption: "Without result", rows: model.errors, sort: null,
        columns: [{name: "Matrix", value: (d) => d.matrix}, {name: "Why", value: (d) => d.reason}, number("Cases", (d) => d.cases)],
    };
}

drawHead();
readState();
fillControls();
drawMap();
drawLost();
atOnce(makeTabs(byId("tables"), "sweep", [worstTable(), planTable(), errorTable()]));
let width = innerWidth;
addEventListener("resize", () => {
    if (innerWidth === width) return;
    width = innerWidth;
    drawMap();
    drawLost();
});
