package velmor.repository.model.exception;

/**
 * Thrown when no path can be computed: no primary path that the network can carry, or no backup path
 * for a primary LSP.
 *
 * <p>The library throws it without a message; the reason is on the session's error stack, which
 * is printed to the standard error stream when the session is killed.
 */
public class NoRouteToHostException extends Exception {
    private static final long serialVersionUID = 1L;

    /** Creates the exception without a message. */
    public NoRouteToHostException() {
        super();
    }

    /**
     * Creates the exception with a message.
     *
     * @param message the message, or null for none
     */
    public NoRouteToHostException(String message) {
        super(message);
    }
}
