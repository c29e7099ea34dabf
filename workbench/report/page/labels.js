// Which names a map has room for, and on which side of their nodes.

const HEIGHT = 13;
const CHARACTER = 6.6;  // mean width at the style sheet's size
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

// Right, left, below, above. `x` and `y` are where the text is anchored.
function spotsOf(node, radius) {
    const width = CHARACTER * node.name.length;
    const [off, mid] = [radius + 3, HEIGHT / 2];
    const {px: x, py: y} = node;
    return [
        {anchor: "start", x: x + off, y: y + 4, box: [x + off, y - mid, x + off + width, y + mid]},
        {anchor: "end", x: x - off, y: y + 4, box: [x - off - width, y - mid, x - off, y + mid]},
        {anchor: "middle", x, y: y + off + 9, box: [x - width / 2, y + off, x + width / 2, y + off + HEIGHT]},
        {anchor: "middle", x, y: y - off - 1, box: [x - width / 2, y - off - HEIGHT, x + width / 2, y - off]},
    ];
}

// `nodes` come by importance. Those in `wanted` are named even over another node, the rest
// only where they hide neither a node nor a name.
export function placeNames(nodes, radius, size, wanted) {
    const [circles, names] = [new Boxes(), new Boxes()];
    const isIn = ({px, py}) => px > -20 && py > -20 && px < size.width + 20 && py < size.height + 20;
    const inSight = nodes.filter(isIn);
    for (const node of inSight)
        circles.add([node.px - radius, node.py - radius, node.px + radius, node.py + radius], node);
    const shown = [];
    const order = [...inSight.filter((d) => wanted.has(d)), ...inSight.filter((d) => !wanted.has(d))];
    for (const node of order) {
        const free = spotsOf(node, radius).filter(({box}) => box[0] >= 0 && box[2] <= size.width
            && box[1] >= 0 && box[3] <= size.height && names.isFree(box));
        const best = free.find(({box}) => circles.isFree(box, node)) ?? (wanted.has(node) ? free[0] : undefined);
        if (!best) continue;
        names.add(best.box, node);
        shown.push({node, ...best});
    }
    return shown;
}
