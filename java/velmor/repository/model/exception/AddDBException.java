package velmor.repository.model.exception;

/**
 * Thrown when a change of a session's network database fails: a node, link or LSP that cannot be
 * added or removed.
 *
 * <p>The library throws it without a message; the reason is on the session's error stack, which
 * is printed to the standard error stream when the session is killed.
 */
public class AddDBException extends Exception {
    private static final long serialVersionUID = 1L;

    /** Creates the exception without a message. */
    public AddDBException() {
        super();
    }

    /**
     * Creates the exception with a message.
     *
     * @param message the message, or null for none
     */
    public AddDBException(String message) {
        super(message);
    }
}
