package velmor.repository.model.exception;

/**
 * Thrown when the LSPs that a computed primary path would preempt cannot be determined.
 *
 * <p>The library throws it without a message; the reason is on the session's error stack, which
 * is printed to the standard error stream when the session is killed.
 */
public class RoutingException extends Exception {
    private static final long serialVersionUID = 1L;

    /** Creates the exception without a message. */
    public RoutingException() {
        super();
    }

    /**
     * Creates the exception with a message.
     *
     * @param message the message, or null for none
     */
    public RoutingException(String message) {
        super(message);
    }
}
