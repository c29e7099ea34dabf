package velmor.kavril;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.lang.ref.Cleaner;
import java.lang.ref.Reference;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.Optional;
import java.util.OptionalInt;
import java.util.function.IntFunction;
import java.util.function.IntPredicate;
import java.util.function.Supplier;
import java.util.stream.Collectors;
import velmor.kavril.internal.Changes;
import velmor.kavril.internal.Requests;
import velmor.kavril.internal.State;
import velmor.repository.KAVRIL.JNIKAVRIL;
import velmor.repository.model.exception.AddDBException;

/**
 * A network and the LSPs in it; the package's page tells units, ranges, failures and threads.
 *
 * <p>Close it to free its memory. One that is forgotten is closed when the garbage collector finds it,
 * which may be late, or never before the process ends.
 *
 * <p>Every method throws an {@link IllegalStateException} on a closed session, except
 * {@link #close} and {@link #isClosed}.
 */
public final class Session implements AutoCloseable {
    private static final String NO_REASON = "the library gives no reason";
    private static final int MAX_NAMED = 10;

    private final int nbClasses;
    private final int nbLevels;
    private final NativeSession session;
    private final Cleaner.Cleanable cleanable;

    private Session(int nbClasses, int nbLevels, NativeSession session) {
        this.nbClasses = nbClasses;
        this.nbLevels = nbLevels;
        this.session = session;
        cleanable = Forgotten.closeWith(this, session);
    }

    static Session open(SessionBuilder config) {
        NativeSession session = new NativeSession(config);
        if (config.journal() == null) {
            return new Session(config.nbClasses(), config.nbLevels(), session);
        }
        try {
            return ofContents(session, session.journal(config));
        } catch (IOException e) {
            session.run();
            throw new UncheckedIOException(e);
        } catch (RuntimeException | Error e) {
            session.run();
            throw e;
        }
    }

    /** The session for what is in a native one, with the numbers of classes and levels it has. */
    private static Session ofContents(NativeSession session, int[] numbers) throws IOException {
        try {
            int nbClasses = Check.range("nbClasses", numbers[0], 1, Check.MAX_CLASSES);
            int nbLevels = Check.range("nbLevels", numbers[1], 1, Check.MAX_LEVELS);
            session.call(() -> "", () -> "", raw -> StateReader.all(raw.sessId, nbClasses));
            return new Session(nbClasses, nbLevels, session);
        } catch (IllegalArgumentException e) {
            throw new IOException("it is a session that only C++ can use: " + e.getMessage(), e);
        }
    }

    /**
     * Starts the configuration of a session: 1 class, 8 levels, admission by capacity, paths by
     * congestion cost, unless something else is set.
     *
     * @return a builder
     */
    public static SessionBuilder builder() {
        return new SessionBuilder();
    }

    /**
     * Opens the session that was saved to a file: from now on it does what that one would have done,
     * to the last bit and message.
     *
     * @param path the file
     * @return the session, to be closed
     * @throws IOException if there is no such file, or it is none that {@link #save} has written, all
     *     of it and nothing else, or of a later version of the library; the message says which
     * @throws RefusedException if 128 sessions are open already
     */
    public static Session load(Path path) throws IOException {
        Check.given("path", path);
        NativeSession session = new NativeSession(builder());
        try {
            return ofContents(session, session.load(path));
        } catch (IOException | RuntimeException | Error e) {
            session.run();
            throw e;
        }
    }

    /**
     * Opens a session of its own that from now on does what this one would, to the last bit and
     * message: for what would happen if.
     *
     * @return the copy, to be closed
     * @throws RefusedException if 128 sessions are open already, or there is not enough memory
     */
    public Session copy() {
        return call(Operation.COPY, () -> "", () -> "", raw ->
                new Session(nbClasses, nbLevels, session.copy()));
    }

    /**
     * Saves the session to a file, in place of what is there. When this returns the file is on the
     * disk. If it fails, or the machine does, the path has what it had before, or all that is new.
     *
     * @param path the file
     * @throws IOException if it cannot be written
     */
    public void save(Path path) throws IOException {
        Check.given("path", path);
        timed(Operation.SAVE, () -> "", () -> {
            session.save(path, nbClasses, nbLevels);
            return null;
        });
    }

    /**
     * Adds a node.
     *
     * @param id its id, not in use, 0 to 16382
     * @throws RefusedException if the id is in use
     */
    public void addNode(int id) {
        Check.node("id", id);
        change(Operation.ADD_NODE, () -> "node " + id + " cannot be added", raw -> raw.jniaddNode(id));
    }

    /**
     * Adds a link with no traffic on it.
     *
     * @param id its id, not in use, 0 to 1048575
     * @param source the node it leaves
     * @param destination the node it enters
     * @param capacities its capacity, 0 or more, in each class of the session
     * @throws RefusedException if the id is in use, the source or the destination is no node, or
     *     there is a link between them in this direction
     */
    public void addLink(int id, int source, int destination, double... capacities) {
        addLink(id, source, destination, capacities, 0);
    }

    /**
     * Adds a link with a colour, that requests may avoid or require, and no traffic on it.
     *
     * @param id its id, not in use, 0 to 1048575
     * @param source the node it leaves
     * @param destination the node it enters
     * @param capacities its capacity, 0 or more, in each class of the session
     * @param color any number; links that are added without have colour 0
     * @throws RefusedException if the id is in use, the source or the destination is no node, or
     *     there is a link between them in this direction
     */
    public void addLink(int id, int source, int destination, double[] capacities, int color) {
        Check.link("id", id);
        Check.node("source", source);
        Check.node("destination", destination);
        float[] row = capacityRow(capacities);
        Supplier<String> what =
                () -> "link " + id + " (" + source + " > " + destination + ") cannot be added";
        make(Operation.ADD_LINK, what,
                sessId -> Requests.addLink(sessId, id, source, destination, color, row));
    }

    /**
     * Removes a link that no LSP uses.
     *
     * @param source the node it leaves
     * @param destination the node it enters
     * @throws RefusedException if there is no such link, or an LSP crosses it, or a backup is up
     *     whose primary crosses it or did
     */
    public void removeLink(int source, int destination) {
        Check.node("source", source);
        Check.node("destination", destination);
        Supplier<String> what = () -> "link " + source + " > " + destination + " cannot be removed";
        change(Operation.REMOVE_LINK, what, raw -> {
            refuseIfUsed(what, State.dependants(raw.sessId, source, destination));
            raw.jniremoveLink(source, destination);
        });
    }

    /**
     * Removes a node that no LSP passes, and its links. The library then counts one link too few, and
     * leaves the link with the highest id out of the failures that reservations are made for; where
     * that matters, remove the links and keep the node.
     *
     * @param id the node
     * @throws RefusedException if there is no such node, or an LSP passes it, or a backup is up whose
     *     primary passes it or did
     */
    public void removeNode(int id) {
        Check.node("id", id);
        Supplier<String> what = () -> "node " + id + " cannot be removed";
        change(Operation.REMOVE_NODE, what, raw -> {
            refuseIfUsed(what, State.dependants(raw.sessId, id, -1));
            raw.jniremoveNode(id);
        });
    }

    /**
     * Places a primary LSP along a route found elsewhere, if there is room without preempting others.
     *
     * @param id its id, not in use, 0 to 16777215
     * @param traffic what it carries
     * @param route where it goes; over a single node it occupies no link
     * @throws RefusedException if the id is in use, or a link of the route is missing or has not
     *     enough room
     */
    public void addLsp(int id, Traffic traffic, Route route) {
        Check.lsp("id", id);
        Check.given("route", route);
        checkTraffic(traffic);
        Supplier<String> what = () -> "LSP " + id + " (" + traffic + ") cannot be placed over " + route;
        change(Operation.ADD_LSP, what, raw -> {
            refuseIfUp(what, raw, id);
            raw.jniaddLSP(id, route.nodes(), traffic.level(), traffic.trafficClass(),
                    (float) traffic.bandwidth());
        });
    }

    /**
     * Places a backup along a route found elsewhere, if there is room without preempting others.
     * Backups share bandwidth: a link reserves what its worst single failure brings.
     *
     * @param id its id, not in use, 0 to 16777215
     * @param primaryId the primary LSP that it protects, which must be up
     * @param kind a local backup protects the primary's link that leaves the first node of the route,
     *     a global one all links of the primary from that node on
     * @param traffic what it carries
     * @param route where it goes, from a node of the primary on
     * @throws RefusedException if the id is in use, the primary is not up or is a backup, a link of
     *     the route is missing, a link of the route or of the primary has not enough room, or the
     *     route does not start on the primary
     */
    public void addBackup(int id, int primaryId, Protection.Kind kind, Traffic traffic, Route route) {
        Check.lsp("id", id);
        addBackup(OptionalInt.of(id), primaryId, kind, traffic, route);
    }

    /**
     * The same under an id that the library chooses: the one after the highest in use, or else the
     * lowest that is free.
     *
     * @param primaryId the primary LSP that it protects, which must be up
     * @param kind the kind of the backup
     * @param traffic what it carries
     * @param route where it goes, from a node of the primary on
     * @return its id
     * @throws RefusedException as there
     */
    public int addBackup(int primaryId, Protection.Kind kind, Traffic traffic, Route route) {
        return addBackup(OptionalInt.empty(), primaryId, kind, traffic, route);
    }

    private int addBackup(OptionalInt given, int primaryId, Protection.Kind kind, Traffic traffic,
            Route route) {
        Check.lsp("primaryId", primaryId);
        Check.given("kind", kind);
        Check.given("route", route);
        checkTraffic(traffic);
        Supplier<String> what = () -> (given.isPresent() ? "backup " + given.getAsInt() : "a backup")
                + " of LSP " + primaryId + " (" + traffic + ") cannot be placed over " + route;
        return call(Operation.ADD_BACKUP, what, () -> NO_REASON, raw -> {
            given.ifPresent(id -> refuseIfUp(what, raw, id));
            primary(what, raw, primaryId);
            int id = given.orElseGet(() -> Requests.freeLspId(raw.sessId));
            if (id < 0) {
                throw refused(what, "all LSP ids are in use");
            }
            placeBackup(raw, id, primaryId, kind, traffic, route);
            return id;
        });
    }

    /**
     * Asks for a primary path.
     *
     * <p>The bandwidth of an LSP that gives way counts in full as freed, also where it was shared; a
     * link with shared reservations may therefore stay booked beyond its capacity.
     *
     * @param id id of the LSP, not in use, 0 to 16777215
     * @param source its first node
     * @param destination its last node
     * @param traffic what it carries
     * @param options what to do beyond finding the path; nothing if none is given
     * @return the path, and what was done
     * @throws NoRouteException if no path has enough room, or one of the nodes is missing
     * @throws RefusedException if the id is in use, or what has to give way cannot be found
     */
    public Placement request(int id, int source, int destination, Traffic traffic,
            RequestOption... options) {
        return request(Request.of(source, destination, traffic).withId(id), options);
    }

    /**
     * Asks for a primary path that keeps to constraints.
     *
     * <p>The bandwidth of an LSP that gives way counts in full as freed, also where it was shared; a
     * link with shared reservations may therefore stay booked beyond its capacity.
     *
     * @param request what is asked for
     * @param options what to do beyond finding the path; nothing if none is given
     * @return the path, and what was done
     * @throws NoRouteException if no path with enough room keeps to the constraints, or a node that it
     *     is to pass is missing; the message says whether room or the constraints are to blame
     * @throws RefusedException if the id is in use, a link of the route that is asked for is missing or
     *     has not enough room, or what has to give way cannot be found
     */
    public Placement request(Request request, RequestOption... options) {
        checkTraffic(Check.given("request", request).traffic());
        RequestCall asked = new RequestCall(request, Check.options(options));
        return call(Operation.REQUEST, asked::what, asked::why, asked);
    }

    /**
     * Protects a primary LSP by backups with its bandwidth and class. They are computed first, then
     * placed if the protection has ids for them: all or none.
     *
     * <p>The library remarks on a search without result, and on a backup that cannot go around all
     * nodes, see {@link SessionBuilder#printing}.
     *
     * @param id the primary LSP
     * @param protection the kind of backups, and whether to place them
     * @return the backups; local ones in the order of the primary's links
     * @throws NoRouteException if there is no way around a link with enough room
     * @throws RefusedException if the LSP is not up or is a backup, an id for a backup is in use, or
     *     a backup does not fit beside the others
     * @throws IllegalArgumentException if there are fewer or more ids than backups
     */
    public List<Backup> protect(int id, Protection protection) {
        return protect(id, protection, false).backups();
    }

    /**
     * Protects what can be protected of a primary LSP: a link that no backup gets around, or whose
     * backup finds no room beside the others, is listed with the reason.
     *
     * @param id the primary LSP
     * @param protection the kind of backups, and whether to place them
     * @return the backups, and what has none
     * @throws RefusedException if the LSP is not up or is a backup, or an id for a backup is in use
     * @throws IllegalArgumentException if there are fewer or more ids than links for local backups, or
     *     one for a global one
     */
    public PartialProtection protectPartly(int id, Protection protection) {
        return protect(id, protection, true);
    }

    private PartialProtection protect(int id, Protection protection, boolean partly) {
        Check.lsp("id", id);
        Check.given("protection", protection);
        Check.range("level", protection.level(), 0, nbLevels - 1);
        ProtectCall asked = new ProtectCall(id, protection, partly);
        return timed(Operation.PROTECT, () -> "LSP " + id,
                () -> session.call(asked::what, asked::why, asked));
    }

    /**
     * Sets the capacities of a link. LSPs that cross it stay where they are, also if they no longer fit.
     *
     * @param source the node it leaves
     * @param destination the node it enters
     * @param capacities its capacity, 0 or more, in each class of the session
     * @return the LSPs that no longer fit, ids ascending: in each class that is booked beyond its capacity
     *     now, those that would have to give way, from the greatest level on, for the rest to fit. A
     *     backup among them counts in full, also where it shares its bandwidth
     * @throws RefusedException if there is no such link
     */
    public List<Lsp> setCapacity(int source, int destination, double... capacities) {
        Check.node("source", source);
        Check.node("destination", destination);
        float[] row = capacityRow(capacities);
        Supplier<String> what =
                () -> "the capacity of link " + source + " > " + destination + " cannot be set";
        return together(Operation.SET_CAPACITY, () -> {
            make(Operation.SET_CAPACITY, what,
                    sessId -> Changes.setCapacity(sessId, source, destination, row));
            return read(sessId -> Arrays.stream(Changes.misfits(sessId, source, destination))
                    .mapToObj(id -> StateReader.lsp(sessId, id).orElseThrow())
                    .collect(Collectors.toUnmodifiableList()));
        });
    }

    /**
     * Takes out what fails, and tells whom that hits: who switches to which backups, who is lost, who
     * stays and is unprotected. The links of the failure are removed with the LSPs that cross them and
     * the backups of primaries that do; its nodes stay, without links. An LSP over a single node has no
     * link and stays.
     *
     * <p>This is one change, for other threads and for the journal. {@link #repair} takes the report.
     *
     * @param failure what fails
     * @param options what is done beyond that; LSPs that are placed again keep their ids and traffic, not
     *     the constraints that they were requested with
     * @return whom it hits, and what was done
     * @throws RefusedException if a link or a node of the failure does not exist; nothing has changed
     * @throws IllegalArgumentException if the options are PREEMPT without REPLACE
     */
    public FailureReport fail(Failure failure, FailureOption... options) {
        return new FailureCall(this, Check.given("failure", failure), Check.options(options)).run();
    }

    /**
     * Takes out a link that fails, in one direction, as {@link #fail} does.
     *
     * @param source the node it leaves
     * @param destination the node it enters
     * @param options what is done beyond that
     * @return whom it hits, and what was done
     * @throws RefusedException if there is no such link
     */
    public FailureReport failLink(int source, int destination, FailureOption... options) {
        return fail(Failure.link(source, destination), options);
    }

    /**
     * Takes out the links of a node that fails, as {@link #fail} does.
     *
     * @param id the node
     * @param options what is done beyond that
     * @return whom it hits, and what was done
     * @throws RefusedException if there is no such node
     */
    public FailureReport failNode(int id, FailureOption... options) {
        return fail(Failure.node(id), options);
    }

    /**
     * Puts back the links that a failure has taken out, and the LSPs that are down since: on their old
     * routes if these have room, else on others, the most important first. LSPs that go elsewhere by now
     * stay there. All of it or nothing.
     *
     * @param report what the failure has taken out
     * @return what came of placing the LSPs
     * @throws RefusedException if a link cannot be put back, as one that is there already
     */
    public Restoration repair(FailureReport report) {
        Check.given("report", report);
        return new RepairCall(this, report.links(), report.removed()).run();
    }

    /**
     * Puts back links without LSPs, with the ids, colours and capacities that they had.
     *
     * @param links what they were
     * @throws RefusedException if one cannot be put back, as one that is there already; none is then
     */
    public void repair(List<Link> links) {
        new RepairCall(this, List.copyOf(Check.given("links", links)), List.of()).run();
    }

    /**
     * Gives a primary other traffic on the route that it has, make before break: its links need room for
     * the larger of old and new bandwidth, not for both. Its backups, if they no longer go with it, are
     * placed anew as far as there is room. All of it or nothing.
     *
     * @param id the LSP
     * @param traffic what it is to carry; another level, or less bandwidth, is never refused
     * @return what it was and is, and what became of its backups
     * @throws RefusedException if it is not up or is a backup, or a link of it has not enough room
     */
    public UpdateResult update(int id, Traffic traffic) {
        return update(id, traffic, null, null);
    }

    /**
     * Gives a primary other traffic and another route, make before break: links of both routes need room
     * for the larger of old and new bandwidth, not for both. Its backups are placed anew as far as
     * there is room. All of it or nothing.
     *
     * @param id the LSP
     * @param traffic what it is to carry
     * @param route where it is to go
     * @return what it was and is, and what became of its backups
     * @throws RefusedException if it is not up or is a backup, or a link of the route is missing or has
     *     not enough room
     */
    public UpdateResult update(int id, Traffic traffic, Route route) {
        return update(id, traffic, Check.given("route", route), null);
    }

    /**
     * Gives a primary other traffic and the best route that there is for that, which may be the one it
     * has; else as {@link #update(int, Traffic, Route)}.
     *
     * @param id the LSP
     * @param traffic what it is to carry
     * @return what it was and is, and what became of its backups
     * @throws NoRouteException if no path has enough room
     * @throws RefusedException if it is not up or is a backup
     */
    public UpdateResult reroute(int id, Traffic traffic) {
        return update(id, traffic, null, UpdateCall.NO_LINK);
    }

    /**
     * Takes a primary off a link: it goes the best way without that, make before break.
     *
     * @param id the LSP
     * @param source the node that the link leaves
     * @param destination the node it enters
     * @return what it was and is, and what became of its backups
     * @throws NoRouteException if no other path has enough room
     * @throws RefusedException if it is not up or is a backup
     */
    public UpdateResult rerouteAround(int id, int source, int destination) {
        Check.lsp("id", id);
        Check.node("source", source);
        Check.node("destination", destination);
        return new UpdateCall(this, id, null, null, new int[] {source, destination}).run();
    }

    private UpdateResult update(int id, Traffic traffic, Route route, int[] avoided) {
        Check.lsp("id", id);
        checkTraffic(traffic);
        return new UpdateCall(this, id, traffic, route, avoided).run();
    }

    /**
     * Places an LSP, and again those that have to give way for it: the most important first, then their
     * backups. Nobody gives way as long as there is a path without that. All of it or nothing; this is one
     * change, for other threads and for the journal.
     *
     * @param request what is asked for
     * @param options whether others may give way, and whether it is only tried
     * @return whether it is placed, or why not; who gave way, is placed again or finds no place
     */
    public PlaceResult place(Request request, PlaceOption... options) {
        checkTraffic(Check.given("request", request).traffic());
        return new PlaceCall(this, Check.options(options)).run(request);
    }

    /**
     * Places many LSPs, one after the other. Each is a change of its own: what other threads do comes
     * between two of them, and what was placed stays when the listener wants no more. With
     * {@link PlaceOption#DRY_RUN} the session is held for the whole batch, and all is taken back.
     *
     * @param requests what is asked for
     * @param order which come first
     * @param listener hears of each, and says whether to go on
     * @param options whether others may give way, and whether it is only tried
     * @return what came of each, and which are left
     */
    public BatchResult placeAll(List<Request> requests, BatchOrder order, BatchListener listener,
            PlaceOption... options) {
        Check.given("order", order);
        Check.given("listener", listener);
        for (Request request : Check.given("requests", requests)) {
            checkTraffic(Check.given("requests", request).traffic());
        }
        return new PlaceCall(this, Check.options(options)).run(requests, order, listener);
    }

    /**
     * Removes an LSP, primary or backup. The backups of a primary stay up, see {@link #backupsOf}.
     *
     * @param id the LSP
     * @throws RefusedException if it is not up
     */
    public void removeLsp(int id) {
        Check.lsp("id", id);
        Supplier<String> what = () -> "LSP " + id + " cannot be removed";
        change(Operation.REMOVE_LSP, what, raw -> {
            if (!State.hasLsp(raw.sessId, id)) {
                throw refused(what, "it is not up");
            }
            raw.jniremoveLSP(id);
        });
    }

    /**
     * Removes an LSP and its backups, those of {@link #backupsOf}, also if they are all that is left
     * of it.
     *
     * @param id the LSP
     * @return ids of the backups that were removed, ascending; none for an LSP that is a backup
     * @throws RefusedException if neither it nor a backup of it is up
     */
    public List<Integer> removeLspAndBackups(int id) {
        Check.lsp("id", id);
        Supplier<String> what = () -> "LSP " + id + " cannot be removed";
        return call(Operation.REMOVE_LSP, what, () -> NO_REASON, raw -> {
            List<Integer> backups = StateReader.backupsOf(raw.sessId, id);
            boolean isUp = State.hasLsp(raw.sessId, id);
            if (!isUp && backups.isEmpty()) {
                throw refused(what, "neither it nor a backup of it is up");
            }
            for (int backup : backups) {
                raw.jniremoveLSP(backup);
            }
            if (isUp) {
                raw.jniremoveLSP(id);
            }
            return backups;
        });
    }

    /**
     * The backups of an LSP that are up: those placed for it, since it goes where it goes now. Of
     * backups that have outlived an LSP of the same id, those of another route are none of this one's;
     * those of the very same route protect it, too.
     *
     * <p>If no primary has the id, because it was removed or preempted, all backups are listed that are
     * left of it: they hold bandwidth for nothing and should be removed.
     *
     * @param id the primary LSP
     * @return ids of the backups, ascending
     */
    public List<Integer> backupsOf(int id) {
        Check.lsp("id", id);
        return read(Operation.READ, sessId -> StateReader.backupsOf(sessId, id));
    }

    /**
     * Everything that is in the session: nodes, links with what is booked on them, and LSPs. Another
     * thread's call comes before it or after it. The values stay what they are when the session changes.
     *
     * @return the state as of now
     */
    public NetworkState state() {
        return read(Operation.READ_ALL, sessId -> StateReader.all(sessId, nbClasses));
    }

    /**
     * An LSP.
     *
     * @param id its id
     * @return the LSP as of now, empty if it is not up
     */
    public Optional<Lsp> lsp(int id) {
        Check.lsp("id", id);
        return read(Operation.READ, sessId -> StateReader.lsp(sessId, id));
    }

    /**
     * The link from one node to another.
     *
     * @param source the node it leaves
     * @param destination the node it enters
     * @return the link as of now, empty if there is none
     */
    public Optional<Link> link(int source, int destination) {
        Check.node("source", source);
        Check.node("destination", destination);
        return read(Operation.READ, sessId -> StateReader.link(sessId, nbClasses, source, destination));
    }

    /**
     * The LSPs whose own route crosses a link.
     *
     * @param source the node it leaves
     * @param destination the node it enters
     * @return primaries and backups as of now, ids ascending; none if there is no such link
     */
    public List<Lsp> lspsOn(int source, int destination) {
        Check.node("source", source);
        Check.node("destination", destination);
        return read(Operation.READ, sessId -> StateReader.lspsOn(sessId, source, destination));
    }

    /**
     * The library's tables: nodes with their neighbours, links with the LSPs that cross them and the
     * capacity, primary and reserved bandwidth of each class, decimals with a point.
     *
     * @return the text, many lines
     */
    public String dump() {
        return timed(Operation.READ_ALL, () -> "", session::print);
    }

    /**
     * How often each operation was called on this session, and how long that took. Misuse does not
     * count: calls that end with an {@link IllegalArgumentException} or an
     * {@link IllegalStateException}. A copy of the session starts anew.
     *
     * @return the figures as of now, for every operation; may be asked of a closed session, too
     */
    public Map<Operation, OperationStatistics> statistics() {
        return session.statistics().figures();
    }

    /**
     * Shows the {@linkplain #statistics statistics} over JMX until the session is closed: as the
     * {@link SessionMXBean} with the name {@code velmor.kavril:type=Session,name="NAME"} in the
     * platform's MBean server. Under another name as before if it is published already.
     *
     * @param name a name that no other session is published under
     * @throws IllegalArgumentException if one is
     * @throws UnsupportedOperationException if the runtime has no module {@code java.management}. On
     *     the module path, {@code --add-modules java.management} adds it
     */
    public void publish(String name) {
        Check.given("name", name);
        try {
            session.publish(name);
        } catch (NoClassDefFoundError e) {
            throw new UnsupportedOperationException("there is no module java.management", e);
        } finally {
            Reference.reachabilityFence(this);
        }
    }

    /**
     * Whether the session is closed.
     *
     * @return true after {@link #close}
     */
    public boolean isClosed() {
        return !session.isOpen();
    }

    /** Closes the session and frees its memory. Closing it again does nothing. */
    @Override
    public void close() {
        cleanable.clean();
    }

    private float[] capacityRow(double[] capacities) {
        if (Check.given("capacities", capacities).length != nbClasses) {
            throw new IllegalArgumentException("capacities has " + capacities.length
                    + " values, must have " + nbClasses + ", one for each class");
        }
        float[] row = new float[Check.MAX_CLASSES];
        for (int oa = 0; oa < nbClasses; oa++) {
            row[oa] = Check.amount("capacities[" + oa + "]", capacities[oa]);
        }
        return row;
    }

    private void checkTraffic(Traffic traffic) {
        Check.given("traffic", traffic);
        Check.range("trafficClass", traffic.trafficClass(), 0, nbClasses - 1);
        Check.range("level", traffic.level(), 0, nbLevels - 1);
    }

    private static void placeBackup(JNIKAVRIL raw, int id, int primaryId, Protection.Kind kind,
            Traffic traffic, Route route) throws AddDBException {
        raw.jniaddBackupLSP(id, primaryId, route.nodes(), traffic.level(), traffic.trafficClass(),
                (float) traffic.bandwidth(), kind == Protection.Kind.LOCAL);
    }

    private static Lsp primary(Supplier<String> what, JNIKAVRIL raw, int id) {
        Lsp lsp = StateReader.lsp(raw.sessId, id)
                .orElseThrow(() -> refused(what, "LSP " + id + " is not up"));
        if (lsp.isBackup()) {
            throw refused(what, "LSP " + id + " is itself a backup");
        }
        return lsp;
    }

    private static void refuseIfUp(Supplier<String> what, JNIKAVRIL raw, int id) {
        if (State.hasLsp(raw.sessId, id)) {
            throw refused(what, "the LSP id " + id + " is in use");
        }
    }

    /** Names the first few of the users, of which there may be very many. */
    private static void refuseIfUsed(Supplier<String> what, int[] users) {
        if (users.length > 0) {
            int nbNamed = Math.min(users.length, MAX_NAMED);
            throw refused(what, "LSPs that are up depend on it: "
                    + Arrays.toString(Arrays.copyOf(users, nbNamed))
                    + (nbNamed < users.length ? " and " + (users.length - nbNamed) + " more" : ""));
        }
    }

    private static RefusedException refused(Supplier<String> what, String why) {
        return new RefusedException(what.get() + ": " + why, List.of(), null);
    }

    @Override
    public String toString() {
        return (isClosed() ? "closed session of " : "session of ") + nbClasses
                + (nbClasses == 1 ? " class and " : " classes and ") + nbLevels
                + (nbLevels == 1 ? " level" : " levels")
                + (session.journal() == null ? "" : " with the journal " + session.journal());
    }

    /** Work that gives nothing back. */
    private interface Change {
        void run(JNIKAVRIL raw) throws AddDBException;
    }

    private void change(Operation operation, Supplier<String> what, Change change) {
        call(operation, what, () -> NO_REASON, raw -> {
            change.run(raw);
            return null;
        });
    }

    /** Makes a change that says whether it was made; takes the session's number. */
    void make(Operation operation, Supplier<String> what, IntPredicate change) {
        change(operation, what, raw -> {
            if (!change.test(raw.sessId)) {
                throw new AddDBException();
            }
        });
    }

    /** Runs calls that are one operation, see {@link NativeSession#together}. */
    <T> T together(Operation operation, Supplier<T> calls) {
        return timed(operation, operation::toString, () -> session.together(calls));
    }

    /** Runs calls that are all kept or all taken back, see {@link NativeSession#attempt}. */
    <T> T attempt(Operation operation, Supplier<String> what, boolean keeps, Supplier<T> calls) {
        return timed(operation, operation::toString, () -> session.attempt(what, keeps, calls));
    }

    /** Asks for something; takes the session's number. */
    <T> T read(IntFunction<T> question) {
        return read(Operation.READ, question);
    }

    private <T> T read(Operation operation, IntFunction<T> question) {
        return call(operation, () -> "", () -> "", raw -> question.apply(raw.sessId));
    }

    private <T> T call(Operation operation, Supplier<String> what, Supplier<String> why,
            NativeSession.Call<T> call) {
        return timed(operation, operation::toString, () -> session.call(what, why, call));
    }

    /** Work that may fail with an exception of one checked type. */
    private interface Work<T, E extends Exception> {
        T run() throws E;
    }

    /**
     * Does an operation on the session, which must not be found forgotten meanwhile, counts it, and logs
     * what the library has said about the thing that it was for.
     */
    private <T, E extends Exception> T timed(Operation operation, Supplier<String> about,
            Work<T, E> work) throws E {
        boolean isPartOfAnother = Thread.holdsLock(session);
        long start = System.nanoTime();
        boolean isMisuse = false;
        boolean isDone = false;
        try {
            T result = work.run();
            isDone = true;
            return result;
        } catch (IllegalArgumentException | IllegalStateException e) {
            isMisuse = true;
            throw e;
        } finally {
            if (!isMisuse && !isPartOfAnother) {
                session.statistics().add(operation, System.nanoTime() - start, !isDone);
            }
            Output.log(about);
            Reference.reachabilityFence(this);
        }
    }
}
