package operator;

import java.util.ArrayList;
import java.util.List;
import velmor.kavril.Link;
import velmor.kavril.Route;
import velmor.kavril.Session;
import velmor.kavril.Weight;

/** What the file says: nodes with names, cables with their capacity, traffic in Mbit/s. */
final class Network {
    String name = "network";
    final List<String> nodes = new ArrayList<>();
    final List<String> places = new ArrayList<>();

    /** Node, node and capacity of each; a link each way. */
    final List<int[]> cables = new ArrayList<>();

    /** Per node, the traffic from it to every node; null until it is known. */
    final List<int[]> traffic = new ArrayList<>();

    void addNode(String node, String place) {
        nodes.add(node);
        places.add(place);
        traffic.add(null);
    }

    boolean hasCable(int a, int b) {
        return cables.stream().anyMatch(cable -> cable[0] == a && cable[1] == b
                || cable[0] == b && cable[1] == a);
    }

    /** Opens a session and describes the network to it. */
    Session open() {
        Session session = Session.builder().classes(Service.NB_CLASSES).levels(Service.NB_LEVELS)
                .weight(Weight.FORTZ, 1).build();
        for (int node = 0; node < nodes.size(); node++) {
            session.addNode(node);
        }
        int id = 0;
        for (int[] cable : cables) {
            double[] capacities = Service.capacities(cable[2]);
            session.addLink(id++, cable[0], cable[1], capacities);
            session.addLink(id++, cable[1], cable[0], capacities);
        }
        return session;
    }

    String text(Link link) {
        return text(Route.of(link.source(), link.destination()));
    }

    String text(Route route) {
        List<String> names = new ArrayList<>();
        for (int node : route.nodes()) {
            names.add(nodes.get(node));
        }
        return String.join(" > ", names);
    }
}
