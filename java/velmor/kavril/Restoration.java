package velmor.kavril;

import java.util.List;

/** What came of placing LSPs again that were taken out. */
public final class Restoration {
    static final Restoration NONE = new Restoration(List.of(), List.of(), List.of());

    private final List<Lsp> placed;
    private final List<Lsp> preempted;
    private final List<Refusal> refused;

    Restoration(List<Lsp> placed, List<Lsp> preempted, List<Refusal> refused) {
        this.placed = List.copyOf(placed);
        this.preempted = List.copyOf(preempted);
        this.refused = List.copyOf(refused);
    }

    /**
     * The LSPs that are up again: primaries under the ids they had, backups under those of the ones
     * they make up for or, if there are more of them now, under free ids.
     *
     * @return what they are now, in the order in which they were placed
     */
    public List<Lsp> placed() {
        return placed;
    }

    /**
     * The LSPs that had to give way, with backups of theirs that were removed then. Each is also among
     * those that are placed or refused, unless it was a backup that is no longer needed.
     *
     * @return what they were
     */
    public List<Lsp> preempted() {
        return preempted;
    }

    /**
     * The LSPs that find no place, and backups for which there is no way: where the primary has another
     * route now, one for each of its links that stays without.
     *
     * @return what they were, and why
     */
    public List<Refusal> refused() {
        return refused;
    }

    @Override
    public String toString() {
        return placed.size() + " placed again, " + preempted.size() + " preempted, " + refused.size()
                + " refused";
    }
}
