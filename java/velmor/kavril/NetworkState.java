package velmor.kavril;

import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Optional;
import java.util.stream.Collectors;

/** All that is in a session, as it was at one time; see {@link Session#state}. */
public final class NetworkState {
    private final int nbClasses;
    private final List<Integer> nodes;
    private final List<Link> links;
    private final List<Lsp> lsps;
    private final Map<Long, Link> linksByEnds = new HashMap<>();
    private final Map<Integer, List<Lsp>> backups = new HashMap<>();

    /** Takes the lists over. */
    NetworkState(int nbClasses, List<Integer> nodes, List<Link> links, List<Lsp> lsps) {
        this.nbClasses = nbClasses;
        this.nodes = List.copyOf(nodes);
        this.links = List.copyOf(links);
        this.lsps = List.copyOf(lsps);
        links.forEach(link -> linksByEnds.put(ends(link.source(), link.destination()), link));
        for (Lsp lsp : lsps) {
            if (lsp.isBackup()) {
                backups.computeIfAbsent(lsp.primaryId().getAsInt(), id -> new ArrayList<>()).add(lsp);
            }
        }
    }

    private static long ends(int source, int destination) {
        return (long) source << Integer.SIZE | destination;
    }

    /**
     * The nodes.
     *
     * @return their ids, ascending
     */
    public List<Integer> nodes() {
        return nodes;
    }

    /**
     * The links.
     *
     * @return all of them, ids ascending
     */
    public List<Link> links() {
        return links;
    }

    /**
     * The LSPs that are up, primaries and backups.
     *
     * @return all of them, ids ascending
     */
    public List<Lsp> lsps() {
        return lsps;
    }

    /**
     * The link from one node to another.
     *
     * @param source the node it leaves
     * @param destination the node it enters
     * @return the link, empty if there is none
     */
    public Optional<Link> link(int source, int destination) {
        return Optional.ofNullable(linksByEnds.get(ends(source, destination)));
    }

    /**
     * An LSP.
     *
     * @param id its id
     * @return the LSP, empty if it is not up
     */
    public Optional<Lsp> lsp(int id) {
        int from = 0;
        int to = lsps.size();
        while (from < to) {
            int middle = (from + to) / 2;
            if (lsps.get(middle).id() < id) {
                from = middle + 1;
            } else {
                to = middle;
            }
        }
        return from < lsps.size() && lsps.get(from).id() == id ? Optional.of(lsps.get(from))
                : Optional.empty();
    }

    /**
     * The LSPs whose own route crosses a link.
     *
     * @param source the node it leaves
     * @param destination the node it enters
     * @return primaries and backups, ids ascending; none if there is no such link
     */
    public List<Lsp> lspsOn(int source, int destination) {
        return lsps.stream().filter(lsp -> lsp.route().crosses(source, destination))
                .collect(Collectors.toUnmodifiableList());
    }

    /**
     * The backups of a primary, or what is left of them if it is down; {@link Session#backupsOf} tells
     * which ones.
     *
     * @param id the primary LSP
     * @return its backups, ids ascending
     */
    public List<Lsp> backupsOf(int id) {
        Optional<Lsp> primary = lsp(id).filter(lsp -> !lsp.isBackup());
        return backups.getOrDefault(id, List.of()).stream()
                .filter(lsp -> primary.isEmpty() || lsp.isBackupOf(primary.get()))
                .collect(Collectors.toUnmodifiableList());
    }

    /**
     * The highest {@linkplain Link#utilisation utilisation} of a link.
     *
     * @param trafficClass a class of the session
     * @return the highest of all links, 0 without links
     */
    public double highestUtilisation(int trafficClass) {
        Check.range("trafficClass", trafficClass, 0, nbClasses - 1);
        return links.stream().mapToDouble(link -> link.utilisation(trafficClass)).max().orElse(0);
    }

    /**
     * The mean {@linkplain Link#utilisation utilisation} of the links.
     *
     * @param trafficClass a class of the session
     * @return the mean over all links, 0 without links
     */
    public double meanUtilisation(int trafficClass) {
        Check.range("trafficClass", trafficClass, 0, nbClasses - 1);
        return links.stream().mapToDouble(link -> link.utilisation(trafficClass)).average().orElse(0);
    }

    @Override
    public String toString() {
        return nodes.size() + " nodes, " + links.size() + " links, "
                + lsps.stream().filter(lsp -> !lsp.isBackup()).count() + " primaries, "
                + lsps.stream().filter(Lsp::isBackup).count() + " backups";
    }
}
