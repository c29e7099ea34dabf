package velmor.kavril;

import java.util.Objects;

/** What an LSP carries: a bandwidth in one class, and how important it is. */
public final class Traffic {
    private final float bandwidth;
    private final int trafficClass;
    private final int level;

    /** For a class and a level that there are. */
    Traffic(float bandwidth, int trafficClass, int level) {
        this.bandwidth = bandwidth;
        this.trafficClass = trafficClass;
        this.level = level;
    }

    /**
     * Traffic of class 0 and level 0.
     *
     * @param bandwidth the bandwidth, 0 or more
     * @return the traffic
     */
    public static Traffic of(double bandwidth) {
        return new Traffic(Check.amount("bandwidth", bandwidth), 0, 0);
    }

    /**
     * The same traffic in another class.
     *
     * @param trafficClass the class, 0 to 7
     * @return the traffic
     */
    public Traffic inClass(int trafficClass) {
        return new Traffic(bandwidth,
                Check.range("trafficClass", trafficClass, 0, Check.MAX_CLASSES - 1), level);
    }

    /**
     * The same traffic at another preemption level.
     *
     * @param level the level, 0 (the most important) to 7
     * @return the traffic
     */
    public Traffic atLevel(int level) {
        return new Traffic(bandwidth, trafficClass,
                Check.range("level", level, 0, Check.MAX_LEVELS - 1));
    }

    /**
     * The bandwidth.
     *
     * @return the bandwidth
     */
    public double bandwidth() {
        return bandwidth;
    }

    /**
     * The class.
     *
     * @return 0 to 7
     */
    public int trafficClass() {
        return trafficClass;
    }

    /**
     * The preemption level.
     *
     * @return 0 (the most important) to 7
     */
    public int level() {
        return level;
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof Traffic && ((Traffic) other).bandwidth == bandwidth
                && ((Traffic) other).trafficClass == trafficClass
                && ((Traffic) other).level == level;
    }

    @Override
    public int hashCode() {
        return Objects.hash(bandwidth, trafficClass, level);
    }

    @Override
    public String toString() {
        return bandwidth + " in class " + trafficClass + " at level " + level;
    }
}
