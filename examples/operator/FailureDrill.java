package operator;

import java.util.ArrayList;
import java.util.List;
import operator.Network.Link;

/**
 * Fails links on paper: switches every LSP that crosses them to the backup that protects it and
 * adds up what each link then carries, LSP by LSP.
 */
final class FailureDrill {

    /** What a failure does. */
    static final class Outcome {
        int nbSwitched;
        int switchedBandwidth;
        int nbLost;
        int lostBandwidth;

        /** Where the network is fullest after the failure, and how full, 1 being at capacity. */
        Link fullestLink;
        int fullestClass;
        double fullest = -1;

        boolean fits() {
            return fullest <= 1;
        }
    }

    private final Network network;
    private final Ledger ledger;

    FailureDrill(Network network, Ledger ledger) {
        this.network = network;
        this.ledger = ledger;
    }

    /** Fails one directed link. Protection must hold: a backup on the failed link is an error. */
    Outcome failLink(Link link) {
        return fail(List.of(link));
    }

    /** Fails both directions of a cable, for which protection was not made. */
    Outcome failCable(Link link) {
        return fail(List.of(link, network.link(link.dst, link.src)));
    }

    private Outcome fail(List<Link> failed) {
        Outcome outcome = new Outcome();
        int[][] load = new int[Service.NB_CLASSES][network.links.size()];
        for (Lsp lsp : ledger.primaries()) {
            List<Link> route = network.hops(lsp.route);
            if (crosses(route, failed)) {
                route = detour(lsp, failed);
                if (crosses(route, failed)) {
                    if (failed.size() == 1) {
                        throw new CheckFailedException("LSP " + lsp.id + " has a backup over "
                                + network.text(failed.get(0)) + ", the link that it protects");
                    }
                    route = List.of();
                }
                if (route.isEmpty()) {
                    outcome.nbLost++;
                    outcome.lostBandwidth += lsp.bandwidth();
                } else {
                    outcome.nbSwitched++;
                    outcome.switchedBandwidth += lsp.bandwidth();
                }
            }
            route.forEach(link -> load[lsp.trafficClass()][link.id] += lsp.bandwidth());
        }
        for (Link link : network.links) {
            for (int oa = 0; oa < Service.NB_CLASSES; oa++) {
                double fullness = (double) load[oa][link.id] / Service.capacity(link, oa);
                if (fullness > outcome.fullest) {
                    outcome.fullestLink = link;
                    outcome.fullestClass = oa;
                    outcome.fullest = fullness;
                }
            }
        }
        return outcome;
    }

    /** The links that the LSP takes when it cannot cross the failed ones; none if unprotected. */
    private List<Link> detour(Lsp lsp, List<Link> failed) {
        List<Link> hops = network.hops(lsp.route);
        int broken = 0;
        while (!failed.contains(hops.get(broken))) {
            broken++;
        }
        for (Lsp backup : ledger.backupsOf(lsp)) {
            if (backup.kind == Lsp.Kind.GLOBAL_BACKUP) {
                return network.hops(backup.route);
            }
            if (backup.route.head() == lsp.route.node(broken)) {
                List<Link> route = new ArrayList<>(hops.subList(0, broken));
                route.addAll(network.hops(backup.route));
                route.addAll(hops.subList(lsp.route.indexOf(backup.route.tail()), hops.size()));
                return route;
            }
        }
        return List.of();
    }

    private static boolean crosses(List<Link> route, List<Link> failed) {
        return route.stream().anyMatch(failed::contains);
    }
}
