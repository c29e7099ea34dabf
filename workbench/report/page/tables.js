// The three tables below the charts, one tab each.
import {add, amount, percent} from "./format.js";
import {makeTable} from "./table.js";

const number = (name, value, text) => ({name, value, text: text && ((d) => text(value(d))), numeric: true});

function tablesOf(model, go) {
    const several = model.classes.length > 1;
    return [
        {
            caption: "Links", rows: model.links, sort: 6, down: true,
            columns: [
                {name: "From", value: (d) => d.from.name},
                {name: "To", value: (d) => d.to.name, pick: (d) => go(`look-${d.ind}`)},
                number("Capacity", (d) => d.capacityTotal, amount),
                number("Primaries", (d) => d.primaryTotal, amount),
                number("Backups, shared", (d) => d.backupTotal, amount),
                number("Without protection", (d) => d.primaryShare, percent),
                number(several ? "Reserved, fullest class" : "Reserved", (d) => d.share, percent),
                number("LSPs", (d) => d.lsps.length),
            ],
        },
        {
            caption: "LSPs", rows: model.lsps,
            columns: [
                {...number("LSP", (d) => d.id), pick: (d) => go(`lsp-${d.id}`)},
                {name: "From", value: (d) => d.from.name},
                {name: "To", value: (d) => d.to.name},
                {name: "Class", value: (d) => d.className},
                number("Level", (d) => d.level),
                number("Bandwidth", (d) => d.bw, amount),
                number("Hops", (d) => d.links.length),
                number("Backups", (d) => d.backups.length),
                {name: "Note", value: (d) => d.note ?? ""},
            ],
        },
        {
            caption: "Failures", rows: model.failures, sort: 5, down: true,
            columns: [
                {name: "Kind", value: (d) => d.kind},
                {name: "Fails", value: (d) => d.name, pick: (d) => go(d.key)},
                number("LSPs hit", (d) => d.hit),
                number("Restored", (d) => d.restored.length),
                number("Lost", (d) => d.lost.length),
                number("Lost bandwidth", (d) => d.lostBw, amount),
                {name: "Fullest link after it", value: (d) => d.fullest?.link.name ?? ""},
                number("Its share", (d) => d.fullest?.share ?? 0, percent),
                number("Overloads", (d) => d.overloads.length),
            ],
        },
        {
            caption: "Not placed", rows: model.notPlaced, sort: 4, down: true,
            columns: [
                {name: "From", value: (d) => d.from.name},
                {name: "To", value: (d) => d.to.name},
                {name: "Class", value: (d) => d.className},
                number("Level", (d) => d.level),
                number("Bandwidth", (d) => d.bw, amount),
                {name: "Outcome", value: (d) => d.outcome},
                {name: "Why", value: (d) => d.reason},
            ],
        },
    ].filter((table) => table.rows.length > 0);
}

export function makeTables(section, model, go) {
    const tabs = add(section.querySelector("[role=tablist]"), "span", "tabs");
    const panels = tablesOf(model, go).map((table) => {
        const id = table.caption.toLowerCase().replace(" ", "-");
        const tab = add(tabs, "button", null, `${table.caption} (${table.rows.length.toLocaleString("en")})`)
            .attr("type", "button").attr("role", "tab").attr("id", `tab-${id}`).attr("aria-controls", id);
        const panel = add(section, "div", "panel").attr("id", id).attr("role", "tabpanel").attr("aria-labelledby", `tab-${id}`);
        add(panel, "h2", "onlyprint", table.caption);
        makeTable(panel.node(), table);
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
    open(0);
}
