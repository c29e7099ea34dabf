package velmor.kavril;

/** How an LSP is placed. */
public enum PlaceOption {
    /**
     * If there is no other way, LSPs of greater level give way, and are placed again where there is
     * room for them.
     */
    PREEMPT,

    /** Only tells what would come of it. */
    DRY_RUN
}
