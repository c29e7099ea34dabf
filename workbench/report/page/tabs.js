// Tables side by side, one tab each; those without rows are left out.
import {add} from "./format.js";
import {makeTable} from "./table.js";

export function makeTabs(section, title, tables) {
    const tabs = add(section.querySelector("[role=tablist]"), "span", "tabs");
    const panels = tables.filter((table) => table.rows.length > 0).map((table) => {
        const id = table.caption.toLowerCase().replace(" ", "-");
        const tab = add(tabs, "button", null, `${table.caption} (${table.rows.length.toLocaleString("en")})`)
            .attr("type", "button").attr("role", "tab").attr("id", `tab-${id}`).attr("aria-controls", id);
        const panel = add(section, "div", "panel").attr("id", id).attr("role", "tabpanel").attr("aria-labelledby", `tab-${id}`);
        add(panel, "h2", "onlyprint", table.caption);
        makeTable(panel.node(), {...table, isWholeOnPaper: true, file: `${title} ${id}`});
        return {tab, panel};
    });

    function open(ind) {
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
    if (panels.length) open(0);
}
