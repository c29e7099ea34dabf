// An LSP: its way, its backups, and the failures that it does and does not survive.
import {number} from "./columns.js";
import {facts, heading, hops, subtable} from "./detail.js";
import {outcomeOf} from "./failure.js";
import {add, amount, count, plural, precise, stretchText, textButton} from "./format.js";

const wayOf = (links) => [links[0].from, ...links.map((d) => d.to)].map((d) => d.name).join(" \u203a ");

function showOutcome(box, lsp, failure) {
    const {outcome, reason, links} = outcomeOf(lsp, failure);
    const text = {restored: "restored, and goes ", lost: `lost: ${reason}`, "": "not affected"}[outcome];
    const line = add(box, "p", outcome === "lost" ? "now note" : "now");
    add(line, "span", null, `After the failure of ${failure.kind} ${failure.name}: ${text}`);
    if (outcome === "restored") add(line, "span", "hops", wayOf(links));
}

function showBackups(box, model, lsp, hover) {
    add(box, "h3", "backup", "Backups");
    const list = add(box, "div", "backups").node();
    subtable(list, {
        caption: "backups", rows: lsp.backups, pageSize: 6, sort: null,
        columns: [
            {name: "Path", value: (d) => hops(model, d.path), pick: (backup) => hover(backup)},
            {name: "Protects", value: (d) => d.protects},
            number("Hops", (d) => d.links.length),
        ],
    });
    const backupAt = (event) => event.target.closest?.("tbody tr")?.__data__ ?? null;
    list.addEventListener("pointerover", (event) => hover(backupAt(event)));
    list.addEventListener("pointerleave", () => hover(null));
    list.addEventListener("focusin", (event) => hover(backupAt(event)));
    list.addEventListener("focusout", () => hover(null));
}

export function showLsp(box, model, {lsp, failure}, change, hover) {
    heading(box, "LSP", `${lsp.id}: ${lsp.name}`);
    facts(box, [
        ["Bandwidth", amount(lsp.bw)],
        model.classes.length > 1 ? ["Class", lsp.class.name] : null,
        ["Level", lsp.level],
        ["Hops", count(lsp.links.length)],
        ["Stretch", stretchText(lsp.stretch ?? Infinity)],
        ["Backups", lsp.backups.length ? count(lsp.backups.length) : "none"],
        model.knowsAvailability ? ["Available", precise(lsp.up)] : null,
        lsp.demand ? ["Demand", lsp.demand] : null,
    ]);
    if (failure) showOutcome(box, lsp, failure);
    add(box, "h3", "primary", "Primary");
    add(box, "p", "hops", hops(model, lsp.path));
    if (lsp.former) add(box, "p", "hops", `Before: ${hops(model.before, lsp.former.path)}`);
    if (lsp.note) add(box, "p", "note", lsp.note);
    if (lsp.exposed.length) add(box, "p", "note", `No backup was found for the failure of ${lsp.exposed.join(", ")}.`);
    if (lsp.beyond.length) add(box, "p", "note", `Its backups do not keep to its ${lsp.beyond.join(" and ")}.`);
    if (lsp.backups.length) showBackups(box, model, lsp, hover);
    add(box, "h3", null, "When something fails");
    add(box, "p", null, `Survives ${plural(lsp.saved.length, "failure")} over a backup, is lost in ${lsp.fatal.length}${lsp.fatal.length ? ":" : "."}`);
    const links = add(box, "p", "list");
    for (const one of lsp.fatal) textButton(links, `${one.kind} ${one.name}`, () => change({failure: one, lsp}));
}
