// What report/sweep_data.cpp tells of a sweep, as its page looks at it: plans along axes, and
// the gravest failures by name.
import {max, mean, sum} from "d3";
import {ratio} from "./model.js";

const PLAN_AXES = [
    ["network", "network"], ["matrix", "matrix"], ["scale", "scale"], ["classes", "classes"],
    ["weights", "weights"], ["protection", "protection"], ["replanning", "replanning"],
].map(([key, name]) => ({key, name, of: (row) => row.plan[key]}));
const CASE_AXES = [
    {key: "failure", name: "failure", of: (row) => row.failure},
    {key: "second", name: "second failure", of: (row) => row.second},
];

// Rows are plans with the sums over all their cases, or single cases of the gravest failures;
// `fold` makes one figure of those that share a cell. What only a plan has, a case lacks.
const maxOf = (of) => (rows) => max(rows, of);
const shareOf = (part, whole) => (rows) => ratio(sum(rows, part), sum(rows, whole));
export const MEASURES = [
    {key: "worst", name: "lost at worst, of the carried", kind: "share",
        plans: maxOf((d) => ratio(d.plan.worstLost ?? 0, d.plan.carried)), cases: maxOf((d) => ratio(d.lost, d.plan.carried))},
    {key: "mean", name: "lost on the average of the cases", kind: "share",
        plans: (rows) => ratio(sum(rows, (d) => ratio(d.plan.meanLost ?? 0, d.plan.carried) * d.plan.cases), sum(rows, (d) => d.plan.cases)),
        cases: (rows) => mean(rows, (d) => ratio(d.lost, d.plan.carried))},
    {key: "load", name: "worst load of a link", kind: "share",
        plans: maxOf((d) => d.plan.worstLoad), cases: maxOf((d) => d.load)},
    {key: "overloads", name: "cases that overload a link", kind: "count",
        plans: (rows) => sum(rows, (d) => d.plan.overloading), cases: (rows) => sum(rows, (d) => (d.overloads > 0 ? 1 : 0))},
    {key: "carried", name: "carried, of the offered", kind: "share", good: true, plans: shareOf((d) => d.plan.carried, (d) => d.plan.offered)},
    {key: "protected", name: "with backups, of the carried", kind: "share", good: true, plans: shareOf((d) => d.plan.protected, (d) => d.plan.carried)},
];

export const NOTHING = "(alone)";

const valuesOf = (rows, axis) => [...new Set(rows.map(axis.of))];

export function makeSweep(data) {
    const planOf = new Map(data.plans.map((plan) => [plan.plan, plan]));
    const networkOf = new Map(data.networks.map((one) => [one.name, one]));
    const nameOf = new Map(data.failures.map(([network, failure, name]) => [`${network}/${failure}`, name]));
    const plans = data.plans.filter((plan) => plan.offered !== null).map((plan) => ({plan}));
    // A pair stands in both its places, so that the map is whole on either side of the diagonal.
    const cases = data.details.filter(([plan]) => planOf.has(plan)).flatMap(([number, first, second, lost, load, overloads]) => {
        const plan = planOf.get(number);
        const name = (failure) => (failure ? nameOf.get(`${networkOf.get(plan.network).network}/${failure}`) : NOTHING);
        const one = {plan, failure: name(first), second: name(second), lost, load, overloads};
        return second ? [one, {...one, failure: one.second, second: one.failure}] : [one];
    });
    const gravest = [NOTHING, ...new Set(nameOf.values())];
    const many = (rows) => (axis) => valuesOf(rows, axis).length > 1;
    const planAxes = PLAN_AXES.filter(many(plans));
    const caseAxes = CASE_AXES.filter(many(cases)).map((axis) => ({...axis, order: gravest}));
    return {...data, plans, cases, planAxes, caseAxes, axes: [...planAxes, ...caseAxes], isFor: (axis) => (planAxes.includes(axis) ? plans : cases)};
}

// A figure for every cell of two axes; the same axis twice makes one row.
export function cellsOf(model, across, down, measure) {
    const needsCases = [across, down].some((axis) => model.caseAxes.includes(axis));
    const fold = needsCases ? measure.cases : measure.plans;
    if (!fold) return null;
    const cells = new Map();
    for (const row of needsCases ? model.cases : model.plans) {
        const at = {x: across.of(row), y: down === across ? "" : down.of(row)};
        const key = JSON.stringify([at.x, at.y]);
        if (!cells.has(key)) cells.set(key, {...at, rows: []});
        cells.get(key).rows.push(row);
    }
    return [...cells.values()].map(({x, y, rows}) => ({x, y, value: fold(rows), count: rows.length}));
}
