package velmor.kavril;

/** How an LSP is to be protected: by which kind of backups, and whether they are placed. */
public final class Protection {

    /** The kinds of backups. */
    public enum Kind {
        /** One backup per link of the LSP: around the node behind the link, or else the link. */
        LOCAL,

        /** One backup from the LSP's head to its tail. */
        GLOBAL
    }

    private final Kind kind;
    private final int level;
    private final boolean placed;
    private final int[] backupIds;

    private Protection(Kind kind, int level, boolean placed, int[] backupIds) {
        this.kind = kind;
        this.level = level;
        this.placed = placed;
        this.backupIds = backupIds;
    }

    /**
     * Local backups, only computed.
     *
     * @return the protection
     */
    public static Protection local() {
        return new Protection(Kind.LOCAL, 0, false, null);
    }

    /**
     * A global backup, only computed.
     *
     * @return the protection
     */
    public static Protection global() {
        return new Protection(Kind.GLOBAL, 0, false, null);
    }

    /**
     * The same, with the backups placed under ids that the library chooses: each the one after the
     * highest LSP id in use, or else the lowest that is free.
     *
     * @return the protection
     */
    public Protection placed() {
        return new Protection(kind, level, true, null);
    }

    /**
     * The same, with the backups placed under these ids.
     *
     * @param backupIds an LSP id for each backup, none in use: one for a global backup, as many as
     *     the protected LSP has links for local ones
     * @return the protection
     */
    public Protection placedAs(int... backupIds) {
        Check.given("backupIds", backupIds);
        for (int i = 0; i < backupIds.length; i++) {
            Check.lsp("backupIds[" + i + "]", backupIds[i]);
        }
        return new Protection(kind, level, true, backupIds.clone());
    }

    /**
     * The same, with the backups placed at another preemption level than 0.
     *
     * @param level the level, 0 (the most important) to 7
     * @return the protection
     */
    public Protection atLevel(int level) {
        return new Protection(kind, Check.range("level", level, 0, Check.MAX_LEVELS - 1), placed,
                backupIds);
    }

    /**
     * The kind of the backups.
     *
     * @return local or global
     */
    public Kind kind() {
        return kind;
    }

    /**
     * Whether the backups are placed.
     *
     * @return false if they are only computed
     */
    public boolean isPlaced() {
        return placed;
    }

    int level() {
        return level;
    }

    /** The ids to place the backups under; null if none are given. */
    int[] backupIds() {
        return backupIds;
    }
}
