package velmor.kavril;

import java.util.Arrays;
import java.util.List;
import java.util.function.Supplier;
import java.util.stream.Collectors;
import velmor.kavril.internal.Diagnostics;
import velmor.kavril.internal.NativeLibrary;
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

    private final JNIKAVRIL raw;
    private boolean open = true;

    /**
     * Opens the session. The numbers of classes and levels belong to the process; with all 8 of both,
     * sessions with any numbers go together. What is not in use stays 0.
     */
    NativeSession(SessionBuilder config) {
        raw = new JNIKAVRIL();
        raw.jniinitKavril(Check.MAX_CLASSES, Check.MAX_LEVELS, config.hasColorClause(), false,
                config.hasCapacityClause(), config.weight(Weight.LOAD_BALANCE),
                config.weight(Weight.LOAD), config.weight(Weight.SQUARED_LOAD),
                config.weight(Weight.RELATIVE_LOAD), config.weight(Weight.SQUARED_RELATIVE_LOAD),
                config.weight(Weight.DELAY), config.weight(Weight.FORTZ), config.rerouting());
        List<String> trace = takeMessages();
        if (raw.sessId < 0) {
            throw new RefusedException("a session cannot be opened: "
                    + Reason.of(trace, "the library gives no reason"), trace, null);
        }
    }

    /** Runs the call; what it was to do, and an explanation if the library has none, are for failures. */
    synchronized <T> T call(Supplier<String> what, Supplier<String> why, Call<T> call) {
        if (!open) {
            throw new IllegalStateException("the session is closed");
        }
        if (!Diagnostics.inUse(Check.MAX_CLASSES, Check.MAX_LEVELS)) {
            throw new IllegalStateException("a session opened through JNIKAVRIL has set other numbers"
                    + " of classes and levels for the process; open it with " + Check.MAX_CLASSES
                    + " classes and " + Check.MAX_LEVELS + " levels");
        }
        try {
            return call.run(raw);
        } catch (NoRouteToHostException e) {
            throw new NoRouteException(what.get() + ": " + why.get(), takeMessages(), e);
        } catch (AddDBException | RoutingException e) {
            List<String> trace = takeMessages();
            throw new RefusedException(what.get() + ": " + Reason.of(trace, why.get()), trace, e);
        } finally {
            takeMessages();
        }
    }

    /** The text of the session's tables. */
    synchronized String print() {
        String text = call(() -> "", () -> "", session -> Diagnostics.print(session.sessId));
        if (text == null) {
            throw new OutOfMemoryError("no memory for the text of the session's tables");
        }
        return text;
    }

    synchronized boolean isOpen() {
        return open;
    }

    /** Closes the session if it is open. */
    @Override
    public synchronized void run() {
        if (open) {
            open = false;
            raw.jnikillKavril();
        }
    }

    private List<String> takeMessages() {
        String[] messages;
        try {
            messages = Diagnostics.takeMessages(raw.sessId);
        } catch (UnsatisfiedLinkError e) {
            raw.jnikillKavril();
            throw new UnsatisfiedLinkError("the native library from " + NativeLibrary.origin()
                    + " does not go with the classes of the jar: " + e.getMessage());
        }
        return messages == null ? List.of()
                : Arrays.stream(messages).map(String::strip).collect(Collectors.toList());
    }
}
