// A sortable, searchable table that shows one page of its rows.
//
// columns: [{name, value(row), text?(row), numeric?, pick?}]; `value` sorts, `text` shows.
// A column with `pick` holds a button that calls `pick(row)`. Without a `sort` the rows
// come as they are until a heading is pressed.
import {ascending, descending} from "d3";
import {add, count} from "./format.js";

const PAPER_ROWS = 30;

export function makeTable(box, {caption, columns, rows, pageSize = 15, sort = 0, down = false}) {
    const state = {sort, down, page: 0, find: "", size: pageSize};
    const bar = add(box, "div", "bar");
    const find = add(bar, "input", "noprint").attr("type", "search").attr("placeholder", "Find")
        .attr("aria-label", `Find in ${caption}`);
    const range = add(bar, "span", "range");
    add(bar, "span", "grow");
    const turn = add(bar, "span", "buttons noprint").attr("role", "group").attr("aria-label", `Pages of ${caption}`);
    const buttons = [["\u00ab", "First page"], ["\u2039", "Previous page"], ["\u203a", "Next page"], ["\u00bb", "Last page"]]
        .map(([text, label]) => add(turn, "button", null, text).attr("type", "button").attr("aria-label", label));
    const frame = add(box, "div", "frame");
    const table = add(frame, "table");
    add(table, "caption", "hidden", caption);
    const heads = add(table, "thead").append("tr").selectAll("th").data(columns).join("th")
        .attr("scope", "col").classed("numeric", (d) => d.numeric);
    heads.append("button").attr("type", "button").text((d) => d.name).on("click", (event, column) => {
        const ind = columns.indexOf(column);
        state.down = state.sort === ind ? !state.down : Boolean(column.numeric);
        state.sort = ind;
        state.page = 0;
        arrange();
    });
    const body = add(table, "tbody");
    let arranged = [];

    const textOf = (column, row) => String(column.text ? column.text(row) : column.value(row));

    function arrange() {
        const {value} = columns[state.sort ?? 0];
        const order = state.down ? descending : ascending;
        const words = state.find.toLowerCase().split(/\s+/).filter(Boolean);
        arranged = rows.filter((row) => words.every((word) =>
            columns.some((column) => textOf(column, row).toLowerCase().includes(word))));
        if (state.sort !== null)
            arranged.sort((a, b) => order(value(a), value(b)));
        draw();
    }

    function draw() {
        const pages = Math.max(1, Math.ceil(arranged.length / state.size));
        state.page = Math.max(0, Math.min(pages - 1, state.page));
        const start = state.page * state.size;
        const shown = arranged.slice(start, start + state.size);
        heads.attr("aria-sort", (d, ind) =>
            ind !== state.sort ? null : state.down ? "descending" : "ascending");
        range.text(shown.length === 0 ? "none"
            : `${count(start + 1)} to ${count(start + shown.length)} of ${count(arranged.length)}`);
        turn.attr("hidden", pages === 1 ? true : null);
        buttons.forEach((button, ind) =>
            button.property("disabled", ind < 2 ? state.page === 0 : state.page === pages - 1));
        body.selectAll("tr").data(shown).join("tr")
            .selectAll("td").data((row) => columns.map((column) => [column, row])).join("td")
            .classed("numeric", ([column]) => column.numeric)
            .each(function ([column, row]) { fill(this, column, row); });
    }

    function fill(cell, column, row) {
        const text = textOf(column, row);
        if (!column.pick) {
            cell.textContent = text;
            return;
        }
        const button = cell.firstElementChild ?? add(cell, "button", "text").attr("type", "button").node();
        button.textContent = text;
        button.onclick = () => column.pick(row);
    }

    const turnTo = (page) => { state.page = page; draw(); };
    [() => 0, () => state.page - 1, () => state.page + 1, () => Infinity].forEach((page, ind) =>
        buttons[ind].on("click", () => turnTo(page())));
    find.on("input", () => {
        state.find = find.property("value");
        state.page = 0;
        arrange();
    });
    const resize = (size) => { state.size = size; draw(); };
    const paper = matchMedia("print");
    paper.addEventListener("change", () => resize(paper.matches ? PAPER_ROWS : pageSize));
    arrange();
}
