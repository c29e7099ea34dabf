package velmor.kavril.internal;

/**
 * Native methods that copy sessions and keep them in files. The library registers them when the first
 * session is opened. Each takes the number of an open session, and leaves messages on its error stack
 * if it fails.
 */
public final class Storage {

    private Storage() {
    }

    /**
     * Opens a session that does what this one would.
     *
     * @param sessId the session
     * @return the number of the copy; -1, with messages on the stack of a session that could not be
     *     opened, if there is none
     */
    public static native int copy(int sessId);

    /**
     * Saves a session to a file, whole or not at all.
     *
     * @param sessId the session
     * @param path the file, in the system's bytes
     * @param nbClasses number of classes that the session's user has
     * @param nbLevels number of levels
     * @return whether it is saved
     */
    public static native boolean save(int sessId, byte[] path, int nbClasses, int nbLevels);

    /**
     * Makes a session what was saved to a file.
     *
     * @param sessId the session
     * @param path the file
     * @param numbers gets the numbers of classes and levels it was saved with
     * @return whether it is loaded; if not, the session is what it was
     */
    public static native boolean load(int sessId, byte[] path, int[] numbers);

    /**
     * Makes a session what a journal holds, or begins a journal with what it is. Changes are written
     * there from now on, by {@link #commit}, until the session is killed.
     *
     * @param sessId the session
     * @param path the journal
     * @param waits whether {@link #commit} waits until the changes are on the disk
     * @param numbers the numbers of classes and levels that the session's user has; gets those of
     *     the journal
     * @return whether the session has the journal; if not, it can only be killed
     */
    public static native boolean journal(int sessId, byte[] path, boolean waits, int[] numbers);

    /**
     * Writes what the session has changed to its journal. It does nothing if there is none.
     *
     * @param sessId the session
     * @return whether it is written; if not, it will be tried again with the next changes
     */
    public static native boolean commit(int sessId);

    /**
     * Waits until what was written to the session's journal is on the disk.
     *
     * @param sessId the session
     * @return whether it is
     */
    public static native boolean flush(int sessId);
}
