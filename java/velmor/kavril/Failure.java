package velmor.kavril;

import java.util.ArrayList;
import java.util.Collection;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Set;

/**
 * Links and nodes that fail together.
 *
 * <pre>{@code
 * Failure.cable(0, 1).and(Failure.node(7))
 * }</pre>
 */
public final class Failure {
    private final Set<Route> links;
    private final Set<Integer> nodes;

    private Failure(Collection<Route> links, Collection<Integer> nodes) {
        this.links = new LinkedHashSet<>(links);
        this.nodes = new LinkedHashSet<>(nodes);
    }

    /**
     * A link, in one direction.
     *
     * @param source the node it leaves
     * @param destination the node it enters
     * @return its failure
     */
    public static Failure link(int source, int destination) {
        Check.node("source", source);
        Check.node("destination", destination);
        return new Failure(List.of(Route.of(source, destination)), List.of());
    }

    /**
     * The links between two nodes, in both directions.
     *
     * @param one a node
     * @param other the other one
     * @return their failure
     */
    public static Failure cable(int one, int other) {
        return link(one, other).and(link(other, one));
    }

    /**
     * A node with all links that leave it or enter it.
     *
     * @param id the node
     * @return its failure
     */
    public static Failure node(int id) {
        return new Failure(List.of(), List.of(Check.node("id", id)));
    }

    /**
     * This failure and another one at once.
     *
     * @param other the other one
     * @return both
     */
    public Failure and(Failure other) {
        List<Route> allLinks = new ArrayList<>(links);
        List<Integer> allNodes = new ArrayList<>(nodes);
        allLinks.addAll(Check.given("other", other).links);
        allNodes.addAll(other.nodes);
        return new Failure(allLinks, allNodes);
    }

    /**
     * The links that fail, without those that nodes take along.
     *
     * @return each from its source to its destination
     */
    public List<Route> links() {
        return List.copyOf(links);
    }

    /**
     * The nodes that fail.
     *
     * @return their ids
     */
    public List<Integer> nodes() {
        return List.copyOf(nodes);
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof Failure && ((Failure) other).links.equals(links)
                && ((Failure) other).nodes.equals(nodes);
    }

    @Override
    public int hashCode() {
        return 31 * links.hashCode() + nodes.hashCode();
    }

    @Override
    public String toString() {
        List<String> parts = new ArrayList<>();
        links.forEach(link -> parts.add("link " + link));
        nodes.forEach(node -> parts.add("node " + node));
        return "failure of " + String.join(", ", parts);
    }
}
