// How a share of a capacity looks: colour and width go up in the same steps on the map and
// in its legend. A change between two plans has steps of its own.

// Upper bounds; finer where it matters, for a link at 95 % is not one at 80 %.
const BOUNDS = [0.1, 0.25, 0.5, 0.75, 0.9, 1 + 1e-9, Infinity];
const WIDTHS = [1, 1.4, 1.9, 2.5, 3.1, 3.8, 4.6];
const NAMES = ["to 10 %", "to 25", "to 50", "to 75", "to 90", "to 100", "over 100 %"];

const CHANGE_BOUNDS = [-0.25, -0.1, -0.01, 0.01, 0.1, 0.25, Infinity];
const CHANGE_WIDTHS = [3.6, 2.8, 2, 1, 2, 2.8, 3.6];
const CHANGE_NAMES = ["under -25 points", "to -10", "to -1", "as before", "to +10", "to +25", "over +25 points"];

const stepIn = (bounds) => (value) => bounds.findIndex((bound) => value <= bound);

function scaleOf(prefix, bounds, widths, names, isNothing) {
    const step = stepIn(bounds);
    return {
        classOf: (value) => (isNothing(value) ? "unone" : `${prefix}${step(value)}`),
        widthOf: (value) => (isNothing(value) ? 1 : widths[step(value)]),
        steps: names.map((name, ind) => ({kind: `${prefix}${ind}`, width: widths[ind], name})),
    };
}

export const SHARES = scaleOf("u", BOUNDS, WIDTHS, NAMES, (share) => share <= 0);
export const CHANGES = scaleOf("c", CHANGE_BOUNDS, CHANGE_WIDTHS, CHANGE_NAMES, () => false);
