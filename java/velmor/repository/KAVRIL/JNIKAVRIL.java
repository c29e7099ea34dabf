package velmor.repository.KAVRIL;

import velmor.kavril.internal.NativeLibrary;
import velmor.repository.model.exception.AddDBException;
import velmor.repository.model.exception.NoRouteToHostException;
import velmor.repository.model.exception.RoutingException;

/**
 * A session of the KAVRIL library: one network, the label switched paths (LSPs) that are up in it,
 * and the computation of primary and backup paths.
 *
 * <h2>Use</h2>
 *
 * <p>These are the native methods as they are; {@link velmor.kavril.Session} checks arguments, says
 * why a call failed and frees what is forgotten.
 *
 * <p>The first object loads the library {@code kavril}, from {@code java.library.path} or out of the
 * jar; the module's page tells the order. Open a session with {@link #jniinitKavril jniinitKavril}, describe the network with
 * {@link #jniaddNode jniaddNode} and {@link #jniaddLink jniaddLink}, place LSPs, and end with
 * {@link #jnikillKavril jnikillKavril}, which frees everything. Up to 128 sessions may be open at
 * once, each in an object of its own.
 *
 * <h2>Ids, units and ranges</h2>
 *
 * <ul>
 *   <li>Node, link and LSP ids are chosen by the caller, 0 or more. They are used as indexes, so
 *       small and dense ids save memory and time. The link table is dense: nodes with links need
 *       ids of at most 16382.
 *   <li>Bandwidths and capacities are in one unit of the caller's choice (Mbit/s, say), the same
 *       everywhere. Those of LSPs must be finite.
 *   <li>A class (OA) is 0 to 7, and below the number of classes given to {@code jniinitKavril}. An
 *       LSP of another class is accepted but has no bandwidth.
 *   <li>A preemption level (PL) is 0 to 7; level 0 is the most important. An LSP may preempt only
 *       LSPs of strictly greater level.
 *   <li>A path is the list of its node ids from head to tail. Links are directed; there is at most
 *       one from one node to another.
 * </ul>
 *
 * <h2>Failures</h2>
 *
 * <p>The exceptions carry no message. What went wrong is on the session's error stack, which
 * {@code jnikillKavril} prints to the standard error stream, newest message first. An array that is
 * null or too short, a level outside 0 to 7 or a bandwidth that is not finite is refused like any
 * other failure, before anything changes.
 *
 * <p>The stack grows until the session is killed: a failure leaves one to ten messages of 204 bytes.
 * An application that runs for months and fails often should open a new session now and then.
 *
 * <p>Where the virtual machine has no memory for a result, {@link OutOfMemoryError} is thrown and
 * the network is unchanged. An object whose class lacks the fields of this one gets a
 * {@link NoSuchFieldError}.
 *
 * <p>A call on a session that was never opened or has been killed changes nothing, but leaves a
 * message on the error stack of the session that the thread used last. It throws {@link AddDBException} if it would
 * change the database and {@link NoRouteToHostException} if it would compute a path. Killing or
 * printing such a session throws nothing and prints nothing, except a kill before any session was
 * ever opened, which prints an error line to the standard error stream.
 *
 * <h2>Threads</h2>
 *
 * <p>All methods may be called from all threads. Calls on different sessions run side by side;
 * those on one session wait for each other, and their order is then up to chance. A call that
 * waits for a session while another thread kills it finds an unknown session. Of two threads that
 * kill a session at the same time one does, and the other finds that it is gone. What one call
 * prints stays in one piece.
 */
public class JNIKAVRIL {

    /**
     * Number of the session in the library, -1 before the first {@link #jniinitKavril
     * jniinitKavril}. Set by that method and read by all others; it keeps its value when the
     * session is killed. Leave it alone.
     */
    public int sessId = -1;

    /**
     * Ids of the LSPs removed by the last {@link #jnicomputePath jnicomputePath} that preempted
     * any, ascending. A call that preempts none leaves the field as it was, so set it to null
     * before the call to tell. No other method touches it.
     */
    public int[] lsps;

    /**
     * Creates an object without a session; open one with {@link #jniinitKavril jniinitKavril}.
     *
     * @throws UnsatisfiedLinkError if the native library cannot be loaded; it lists what was tried
     */
    public JNIKAVRIL() {
        super();
        NativeLibrary.load();
    }

    /**
     * Opens a session with an empty network and stores its number in {@link #sessId}.
     *
     * <p>Numbers are handed out round robin, 0 to 127. With 128 sessions open, or with an unusable
     * {@code reroutingScorecoef}, no session is opened: nothing is thrown and {@code sessId} keeps
     * its value. Calling it again on the same object opens another session, and the former one can
     * no longer be reached unless its {@code sessId} was kept.
     *
     * <p>The numbers of classes and levels belong to the process, not to the session: the last call
     * sets them for all sessions opened so, so all of these should use the same.
     *
     * <p>The weights make up the score by which primary paths are compared; a criterion of weight 0
     * is not used. With all weights 0 every path is as good as any other. Weights other than
     * {@code fortz} apply to the load of class 0 only. They should not be negative, nor should the
     * bandwidth of a request: a search whose score falls with every link may run forever.
     *
     * @param nbOA number of classes in use, 1 to 8
     * @param nbPL number of preemption levels in use, 1 to 8
     * @param colorClause whether links are tested for forbidden colours; without effect through
     *     this class, which forbids none
     * @param allowReroute whether LSPs may be preempted; replaced by every method that places an
     *     LSP or computes a path: {@link #jniaddLSP jniaddLSP} and {@link #jniaddBackupLSP
     *     jniaddBackupLSP} set it to false, the computations to their {@code PREEMPT}
     * @param capacityClause whether links are tested for capacity; without it links carry any load
     * @param loadbal weight of the balance of utilisation between links
     * @param load weight of the load
     * @param sqLoad weight of the squared load
     * @param relativeLoad weight of the load relative to capacity
     * @param sqRelativeLoad weight of the squared relative load
     * @param delay weight of the queueing delay
     * @param fortz weight of the Fortz congestion cost, over all classes
     * @param reroutingScorecoef price of preempted bandwidth, [class][level], at least
     *     {@code nbOA} rows of {@code nbPL}; kept, but no weight that is set here brings it into
     *     the score
     */
    public native void jniinitKavril(
            int nbOA,
            int nbPL,
            boolean colorClause,
            boolean allowReroute,
            boolean capacityClause,
            float loadbal,
            float load,
            float sqLoad,
            float relativeLoad,
            float sqRelativeLoad,
            float delay,
            float fortz,
            float[][] reroutingScorecoef);

    /**
     * Ends the session: frees its network and prints its error stack to the standard error stream,
     * newest message first, one line each. {@link #sessId} keeps its value but names no session any
     * more; killing again does nothing.
     */
    public native void jnikillKavril();

    /**
     * Prints the network to the standard output: nodes with their neighbours, and links with the
     * ids of their LSPs and, per class, capacity, primary bandwidth ({@code pbw}) and reserved
     * bandwidth ({@code rbw}), summed over the levels.
     */
    public native void jniprintKavrilDB();

    /**
     * Adds a node without links.
     *
     * @param nodeId id of the node, not in use, 0 or more
     * @throws AddDBException if the id is in use or negative, or so large that memory runs out; the
     *     network is unchanged
     */
    public native void jniaddNode(int nodeId) throws AddDBException;

    /**
     * Adds a directed link. A two-way connection is two links with ids of their own.
     *
     * <p>The bandwidth given as already reserved holds until the first LSP is booked on the link or
     * removed from it: the reservation is then computed anew from the LSPs that are up.
     *
     * @param linkId id of the link, not in use, 0 or more
     * @param color ignored; the link gets colour 0
     * @param src node that the link leaves, 0 to 16382
     * @param dst node that the link enters, 0 to 16382
     * @param cap capacity per class, at least one element per class in use. NaN and infinity set no
     *     limit; a negative one admits nothing, whatever the class
     * @param rbw bandwidth already reserved, [class][level], at least one row per class in use, of
     *     one element per level in use
     * @param pbw ignored, may be null: no primary bandwidth is booked before the first LSP
     * @param bbw ignored, may be null
     * @param fbw ignored, may be null
     * @throws AddDBException if a node is missing, the link id is in use, there already is a link
     *     from {@code src} to {@code dst}, an id is out of range or {@code cap} or {@code rbw} is
     *     null or too short; the network is unchanged
     */
    public native void jniaddLink(
            int linkId,
            int color,
            int src,
            int dst,
            float[] cap,
            float[][] rbw,
            float[][] pbw,
            float[][] bbw,
            float[][] fbw)
            throws AddDBException;

    /**
     * Removes a link. Its id may be used again.
     *
     * <p>The LSPs that cross the link stay up, with a path that no longer exists in full; remove
     * them before the link. Removing one afterwards reports a failure and may leave bandwidth of it
     * booked on its other links.
     *
     * @param srcNodeId node that the link leaves
     * @param dstNodeId node that the link enters
     * @throws AddDBException if there is no such link; the network is unchanged
     */
    public native void jniremoveLink(int srcNodeId, int dstNodeId) throws AddDBException;

    /**
     * Removes a node with all its links. What {@link #jniremoveLink jniremoveLink} says of LSPs
     * holds for each of these links.
     *
     * <p>The library's count of links falls by one more than the links removed, so the link with
     * the highest id is from then on left out where shared reservations are computed. Where that
     * matters, remove the links and keep the node.
     *
     * @param nodeid id of the node
     * @throws AddDBException if there is no such node (the network is unchanged), or if a link of
     *     the node cannot be removed (the node is gone all the same)
     */
    public native void jniremoveNode(int nodeid) throws AddDBException;

    /**
     * Places a primary LSP whose path was found elsewhere, without preempting others. Preemption is
     * then off in the session until a computation allows it, even if this call fails.
     *
     * @param lspid id of the LSP, not in use, 0 or more
     * @param path node ids from head to tail; with fewer than two nodes the LSP occupies no link. A
     *     link that is crossed more than once is asked for room for one crossing, and booked for all
     * @param PL preemption level, 0 (most important) to 7
     * @param OA class of the LSP
     * @param bw bandwidth in that class, finite
     * @throws AddDBException if the id is in use, a link of the path is missing or has not enough
     *     room, or an argument is refused; the network is unchanged
     */
    public native void jniaddLSP(int lspid, int[] path, int PL, int OA, float bw)
            throws AddDBException;

    /**
     * Places a backup of a primary LSP, along a path found elsewhere, without preempting others.
     * Backups share bandwidth: a link reserves what its worst single failure (of a link, or of all
     * links into a node) brings. Preemption is then off in the session until a computation allows
     * it, even if this call fails.
     *
     * <p>Removing the primary leaves its backups up, and the reverse: keep track of them.
     *
     * @param lspid id of the backup, not in use, 0 or more
     * @param plspid id of the primary LSP, which must be up
     * @param path node ids of the backup. A local backup starts at a node of the primary and
     *     protects the primary's link that leaves this node; a global backup protects all links of
     *     the primary from this node on
     * @param PL preemption level, 0 (most important) to 7
     * @param OA class of the backup
     * @param bw bandwidth in that class, finite
     * @param type true for a local backup, false for a global one
     * @throws AddDBException if the primary is not up, the id is in use, a link of the path or of
     *     the primary's path is missing or has not enough room, the path does not start on the
     *     primary, or an argument is refused; the network is unchanged
     */
    public native void jniaddBackupLSP(
            int lspid, int plspid, int[] path, int PL, int OA, float bw, boolean type)
            throws AddDBException;

    /**
     * Removes an LSP, primary or backup, and frees its bandwidth. The backups of a removed primary
     * stay up.
     *
     * @param lspid id of the LSP
     * @throws AddDBException if there is no such LSP (the network is unchanged), or if a link of
     *     its path has been removed since (the LSP is gone all the same)
     */
    public native void jniremoveLSP(int lspid) throws AddDBException;

    /**
     * Computes a primary path for a new LSP and, as the flags say, places it:
     *
     * <table>
     *   <caption>Effect of the flags</caption>
     *   <tr><th>ADDLSP</th><th>PREEMPT</th><th>effect</th></tr>
     *   <tr><td>false</td><td>false</td><td>the path only; nothing changes</td></tr>
     *   <tr><td>true</td><td>false</td><td>the LSP is placed where there is room for it</td></tr>
     *   <tr><td>true</td><td>true</td><td>the LSP is placed, and the LSPs that have to give way are
     *       removed and listed in {@link #lsps}</td></tr>
     *   <tr><td>false</td><td>true</td><td>the LSPs that would have to give way are removed and
     *       listed in {@link #lsps}, but the new LSP is <em>not</em> placed</td></tr>
     * </table>
     *
     * <p>A preempted LSP may be a backup. The backups of a preempted primary stay up; remove them.
     * The bandwidth of a preempted LSP counts in full as freed, also where it was shared; a link
     * with shared reservations may therefore stay booked beyond its capacity.
     *
     * @param id id of the LSP, not in use, 0 or more
     * @param src head of the LSP
     * @param dst tail of the LSP; with {@code dst} equal to {@code src} the path is this one node
     * @param rrid ignored
     * @param rrsrc ignored
     * @param rrdst ignored
     * @param OA class of the LSP
     * @param PL preemption level, 0 (most important) to 7
     * @param reservation bandwidth in that class, finite
     * @param colorArray ignored, may be null
     * @param ADDLSP whether to place the LSP
     * @param PREEMPT whether LSPs of greater level may be removed for it; also holds for the
     *     session's later operations that do not set it
     * @return the node ids of the path, from {@code src} to {@code dst}
     * @throws NoRouteToHostException if no path has enough room, a node is missing or an argument
     *     is refused; nothing is placed or removed
     * @throws AddDBException if the LSP cannot be placed, because its id is in use or what has to
     *     give way cannot be found (nothing is placed or removed); or if a preempted LSP cannot be
     *     removed (the LSP and the removals before stay; {@link #lsps} is not set)
     * @throws RoutingException if, without {@code ADDLSP}, what has to give way cannot be found;
     *     nothing is removed, and the error stack is printed to the standard error stream
     */
    public native int[] jnicomputePath(
            int id,
            int src,
            int dst,
            int rrid,
            int rrsrc,
            int rrdst,
            int OA,
            int PL,
            float reservation,
            int[] colorArray,
            boolean ADDLSP,
            boolean PREEMPT)
            throws AddDBException, NoRouteToHostException, RoutingException;

    /**
     * Computes the backups of a primary LSP and, if asked, places them: either one local backup per
     * link of the primary, or one global backup from its head to its tail.
     *
     * <p>A backup avoids the protected node (a global one all inner nodes of the primary) if it
     * can, otherwise the protected link (all links of the primary). A global backup that has to
     * fall back to links says so on the standard output; a search without result says so on the
     * standard error stream, for a global backup on both.
     *
     * <p>Backups have the primary's bandwidth and, whatever its level, preemption level 0. They are
     * computed without preemption: the shared reservation must fit. LSPs that would have to give
     * way are neither removed nor reported, so {@code PREEMPT} with {@code ADDLSP} may overbook
     * links; leave it false. {@link #lsps} is not touched.
     *
     * @param primarylspId id of the primary LSP
     * @param backuplspIds ids for the backups, one for each, not in use; may be shorter if nothing
     *     is placed and {@code PREEMPT} is false, but never null
     * @param backupType 1 for a global backup, anything else for local ones; 0 moreover warns on
     *     the standard error stream if there is not one backup per link
     * @param ADDLSP whether to place the backups
     * @param PREEMPT sets whether preemption is allowed, also for the session's later operations
     *     that do not set it
     * @return the node ids of each backup, for local backups in the order of the primary's links
     *     (none for a primary of fewer than two nodes)
     * @throws NoRouteToHostException if there is no such LSP, no way around a link or node with
     *     enough room, or {@code backuplspIds} is null; nothing is placed
     * @throws AddDBException if there are fewer ids than backups (nothing is placed), or if a
     *     backup cannot be placed, because its id is in use, say: those before it stay placed, and
     *     the links of its path are printed to the standard error stream
     */
    public native int[][] jnicomputeBackupPath(
            int primarylspId,
            int[] backuplspIds,
            int backupType,
            boolean ADDLSP,
            boolean PREEMPT)
            throws AddDBException, NoRouteToHostException;
}
