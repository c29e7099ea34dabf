package velmor.kavril.internal;

/**
 * Native methods beside those of {@link velmor.repository.KAVRIL.JNIKAVRIL}. The library exports none
 * of them; it registers them when the first session is opened.
 */
public final class Diagnostics {

    private Diagnostics() {
    }

    /**
     * Empties the error stack of a session.
     *
     * @param sessId number of an open session, or -1 for the stack of a session that could not be
     *     opened just now
     * @return the messages that were on it, newest first; null if there were none
     */
    public static native String[] takeMessages(int sessId);

    /**
     * What {@code jniprintKavrilDB} prints.
     *
     * @param sessId number of an open session
     * @return the text; null if there is no memory for it
     */
    public static native String print(int sessId);
}
