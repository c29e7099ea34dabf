// A table to sort, search, filter and download that shows one page of its rows; with
// `isWholeOnPaper` paper gets them all.
//
// columns: [{name, value(row), text?(row), numeric?, title?, pick?}]; `value` sorts, `text`
// shows. A column with `pick` holds a button that calls `pick(row)`. Without a `sort` the
// rows come as they are until a heading is pressed. A table drawn anew with the `memory` of
// the former one is sorted, filtered and turned as that was.
import {ascending, descending} from "d3";
import {csvOf, download} from "./download.js";
import {makeFilters} from "./filters.js";
import {add, count} from "./format.js";

const PAGES = [["\u00ab", "First page"], ["\u2039", "Previous page"], ["\u203a", "Next page"], ["\u00bb", "Last page"]];

const ALL = Number.MAX_SAFE_INTEGER;

// Tables come and go with what is on show, so they are not listened for one by one.
for (const type of ["beforeprint", "afterprint"])
    addEventListener(type, () => {
        for (const frame of document.querySelectorAll(".onpaper")) frame.dispatchEvent(new Event(type));
    });

const textOf = (column, row) => String(column.text ? column.text(row) : column.value(row));

// A table of one page needs no bar.
function makeBar(box, {caption, file, rows, pageSize = 15, filters = []}, {changed, save, turn}) {
    const bar = add(box, "div", "bar").attr("hidden", rows.length > pageSize || (file && rows.length > 1) ? null : true);
    const find = add(bar, "input", "noprint").attr("type", "search").attr("placeholder", "Find")
        .attr("aria-label", `Find in ${caption}`).on("input", changed);
    const passes = makeFilters(add(bar, "span", "filters noprint").attr("hidden", filters.length ? null : true), filters, changed);
    const range = add(bar, "span", "range").attr("role", "status");
    add(bar, "span", "grow");
    if (file) add(bar, "button", "noprint", "CSV").attr("type", "button").attr("title", "Download the rows as CSV")
        .attr("aria-label", `Download ${caption} as CSV`).on("click", save);
    const turns = add(bar, "span", "buttons noprint").attr("role", "group").attr("aria-label", `Pages of ${caption}`);
    const buttons = PAGES.map(([text, label], ind) =>
        add(turns, "button", null, text).attr("type", "button").attr("aria-label", label).on("click", () => turn(ind)));
    return {
        passes, range,
        words: () => find.property("value").toLowerCase().split(/\s+/).filter(Boolean),
        showPage(page, pages) {
            turns.attr("hidden", pages === 1 ? true : null);
            buttons.forEach((button, ind) => button.property("disabled", ind < 2 ? page === 0 : page === pages - 1));
        },
    };
}

// What was typed and chosen in the bar, by position.
function keepFields(bar, memory) {
    const fields = [...bar.querySelectorAll("input, select")];
    if (memory.fields?.length === fields.length) fields.forEach((field, ind) => { field.value = memory.fields[ind]; });
    bar.addEventListener("input", () => { memory.fields = fields.map((field) => field.value); });
}

export function makeTable(box, table, memory = {}) {
    const {caption, columns, rows, pageSize = 15, sort = 0, down = false} = table;
    const remembered = columns.findIndex((d) => d.name === memory.column);
    const state = {sort: remembered < 0 ? sort : remembered, down: memory.down ?? down, page: memory.page ?? 0, size: pageSize};
    let arranged = [];

    const bar = makeBar(box, table, {
        changed: () => { state.page = 0; arrange(); },
        save: () => download(`${table.file}.csv`, csvOf(columns.map((column) => ({
            name: column.name,
            plain: (row) => (column.numeric ? column.value(row) : textOf(column, row)),
        })), arranged)),
        turn(ind) {
            state.page = [0, state.page - 1, state.page + 1, Infinity][ind];
            draw();
        },
    });
    keepFields(bar.range.node().parentNode, memory);
    const frame = add(box, "div", table.isWholeOnPaper ? "frame onpaper" : "frame");
    const grid = add(frame, "table");
    add(grid, "caption", "hidden", caption);
    const heads = add(grid, "thead").append("tr").selectAll("th").data(columns).join("th")
        .attr("scope", "col").attr("title", (d) => d.title ?? null).classed("numeric", (d) => d.numeric);
    heads.append("button").attr("type", "button").text((d) => d.name).on("click", (event, column) => {
        const ind = columns.indexOf(column);
        state.down = state.sort === ind ? !state.down : Boolean(column.numeric);
        state.sort = ind;
        state.page = 0;
        Object.assign(memory, {column: column.name, down: state.down});
        arrange();
    });
    const body = add(grid, "tbody");

    function arrange() {
        const {value} = columns[state.sort ?? 0];
        const order = state.down ? descending : ascending;
        const words = bar.words();
        const isFound = (row) => {
            if (!words.length) return true;
            const text = columns.map((column) => textOf(column, row)).join("\n").toLowerCase();
            return words.every((word) => text.includes(word));
        };
        arranged = rows.filter((row) => bar.passes(row) && isFound(row));
        if (state.sort !== null) arranged.sort((a, b) => order(value(a), value(b)));
        draw();
    }

    function draw() {
        const pages = Math.max(1, Math.ceil(arranged.length / state.size));
        state.page = Math.max(0, Math.min(pages - 1, state.page));
        if (state.size !== ALL) memory.page = state.page;
        const start = state.page * state.size;
        const shown = arranged.slice(start, start + state.size);
        heads.attr("aria-sort", (d, ind) =>
            ind !== state.sort ? null : state.down ? "descending" : "ascending");
        bar.range.text(shown.length === 0 ? "none"
            : pages === 1 && shown.length === rows.length ? count(rows.length)
            : `${count(start + 1)} to ${count(start + shown.length)} of ${count(arranged.length)}`);
        bar.showPage(state.page, pages);
        body.selectAll("tr").data(shown).join("tr")
            .selectAll("td").data((row) => columns.map((column) => [column, row])).join("td")
            .classed("numeric", ([column]) => column.numeric)
            .each(function ([column, row]) { fill(this, column, row); });
    }

    function fill(cell, column, row) {
        const text = textOf(column, row);
        if (!column.pick || text === "") {
            cell.textContent = text;
            return;
        }
        const button = cell.firstElementChild ?? add(cell.replaceChildren() ?? cell, "button", "text").attr("type", "button").node();
        button.textContent = text;
        button.onclick = () => column.pick(row);
    }

    const showAll = (all) => {
        if ((state.size === ALL) === all) return;
        state.size = all ? ALL : pageSize;
        state.page = 0;
        draw();
    };
    frame.on("beforeprint", () => showAll(true)).on("afterprint", () => showAll(false));
    arrange();
}
