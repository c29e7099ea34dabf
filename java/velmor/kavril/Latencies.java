package velmor.kavril;

/**
 * A histogram of times that is written by many threads. Buckets are an eighth of a power of two wide, so
 * that what it tells is at most that much too high.
 */
final class Latencies {
    private static final int STEP_BITS = 3;
    private static final int STEPS = 1 << STEP_BITS;
    private static final int MAX_BITS = 44;  // five hours; what takes longer counts as that
    private static final int NB_BUCKETS = (MAX_BITS - STEP_BITS + 1) * STEPS;
    private static final long MAX_NANOS = (1L << MAX_BITS) - 1;

    private final long[] buckets = new long[NB_BUCKETS];
    private long nbFailed;
    private long totalNanos;
    private long maxNanos;

    synchronized void add(long nanos, boolean failed) {
        buckets[bucketOf(Math.max(0, Math.min(nanos, MAX_NANOS)))]++;
        nbFailed += failed ? 1 : 0;
        totalNanos += nanos;
        maxNanos = Math.max(maxNanos, nanos);
    }

    synchronized OperationStatistics figures() {
        return new OperationStatistics(buckets.clone(), nbFailed, totalNanos, maxNanos);
    }

    /** Times below 8 have a bucket each; of the others the highest four bits choose it. */
    static int bucketOf(long nanos) {
        int shift = Math.max(0, Long.SIZE - Long.numberOfLeadingZeros(nanos) - STEP_BITS - 1);
        return shift * STEPS + (int) (nanos >> shift);
    }

    /** The longest time that a bucket counts. */
    static long longestIn(int bucket) {
        int shift = Math.max(0, bucket / STEPS - 1);
        return ((bucket - shift * STEPS + 1L) << shift) - 1;
    }
}
