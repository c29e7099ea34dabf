// The headline: does the traffic get through, and does it survive what may fail? All is
// counted from the LSPs and links themselves.
import {max, mean, sum} from "d3";
import {brief, count, percent, plural, points, precise} from "./format.js";
import {ratio} from "./model.js";

// Links of a drained node go without saying.
function drainedOf(nodes, links) {
    const parts = [
        [nodes.filter((d) => d.drained).length, "node"],
        [links.filter((d) => d.drained && !d.from.drained && !d.to.drained).length, "link"],
    ];
    return parts.filter(([n]) => n).map(([n, noun]) => `${plural(n, noun)} out of service`);
}

export function subtitleOf({nodes, links, lsps, configuration, unit}) {
    const parts = [
        plural(nodes.length, "node"), plural(links.length, "directed link"), plural(lsps.length, "LSP"),
        configuration.routing === "shortest-path" ? "on shortest paths, whatever room there is"
            : configuration.protection === "none" ? "no protection" : `${configuration.protection} protection`,
        ...drainedOf(nodes, links),
    ];
    return parts.join(", ") + (unit ? `; bandwidths in ${unit}` : "");
}

export function settingsOf({configuration, version}) {
    const {order, preempt, scale, seed, weights} = configuration;
    const weighted = Object.entries(weights).filter(([, weight]) => weight !== 0)
        .map(([name, weight]) => `${name} ${weight}`).join(", ");
    return `KAVRIL ${version}. Demands in ${order} order${order === "shuffled" ? ` (seed ${seed})` : ""}, `
        + `scaled by ${scale}, ${preempt ? "with" : "without"} preemption; weights of the score: ${weighted || "none"}.`;
}

const rated = (share, show = percent) => ({share, value: show(share)});

const bandwidthOf = (list) => sum(list, (d) => d.bw);

function carried({lsps, notPlaced}) {
    const [up, all] = [bandwidthOf(lsps), bandwidthOf(lsps) + bandwidthOf(notPlaced)];
    return {
        name: "Bandwidth carried", ...rated(ratio(up, all)), bad: notPlaced.length > 0,
        note: `${brief(up)} of ${brief(all)}; ${count(notPlaced.length)} of ${plural(lsps.length + notPlaced.length, "request")} not placed`,
    };
}

function safe({lsps}) {
    const surviving = lsps.filter((d) => !d.fatal.length);
    const bare = lsps.filter((d) => !d.backups.length).length;
    return {
        name: "Survives any failure", ...rated(ratio(bandwidthOf(surviving), bandwidthOf(lsps))), bad: surviving.length < lsps.length,
        note: surviving.length < lsps.length
            ? `${plural(lsps.length - surviving.length, "LSP")} lost in some; ${count(bare)} without a backup` : "every LSP, unless its ends fail",
    };
}

export const gravestOf = ({failures}) =>
    failures.reduce((worst, d) => (d.preventable + d.lostCutOff > (worst ? worst.preventable + worst.lostCutOff : 0) ? d : worst), null);

function gravest(model) {
    const failure = gravestOf(model);
    const total = bandwidthOf(model.lsps);
    if (!failure) return {name: "Lost at worst", share: 0, value: "nothing", note: `in any of ${plural(model.failures.length, "failure")}; ends at failed nodes do not count`};
    return {
        name: "Lost at worst", ...rated(ratio(failure.preventable + failure.lostCutOff, total)), bad: true,
        note: `${failure.kind} ${failure.name}`, change: {failure},
    };
}

function available({lots}) {
    return {
        name: "Available", ...rated(lots.all.up, precise), bad: false,
        note: `of the time, on the average of the bandwidth; the worst LSP ${precise(lots.all.lowest)}`,
    };
}

function restored({failures}) {
    const [saved, lost] = [sum(failures, (d) => d.restored.length), sum(failures, (d) => d.lost.filter((one) => one.cause !== "ends here").length)];
    return {
        name: "Hits restored", value: saved + lost ? percent(saved / (saved + lost)) : "n/a", bad: false,
        note: `${count(saved)} of ${count(saved + lost)}; ends at failed nodes do not count`,
    };
}

function overloads({failures, links}) {
    const over = failures.filter((d) => d.overloads.length).length;
    const worst = links.reduce((a, b) => (b.worst.share > a.worst.share ? b : a), links[0]);
    return {
        name: "Worst load of a link", ...rated(worst?.worst.share ?? 0), bad: over > 0 || (worst?.worst.share ?? 0) > 1 + 1e-9,
        note: over ? `${count(over)} of ${plural(failures.length, "failure")} overload a link` : `no failure of ${count(failures.length)} overloads a link`,
        change: worst && {link: worst, failure: worst.worst.failure},
    };
}

function reserved({links}) {
    return {
        name: "Reserved, mean", ...rated(mean(links, (d) => d.share) ?? 0),
        note: `of the links; in use ${percent(mean(links, (d) => d.primaryShare) ?? 0)}; fullest ${percent(max(links, (d) => d.share) ?? 0)}`,
    };
}

function sharing({links, lsps}) {
    const shared = sum(links, (d) => d.backupTotal);
    const dedicated = sum(lsps, (lsp) => sum(lsp.backups, (d) => d.links.length * lsp.bw));
    if (!dedicated) return null;
    return {
        name: "Saved by sharing", ...rated(1 - ratio(shared, dedicated)),
        note: `backups take ${brief(shared)}, not ${brief(dedicated)}`,
    };
}

function checked({audit}) {
    return {
        name: "Plan checked", value: audit.clean ? "clean" : "findings", bad: !audit.clean,
        note: `${count(audit.differing)} of ${count(audit.cells)} table cells differ from the LSPs`
            + (audit.problems ? `; ${plural(audit.problems, "broken LSP")}` : ""),
    };
}

export function figuresOf(model) {
    return [carried, safe, gravest, overloads, model.knowsAvailability ? available : restored, reserved, sharing, checked]
        .map((of) => of(model)).filter(Boolean);
}

// Of a figure that was another one before.
export function differenceOf(before, {share, value}) {
    if (before.value === value) return "as before";
    const isCounted = Number.isFinite(share) && Number.isFinite(before.share);
    return `before ${before.value}${isCounted ? ` (${points(share - before.share)})` : ""}`;
}
