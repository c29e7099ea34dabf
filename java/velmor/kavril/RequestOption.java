package velmor.kavril;

/** What a request for a primary path does beyond finding the path. */
public enum RequestOption {
    /** Places the LSP along the path. */
    ADD,

    /**
     * Lets the LSP take bandwidth from LSPs of greater level, which are removed. Without
     * {@link #ADD}, they are removed and the LSP itself is not placed.
     */
    PREEMPT
}
