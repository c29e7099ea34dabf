// Puts the page together. What is picked is kept in the address after "#": "lsp-12", or
// "link-3" and "node-4" for their failures, or "look-3" for a link itself.
import {select, sort} from "d3";
import {drawBars, drawDistribution, keysOf, pieces} from "./charts.js";
import {figuresOf, settingsOf, subtitleOf} from "./figures.js";
import {add, plural} from "./format.js";
import {inspect} from "./inspector.js";
import {drawLegend, makeMap} from "./map.js";
import {failedLinks, loadsAfter, makeModel, shareOf} from "./model.js";
import {makeTables} from "./tables.js";

const BARS = 24;

const byId = (id) => document.getElementById(id);
const model = makeModel(JSON.parse(byId("data").textContent));
let shown = null;  // the hash that is on show

// At once: the browser tells of a new hash only later.
const go = (key) => {
    location.hash = key;
    showPicked();
};

function drawHead() {
    document.title = `${model.title} - KAVRIL plan`;
    byId("title").textContent = model.title;
    byId("subtitle").textContent = subtitleOf(model);
    byId("producer").textContent = settingsOf(model);
    for (const {name, value, note, bad} of figuresOf(model)) {
        const tile = add(byId("figures"), "div", bad ? "figure bad" : "figure");
        add(tile, "span", "name", name);
        add(tile, "b", null, value);
        add(tile, "span", "note", note);
    }
}

let oa = -1;  // the class shown, -1 for all

function picked() {
    const [kind, number] = location.hash.slice(1).split("-");
    if (kind === "look" && model.links[number]) return {link: model.links[number]};
    if (kind === "lsp" && model.lspById.has(+number)) return {lsp: model.lspById.get(+number)};
    const failure = model.failureByKey.get(`${kind}-${number}`);
    return failure ? {failure} : {};
}

function failureView(failure) {
    const loads = loadsAfter(model, failure);
    const shares = model.links.map((link, ind) => shareOf({...link, load: loads[ind]}, oa, "load"));
    const used = new Set(failure.restored.flatMap(({backup}) => backup.links));
    return {
        shares, what: "in use after the failure", paths: [], raised: [...used],
        failed: failedLinks(model, failure), failedNode: failure.node,
        cross: [failure.link ?? failure.node],
        signs: [["raised", "carries activated backups"], ["failed", "failed"]],
    };
}

function lspView(lsp, hovered) {
    const backups = hovered ? [hovered] : lsp.backups;
    return {
        shares: model.links.map((link) => shareOf(link, oa)), what: "reserved", failed: new Set(),
        paths: [
            {kind: "primary", links: lsp.links, lane: 0},
            ...backups.map(({links}) => ({kind: "backup", links, lane: 4})),
        ],
        signs: [["primary", "primary"], ["backup", "backups"]],
    };
}

function plainView(link) {
    return {
        shares: model.links.map((d) => shareOf(d, oa)), what: "reserved", failed: new Set(),
        paths: [], raised: link ? [link] : [], signs: link ? [["raised", "picked"]] : [],
    };
}

const map = makeMap(select("#map"), select("#tip"), model, ({link, node}) =>
    go(link ? `look-${link.ind}` : `node-${node.ind}`));

function showMap(what, hovered) {
    const view = what.failure ? failureView(what.failure)
        : what.lsp ? lspView(what.lsp, hovered) : plainView(what.link);
    map.show(view);
    drawLegend("#legend", what.failure ? "In use after the failure" : "Reserved share", view.signs);
    const subject = what.failure ? `after the failure of ${what.failure.name}`
        : what.lsp ? `with LSP ${what.lsp.id}` : "with the reserved share of every link";
    select("#map").attr("aria-label", `Map of ${model.title} ${subject}`);
}

function showPicked() {
    shown = location.hash;
    const what = picked();
    byId("pickFailure").value = what.failure?.key ?? "";
    if (!what.lsp) byId("pickLsp").value = "";
    byId("clear").disabled = Object.keys(what).length === 0;
    showMap(what);
    inspect(byId("detail"), model, what, oa, go, (backup) => showMap(what, backup));
}

function drawCharts() {
    const [first, second] = ["distribution", "fullest"].map((id) => byId(id).querySelector(".plot"));
    drawDistribution(first, model, oa, first.clientWidth);
    const fullest = sort(model.links, (d) => -shareOf(d, oa)).filter((d) => shareOf(d, oa) > 0);
    const shown = fullest.slice(0, BARS);
    const keys = keysOf(fullest.flatMap((link) => pieces(model, link, oa)));
    drawBars(second, model, shown, oa, second.clientWidth, keys);
    byId("fullest").querySelector("figcaption").textContent = shown.length < fullest.length
        ? `The ${BARS} fullest of ${plural(fullest.length, "link")} in use; the table has them all.` : "";
    drawKeys(keys);
}

function drawKeys(keys) {
    const box = select("#fullest").selectAll(".keys").data([0]).join((enter) =>
        enter.insert("div", ".plot").attr("class", "keys")).html("");
    for (const kind of ["primary", "backup"]) {
        const levels = keys.filter((key) => key.startsWith(kind));
        if (!levels.length) continue;
        add(box, "span", null, kind === "primary" ? "primaries, level" : "shared by backups, level");
        for (const key of levels)
            add(box, "i", key.replace(" ", ""), key.split(" ")[1]);
    }
}

function fillFailures() {
    const list = select("#pickFailure");
    list.append("option").attr("value", "").text("none");
    for (const kind of ["link", "node"]) {
        const group = list.append("optgroup").attr("label", kind === "link" ? "Links" : "Nodes");
        group.selectAll("option").data(model.failures.filter((d) => d.kind === kind)).join("option")
            .attr("value", (d) => d.key).text((d) => d.name);
    }
    list.on("change", () => go(list.property("value")));
    const step = (by) => {
        const at = picked().failure?.ind ?? (by > 0 ? -1 : 0);
        go(model.failures.at((at + by) % model.failures.length)?.key ?? "");
    };
    select("#prevFailure").on("click", () => step(-1));
    select("#nextFailure").on("click", () => step(1));
}

// A few matches at a time: browsers are slow with thousands.
function fillLsps() {
    const input = select("#pickLsp");
    input.on("input", () => {
        const text = input.property("value").toLowerCase();
        const id = parseInt(text, 10);
        if (String(id) === text.split(":")[0] && model.lspById.has(id)) go(`lsp-${id}`);
        const matches = [];
        for (const lsp of model.lsps) {
            const label = `${lsp.id}: ${lsp.name}`;
            if (label.toLowerCase().includes(text)) matches.push(label);
            if (matches.length === 40) break;
        }
        select("#lspMatches").selectAll("option").data(matches).join("option").attr("value", (d) => d);
    });
}

function fillClasses() {
    const list = select("#class");
    list.append("option").attr("value", -1).text("all, the fullest of each link");
    model.classes.forEach((name, ind) => list.append("option").attr("value", ind).text(name));
    list.on("change", () => {
        oa = +list.property("value");
        showPicked();
        drawCharts();
    });
    select(list.node().parentNode).attr("hidden", model.classes.length > 1 ? null : true);
}

function fillPlaces() {
    const list = select("#places");
    list.on("change", () => map.placeBy(list.property("value")));
    select(list.node().parentNode).attr("hidden", model.nodes.every((d) => d.spot) ? null : true);
}

drawHead();
fillPlaces();
fillFailures();
fillLsps();
fillClasses();
makeTables(byId("tables"), model, go);
drawCharts();
showPicked();
select("#zoomIn").on("click", () => map.zoomBy(1.5));
select("#zoomOut").on("click", () => map.zoomBy(1 / 1.5));
select("#zoomFit").on("click", map.fit);
select("#clear").on("click", () => go(""));
addEventListener("hashchange", () => { if (location.hash !== shown) showPicked(); });
addEventListener("keydown", (event) => { if (event.key === "Escape") go(""); });
let width = innerWidth;
addEventListener("resize", () => {
    if (innerWidth === width) return;
    width = innerWidth;
    drawCharts();
});
