package velmor.kavril;

import java.util.List;
import java.util.stream.Collectors;
import velmor.kavril.internal.Changes;

/** A primary that changes, and its backups with it. */
final class UpdateCall {
    /** Source and destination of a link to avoid in a search, that is none. */
    static final int[] NO_LINK = {-1, -1};

    private final Session session;
    private final int id;
    private final Traffic wanted;
    private final Route route;
    private final int[] avoided;

    /** What is null stays as it is; a route is searched for if there is a link to avoid. */
    UpdateCall(Session session, int id, Traffic wanted, Route route, int[] avoided) {
        this.session = session;
        this.id = id;
        this.wanted = wanted;
        this.route = route;
        this.avoided = avoided;
    }

    UpdateResult run() {
        return session.together(Operation.UPDATE, () -> {
            Lsp before = session.lsp(id).orElseThrow(() -> refused("it is not up"));
            if (before.isBackup()) {
                throw refused("it is itself a backup");
            }
            Traffic traffic = wanted == null ? before.traffic() : wanted;
            boolean staysThere = avoided == null && (route == null || route.equals(before.route()))
                    && traffic.atLevel(before.traffic().level()).equals(before.traffic());
            List<Lsp> backups = staysThere ? List.of() : session.backupsOf(id).stream()
                    .map(backup -> session.lsp(backup).orElseThrow()).collect(Collectors.toList());
            return backups.isEmpty() ? change(before, traffic, backups)
                    : session.attempt(Operation.UPDATE, this::what, true,
                            () -> change(before, traffic, backups));
        });
    }

    /** The backups go first: what they hold is no obstacle for their own primary. */
    private UpdateResult change(Lsp before, Traffic traffic, List<Lsp> backups) {
        backups.forEach(backup -> session.removeLsp(backup.id()));
        Route way = avoided != null ? find(traffic) : route != null ? route : before.route();
        session.make(Operation.UPDATE, this::what, sessId -> Changes.changeLsp(sessId, id,
                traffic.trafficClass(), (float) traffic.bandwidth(), traffic.level(), way.nodes()));
        Lsp after = session.lsp(id).orElseThrow();
        Restorer restorer = new Restorer(session, false, false);
        restorer.add(backups.stream().map(backup -> adapted(backup, before, traffic))
                .collect(Collectors.toList()));
        return new UpdateResult(before, after, backups, restorer.run());
    }

    /** A route with room for other traffic of the LSP, which does not contend with itself. */
    private Route find(Traffic traffic) {
        int[] path = session.read(sessId -> Changes.findRoute(sessId, id, traffic.trafficClass(),
                (float) traffic.bandwidth(), avoided[0], avoided[1]));
        if (path == null) {
            throw new NoRouteException(what() + ": no path has enough room, and nothing may give way"
                    + " for it", List.of(), null);
        }
        return Route.of(path);
    }

    /** What the backup is to be: one with traffic of its own keeps that. */
    private static Lsp adapted(Lsp backup, Lsp before, Traffic traffic) {
        Traffic old = backup.traffic();
        boolean isPrimarys = old.atLevel(before.traffic().level()).equals(before.traffic());
        return new Lsp(backup.id(), backup.kind(), isPrimarys ? traffic.atLevel(old.level()) : old,
                backup.route(), backup.primaryId().getAsInt(), backup.primaryRoute());
    }

    private String what() {
        return "LSP " + id + " cannot be changed";
    }

    private RefusedException refused(String reason) {
        return new RefusedException(what() + ": " + reason, List.of(), null);
    }
}
