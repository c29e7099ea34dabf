package velmor.kavril.internal;

/**
 * Native methods that change LSPs and links which are there, and take changes back. The library
 * registers them when the first session is opened. Each takes the number of an open session, and leaves
 * messages on its error stack if it fails.
 */
public final class Changes {

    private Changes() {
    }

    /**
     * Begins an attempt: changes that are kept together, or all taken back. It may have others within
     * it.
     *
     * @param sessId the session
     * @return whether it has begun; if not, there is no memory
     */
    public static native boolean begin(int sessId);

    /**
     * Ends the innermost attempt.
     *
     * @param sessId the session
     * @param keeps whether its changes are kept; if not, the session is what it was
     */
    public static native void end(int sessId, boolean keeps);

    /**
     * The LSPs that have to do with links that go: those that cross one of them, all backups of
     * primaries that do, backups whose primary did when they were made, and the primaries of all these.
     *
     * @param sessId the session
     * @param ends source and destination of each link, one after the other
     * @return ids, ascending; null if there is no memory
     */
    public static native int[] concerned(int sessId, int[] ends);

    /**
     * The links that leave a node or enter it.
     *
     * @param sessId the session
     * @param node the node
     * @return source and destination of each link, one after the other; null if there is no such node
     */
    public static native int[] linksAt(int sessId, int node);

    /**
     * Removes LSPs, then links.
     *
     * @param sessId the session
     * @param lsps ids of the LSPs
     * @param ends source and destination of each link, one after the other
     * @return whether all are removed; if not, some of them may be
     */
    public static native boolean remove(int sessId, int[] lsps, int[] ends);

    /**
     * The LSPs that would have to give way for a link's reservations to fit its capacities.
     *
     * @param sessId the session
     * @param source the link's first node
     * @param destination its last node
     * @return ids, ascending; null if there is no such link
     */
    public static native int[] misfits(int sessId, int source, int destination);

    /**
     * Sets the capacities of a link.
     *
     * @param sessId the session
     * @param source the link's first node
     * @param destination its last node
     * @param capacities one for each of the 8 classes
     * @return whether there is such a link
     */
    public static native boolean setCapacity(int sessId, int source, int destination,
            float[] capacities);

    /**
     * Finds a route between the ends of an LSP, as if it made room for what it is to become.
     *
     * @param sessId the session
     * @param id the LSP
     * @param trafficClass its class
     * @param bandwidth the bandwidth that it is to have
     * @param avoidSource first node of a link not to be taken, or -1
     * @param avoidDestination last node of that link, or -1
     * @return the nodes; null if there is none
     */
    public static native int[] findRoute(int sessId, int id, int trafficClass, float bandwidth,
            int avoidSource, int avoidDestination);

    /**
     * Changes a primary LSP: it keeps what it has until the other is there.
     *
     * @param sessId the session
     * @param id the LSP
     * @param trafficClass the class it is to have
     * @param bandwidth the bandwidth
     * @param level the level
     * @param path the nodes of its route
     * @return whether it is changed; if not, it is what it was
     */
    public static native boolean changeLsp(int sessId, int id, int trafficClass, float bandwidth,
            int level, int[] path);
}
