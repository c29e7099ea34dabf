package velmor.kavril.internal;

/**
 * Native methods that place LSPs within limits, find backups, and add links with a
 * colour. The library registers them when the first session is opened. Each takes the number of an open session, and leaves messages on
 * its error stack if it fails.
 */
public final class Requests {
    /** First number of an answer: there is a path. Behind it the LSP's id, the number of nodes and the
     * nodes of the path, and the ids of the LSPs that gave way. */
    public static final int PLACED = 0;

    /** One of the nodes to be passed is missing, which is the second number. */
    public static final int NO_NODE = 1;

    /** No path has enough room, even without the limits. */
    public static final int NO_ROOM = 2;

    /** No path is within the limits, however much room there is. */
    public static final int NO_WAY = 3;

    /** Paths have enough room, and others are within the limits. */
    public static final int NOT_BOTH = 4;

    /** There may be a path; the search for it was given up. */
    public static final int GIVEN_UP = 5;

    /** The path is refused; messages say why. */
    public static final int REFUSED = 6;

    /** There is an LSP with this id. */
    public static final int ID_IN_USE = 7;

    /** All ids are in use. */
    public static final int NO_ID = 8;

    private Requests() {
    }

    /**
     * Asks for a path.
     *
     * @param sessId the session
     * @param request the LSP's id or -1, its level, its class, the bits of its bandwidth, 1 to place
     *     it, 1 to let others give way, the most links it may have or 0; and, each list with its
     *     number of elements first, the nodes that it passes with -1 where others may lie between
     *     them, the colours that it avoids, those of which all its links have one, the nodes that it
     *     does not pass, and source and destination of the links that it does not take
     * @return the answer; null if the session is not open
     */
    public static native int[] request(int sessId, int[] request);

    /**
     * An LSP id that is free.
     *
     * @param sessId the session
     * @return the id after the highest in use, or else the lowest; -1 if there is none
     */
    public static native int freeLspId(int sessId);

    /**
     * Computes a local backup for each link of a primary that one gets around.
     *
     * @param sessId the session
     * @param primary the primary's id
     * @return for each link the number of the backup's nodes, 0 if there is none, and the nodes; null
     *     if it cannot be told
     */
    public static native int[] localBackups(int sessId, int primary);

    /**
     * Adds a link.
     *
     * @param sessId the session
     * @param id its id
     * @param source the node it leaves
     * @param destination the node it enters
     * @param color its colour
     * @param capacities its capacities
     * @return whether it is there
     */
    public static native boolean addLink(int sessId, int id, int source, int destination, int color,
            float[] capacities);
}
