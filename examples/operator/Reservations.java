package operator;

import java.util.Collection;
import java.util.List;
import operator.Network.Link;

/**
 * What the LSPs that are up reserve on every link, worked out from their paths alone; tables are
 * [class][link id].
 *
 * <p>Primaries add up. Backups share: a link keeps free what its worst single failure brings, the
 * failure of one link or of all links into one node. Brings, that is, on balance: a primary that is
 * cut off by the failure, or goes another way, no longer needs its own place on the link.
 */
final class Reservations {
    private final Network network;
    private final int nbLinks;

    /** Bandwidth of the primaries. */
    final int[][] primary;

    /** Bandwidth of the primaries and of the shared backups. */
    final int[][] reserved;

    /** What the backups would need if each had its own bandwidth. */
    final int[][] dedicated;

    /** [class][link][f]: what the failure of link f brings on balance. */
    private final int[][][] need;

    Reservations(Network network, Collection<Lsp> lsps) {
        this.network = network;
        nbLinks = network.links.size();
        primary = new int[Service.NB_CLASSES][nbLinks];
        reserved = new int[Service.NB_CLASSES][nbLinks];
        dedicated = new int[Service.NB_CLASSES][nbLinks];
        need = new int[Service.NB_CLASSES][nbLinks][nbLinks];
        for (Lsp lsp : lsps) {
            if (lsp.isPrimary()) {
                addPrimary(lsp);
            } else {
                addBackup(lsp);
            }
        }
        for (int oa = 0; oa < Service.NB_CLASSES; oa++) {
            for (int link = 0; link < nbLinks; link++) {
                reserved[oa][link] = primary[oa][link] + worst(need[oa][link]);
            }
        }
    }

    boolean exceedCapacity(Link link, int oa) {
        return reserved[oa][link.id] > Service.capacity(link, oa);
    }

    private void addPrimary(Lsp lsp) {
        List<Link> hops = network.hops(lsp.route);
        for (Link link : hops) {
            primary[lsp.trafficClass()][link.id] += lsp.bandwidth();
            for (Link failed : hops) {
                need[lsp.trafficClass()][link.id][failed.id] -= lsp.bandwidth();
            }
        }
    }

    private void addBackup(Lsp lsp) {
        List<Link> hops = network.hops(lsp.primary.route);
        int start = lsp.primary.route.indexOf(lsp.route.head());
        int end = lsp.primary.route.indexOf(lsp.route.tail());
        boolean local = lsp.kind == Lsp.Kind.LOCAL_BACKUP;
        int[][] needOfClass = need[lsp.trafficClass()];
        for (Link link : network.hops(lsp.route)) {
            dedicated[lsp.trafficClass()][link.id] += lsp.bandwidth();
            for (Link failed : hops.subList(start, local ? start + 1 : end)) {
                needOfClass[link.id][failed.id] += lsp.bandwidth();
            }
        }
        // Before a local detour and behind it, the primary keeps its place when the link fails.
        for (int i = 0; local && i < hops.size(); i++) {
            if (i < start || i >= end) {
                needOfClass[hops.get(i).id][hops.get(start).id] += lsp.bandwidth();
            }
        }
    }

    private int worst(int[] needOfLink) {
        int worst = 0;
        int[] intoNode = new int[network.nodes.size()];
        for (Link failed : network.links) {
            worst = Math.max(worst, needOfLink[failed.id]);
            intoNode[failed.dst] += needOfLink[failed.id];
        }
        for (int needOfNode : intoNode) {
            worst = Math.max(worst, needOfNode);
        }
        return worst;
    }
}
