// Tables side by side, one tab each; those without rows are left out. In pieces, see slices.js.
// Tabs drawn anew with the `memory` of the former ones have the same one open.
import {add} from "./format.js";
import {makeTable} from "./table.js";

export function* makeTabs(section, title, tables, memory = new Map()) {
    const tabs = add(section.querySelector("[role=tablist]"), "span", "tabs");
    const panels = [];
    for (const table of tables.filter((one) => one.rows.length > 0)) {
        const id = table.caption.toLowerCase().replace(" ", "-");
        const tab = add(tabs, "button", null, `${table.caption} (${table.rows.length.toLocaleString("en")})`)
            .attr("type", "button").attr("role", "tab").attr("id", `tab-${id}`).attr("aria-controls", id);
        const panel = add(section, "div", "panel").attr("id", id).attr("role", "tabpanel").attr("aria-labelledby", `tab-${id}`);
        add(panel, "h2", "onlyprint", table.caption);
        if (!memory.has(id)) memory.set(id, {});
        makeTable(panel.node(), {...table, isWholeOnPaper: true, file: `${title} ${id}`}, memory.get(id));
        panels.push({id, tab, panel});
        yield;
    }

    function open(ind) {
        memory.open = panels[ind].id;
        panels.forEach(({tab, panel}, at) => {
            tab.attr("aria-selected", at === ind).attr("tabindex", at === ind ? 0 : -1);
            panel.classed("closed", at !== ind);
        });
    }
    panels.forEach(({tab}, ind) => {
        tab.on("click", () => open(ind)).on("keydown", (event) => {
            const step = {ArrowRight: 1, ArrowLeft: -1}[event.key];
            if (!step) return;
            const next = (ind + step + panels.length) % panels.length;
            open(next);
            panels[next].tab.node().focus();
        });
    });
    if (panels.length) open(Math.max(0, panels.findIndex((d) => d.id === memory.open)));
}
