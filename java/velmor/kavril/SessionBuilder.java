package velmor.kavril;

import java.util.EnumMap;
import java.util.Map;

/** The configuration of a session; {@link #build} opens it. */
public final class SessionBuilder {
    private int nbClasses = 1;
    private int nbLevels = Check.MAX_LEVELS;
    private boolean capacityClause = true;
    private boolean colorClause;
    private final Map<Weight, Float> weights = new EnumMap<>(Weight.class);
    private final float[][] rerouting = new float[Check.MAX_CLASSES][Check.MAX_LEVELS];

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
     * Sets whether links are tested for forbidden colours; without effect as long as requests from
     * Java forbid none.
     *
     * @param colorClause true to test them
     * @return this builder
     */
    public SessionBuilder colorClause(boolean colorClause) {
        this.colorClause = colorClause;
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
     * Sets the price of preempted bandwidth, 0 unless it is set. The session keeps it; none of the
     * criteria uses it yet.
     *
     * @param trafficClass class, 0 to 7
     * @param level preemption level, 0 to 7
     * @param coefficient 0 or more
     * @return this builder
     */
    public SessionBuilder reroutingCoefficient(int trafficClass, int level, double coefficient) {
        rerouting[Check.range("trafficClass", trafficClass, 0, Check.MAX_CLASSES - 1)]
                [Check.range("level", level, 0, Check.MAX_LEVELS - 1)] =
                Check.amount("coefficient", coefficient);
        return this;
    }

    /**
     * Opens a session with this configuration and an empty network.
     *
     * @return the session, to be closed
     * @throws RefusedException if 128 sessions are open already
     * @throws IllegalArgumentException if a rerouting coefficient is set for a class or a level that
     *     the session has not
     * @throws UnsatisfiedLinkError if the native library cannot be loaded; it lists what was tried
     */
    public Session build() {
        for (int oa = 0; oa < Check.MAX_CLASSES; oa++) {
            for (int level = 0; level < Check.MAX_LEVELS; level++) {
                if (rerouting[oa][level] != 0) {
                    Check.range("trafficClass", oa, 0, nbClasses - 1);
                    Check.range("level", level, 0, nbLevels - 1);
                }
            }
        }
        return new Session(this);
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

    boolean hasColorClause() {
        return colorClause;
    }

    float weight(Weight criterion) {
        return weights.isEmpty() && criterion == Weight.FORTZ
                ? 1 : weights.getOrDefault(criterion, 0f);
    }

    float[][] rerouting() {
        return rerouting;
    }
}
