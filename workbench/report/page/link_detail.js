// A link: how full, of what, when at worst, and who is on it.
import {drawBars} from "./bars.js";
import {facts, failButtons, heading, lspTable} from "./detail.js";
import {changedLoads, outcomeOf} from "./failure.js";
import {add, amount, percent, textButton} from "./format.js";
import {shareOf} from "./model.js";

function worstLine(box, link, change) {
    const {share, failure} = link.worst;
    const line = add(box, "p", null, `At worst ${percent(share)} in use, `);
    if (!failure) {
        line.append("span").text("with nothing failed.");
        return;
    }
    line.append("span").text("after the failure of ");
    textButton(line, `${failure.kind} ${failure.name}`, () => change({failure, link}));
    line.append("span").text(".");
}

const OUTCOME = {restored: "on a backup", lost: "lost", "": "as before"};

export function showLink(box, model, {link, failure, oa}, change) {
    heading(box, "Link", link.name);
    const after = (failure && changedLoads(failure).get(link)) ?? link.primary;
    facts(box, [
        ["Capacity", amount(link.capacityTotal)],
        ["In use", percent(shareOf(link, link.primary, oa))],
        ["Reserved", percent(shareOf(link, link.reserved, oa))],
        failure ? ["After the failure", failure.down.has(link) ? "failed" : percent(shareOf(link, after, oa))] : null,
    ]);
    if (link.drained) add(box, "p", "note", "Out of service.");
    worstLine(box, link, change);
    failButtons(box, link.failures.filter((d) => d !== failure), change);
    drawBars(add(box, "div", "one").node(), model, [link], oa, null);
    add(box, "h3", null, "Primaries on it");
    const more = failure ? [{name: "Now", value: (d) => OUTCOME[outcomeOf(d.lsp, failure).outcome]}] : [];
    lspTable(box, model, `LSPs on ${link.name}`, link.lsps.map((lsp) => ({lsp})), change, more);
}
