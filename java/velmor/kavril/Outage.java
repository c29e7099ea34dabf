package velmor.kavril;

import java.util.Collection;
import java.util.HashSet;
import java.util.Set;

/** What is down. */
final class Outage {
    private final Set<Long> links = new HashSet<>();
    private final Set<Integer> nodes;

    /** The links with those that nodes take along. */
    Outage(Collection<Route> links, Collection<Integer> nodes) {
        links.forEach(link -> this.links.add(key(link.head(), link.tail())));
        this.nodes = new HashSet<>(nodes);
    }

    private static long key(int source, int destination) {
        return (long) source << Integer.SIZE | destination;
    }

    boolean hasLink(int source, int destination) {
        return links.contains(key(source, destination));
    }

    boolean hasNode(int node) {
        return nodes.contains(node);
    }

    boolean hits(Route route) {
        for (int i = 0; i < route.nbLinks(); i++) {
            if (hasLink(route.node(i), route.node(i + 1))) {
                return true;
            }
        }
        return false;
    }
}
