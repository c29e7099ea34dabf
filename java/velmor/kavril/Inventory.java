package velmor.kavril;

import java.nio.IntBuffer;
import java.util.ArrayList;
import java.util.Collection;
import java.util.HashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.TreeMap;
import java.util.function.Predicate;

/** What is in a session's network; the library itself gives none of it back. */
final class Inventory {

    /** An LSP that is up. */
    static final class Lsp {
        final int id;
        final Traffic traffic;
        final Route route;

        /** The LSP that a backup protects, which may be down already; -1 for a primary. */
        final int primaryId;

        /** The route of that LSP, whose links the backup concerns too; null for a primary. */
        final Route primaryRoute;

        Lsp(int id, Traffic traffic, Route route, int primaryId, Route primaryRoute) {
            this.id = id;
            this.traffic = traffic;
            this.route = route;
            this.primaryId = primaryId;
            this.primaryRoute = primaryRoute;
        }
    }

    private final Set<Integer> nodes = new HashSet<>();
    private final Map<Integer, Lsp> lsps = new TreeMap<>();

    Inventory() {
    }

    Inventory(Inventory other) {
        nodes.addAll(other.nodes);
        lsps.putAll(other.lsps);
    }

    /** Reads what the library tells of a session ({@code Storage.contents}). */
    Inventory(IntBuffer contents) {
        for (int left = contents.get(); left > 0; left--) {
            nodes.add(contents.get());
        }
        while (contents.hasRemaining()) {
            readLsp(contents);
        }
    }

    private void readLsp(IntBuffer contents) {
        int id = contents.get();
        int primaryId = contents.get();
        int level = contents.get();
        int oa = contents.get();
        double bandwidth = Float.intBitsToFloat(contents.get());
        if (oa < 0) {
            throw new IllegalArgumentException("LSP " + id + " has bandwidth in several classes");
        }
        Traffic traffic = Traffic.of(bandwidth).inClass(oa).atLevel(level);
        Route route = readRoute(contents);
        Route primaryRoute = readRoute(contents);
        lsps.put(id, new Lsp(id, traffic, route, primaryId, primaryId < 0 ? null : primaryRoute));
    }

    private static Route readRoute(IntBuffer contents) {
        int[] route = new int[contents.get()];
        contents.get(route);
        return route.length == 0 ? null : Route.of(route);
    }

    void addNode(int id) {
        nodes.add(id);
    }

    void removeNode(int id) {
        nodes.remove(id);
    }

    boolean hasNode(int id) {
        return nodes.contains(id);
    }

    void addPrimary(int id, Traffic traffic, Route route) {
        lsps.put(id, new Lsp(id, traffic, route, -1, null));
    }

    void addBackup(int id, Traffic traffic, Route route, Lsp primary) {
        lsps.put(id, new Lsp(id, traffic, route, primary.id, primary.route));
    }

    void removeLsps(Collection<Integer> ids) {
        lsps.keySet().removeAll(ids);
    }

    /** The LSP, null if it is not up. */
    Lsp lsp(int id) {
        return lsps.get(id);
    }

    List<Integer> backupsOf(int primaryId) {
        List<Integer> ids = new ArrayList<>();
        lsps.values().stream().filter(lsp -> lsp.primaryId == primaryId)
                .forEach(lsp -> ids.add(lsp.id));
        return ids;
    }

    /** The LSPs that concern links of routes which the test selects. */
    List<Integer> using(Predicate<Route> test) {
        List<Integer> ids = new ArrayList<>();
        for (Lsp lsp : lsps.values()) {
            if (test.test(lsp.route) || lsp.primaryRoute != null && test.test(lsp.primaryRoute)) {
                ids.add(lsp.id);
            }
        }
        return ids;
    }
}
