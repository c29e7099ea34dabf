package velmor.kavril;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.charset.Charset;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.Future;
import java.util.concurrent.ScheduledThreadPoolExecutor;
import java.util.concurrent.TimeUnit;
import java.util.function.IntSupplier;
import java.util.function.Supplier;
import java.util.stream.Collectors;
import velmor.kavril.internal.Changes;
import velmor.kavril.internal.Diagnostics;
import velmor.kavril.internal.NativeLibrary;
import velmor.kavril.internal.Sessions;
import velmor.kavril.internal.Storage;
import velmor.repository.KAVRIL.JNIKAVRIL;
import velmor.repository.model.exception.AddDBException;
import velmor.repository.model.exception.NoRouteToHostException;
import velmor.repository.model.exception.RoutingException;

/**
 * A session of the native methods: one caller at a time, its failures with their messages, closed
 * once. It outlives the {@link Session} that it belongs to and closes it if that is forgotten.
 *
 * <p>After every call the error stack is emptied, so that it does not grow without end and nothing is
 * left to be printed when the session is closed.
 */
final class NativeSession implements Runnable {

    /** Work on the open session. */
    interface Call<T> {
        T run(JNIKAVRIL raw) throws AddDBException, NoRouteToHostException, RoutingException;
    }

    /** A thread for all journals that are flushed now and then; made when there is one. */
    private static final class Flusher {
        static final ScheduledThreadPoolExecutor THREAD = new ScheduledThreadPoolExecutor(1, work -> {
            Thread thread = new Thread(work, "kavril-journals");
            thread.setDaemon(true);
            return thread;
        });

        static {
            THREAD.setRemoveOnCancelPolicy(true);
        }
    }

    private static volatile boolean areMethodsThere;

    private final JNIKAVRIL raw = new JNIKAVRIL();
    private final Statistics statistics = new Statistics();
    private volatile boolean open = true;
    private Runnable unpublish = () -> { };
    private int nbTogether;

    // Of a session with a journal.
    private volatile Path journal;
    private boolean isFlushed = true;
    private Future<?> flushing;

    /** Opens the session, with 8 classes and 8 levels; those that are not in use stay 0. */
    NativeSession(SessionBuilder config) {
        this("a session cannot be opened", () -> Sessions.open(config.hasCapacityClause(),
                config.weights(), !config.isPrinting()));
    }

    /** Opens it by a call that gives its number or -1. */
    private NativeSession(String failure, IntSupplier opening) {
        haveMethods();
        if (opens(opening)) {
            return;
        }
        List<String> trace = takeMessages();
        boolean isFull = trace.stream().anyMatch(line -> line.contains("Too many Sessions"));
        if (!(isFull && Forgotten.makeRoom(() -> opens(opening)))) {
            throw new RefusedException(failure + ": "
                    + Reason.of(trace, "the library gives no reason"), trace, null);
        }
    }

    /** Leaves the messages of a failure to be taken. */
    private boolean opens(IntSupplier opening) {
        raw.sessId = opening.getAsInt();
        return raw.sessId >= 0;
    }

    /**
     * The library makes its methods known when a session is opened, even if it is refused: as this one
     * for the lack of a table. So the numbers of classes and levels that others have set stay.
     */
    private void haveMethods() {
        if (areMethodsThere) {
            return;
        }
        raw.jniinitKavril(1, 1, false, false, false, 0, 0, 0, 0, 0, 0, 0, null);
        try {
            Diagnostics.takeMessages(-1);
            Sessions.takeOutput();
            areMethodsThere = true;
        } catch (UnsatisfiedLinkError e) {
            throw new UnsatisfiedLinkError("the native library from " + NativeLibrary.origin()
                    + " does not go with the classes of the jar: " + e.getMessage());
        }
    }

    /** Opens another session that does what this one would. */
    synchronized NativeSession copy() {
        return call(() -> "", () -> "", session -> new NativeSession("the session cannot be copied",
                () -> Storage.copy(session.sessId)));
    }

    /** Saves the session to a file. */
    synchronized void save(Path path, int nbClasses, int nbLevels) throws IOException {
        byte[] file = bytes(path);
        List<String> trace = call(() -> "", () -> "", session ->
                Storage.save(session.sessId, file, nbClasses, nbLevels) ? null : takeMessages());
        if (trace != null) {
            throw new IOException("the session cannot be saved to " + path + ": "
                    + Reason.of(trace, "the library gives no reason"));
        }
    }

    /** Makes the session what was saved to a file; returns its numbers of classes and levels. */
    synchronized int[] load(Path path) throws IOException {
        byte[] file = bytes(path);
        int[] numbers = new int[2];
        List<String> trace = call(() -> "", () -> "", session ->
                Storage.load(session.sessId, file, numbers) ? null : takeMessages());
        if (trace != null) {
            throw new IOException("no session can be loaded from " + path + ": "
                    + Reason.of(trace, "the library gives no reason"));
        }
        return numbers;
    }

    /**
     * Makes the session what is in the configuration's journal, or begins that; returns the numbers of
     * classes and levels. From now on changes go there.
     */
    synchronized int[] journal(SessionBuilder config) throws IOException {
        byte[] file = bytes(config.journal());
        int[] numbers = {config.nbClasses(), config.nbLevels()};
        List<String> trace = call(() -> "", () -> "", session -> Storage.journal(
                session.sessId, file, config.flushMillis() == 0, numbers) ? null : takeMessages());
        if (trace != null) {
            throw new IOException("no journal can be kept at " + config.journal() + ": "
                    + Reason.of(trace, "the library gives no reason"));
        }
        journal = config.journal();
        if (config.flushMillis() > 0) {
            flushing = Flusher.THREAD.scheduleWithFixedDelay(this::flush, config.flushMillis(),
                    config.flushMillis(), TimeUnit.MILLISECONDS);
        }
        return numbers;
    }

    /** Writes what a call has changed, if there is a journal. */
    private void commit() {
        if (journal == null) {
            return;
        }
        if (!Storage.commit(raw.sessId)) {
            throw journalFailure();
        }
        isFlushed = false;
    }

    /** Has the disk take what was written; if it does not, it is asked again. */
    private synchronized void flush() {
        if (open && !isFlushed) {
            isFlushed = Storage.flush(raw.sessId);
        }
    }

    private UncheckedIOException journalFailure() {
        return new UncheckedIOException(new IOException("the session has changed, but its journal "
                + journal + " cannot be written now: "
                + Reason.of(takeMessages(), "the library gives no reason")));
    }

    /** A file's name as the library hands it to the system. */
    private static byte[] bytes(Path path) {
        String name = path.toFile().getAbsolutePath();
        String encoding = System.getProperty("sun.jnu.encoding");
        return name.getBytes(encoding == null ? Charset.defaultCharset() : Charset.forName(encoding));
    }

    /** Runs the call; what it was to do, and an explanation if the library has none, are for failures. */
    synchronized <T> T call(Supplier<String> what, Supplier<String> why, Call<T> call) {
        if (!open) {
            throw new IllegalStateException("the session is closed");
        }
        try {
            return call.run(raw);
        } catch (NoRouteToHostException e) {
            throw new NoRouteException(what.get() + ": " + why.get(), takeMessages(), e);
        } catch (AddDBException | RoutingException e) {
            List<String> trace = takeMessages();
            throw new RefusedException(what.get() + ": " + Reason.of(trace, why.get()), trace, e);
        } finally {
            // Whatever came of it: a call that fails may have changed something.
            if (nbTogether == 0) {
                commit();
            }
            takeMessages();
        }
    }

    /** Runs calls that no other thread comes between, and that the journal has all or none of. */
    synchronized <T> T together(Supplier<T> calls) {
        nbTogether++;
        try {
            return calls.get();
        } finally {
            nbTogether--;
            if (nbTogether == 0 && open) {
                commit();
            }
        }
    }

    /** Likewise, but takes everything back if they fail, or are not to be kept in any case. */
    synchronized <T> T attempt(Supplier<String> what, boolean keeps, Supplier<T> calls) {
        return together(() -> {
            call(what, () -> "the library gives no reason", session -> {
                if (!Changes.begin(session.sessId)) {
                    throw new AddDBException();
                }
                return null;
            });
            boolean isDone = false;
            try {
                T result = calls.get();
                isDone = true;
                return result;
            } finally {
                Changes.end(raw.sessId, isDone && keeps);
            }
        });
    }

    /** The text of the session's tables. */
    synchronized String print() {
        String text = call(() -> "", () -> "", session -> Diagnostics.print(session.sessId));
        if (text == null) {
            throw new OutOfMemoryError("no memory for the text of the session's tables");
        }
        return text;
    }

    /** Its number in the library, for those whom {@link #call} has let in. */
    int sessId() {
        return raw.sessId;
    }

    Statistics statistics() {
        return statistics;
    }

    /** Shows the statistics over JMX until the session is closed. */
    synchronized void publish(String name) {
        call(() -> "", () -> "", session -> {
            Runnable end = Publication.of(statistics, name);
            unpublish.run();
            return unpublish = end;
        });
    }

    boolean isOpen() {
        return open;
    }

    /** The journal, null for none. */
    Path journal() {
        return journal;
    }

    /** Closes the session if it is open. */
    @Override
    public synchronized void run() {
        if (open) {
            open = false;
            if (flushing != null) {
                flushing.cancel(false);
            }
            raw.jnikillKavril();
            Output.logLast();
            unpublish.run();
        }
    }

    private List<String> takeMessages() {
        String[] messages = Diagnostics.takeMessages(raw.sessId);
        return messages == null ? List.of()
                : Arrays.stream(messages).map(String::strip).collect(Collectors.toList());
    }
}
