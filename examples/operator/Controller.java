package operator;

import java.util.ArrayList;
import java.util.Comparator;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Set;
import operator.Lsp.Demand;
import operator.Network.Link;
import velmor.repository.KAVRIL.JNIKAVRIL;
import velmor.repository.model.exception.AddDBException;
import velmor.repository.model.exception.NoRouteToHostException;
import velmor.repository.model.exception.RoutingException;

/** Places, protects and removes LSPs: drives a session of the library and keeps the ledger true. */
final class Controller {

    /** What placing an LSP led to. */
    static final class Placement {
        /** The new LSP, null if it was refused. */
        Lsp lsp;

        /** LSPs that the library preempted for it, primaries and backups. */
        final List<Lsp> preempted = new ArrayList<>();

        /** LSPs that the operator then took down: backups that lost their sense, and more. */
        final List<Lsp> withdrawn = new ArrayList<>();
    }

    private static final int GLOBAL_BACKUP = 1;
    private static final int LOCAL_BACKUPS = 2;
    private static final float FORTZ_WEIGHT = 1;

    /** The most to take down first: the least important, of those backups, of those the largest. */
    private static final Comparator<Lsp> EXPENDABLE_LAST =
            Comparator.comparingInt((Lsp lsp) -> lsp.service().level)
                    .thenComparing(lsp -> !lsp.isPrimary())
                    .thenComparingInt(Lsp::bandwidth);

    final Ledger ledger = new Ledger();
    private final JNIKAVRIL kavril = new JNIKAVRIL();
    private final Network network;
    private int nextId;

    Controller(Network network) {
        this.network = network;
    }

    Reservations reservations() {
        return new Reservations(network, ledger.all());
    }

    /** Opens the session and describes the network to it. */
    void open() throws AddDBException {
        float[][] nothing = new float[Service.NB_CLASSES][Service.NB_LEVELS];
        kavril.jniinitKavril(Service.NB_CLASSES, Service.NB_LEVELS, false, false, true,
                0, 0, 0, 0, 0, 0, FORTZ_WEIGHT, nothing);
        if (kavril.sessId < 0) {
            throw new CheckFailedException("the library opens no session");
        }
        for (int node = 0; node < network.nodes.size(); node++) {
            kavril.jniaddNode(node);
        }
        for (Link link : network.links) {
            float[] capacity = new float[Service.NB_CLASSES];
            for (int oa = 0; oa < capacity.length; oa++) {
                capacity[oa] = Service.capacity(link, oa);
            }
            kavril.jniaddLink(link.id, 0, link.src, link.dst, capacity, nothing, null, null, null);
        }
    }

    /** Ends the session; the library then prints what went wrong in it to the standard error. */
    void close() {
        kavril.jnikillKavril();
    }

    /** Has the library print its own tables to the standard output. */
    void printDatabase() {
        kavril.jniprintKavrilDB();
    }

    /** Places an LSP for the demand, preempting less important ones if that is allowed. */
    Placement place(Demand demand, boolean preempt) throws AddDBException {
        Placement placement = new Placement();
        Service service = demand.service;
        int id = nextId++;
        kavril.lsps = null;
        int[] path;
        try {
            path = kavril.jnicomputePath(id, demand.src, demand.dst, -1, -1, -1,
                    service.trafficClass, service.level, demand.bandwidth, null, true, preempt);
        } catch (NoRouteToHostException e) {
            return placement;
        } catch (AddDBException | RoutingException e) {
            // What would have to give way cannot be found; but if it could not be removed, the new
            // LSP is up.
            if (removeIfUp(id)) {
                throw new CheckFailedException("LSP " + id + " was refused, but it is up");
            }
            return placement;
        }
        placement.lsp = new Lsp(id, demand, path);
        checkEnds(path, demand.src, demand.dst);
        ledger.add(placement.lsp);
        if (kavril.lsps != null) {
            for (int preempted : kavril.lsps) {
                placement.preempted.add(ledger.remove(preempted));
            }
            withdrawOrphans(placement.preempted, placement.withdrawn);
            relieve(placement.withdrawn);
        }
        return placement;
    }

    /** Protects a primary as its service asks. Returns no backups if that is not possible. */
    List<Lsp> protect(Lsp primary) {
        for (Link link : network.hops(primary.path)) {
            if (!network.hasDetour(link)) {
                return List.of();
            }
        }
        boolean global = primary.service().globalBackup;
        int level = primary.service().backupLevel();
        int[] ids = new int[global ? 1 : primary.path.length - 1];
        for (int i = 0; i < ids.length; i++) {
            ids[i] = nextId++;
        }
        int[][] paths;
        try {
            // Backups that the library places are of level 0; those of other levels it only finds.
            paths = kavril.jnicomputeBackupPath(primary.id, ids,
                    global ? GLOBAL_BACKUP : LOCAL_BACKUPS, level == 0, false);
            for (int i = 0; level > 0 && i < ids.length; i++) {
                kavril.jniaddBackupLSP(ids[i], primary.id, paths[i], level,
                        primary.trafficClass(), primary.bandwidth(), !global);
            }
        } catch (NoRouteToHostException e) {
            return List.of();
        } catch (AddDBException e) {
            // The search looks at the backups' own links, the setup also at the primary's, where
            // others may count on the place that it would leave.
            for (int id : ids) {
                removeIfUp(id);
            }
            return List.of();
        }
        List<Lsp> backups = new ArrayList<>();
        for (int i = 0; i < ids.length; i++) {
            checkEnds(paths[i], primary.path[i], global ? primary.tail() : -1);
            backups.add(new Lsp(ids[i], primary, paths[i],
                    global ? Lsp.Kind.GLOBAL_BACKUP : Lsp.Kind.LOCAL_BACKUP));
        }
        backups.forEach(ledger::add);
        return backups;
    }

    /**
     * Removes the backups that lost their sense with the LSPs that are gone. The library leaves the
     * backups of a preempted primary in place. And of local backups the operator wants all or none:
     * a primary with a gap in its protection counts as unprotected, until it is protected anew.
     */
    private void withdrawOrphans(List<Lsp> gone, List<Lsp> withdrawn) throws AddDBException {
        Set<Lsp> primaries = new LinkedHashSet<>();
        gone.forEach(lsp -> primaries.add(lsp.primary));
        for (Lsp primary : primaries) {
            for (Lsp backup : ledger.backupsOf(primary)) {
                kavril.jniremoveLSP(backup.id);
                withdrawn.add(ledger.remove(backup.id));
            }
        }
    }

    /**
     * Takes down LSPs until no link is booked beyond its capacity. The library counts a preempted
     * LSP's bandwidth as freed in full, which is too much for one that shared it.
     */
    private void relieve(List<Lsp> withdrawn) throws AddDBException {
        for (Lsp lsp = mostExpendable(); lsp != null; lsp = mostExpendable()) {
            kavril.jniremoveLSP(lsp.id);
            withdrawn.add(ledger.remove(lsp.id));
            withdrawOrphans(List.of(lsp), withdrawn);
        }
    }

    /** The LSP to take down next, null if all links have room. */
    private Lsp mostExpendable() {
        Reservations reservations = reservations();
        return ledger.all().stream()
                .filter(lsp -> network.hops(lsp.path).stream().anyMatch(
                        link -> reservations.exceedCapacity(link, lsp.trafficClass())))
                .max(EXPENDABLE_LAST).orElse(null);
    }

    private boolean removeIfUp(int id) {
        try {
            kavril.jniremoveLSP(id);
            return true;
        } catch (AddDBException e) {
            return false;
        }
    }

    private void checkEnds(int[] path, int src, int dst) {
        List<Link> hops = network.hops(path);
        if (hops.isEmpty() || path[0] != src || dst >= 0 && path[path.length - 1] != dst) {
            throw new CheckFailedException("a path with wrong ends: " + network.text(path));
        }
    }
}
