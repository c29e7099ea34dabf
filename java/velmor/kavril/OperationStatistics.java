package velmor.kavril;

import java.time.Duration;
import java.util.Arrays;
import java.util.Collections;
import java.util.Locale;
import java.util.SortedMap;
import java.util.TreeMap;

/**
 * How often an operation was called, and how long that took: from the call to its return, waiting for
 * other calls on the session included.
 */
public final class OperationStatistics {
    private static final double ALL = 100;
    private static final double NANOS_PER_MICRO = 1000;

    private final long[] buckets;
    private final long nbFailed;
    private final long totalNanos;
    private final long maxNanos;

    /** Takes the buckets of {@link Latencies} over. */
    OperationStatistics(long[] buckets, long nbFailed, long totalNanos, long maxNanos) {
        this.buckets = buckets;
        this.nbFailed = nbFailed;
        this.totalNanos = totalNanos;
        this.maxNanos = maxNanos;
    }

    /**
     * How often it was called.
     *
     * @return all calls that have ended, with success or not
     */
    public long calls() {
        return Arrays.stream(buckets).sum();
    }

    /**
     * How often it failed.
     *
     * @return the calls among them that ended with an exception
     */
    public long failures() {
        return nbFailed;
    }

    /**
     * How long all calls took.
     *
     * @return the sum of their times
     */
    public Duration total() {
        return Duration.ofNanos(totalNanos);
    }

    /**
     * How long a call took on average.
     *
     * @return the mean of their times, 0 without calls
     */
    public Duration mean() {
        return Duration.ofNanos(totalNanos / Math.max(1, calls()));
    }

    /**
     * How long the longest call took.
     *
     * @return its time, 0 without calls
     */
    public Duration max() {
        return Duration.ofNanos(maxNanos);
    }

    /**
     * How long the faster part of the calls took at most.
     *
     * @param percent how large that part is: 50 gives the median, 99 what one call in a hundred
     *     exceeds; more than 0, at most 100
     * @return the time, an eighth too high at most; 0 without calls
     */
    public Duration percentile(double percent) {
        if (!(percent > 0 && percent <= ALL)) {
            throw new IllegalArgumentException(
                    "percent is " + percent + ", must be more than 0 and at most 100");
        }
        long left = (long) Math.ceil(calls() * percent / ALL);
        for (int i = 0; i < buckets.length && left > 0; i++) {
            left -= buckets[i];
            if (left <= 0) {
                return Duration.ofNanos(Math.min(Latencies.longestIn(i), maxNanos));
            }
        }
        return Duration.ZERO;
    }

    /**
     * How the times are spread.
     *
     * @return by ascending time, how many calls took at most that long and longer than the time before
     *     it; times that no call took are left out
     */
    public SortedMap<Duration, Long> histogram() {
        SortedMap<Duration, Long> histogram = new TreeMap<>();
        for (int i = 0; i < buckets.length; i++) {
            if (buckets[i] > 0) {
                histogram.put(Duration.ofNanos(Latencies.longestIn(i)), buckets[i]);
            }
        }
        return Collections.unmodifiableSortedMap(histogram);
    }

    static double micros(Duration time) {
        return time.toNanos() / NANOS_PER_MICRO;
    }

    @Override
    public String toString() {
        return String.format(Locale.ROOT,
                "%d calls, %d failed, mean %.1f, median %.1f, 99 %% within %.1f, max %.1f us", calls(),
                nbFailed, micros(mean()), micros(percentile(50)), micros(percentile(99)),
                micros(max()));
    }
}
