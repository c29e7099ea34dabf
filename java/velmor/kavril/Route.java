package velmor.kavril;

import java.util.Arrays;
import java.util.stream.Collectors;

/** A path through the network: its nodes from head to tail. */
public final class Route {
    private final int[] nodes;

    private Route(int[] nodes) {
        this.nodes = nodes;
    }

    /**
     * A route over these nodes.
     *
     * @param nodes node ids from head to tail, at least one
     * @return the route
     */
    public static Route of(int... nodes) {
        Check.given("nodes", nodes);
        return ofOwn(nodes.clone());
    }

    /** A route over these nodes, which nobody changes any more. */
    static Route ofOwn(int[] nodes) {
        Check.nodes("nodes", nodes);
        return new Route(nodes);
    }

    /**
     * The node ids.
     *
     * @return a new array, from head to tail
     */
    public int[] nodes() {
        return nodes.clone();
    }

    /**
     * The node at a place of the route.
     *
     * @param index the place, 0 for the head
     * @return the node id
     */
    public int node(int index) {
        return nodes[Check.range("index", index, 0, nodes.length - 1)];
    }

    /**
     * The first node.
     *
     * @return the node id
     */
    public int head() {
        return nodes[0];
    }

    /**
     * The last node.
     *
     * @return the node id
     */
    public int tail() {
        return nodes[nodes.length - 1];
    }

    /**
     * How many links the route takes.
     *
     * @return one less than it has nodes
     */
    public int nbLinks() {
        return nodes.length - 1;
    }

    /**
     * Where a node is on the route.
     *
     * @param node a node id
     * @return its first place, 0 for the head, or -1 if the route does not pass it
     */
    public int indexOf(int node) {
        for (int i = 0; i < nodes.length; i++) {
            if (nodes[i] == node) {
                return i;
            }
        }
        return -1;
    }

    /**
     * Whether the route takes the link between two nodes.
     *
     * @param source node id
     * @param destination node id
     * @return whether the destination follows the source somewhere
     */
    public boolean crosses(int source, int destination) {
        for (int i = 0; i + 1 < nodes.length; i++) {
            if (nodes[i] == source && nodes[i + 1] == destination) {
                return true;
            }
        }
        return false;
    }

    /** The part from one place to another, both included. */
    Route part(int from, int to) {
        return new Route(Arrays.copyOfRange(nodes, from, to + 1));
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof Route && Arrays.equals(((Route) other).nodes, nodes);
    }

    @Override
    public int hashCode() {
        return Arrays.hashCode(nodes);
    }

    @Override
    public String toString() {
        return Arrays.stream(nodes).mapToObj(String::valueOf).collect(Collectors.joining(" > "));
    }
}
