package velmor.kavril.internal;

/**
 * Native methods that open sessions which have nothing in common with those of
 * {@link velmor.repository.KAVRIL.JNIKAVRIL}. The library registers them when its first session is
 * opened, even if that is refused.
 */
public final class Sessions {

    private Sessions() {
    }

    /**
     * Opens a session with 8 classes and 8 levels and an empty network, whatever the numbers of classes
     * and levels of the process are; those stay.
     *
     * @param capacityClause whether links are tested for capacity
     * @param weights of the criteria, in the order of {@code jniinitKavril}
     * @param quiet whether what its calls print is left for {@link #takeOutput}
     * @return its number; -1, with messages on the stack of a session that could not be opened, if
     *     there is none
     */
    public static native int open(boolean capacityClause, float[] weights, boolean quiet);

    /**
     * What the thread's last call would have printed, if that was on a quiet session.
     *
     * @return pieces of text, each with an {@code o} or {@code e} for the stream before it and a 0
     *     behind it; null if there is none
     */
    public static native byte[] takeOutput();
}
