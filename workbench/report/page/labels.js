// Which names a map has room for, and on which side of their nodes.

import {least} from "d3";

const HEIGHT = 13;
const CHARACTER = 6.6;  // mean width at the style sheet's size
const ASIDE = 4;  // as near to a node a name could be taken for its own
export const MARK = 6;  // half the width of a mark
const CELL = 48;

// Boxes [left, top, right, bottom], found by where they are.
class Boxes {
    constructor() { this.cells = new Map(); }

    * cellsOf([left, top, right, bottom]) {
        for (let x = Math.floor(left / CELL); x <= Math.floor(right / CELL); x++)
            for (let y = Math.floor(top / CELL); y <= Math.floor(bottom / CELL); y++) yield `${x},${y}`;
    }

    add(box, owner) {
        for (const cell of this.cellsOf(box)) {
            if (!this.cells.has(cell)) this.cells.set(cell, []);
            this.cells.get(cell).push({box, owner});
        }
    }

    // But for what `owner` has put there itself.
    isFree(box, owner = null) {
        const overlaps = (other) => box[0] < other[2] && box[2] > other[0] && box[1] < other[3] && box[3] > other[1];
        for (const cell of this.cellsOf(box))
            for (const {box: other, owner: by} of this.cells.get(cell) ?? [])
                if ((owner === null || by !== owner) && overlaps(other)) return false;
        return true;
    }
}

// Right, left, below, above, and the corners. `x` and `y` are where the text is anchored.
function spotsOf(node, radius) {
    const width = CHARACTER * node.name.length;
    const [off, mid, near] = [radius + 3, HEIGHT / 2, radius + 1];
    const {px: x, py: y} = node;
    const aside = (side, left, top) => ({
        anchor: side > 0 ? "start" : "end", x: side > 0 ? left : left + width, y: top + mid + 4, box: [left, top, left + width, top + HEIGHT],
    });
    const [right, left] = [x + off, x - off - width];
    return [
        aside(1, right, y - mid), aside(-1, left, y - mid),
        {anchor: "middle", x, y: y + off + 9, box: [x - width / 2, y + off, x + width / 2, y + off + HEIGHT]},
        {anchor: "middle", x, y: y - off - 1, box: [x - width / 2, y - off - HEIGHT, x + width / 2, y - off]},
        aside(1, right - 2, y - near - HEIGHT + 3), aside(1, right - 2, y + near - 3),
        aside(-1, left + 2, y - near - HEIGHT + 3), aside(-1, left + 2, y + near - 3),
    ];
}

// Whether the line from one node to another goes through a box.
function isCrossed([left, top, right, bottom], {px: x, py: y}, {px, py}) {
    let [from, to] = [0, 1];
    for (const [start, way, low, high] of [[x, px - x, left, right], [y, py - y, top, bottom]]) {
        const ends = way ? [(low - start) / way, (high - start) / way].sort((a, b) => a - b)
            : start > low && start < high ? [0, 1] : [1, 0];
        [from, to] = [Math.max(from, ends[0]), Math.min(to, ends[1])];
    }
    return from < to;
}

// How many of the node's own links a name would lie on; those of others are too many to ask.
function linksUnder(box, node) {
    const others = new Set(node.links.map((link) => (link.from === node ? link.to : link.from)));
    return [...others].filter((other) => isCrossed(box, node, other)).length;
}

// `nodes` come by importance. Those in `wanted` are named even over another node, the rest
// only where they hide neither a node nor a name. Of the sides with room the one is taken
// where the name lies on the fewest of the node's links and keeps away from other nodes. `marks`
// are spots on the map that names leave free.
export function placeNames(nodes, radius, size, wanted, marks = []) {
    const [circles, near, names] = [new Boxes(), new Boxes(), new Boxes()];
    const isIn = ({px, py}) => px > -20 && py > -20 && px < size.width + 20 && py < size.height + 20;
    const inSight = nodes.filter(isIn);
    for (const node of inSight) {
        const around = (reach) => [node.px - reach, node.py - reach, node.px + reach, node.py + reach];
        circles.add(around(radius), node);
        near.add(around(radius + ASIDE), node);
    }
    for (const [x, y] of marks) names.add([x - MARK, y - MARK, x + MARK, y + MARK]);
    const shown = [];
    const order = [...inSight.filter((d) => wanted.has(d)), ...inSight.filter((d) => !wanted.has(d))];
    for (const node of order) {
        const free = spotsOf(node, radius).filter(({box}) => box[0] >= 0 && box[2] <= size.width
            && box[1] >= 0 && box[3] <= size.height && names.isFree(box));
        const clear = free.filter(({box}) => circles.isFree(box, node));
        const best = least(clear, ({box}) => linksUnder(box, node) + (near.isFree(box, node) ? 0 : 2)) ?? (wanted.has(node) ? free[0] : undefined);
        if (!best) continue;
        names.add(best.box, node);
        shown.push({node, ...best});
    }
    return shown;
}
