package velmor.kavril;

import java.io.UncheckedIOException;
import java.nio.file.Path;
import java.time.Duration;
import java.util.EnumMap;
import java.util.Map;

/** The configuration of a session; {@link #build} opens it. */
public final class SessionBuilder {
    private int nbClasses = 1;
    private int nbLevels = Check.MAX_LEVELS;
    private boolean capacityClause = true;
    private boolean printing = Output.isPrinted();
    private final Map<Weight, Float> weights = new EnumMap<>(Weight.class);
    private Path journal;
    private long flushMillis;

    SessionBuilder() {
    }

    /**
     * Sets the number of classes, 1 unless it is set.
     *
     * @param nbClasses 1 to 8
     * @return this builder
     */
    public SessionBuilder classes(int nbClasses) {
        this.nbClasses = Check.range("nbClasses", nbClasses, 1, Check.MAX_CLASSES);
        return this;
    }

    /**
     * Sets the number of preemption levels, 8 unless it is set.
     *
     * @param nbLevels 1 to 8
     * @return this builder
     */
    public SessionBuilder levels(int nbLevels) {
        this.nbLevels = Check.range("nbLevels", nbLevels, 1, Check.MAX_LEVELS);
        return this;
    }

    /**
     * Sets whether links are tested for capacity; they are unless it is set.
     *
     * @param capacityClause false to let links carry any load
     * @return this builder
     */
    public SessionBuilder capacityClause(boolean capacityClause) {
        this.capacityClause = capacityClause;
        return this;
    }

    /**
     * Sets whether the library prints its remarks on the standard output and error streams, as it does
     * for {@link velmor.repository.KAVRIL.JNIKAVRIL}: that no backup was found, or one of lesser kind.
     * Unless it is set, it does so if the system property {@code velmor.kavril.print} is {@code true};
     * otherwise the remarks go to the {@link System.Logger} with the name {@code velmor.kavril}, level
     * {@code DEBUG}, each with the LSP that it is about; and with level {@code WARNING} what is wrong when
     * a session is closed, as a journal that cannot be written.
     *
     * @param printing true to print them
     * @return this builder
     */
    public SessionBuilder printing(boolean printing) {
        this.printing = printing;
        return this;
    }

    /**
     * Sets the weight of a criterion. Criteria that are not set do not count; if none is set,
     * {@link Weight#FORTZ} has weight 1.
     *
     * @param criterion the criterion
     * @param weight 0 or more
     * @return this builder
     */
    public SessionBuilder weight(Weight criterion, double weight) {
        weights.put(Check.given("criterion", criterion), Check.amount("weight", weight));
        return this;
    }

    /**
     * Has the session keep a journal: every method that changes it returns once the change is on the
     * disk. Whenever and however the process ends, a session built with the same path is what this one
     * was after the last method that has returned, or after the one that was at work.
     *
     * <p>If there is a journal at the path, {@link #build} opens the session that is in it, with the
     * configuration it had; what is set here then does not count. Journals are kept by the system's
     * SQLite, on Debian the package libsqlite3-0. Beside the journal lies a file with {@code -wal}
     * behind its name, which belongs to it.
     *
     * @param path the journal's file, which only one session may have
     * @return this builder
     */
    public SessionBuilder journal(Path path) {
        return journal(path, Duration.ZERO);
    }

    /**
     * The same, but methods do not wait for the disk: a change is there after a while. A crash of the
     * process loses nothing even so; one of the machine loses what was changed in that time.
     *
     * @param path the journal's file
     * @param flushEvery how long a change may take to the disk, a millisecond at least; 0 to wait for
     *     the disk
     * @return this builder
     */
    public SessionBuilder journal(Path path, Duration flushEvery) {
        journal = Check.given("path", path);
        if (Check.given("flushEvery", flushEvery).isNegative()
                || !flushEvery.isZero() && flushEvery.toMillis() == 0) {
            throw new IllegalArgumentException(
                    "flushEvery is " + flushEvery + ", must be 0 or a millisecond at least");
        }
        flushMillis = flushEvery.toMillis();
        return this;
    }

    /**
     * Opens a session with this configuration and an empty network, or the one that is in the journal.
     *
     * @return the session, to be closed
     * @throws RefusedException if 128 sessions are open already
     * @throws UncheckedIOException if the journal cannot be read or written, is in use by another
     *     session or process, or is none, or there is no SQLite; the message says which
     * @throws UnsatisfiedLinkError if the native library cannot be loaded; it lists what was tried
     */
    public Session build() {
        return Session.open(this);
    }

    /** The journal, null for none. */
    Path journal() {
        return journal;
    }

    /** How often it is flushed; 0 for every change. */
    long flushMillis() {
        return flushMillis;
    }

    int nbClasses() {
        return nbClasses;
    }

    int nbLevels() {
        return nbLevels;
    }

    boolean hasCapacityClause() {
        return capacityClause;
    }

    boolean isPrinting() {
        return printing;
    }

    /** In the order of {@code jniinitKavril}. */
    float[] weights() {
        return new float[] {weight(Weight.LOAD_BALANCE), weight(Weight.LOAD),
            weight(Weight.SQUARED_LOAD), weight(Weight.RELATIVE_LOAD),
            weight(Weight.SQUARED_RELATIVE_LOAD), weight(Weight.DELAY), weight(Weight.FORTZ)};
    }

    private float weight(Weight criterion) {
        return weights.isEmpty() && criterion == Weight.FORTZ
                ? 1 : weights.getOrDefault(criterion, 0f);
    }
}
