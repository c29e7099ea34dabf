package velmor.kavril;

import java.util.List;

/** The network cannot do what was asked for; the message says what, and why. */
public class KavrilException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /** The library's messages. */
    private final transient List<String> trace;

    /**
     * Creates the exception.
     *
     * @param message what was asked for, and why it cannot be
     * @param trace the library's messages, newest first
     * @param cause the exception of the native method, null if none was called
     */
    KavrilException(String message, List<String> trace, Throwable cause) {
        super(message, cause);
        this.trace = List.copyOf(trace);
    }

    /**
     * The messages that the library left on its error stack, for its developers.
     *
     * @return the messages, newest first; empty if the library was not asked
     */
    public List<String> trace() {
        return trace == null ? List.of() : trace;
    }
}
