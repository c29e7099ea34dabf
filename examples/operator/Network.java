package operator;

import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import velmor.kavril.Route;

/** Nodes, directed links with their capacity, and the traffic between the nodes, in Mbit/s. */
final class Network {

    /** A directed link; ids count up from 0. */
    static final class Link {
        final int id;
        final int src;
        final int dst;
        final int capacity;

        Link(int id, int src, int dst, int capacity) {
            this.id = id;
            this.src = src;
            this.dst = dst;
            this.capacity = capacity;
        }
    }

    String name = "network";
    final List<String> nodes = new ArrayList<>();
    final List<String> places = new ArrayList<>();
    final List<Link> links = new ArrayList<>();

    /** Per node, the traffic from it to every node; null until it is known. */
    final List<int[]> traffic = new ArrayList<>();

    void addNode(String node, String place) {
        nodes.add(node);
        places.add(place);
        traffic.add(null);
    }

    void addLink(int src, int dst, int capacity) {
        links.add(new Link(links.size(), src, dst, capacity));
    }

    /** The link from src to dst, null if there is none. */
    Link link(int src, int dst) {
        for (Link link : links) {
            if (link.src == src && link.dst == dst) {
                return link;
            }
        }
        return null;
    }

    /** The links along a route; there must be such links. */
    List<Link> hops(Route route) {
        int[] path = route.nodes();
        List<Link> hops = new ArrayList<>();
        for (int i = 0; i + 1 < path.length; i++) {
            Link link = link(path[i], path[i + 1]);
            if (link == null) {
                throw new CheckFailedException("path over a link that is not there: "
                        + path[i] + " > " + path[i + 1]);
            }
            hops.add(link);
        }
        return hops;
    }

    /** Whether the link's end can be reached from its head in another way. */
    boolean hasDetour(Link avoided) {
        Set<Integer> reached = new HashSet<>(Set.of(avoided.src));
        boolean grown = true;
        while (grown) {
            grown = false;
            for (Link link : links) {
                grown |= link != avoided && reached.contains(link.src) && reached.add(link.dst);
            }
        }
        return reached.contains(avoided.dst);
    }

    String text(Link link) {
        return nodes.get(link.src) + " > " + nodes.get(link.dst);
    }

    String text(Route route) {
        List<String> names = new ArrayList<>();
        for (int node : route.nodes()) {
            names.add(nodes.get(node));
        }
        return String.join(" > ", names);
    }
}
