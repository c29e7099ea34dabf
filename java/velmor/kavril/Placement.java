package velmor.kavril;

import java.util.List;

/** The answer to a request for a primary path. */
public final class Placement {
    private final int lspId;
    private final Route route;
    private final boolean added;
    private final List<Integer> preempted;

    Placement(int lspId, Route route, boolean added, List<Integer> preempted) {
        this.lspId = lspId;
        this.route = route;
        this.added = added;
        this.preempted = preempted;
    }

    /**
     * The LSP that was asked for.
     *
     * @return its id
     */
    public int lspId() {
        return lspId;
    }

    /**
     * The path that was found for it.
     *
     * @return the path
     */
    public Route route() {
        return route;
    }

    /**
     * Whether it is up now.
     *
     * @return true if the request had {@link RequestOption#ADD}; without it nothing was placed, even if
     *     LSPs were removed to make room
     */
    public boolean isAdded() {
        return added;
    }

    /**
     * The LSPs that gave way, primaries and backups. They are down, but the backups of
     * a primary among them are still up, see {@link Session#backupsOf}.
     *
     * @return their ids, ascending; empty without {@link RequestOption#PREEMPT}
     */
    public List<Integer> preempted() {
        return preempted;
    }

    @Override
    public String toString() {
        return "LSP " + lspId + (added ? " placed over " : " not placed, could go over ") + route
                + (preempted.isEmpty() ? "" : added ? ", preempted " + preempted
                        : ", removed " + preempted + " for it");
    }
}
