package velmor.kavril;

import java.util.List;

/** What came of changing an LSP. */
public final class UpdateResult {
    private final Lsp before;
    private final Lsp after;
    private final List<Lsp> removed;
    private final Restoration restoration;

    UpdateResult(Lsp before, Lsp after, List<Lsp> removed, Restoration restoration) {
        this.before = before;
        this.after = after;
        this.removed = List.copyOf(removed);
        this.restoration = restoration;
    }

    /**
     * The LSP before.
     *
     * @return what it was
     */
    public Lsp before() {
        return before;
    }

    /**
     * The LSP now.
     *
     * @return what it is
     */
    public Lsp after() {
        return after;
    }

    /**
     * Its backups that no longer go with it, and are removed.
     *
     * @return what they were
     */
    public List<Lsp> removed() {
        return removed;
    }

    /**
     * What came of placing backups again.
     *
     * @return the new backups, and those for which there is no way
     */
    public Restoration restoration() {
        return restoration;
    }

    @Override
    public String toString() {
        return before + " is now " + after + "; backups: " + restoration;
    }
}
