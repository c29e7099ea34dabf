// The headline: what was placed, what it takes, and whether failures do harm.
import {brief, count, percent, plural} from "./format.js";
import {ratio} from "./model.js";

export function subtitleOf({nodes, links, lsps, configuration, unit}) {
    const parts = [
        plural(nodes.length, "node"), plural(links.length, "directed link"), plural(lsps.length, "LSP"),
        configuration.protection === "none" ? "no protection" : `${configuration.protection} protection`,
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

function placement({requested, placed, refused, preempted, replaced, offered, carried}) {
    return [
        {
            name: "LSPs placed", value: count(placed + replaced),
            note: `of ${count(requested)}; ${count(refused)} refused, ${count(preempted)} preempted`,
        },
        {
            name: "Bandwidth carried", value: percent(ratio(carried, offered)),
            note: `${brief(carried)} of ${brief(offered)}`,
        },
    ];
}

function protection({placed, replaced, unprotected, backups, backupShared, backupDedicated}) {
    if (backups === 0) return [{name: "Protected", value: "none", note: "there are no backups"}];
    const up = placed + replaced;
    return [
        {
            name: "Protected in full", value: percent(ratio(up - unprotected, up)),
            note: `all but ${plural(unprotected, "LSP")}; ${plural(backups, "backup")}`,
        },
        {
            name: "Saved by sharing", value: percent(1 - ratio(backupShared, backupDedicated)),
            note: `backups take ${brief(backupShared)}, not ${brief(backupDedicated)}`,
        },
    ];
}

function reservation({reserved, primary}) {
    return [{
        name: "Reserved, mean", value: percent(reserved.mean),
        note: `${percent(primary.mean)} without backups; at most ${percent(reserved.maximum)}`,
    }];
}

function drill(audit, nbFailures) {
    const avoidable = audit.hit - audit.lostEndsHere;
    return [
        {
            name: "Hits restored", bad: audit.lostProtected > 0,
            value: avoidable > 0 ? percent(audit.restored / avoidable) : "n/a",
            note: `${count(audit.lostUnprotected)} lost unprotected, ${count(audit.lostProtected)} though protected`,
        },
        {
            name: "Overloads", bad: audit.overloadedFailures + audit.overloadsBefore > 0,
            value: count(audit.overloadedFailures),
            note: audit.overloadsBefore ? `failures; ${plural(audit.overloadsBefore, "link")} before any`
                : `of ${count(nbFailures)} failures overload a link`,
        },
        {
            name: "Audit", value: audit.clean ? "clean" : "findings", bad: !audit.clean,
            note: `${count(audit.differing)} of ${count(audit.cells)} table cells differ`
                + (audit.problems ? `; ${plural(audit.problems, "broken LSP")}` : ""),
        },
    ];
}

export function figuresOf({summary, audit, failures}) {
    return [
        ...placement(summary), ...protection(summary), ...reservation(summary), ...drill(audit, failures.length),
    ];
}
