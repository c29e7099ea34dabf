// Networks and matrices of any size, the same on every run.

// A ring, both ways, with a chord from every third node to the one across.
export function ringNetwork(size) {
    const nodes = [...Array(size)].map((_, node) => ({
        name: `node ${node}`,
        x: Math.cos((2 * Math.PI * node) / size),
        y: Math.sin((2 * Math.PI * node) / size),
    }));
    const ring = nodes.map((_, node) => [node, (node + 1) % size]);
    const chords = nodes.map((_, node) => [node, node + Math.floor(size / 2)])
        .filter(([node, across]) => node % 3 === 0 && across < size);
    const links = [...ring, ...chords].flatMap(([src, dst]) =>
        [[src, dst], [dst, src]].map(([src, dst]) => ({src, dst, capacity: 1000})));
    return {format: "kavril-network", version: 1, name: `ring ${size}`, nodes, links};
}

export function demandsOf(network, count, bandwidth) {
    const size = network.nodes.length;
    const demands = [...Array(count)].map((_, ind) => {
        const src = (7 * ind) % size;
        const step = 1 + ((5 * ind + Math.floor(ind / size)) % (size - 1));
        return {src, dst: (src + step) % size, bandwidth: bandwidth * (0.5 + (ind % 11) / 10)};
    });
    return {format: "kavril-demands", version: 1, name: "demands", demands};
}
