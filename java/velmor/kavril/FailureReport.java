package velmor.kavril;

import java.util.List;

/** Whom a failure hits, and what was done about it. */
public final class FailureReport {
    private final Failure failure;
    private final List<Link> links;
    private final List<Switchover> switched;
    private final List<Refusal> lost;
    private final List<Lsp> removed;
    private final List<Lsp> unprotected;
    private final Restoration restoration;

    FailureReport(Failure failure, List<Link> links, List<Switchover> switched, List<Refusal> lost,
            List<Lsp> removed, List<Lsp> unprotected, Restoration restoration) {
        this.failure = failure;
        this.links = List.copyOf(links);
        this.switched = List.copyOf(switched);
        this.lost = List.copyOf(lost);
        this.removed = List.copyOf(removed);
        this.unprotected = List.copyOf(unprotected);
        this.restoration = restoration;
    }

    /**
     * What failed.
     *
     * @return the failure
     */
    public Failure failure() {
        return failure;
    }

    /**
     * The links that are taken out: those of the failure, and all links of its nodes.
     *
     * @return what they were before
     */
    public List<Link> links() {
        return links;
    }

    /**
     * The primaries that are hit and whose traffic goes on over backups.
     *
     * @return where each goes, by ascending ids
     */
    public List<Switchover> switched() {
        return switched;
    }

    /**
     * The primaries that are hit and whose traffic is lost.
     *
     * @return what they were, and why their backups do not help
     */
    public List<Refusal> lost() {
        return lost;
    }

    /**
     * The LSPs that are taken out: those that cross a link which has failed, and the backups of primaries
     * that do.
     *
     * @return what they were, by ascending ids
     */
    public List<Lsp> removed() {
        return removed;
    }

    /**
     * The primaries that stay, or are placed again, and have fewer backups than before: the next failure
     * may take them down.
     *
     * @return what they are now, by ascending ids
     */
    public List<Lsp> unprotected() {
        return unprotected;
    }

    /**
     * What came of placing again what was taken out.
     *
     * @return nothing without {@link FailureOption#REPLACE}
     */
    public Restoration restoration() {
        return restoration;
    }

    @Override
    public String toString() {
        return failure + ": " + switched.size() + " switched, " + lost.size() + " lost, "
                + unprotected.size() + " unprotected; " + restoration;
    }
}
