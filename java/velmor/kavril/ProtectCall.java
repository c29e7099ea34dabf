package velmor.kavril;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.OptionalInt;
import velmor.kavril.internal.Diagnostics;
import velmor.kavril.internal.Requests;
import velmor.kavril.internal.State;
import velmor.repository.KAVRIL.JNIKAVRIL;
import velmor.repository.model.exception.AddDBException;
import velmor.repository.model.exception.NoRouteToHostException;
import velmor.repository.model.exception.RoutingException;

/** One LSP on its way to backups: all that it needs, or none; or as many as there are. */
final class ProtectCall implements NativeSession.Call<PartialProtection> {
    private static final int GLOBAL_BACKUP = 1;
    private static final int LOCAL_BACKUPS = 2;

    private final int id;
    private final Protection protection;
    private final boolean partly;

    // Of the run.
    private JNIKAVRIL raw;
    private Lsp primary;
    private int[] placed;
    private int nbPlaced;
    private final List<Backup> backups = new ArrayList<>();
    private final Map<Route, String> unprotected = new LinkedHashMap<>();

    ProtectCall(int id, Protection protection, boolean partly) {
        this.id = id;
        this.protection = protection;
        this.partly = partly;
    }

    String what() {
        return "LSP " + id + " cannot be protected";
    }

    String why() {
        return "there is no way around a link of it with enough room";
    }

    @Override
    public PartialProtection run(JNIKAVRIL session)
            throws AddDBException, NoRouteToHostException, RoutingException {
        raw = session;
        primary = StateReader.lsp(raw.sessId, id)
                .orElseThrow(() -> refused("LSP " + id + " is not up"));
        if (primary.isBackup()) {
            throw refused("LSP " + id + " is itself a backup");
        }
        checkIds();
        List<Route> routes = routes();
        placed = new int[routes.size()];
        try {
            for (int i = 0; i < routes.size(); i++) {
                protect(i, routes.get(i));
            }
        } catch (AddDBException | RuntimeException | Error e) {
            while (nbPlaced > 0) {
                raw.jniremoveLSP(placed[--nbPlaced]);
            }
            throw e;
        }
        return new PartialProtection(backups, unprotected);
    }

    private boolean isGlobal() {
        return protection.kind() == Protection.Kind.GLOBAL;
    }

    private void checkIds() {
        int nbBackups = isGlobal() ? 1 : primary.route().nbLinks();
        int[] ids = protection.backupIds();
        if (ids == null) {
            return;
        }
        if (ids.length != nbBackups) {
            throw new IllegalArgumentException("backupIds has " + ids.length + " ids, must have "
                    + nbBackups + ", one for each backup of LSP " + id);
        }
        if (Arrays.stream(ids).distinct().count() < ids.length) {
            throw new IllegalArgumentException("backupIds is " + Arrays.toString(ids)
                    + ", must have each id once");
        }
        for (int backupId : ids) {
            if (State.hasLsp(raw.sessId, backupId)) {
                throw refused("the LSP id " + backupId + " is in use");
            }
        }
    }

    /** The routes of the backups, null for one that there is none for. */
    private List<Route> routes() throws AddDBException, NoRouteToHostException, RoutingException {
        List<Route> routes = new ArrayList<>();
        if (partly && !isGlobal()) {
            int[] paths = Requests.localBackups(raw.sessId, id);
            if (paths == null) {
                throw new AddDBException();
            }
            for (int at = 0; at < paths.length; at += 1 + paths[at]) {
                routes.add(paths[at] == 0 ? null
                        : Route.of(Arrays.copyOfRange(paths, at + 1, at + 1 + paths[at])));
            }
            return routes;
        }
        try {
            for (int[] path : raw.jnicomputeBackupPath(id, new int[0],
                    isGlobal() ? GLOBAL_BACKUP : LOCAL_BACKUPS, false, false)) {
                routes.add(Route.of(path));
            }
        } catch (NoRouteToHostException e) {
            if (!partly) {
                throw e;
            }
            routes.add(null);
        }
        return routes;
    }

    private void protect(int index, Route route) throws AddDBException {
        int lastLink = isGlobal() ? primary.route().nbLinks() - 1 : index;
        Route concerned = primary.route().part(index, lastLink + 1);
        if (route == null) {
            unprotected.put(concerned, hasWayAround(concerned)
                    ? "no way around it has enough room" : "there is no way around it");
            return;
        }
        OptionalInt backupId = OptionalInt.empty();
        if (protection.isPlaced()) {
            try {
                backupId = OptionalInt.of(place(index, route));
            } catch (AddDBException e) {
                if (!partly) {
                    throw e;
                }
                unprotected.put(concerned, "its backup over " + route + " cannot be placed: "
                        + Reason.of(messages(), "the library gives no reason"));
                return;
            }
        }
        backups.add(new Backup(backupId, id, protection.kind(), route, primary.route(), index,
                lastLink));
    }

    /** Whether the primary's last node can be reached without the links of a part of it. */
    private boolean hasWayAround(Route part) {
        Request way = Request.of(part.head(), primary.route().tail(), Traffic.of(0));
        for (int i = 0; i < part.nbLinks(); i++) {
            way = way.avoidingLink(part.node(i), part.node(i + 1));
        }
        return Requests.request(raw.sessId, way.numbers(false, false))[0] != Requests.NO_WAY;
    }

    private int place(int index, Route route) throws AddDBException {
        int backupId = protection.backupIds() != null ? protection.backupIds()[index]
                : Requests.freeLspId(raw.sessId);
        if (backupId < 0) {
            throw refused("all LSP ids are in use");
        }
        Traffic traffic = primary.traffic().atLevel(protection.level());
        raw.jniaddBackupLSP(backupId, id, route.nodes(), traffic.level(), traffic.trafficClass(),
                (float) traffic.bandwidth(), !isGlobal());
        placed[nbPlaced++] = backupId;
        return backupId;
    }

    /** What the library has to say since the last call. */
    private List<String> messages() {
        String[] messages = Diagnostics.takeMessages(raw.sessId);
        return messages == null ? List.of() : List.of(messages);
    }

    private RefusedException refused(String why) {
        return new RefusedException(what() + ": " + why, List.of(), null);
    }
}
