package velmor.kavril.internal;

/**
 * Native methods that read what is in a session. The library registers them when the first session is
 * opened. Each takes the number of an open session, and throws an {@link OutOfMemoryError} if there is
 * no memory for what it reads.
 *
 * <p>What they read is made of numbers; a bandwidth is the two halves of a double's bits, the low one
 * first. An LSP is its id, type (0 primary, 1 local, 2 global backup), level, class or -1 if it has
 * bandwidth in several, bandwidth, the nodes of its route with their number first; and of a backup the
 * id and the route of its primary. A link is its id, source, destination and colour, a row of
 * capacities, and for each class a row of primary and then for each a row of reserved bandwidth, by
 * level; a row is a bit for each of eight bandwidths that is not 0, and these. A list has a 1 before
 * each element and a 0 behind the last.
 */
public final class State {

    private State() {
    }

    /**
     * Everything.
     *
     * @param sessId the session
     * @return three lists: the ids of the nodes, the links and the LSPs, all by id
     */
    public static native int[] all(int sessId);

    /**
     * An LSP.
     *
     * @param sessId the session
     * @param id the LSP
     * @return the LSP, null if it is not up
     */
    public static native int[] lsp(int sessId, int id);

    /**
     * A link.
     *
     * @param sessId the session
     * @param source the node it leaves
     * @param destination the node it enters
     * @return the link, null if there is none
     */
    public static native int[] link(int sessId, int source, int destination);

    /**
     * The LSPs that cross a link.
     *
     * @param sessId the session
     * @param source the node it leaves
     * @param destination the node it enters
     * @return a list of LSPs by id, null if there is no such link
     */
    public static native int[] lspsOn(int sessId, int source, int destination);

    /**
     * The backups of a primary as it is now; if there is none, what is left from former ones.
     *
     * @param sessId the session
     * @param id the primary's id
     * @return ids, ascending
     */
    public static native int[] backupsOf(int sessId, int id);

    /**
     * The LSPs that a link or a node cannot be taken from: those that cross it, and the backups of a
     * primary that does or did.
     *
     * @param sessId the session
     * @param source the node that the link leaves, or the node
     * @param destination the node that the link enters, or -1
     * @return ids, ascending
     */
    public static native int[] dependants(int sessId, int source, int destination);

    /**
     * Whether an LSP is up.
     *
     * @param sessId the session
     * @param id the LSP
     * @return whether the id is in use
     */
    public static native boolean hasLsp(int sessId, int id);
}
