/**
 * Sessions of the KAVRIL library: a network, the label switched paths (LSPs) in it, and the
 * computation of primary and backup paths.
 *
 * <pre>{@code
 * try (Session session = Session.builder().build()) {
 *     for (int node = 0; node < 3; node++) {
 *         session.addNode(node);
 *     }
 *     session.addLink(0, 0, 2, 100);
 *     session.addLink(1, 0, 1, 100);
 *     session.addLink(2, 1, 2, 100);
 *     Placement placed = session.request(7, 0, 2, Traffic.of(40).atLevel(3), RequestOption.ADD);
 *     List<Backup> backups = session.protect(7, Protection.local().placedAs(8));
 *     System.out.println(placed.route() + " protected by " + backups.get(0).route());
 * }
 * }</pre>
 *
 * <h2>Ids, units and ranges</h2>
 *
 * <ul>
 *   <li>Ids are chosen by the caller, those of LSPs by the library if it is asked to. They are used as
 *       indexes, so small and dense ids save memory and time: nodes 0 to 16382, links 0 to 1048575,
 *       LSPs 0 to 16777215.
 *   <li>Bandwidths and capacities are in one unit of the caller's choice (Mbit/s, say), 0 or more,
 *       and kept in single precision.
 *   <li>A class is 0 to 7 and below the session's number of classes, a preemption level 0 (the most
 *       important) to 7 and below its number of levels.
 *   <li>Links are directed; there is at most one from one node to another.
 * </ul>
 *
 * <h2>Failures</h2>
 *
 * <p>An argument outside its range gives an {@link IllegalArgumentException} that names it, a session
 * that is closed an {@link IllegalStateException}, and what the network cannot do a
 * {@link velmor.kavril.KavrilException} that says why. Nothing has changed then, unless the method
 * says otherwise.
 *
 * <h2>Changes of what is up</h2>
 *
 * <ul>
 *   <li>{@link velmor.kavril.Session#fail} tells whom a failure hits and takes it out of the network,
 *       {@link velmor.kavril.Session#repair} puts it back.
 *   <li>{@link velmor.kavril.Session#update}, {@link velmor.kavril.Session#reroute} and
 *       {@link velmor.kavril.Session#rerouteAround} change an LSP make before break, under its id;
 *       {@link velmor.kavril.Session#setCapacity} changes a link under its LSPs.
 *   <li>{@link velmor.kavril.Session#place} lets others give way and places these again;
 *       {@link velmor.kavril.Session#placeAll} does so for many requests.
 * </ul>
 *
 * <p>Each is one change, for other threads as for the journal: nobody sees a part of it, and whatever
 * stops one of several steps, the session is what it was. Where there is an option {@code DRY_RUN} the
 * result tells what would come of the change, and the session stays as it is. LSPs that are placed again
 * are the most important ones first, and keep their ids; the constraints of their requests are not kept,
 * and a backup whose primary has another route now is computed anew.
 *
 * <p>To be able to go back, a method that makes several steps copies the network first, which takes time
 * in proportion to it: {@code fail} with {@code REPLACE}, {@code repair}, {@code place} where others give
 * way, a dry run of {@code place} or {@code placeAll}, and changes of an LSP that has backups. {@code fail}
 * without {@code REPLACE} only takes out, and does not: should the library's memory end in the middle, some
 * of the LSPs and links that it names may still be there.
 *
 * <h2>Copies, files and journals</h2>
 *
 * <p>{@link velmor.kavril.Session#copy} opens a session of its own that does what the first one would;
 * {@link velmor.kavril.Session#save} and {@link velmor.kavril.Session#load} keep one in a file; one that
 * has a {@linkplain velmor.kavril.SessionBuilder#journal(java.nio.file.Path) journal} comes back after a
 * crash of the process as it was after the last method that returned.
 *
 * <h2>Threads and other sessions</h2>
 *
 * <p>All methods may be called from all threads. Calls on one session wait for each other; those on
 * different sessions run side by side. A call that waits while another thread closes the session gets
 * an {@link IllegalStateException}. Sessions of {@link velmor.repository.KAVRIL.JNIKAVRIL} may be open
 * beside those of this package: the numbers of classes and levels that the last one of them sets for all
 * others do not concern these, nor the reverse. Together there may be 128; sessions that were forgotten
 * are looked for before one more is refused.
 *
 * <h2>Watching sessions</h2>
 *
 * <p>{@link velmor.kavril.Session#state} gives everything that is in a session as values.
 * {@link velmor.kavril.Session#statistics} counts and times its calls, and
 * {@link velmor.kavril.Session#publish} shows that over JMX. What the library remarks while it works
 * goes to a logger, see {@link velmor.kavril.SessionBuilder#printing}.
 */
package velmor.kavril;
