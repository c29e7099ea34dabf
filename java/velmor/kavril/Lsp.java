package velmor.kavril;

import java.util.Objects;
import java.util.Optional;
import java.util.OptionalInt;

/** An LSP that was up when the session was asked. */
public final class Lsp {

    /** What an LSP is for. */
    public enum Kind {
        /** It carries traffic. */
        PRIMARY,

        /** It carries a primary's traffic when one link of that fails. */
        LOCAL_BACKUP,

        /** It carries a primary's traffic when any link of that fails, from its own first node on. */
        GLOBAL_BACKUP
    }

    private final int id;
    private final Kind kind;
    private final Traffic traffic;
    private final Route route;
    private final int primaryId;
    private final Route primaryRoute;

    /** A backup has the id of its primary and the route that this had, a primary -1 and null. */
    Lsp(int id, Kind kind, Traffic traffic, Route route, int primaryId, Route primaryRoute) {
        this.id = id;
        this.kind = kind;
        this.traffic = traffic;
        this.route = route;
        this.primaryId = primaryId;
        this.primaryRoute = primaryRoute;
    }

    /**
     * Its id.
     *
     * @return the LSP id
     */
    public int id() {
        return id;
    }

    /**
     * What it is for.
     *
     * @return primary, or the kind of backup
     */
    public Kind kind() {
        return kind;
    }

    /**
     * Whether it is a backup.
     *
     * @return false for a primary
     */
    public boolean isBackup() {
        return kind != Kind.PRIMARY;
    }

    /**
     * What it carries, or would. The library keeps bandwidths alone: an LSP without any is in class 0.
     *
     * @return bandwidth, class and level
     */
    public Traffic traffic() {
        return traffic;
    }

    /**
     * Where it goes.
     *
     * @return its own route
     */
    public Route route() {
        return route;
    }

    /**
     * The LSP that a backup was placed for, which may be down or another one by now, see
     * {@link #isBackupOf}.
     *
     * @return the LSP id, empty for a primary
     */
    public OptionalInt primaryId() {
        return isBackup() ? OptionalInt.of(primaryId) : OptionalInt.empty();
    }

    /** Of a backup, the route that its primary had. */
    Route primaryRoute() {
        return primaryRoute;
    }

    /**
     * The links whose failure switches traffic to a backup: of the route that its primary had, the
     * link that leaves the backup's first node, or for a global backup all from that node on.
     *
     * @return the part of the primary's route, empty for a primary
     */
    public Optional<Route> protectedRoute() {
        if (!isBackup()) {
            return Optional.empty();
        }
        int from = Math.max(0, primaryRoute.indexOf(route.head()));
        int to = kind == Kind.GLOBAL_BACKUP ? primaryRoute.nbLinks() : from + 1;
        return Optional.of(primaryRoute.part(from, Math.min(to, primaryRoute.nbLinks())));
    }

    /**
     * Whether this is a backup of an LSP: placed for its id, and when the route was what it is now. One
     * that has outlived an earlier LSP of that id on the very same route is a backup of the new one,
     * too.
     *
     * @param primary an LSP
     * @return whether this goes around links of it
     */
    public boolean isBackupOf(Lsp primary) {
        return isBackup() && !primary.isBackup() && primaryId == primary.id
                && primaryRoute.equals(primary.route);
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof Lsp && ((Lsp) other).id == id && ((Lsp) other).kind == kind
                && ((Lsp) other).traffic.equals(traffic) && ((Lsp) other).route.equals(route)
                && ((Lsp) other).primaryId == primaryId
                && Objects.equals(((Lsp) other).primaryRoute, primaryRoute);
    }

    @Override
    public int hashCode() {
        return Objects.hash(id, kind, traffic, route, primaryId, primaryRoute);
    }

    @Override
    public String toString() {
        String name = kind == Kind.PRIMARY ? "LSP " + id
                : (kind == Kind.LOCAL_BACKUP ? "local backup " : "global backup ") + id + " of LSP "
                        + primaryId;
        return name + " (" + traffic + ") over " + route;
    }
}
