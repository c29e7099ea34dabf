package velmor.kavril;

import java.util.ArrayList;
import java.util.List;
import java.util.stream.Collectors;

/**
 * Where the traffic of a primary goes when links of it are down. In front of the first of them it
 * takes a backup that protects this link and is up; where the backup ends it is back on the primary. So
 * several local backups may be in use at once.
 */
public final class Switchover {
    private final Lsp lsp;
    private final List<Integer> backups;
    private final Route route;
    private final String reason;

    private Switchover(Lsp lsp, List<Integer> backups, Route route, String reason) {
        this.lsp = lsp;
        this.backups = List.copyOf(backups);
        this.route = route;
        this.reason = reason;
    }

    /** Follows the traffic of a primary that is hit, which has these backups. */
    static Switchover of(Lsp lsp, List<Lsp> backups, Outage outage) {
        Route primary = lsp.route();
        if (outage.hasNode(primary.head()) || outage.hasNode(primary.tail())) {
            return lost(lsp, "it ends at a node that is down");
        }
        List<Integer> used = new ArrayList<>();
        List<Integer> nodes = new ArrayList<>(List.of(primary.head()));
        int at = 0;
        while (at < primary.nbLinks()) {
            if (!outage.hasLink(primary.node(at), primary.node(at + 1))) {
                nodes.add(primary.node(++at));
                continue;
            }
            Lsp backup = null;
            String reason = backups.isEmpty() ? "it has no backup"
                    : "it has no backup for the link " + primary.part(at, at + 1);
            for (Lsp candidate : backups) {
                if (!protects(candidate, primary, at)
                        // Traffic that has left the primary before cannot go back to an earlier node.
                        || !used.isEmpty() && candidate.route().head() != primary.node(at)) {
                    continue;
                }
                if (!outage.hits(candidate.route())) {
                    backup = candidate;
                    break;
                }
                reason = "its backup " + candidate.id() + " is down too";
            }
            if (backup == null) {
                return lost(lsp, reason);
            }
            int head = primary.indexOf(backup.route().head());
            if (used.isEmpty()) {
                nodes = nodes.subList(0, head + 1);
            }
            used.add(backup.id());
            for (int i = 1; i <= backup.route().nbLinks(); i++) {
                nodes.add(backup.route().node(i));
            }
            int end = head;
            while (end <= primary.nbLinks() && primary.node(end) != backup.route().tail()) {
                end++;
            }
            if (end <= at || end > primary.nbLinks()) {
                return lost(lsp, "its backup " + backup.id() + " does not lead past the link "
                        + primary.part(at, at + 1));
            }
            at = end;
        }
        return new Switchover(lsp, used,
                Route.of(nodes.stream().mapToInt(Integer::intValue).toArray()), null);
    }

    private static boolean protects(Lsp backup, Route primary, int hop) {
        int head = primary.indexOf(backup.route().head());
        return backup.kind() == Lsp.Kind.GLOBAL_BACKUP ? head >= 0 && head <= hop : head == hop;
    }

    private static Switchover lost(Lsp lsp, String reason) {
        return new Switchover(lsp, List.of(), null, reason);
    }

    boolean isLost() {
        return route == null;
    }

    Refusal loss() {
        return new Refusal(lsp, reason);
    }

    /**
     * The primary.
     *
     * @return what it was before the failure
     */
    public Lsp lsp() {
        return lsp;
    }

    /**
     * The backups that it uses.
     *
     * @return their ids, in the order in which the traffic takes them
     */
    public List<Integer> backups() {
        return backups;
    }

    /**
     * The way of its traffic, which may pass a node twice.
     *
     * @return the route, over links of the primary and of backups
     */
    public Route route() {
        return route;
    }

    @Override
    public String toString() {
        return "LSP " + lsp.id() + " switches to "
                + backups.stream().map(String::valueOf).collect(Collectors.joining(", ")) + ": " + route;
    }
}
