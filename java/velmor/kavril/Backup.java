package velmor.kavril;

import java.util.ArrayList;
import java.util.List;
import java.util.OptionalInt;

/** A backup of a primary LSP, placed or only computed, and what it protects. */
public final class Backup {
    private final OptionalInt lspId;
    private final int primaryId;
    private final Protection.Kind kind;
    private final Route route;
    private final Route protectedRoute;
    private final List<Integer> protectedNodes;

    /** The part of the primary's route is what fails over to the backup's route. */
    Backup(OptionalInt lspId, int primaryId, Protection.Kind kind, Route route, Route primary,
            int firstLink, int lastLink) {
        this.lspId = lspId;
        this.primaryId = primaryId;
        this.kind = kind;
        this.route = route;
        protectedRoute = primary.part(firstLink, lastLink + 1);
        List<Integer> nodes = new ArrayList<>();
        for (int i = firstLink + 1; i <= lastLink + 1 && i < primary.nbLinks(); i++) {
            if (route.indexOf(primary.node(i)) < 0) {
                nodes.add(primary.node(i));
            }
        }
        protectedNodes = List.copyOf(nodes);
    }

    /**
     * The backup's own id.
     *
     * @return its LSP id, empty if it was only computed
     */
    public OptionalInt lspId() {
        return lspId;
    }

    /**
     * The LSP that it protects.
     *
     * @return the LSP id
     */
    public int primaryId() {
        return primaryId;
    }

    /**
     * The kind of the backup.
     *
     * @return local or global
     */
    public Protection.Kind kind() {
        return kind;
    }

    /**
     * Its path. A local backup leaves the primary at the head of the protected link and joins it
     * again further on.
     *
     * @return the path
     */
    public Route route() {
        return route;
    }

    /**
     * The links whose failure switches traffic to the backup.
     *
     * @return the one link of the primary that a local backup protects, or the primary's whole route
     */
    public Route protectedRoute() {
        return protectedRoute;
    }

    /**
     * The nodes whose failure the backup survives too, since it goes around them.
     *
     * @return ids of inner nodes of the primary, in its order; empty if it protects links alone
     */
    public List<Integer> protectedNodes() {
        return protectedNodes;
    }

    @Override
    public String toString() {
        return (kind == Protection.Kind.LOCAL ? "local" : "global") + " backup"
                + (lspId.isPresent() ? " " + lspId.getAsInt() : "") + " of LSP " + primaryId + " over "
                + route + ", for the links of " + protectedRoute
                + (protectedNodes.isEmpty() ? "" : " and the nodes " + protectedNodes);
    }
}
