// A node: what starts, ends and passes there.
import {sum} from "d3";
import {share} from "./columns.js";
import {facts, failButtons, heading, lspTable, subtable} from "./detail.js";
import {add, amount, count} from "./format.js";

const bandwidthOf = (lsps) => amount(sum(lsps, (d) => d.bw));

export function showNode(box, model, {node, failure}, change) {
    heading(box, "Node", node.name);
    const here = [...new Set(node.links.flatMap((d) => d.lsps))];
    const passing = here.filter((d) => d.from !== node && d.to !== node);
    const of = (lsps) => `${bandwidthOf(lsps)} (${count(lsps.length)})`;
    facts(box, [
        ["Starting (LSPs)", of(node.starting)],
        ["Ending", of(node.ending)],
        ["Passing", of(passing)],
    ]);
    if (node.drained) add(box, "p", "note", "Out of service.");
    failButtons(box, node.failures.filter((d) => d !== failure), change);
    subtable(box, {
        caption: `links of ${node.name}`, rows: node.links, pageSize: 6, sort: 2, down: true, file: `${model.title} links of ${node.name}`,
        columns: [
            {name: "Link", value: (d) => d.name, pick: (link) => change({link})},
            share("In use", (d) => d.primaryShare),
            share("Reserved", (d) => d.share),
            share("Worst load", (d) => d.worst.share),
        ],
    });
    add(box, "h3", null, "LSPs here");
    const role = (lsp) => (lsp.from === node ? "starts" : lsp.to === node ? "ends" : "passes");
    lspTable(box, model, `LSPs at ${node.name}`, here.map((lsp) => ({lsp})), change, [{name: "Here", value: (d) => role(d.lsp)}]);
}
