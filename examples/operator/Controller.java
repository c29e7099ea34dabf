package operator;

import java.util.ArrayList;
import java.util.Comparator;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Set;
import operator.Lsp.Demand;
import operator.Network.Link;
import velmor.kavril.Backup;
import velmor.kavril.KavrilException;
import velmor.kavril.Protection;
import velmor.kavril.RequestOption;
import velmor.kavril.Route;
import velmor.kavril.Session;
import velmor.kavril.Weight;

/** Places, protects and removes LSPs: drives a session of the library and keeps the ledger true. */
final class Controller implements AutoCloseable {

    /** What placing an LSP led to. */
    static final class Placement {
        /** The new LSP, null if it was refused. */
        Lsp lsp;

        /** Why it was refused, null if it was not. */
        String refusal;

        /** LSPs that the library preempted for it, primaries and backups. */
        final List<Lsp> preempted = new ArrayList<>();

        /** LSPs that the operator then took down: backups that lost their sense, and more. */
        final List<Lsp> withdrawn = new ArrayList<>();
    }

    /** The most to take down first: the least important, of those backups, of those the largest. */
    private static final Comparator<Lsp> EXPENDABLE_LAST =
            Comparator.comparingInt((Lsp lsp) -> lsp.service().level)
                    .thenComparing(lsp -> !lsp.isPrimary())
                    .thenComparingInt(Lsp::bandwidth);

    final Ledger ledger = new Ledger();
    private final Network network;
    private final Session session;
    private int nextId;

    /** Opens a session and describes the network to it. */
    Controller(Network network) {
        this.network = network;
        session = Session.builder().classes(Service.NB_CLASSES).levels(Service.NB_LEVELS)
                .weight(Weight.FORTZ, 1).build();
        for (int node = 0; node < network.nodes.size(); node++) {
            session.addNode(node);
        }
        for (Link link : network.links) {
            double[] capacity = new double[Service.NB_CLASSES];
            for (int oa = 0; oa < capacity.length; oa++) {
                capacity[oa] = Service.capacity(link, oa);
            }
            session.addLink(link.id, link.src, link.dst, capacity);
        }
    }

    @Override
    public void close() {
        session.close();
    }

    Reservations reservations() {
        return new Reservations(network, ledger.all());
    }

    /** The library's own tables. */
    String tables() {
        return session.dump();
    }

    /** Places an LSP for the demand, preempting less important ones if that is allowed. */
    Placement place(Demand demand, boolean preempt) {
        RequestOption[] options = preempt
                ? new RequestOption[] {RequestOption.ADD, RequestOption.PREEMPT}
                : new RequestOption[] {RequestOption.ADD};
        Placement placement = new Placement();
        int id = nextId++;
        velmor.kavril.Placement placed;
        try {
            placed = session.request(id, demand.src, demand.dst, demand.traffic(), options);
        } catch (KavrilException e) {
            placement.refusal = e.getMessage();
            return placement;
        }
        placement.lsp = new Lsp(id, demand, placed.route());
        checkEnds(placed.route(), demand.src, demand.dst);
        ledger.add(placement.lsp);
        for (int preempted : placed.preempted()) {
            placement.preempted.add(ledger.remove(preempted));
        }
        if (!placement.preempted.isEmpty()) {
            withdrawOrphans(placement.preempted, placement.withdrawn);
            relieve(placement.withdrawn);
        }
        return placement;
    }

    /** Protects a primary as its service asks. Returns no backups if that is not possible. */
    List<Lsp> protect(Lsp primary) {
        for (Link link : network.hops(primary.route)) {
            if (!network.hasDetour(link)) {
                return List.of();
            }
        }
        boolean global = primary.service().globalBackup;
        int[] ids = new int[global ? 1 : primary.route.nbLinks()];
        for (int i = 0; i < ids.length; i++) {
            ids[i] = nextId++;
        }
        Protection protection = (global ? Protection.global() : Protection.local())
                .atLevel(primary.service().backupLevel()).placedAs(ids);
        List<Lsp> backups = new ArrayList<>();
        try {
            for (Backup backup : session.protect(primary.id, protection)) {
                checkEnds(backup.route(), backup.protectedRoute().head(),
                        global ? primary.route.tail() : -1);
                backups.add(new Lsp(backup.lspId().getAsInt(), primary, backup.route(),
                        global ? Lsp.Kind.GLOBAL_BACKUP : Lsp.Kind.LOCAL_BACKUP));
            }
        } catch (KavrilException e) {
            // No way around, or no room beside what others count on: it stays unprotected.
            return List.of();
        }
        backups.forEach(ledger::add);
        return backups;
    }

    /**
     * Removes the backups that lost their sense with the LSPs that are gone. The library leaves the
     * backups of a preempted primary in place. And of local backups the operator wants all or none:
     * a primary with a gap in its protection counts as unprotected, until it is protected anew.
     */
    private void withdrawOrphans(List<Lsp> gone, List<Lsp> withdrawn) {
        Set<Lsp> primaries = new LinkedHashSet<>();
        gone.forEach(lsp -> primaries.add(lsp.primary));
        for (Lsp primary : primaries) {
            for (Lsp backup : ledger.backupsOf(primary)) {
                session.removeLsp(backup.id);
                withdrawn.add(ledger.remove(backup.id));
            }
        }
    }

    /**
     * Takes down LSPs until no link is booked beyond its capacity. The library counts a preempted
     * LSP's bandwidth as freed in full, which is too much for one that shared it.
     */
    private void relieve(List<Lsp> withdrawn) {
        for (Lsp lsp = mostExpendable(); lsp != null; lsp = mostExpendable()) {
            session.removeLsp(lsp.id);
            withdrawn.add(ledger.remove(lsp.id));
            withdrawOrphans(List.of(lsp), withdrawn);
        }
    }

    /** The LSP to take down next, null if all links have room. */
    private Lsp mostExpendable() {
        Reservations reservations = reservations();
        return ledger.all().stream()
                .filter(lsp -> network.hops(lsp.route).stream().anyMatch(
                        link -> reservations.exceedCapacity(link, lsp.trafficClass())))
                .max(EXPENDABLE_LAST).orElse(null);
    }

    private void checkEnds(Route route, int src, int dst) {
        List<Link> hops = network.hops(route);
        if (hops.isEmpty() || route.head() != src || dst >= 0 && route.tail() != dst) {
            throw new CheckFailedException("a path with wrong ends: " + network.text(route));
        }
    }
}
