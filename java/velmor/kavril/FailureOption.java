package velmor.kavril;

/** What is done about a failure beyond taking out what it hits. */
public enum FailureOption {
    /**
     * Places what was taken out again, as far as there is room: primaries on other paths, the most
     * important first, then the backups that are missing.
     */
    REPLACE,

    /** With {@link #REPLACE}: LSPs of greater level give way, and are placed again in turn. */
    PREEMPT,

    /** Only tells what would come of it. */
    DRY_RUN
}
