package velmor.kavril;

import java.util.Arrays;

/**
 * A link as it was when the session was asked. Bandwidths are in the caller's unit, and each class has
 * its own.
 */
public final class Link {
    private final int id;
    private final int source;
    private final int destination;
    private final int color;
    private final double[] capacity;
    private final double[][] primary;
    private final double[][] reserved;

    /** Tables have a row for each class of the session, of 8 levels; they are taken over. */
    Link(int id, int source, int destination, int color, double[] capacity, double[][] primary,
            double[][] reserved) {
        this.id = id;
        this.source = source;
        this.destination = destination;
        this.color = color;
        this.capacity = capacity;
        this.primary = primary;
        this.reserved = reserved;
    }

    /**
     * Its id.
     *
     * @return the link id
     */
    public int id() {
        return id;
    }

    /**
     * The node it leaves.
     *
     * @return the node id
     */
    public int source() {
        return source;
    }

    /**
     * The node it enters.
     *
     * @return the node id
     */
    public int destination() {
        return destination;
    }

    /**
     * Its colour, by which requests may avoid it.
     *
     * @return the colour, 0 unless it has another
     */
    public int color() {
        return color;
    }

    /**
     * How many classes it has.
     *
     * @return the number of classes of its session
     */
    public int nbClasses() {
        return capacity.length;
    }

    /**
     * The capacity.
     *
     * @param trafficClass a class of the session
     * @return the bandwidth, 0 or more
     */
    public double capacity(int trafficClass) {
        return capacity[checkClass(trafficClass)];
    }

    /**
     * What the primaries that cross the link have.
     *
     * @param trafficClass a class of the session
     * @return the bandwidth of all levels
     */
    public double primary(int trafficClass) {
        return sum(primary[checkClass(trafficClass)], Check.MAX_LEVELS - 1);
    }

    /**
     * What the primaries of one level have.
     *
     * @param trafficClass a class of the session
     * @param level a preemption level, 0 to 7
     * @return the bandwidth of that level alone
     */
    public double primary(int trafficClass, int level) {
        return primary[checkClass(trafficClass)][checkLevel(level)];
    }

    /**
     * What is held for backups: what the worst single failure brings.
     *
     * @param trafficClass a class of the session
     * @return the bandwidth of all levels
     */
    public double reservedForBackups(int trafficClass) {
        return Math.max(0, reserved(trafficClass) - primary(trafficClass));
    }

    /**
     * What is reserved in all, for primaries and backups.
     *
     * @param trafficClass a class of the session
     * @return the bandwidth of all levels
     */
    public double reserved(int trafficClass) {
        return sum(reserved[checkClass(trafficClass)], Check.MAX_LEVELS - 1);
    }

    /**
     * What one level adds to the reservation: its primaries, and what its backups need beyond those of
     * the more important levels. That may be less than nothing.
     *
     * @param trafficClass a class of the session
     * @param level a preemption level, 0 to 7
     * @return the bandwidth of that level alone
     */
    public double reserved(int trafficClass, int level) {
        return reserved[checkClass(trafficClass)][checkLevel(level)];
    }

    /**
     * What is not reserved: room for a primary if nothing gives way. Where backups share with it, a
     * primary or a backup may need less than it has.
     *
     * @param trafficClass a class of the session
     * @return the bandwidth, below 0 on a link that is overbooked
     */
    public double free(int trafficClass) {
        return free(trafficClass, Check.MAX_LEVELS - 1);
    }

    /**
     * What is free at a level, that is, if all LSPs of greater level give way.
     *
     * @param trafficClass a class of the session
     * @param level a preemption level, 0 to 7
     * @return the bandwidth, below 0 on a link that is overbooked
     */
    public double free(int trafficClass, int level) {
        return capacity(trafficClass) - sum(reserved[trafficClass], checkLevel(level));
    }

    /**
     * The part of the capacity that primaries have. Criteria of path searches look at this.
     *
     * @param trafficClass a class of the session
     * @return from 0 on, 1 for all of it; 0 without capacity and load, infinite without capacity alone
     */
    public double utilisation(int trafficClass) {
        double load = primary(trafficClass);
        return load == 0 ? 0 : load / capacity(trafficClass);
    }

    private int checkClass(int trafficClass) {
        return Check.range("trafficClass", trafficClass, 0, capacity.length - 1);
    }

    private static int checkLevel(int level) {
        return Check.range("level", level, 0, Check.MAX_LEVELS - 1);
    }

    /** Of the levels up to one, in the order in which the library adds them up. */
    private static double sum(double[] levels, int upTo) {
        double sum = 0;
        for (int level = 0; level <= upTo; level++) {
            sum += levels[level];
        }
        return sum;
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof Link && ((Link) other).id == id && ((Link) other).source == source
                && ((Link) other).destination == destination && ((Link) other).color == color
                && Arrays.equals(((Link) other).capacity, capacity)
                && Arrays.deepEquals(((Link) other).primary, primary)
                && Arrays.deepEquals(((Link) other).reserved, reserved);
    }

    @Override
    public int hashCode() {
        return Arrays.hashCode(new int[] {id, source, destination, Arrays.hashCode(capacity),
                Arrays.deepHashCode(reserved)});
    }

    @Override
    public String toString() {
        StringBuilder text = new StringBuilder("link " + id + " (" + source + " > " + destination + ")");
        for (int oa = 0; oa < capacity.length; oa++) {
            text.append(oa == 0 ? ": " : "; ").append(primary(oa)).append(" for primaries and ")
                    .append(reservedForBackups(oa)).append(" for backups of ").append(capacity[oa]);
        }
        return text.toString();
    }
}
