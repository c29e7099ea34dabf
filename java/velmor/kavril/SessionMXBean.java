package velmor.kavril;

import java.util.Map;

/** What {@link Session#publish} shows over JMX; times are in microseconds. */
public interface SessionMXBean {

    /** One operation's counters and times, see {@link OperationStatistics}. */
    interface Figures {

        /**
         * How often it was called.
         *
         * @return all calls that have ended
         */
        long getCalls();

        /**
         * How often it failed.
         *
         * @return the calls that ended with an exception
         */
        long getFailures();

        /**
         * How long a call took on average.
         *
         * @return the mean
         */
        double getMean();

        /**
         * What half of the calls took at most.
         *
         * @return the median
         */
        double getMedian();

        /**
         * What 99 of 100 calls took at most.
         *
         * @return the percentile
         */
        double getPercentile99();

        /**
         * How long the longest call took.
         *
         * @return the maximum
         */
        double getMax();

        /**
         * The times of the histogram.
         *
         * @return ascending, those that calls took
         */
        double[] getBounds();

        /**
         * The counts of the histogram.
         *
         * @return for each bound, the calls that took at most that long and longer than the one before
         */
        long[] getCounts();
    }

    /**
     * The operations.
     *
     * @return what is known of each, by its name as in {@link Operation}
     */
    Map<String, Figures> getOperations();
}
