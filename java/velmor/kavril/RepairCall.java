package velmor.kavril;

import java.util.List;
import java.util.Set;
import java.util.stream.Collectors;

/** Links that come back, and LSPs that have gone with them. */
final class RepairCall {
    private final Session session;
    private final List<Link> links;
    private final List<Lsp> removed;

    RepairCall(Session session, List<Link> links, List<Lsp> removed) {
        this.session = session;
        this.links = links;
        this.removed = removed;
    }

    Restoration run() {
        return session.attempt(Operation.REPAIR, this::what, true, this::repair);
    }

    private String what() {
        return "the links cannot be put back";
    }

    private Restoration repair() {
        for (Link link : links) {
            double[] capacities = new double[link.nbClasses()];
            for (int oa = 0; oa < capacities.length; oa++) {
                capacities[oa] = link.capacity(oa);
            }
            session.addLink(link.id(), link.source(), link.destination(), capacities, link.color());
        }
        List<Lsp> down = removed.stream().filter(lsp -> session.lsp(lsp.id()).isEmpty())
                .collect(Collectors.toList());
        Set<Integer> primaries = down.stream().filter(lsp -> !lsp.isBackup()).map(Lsp::id)
                .collect(Collectors.toSet());
        Restorer restorer = new Restorer(session, false, true);
        // A primary that goes elsewhere by now has the backups for that.
        down.removeIf(lsp -> lsp.isBackup() && !primaries.contains(lsp.primaryId().getAsInt())
                && session.lsp(lsp.primaryId().getAsInt()).filter(lsp::isBackupOf).isEmpty());
        restorer.add(down);
        return restorer.run();
    }
}
