package velmor.kavril;

/** Hears how far a batch has come. */
@FunctionalInterface
public interface BatchListener {
    /**
     * A request has been placed or refused.
     *
     * @param done how many requests have been by now
     * @param total how many there are
     * @param last what came of this one
     * @return whether to go on; false leaves the rest alone
     */
    boolean done(int done, int total, PlaceResult last);
}
