package velmor.kavril;

import java.util.Collections;
import java.util.EnumMap;
import java.util.Map;

/** Counts and times the operations of one session. */
final class Statistics {
    private static final OperationStatistics NONE = new Latencies().figures();

    private final Map<Operation, Latencies> latencies = new EnumMap<>(Operation.class);

    private synchronized Latencies of(Operation operation) {
        return latencies.computeIfAbsent(operation, key -> new Latencies());
    }

    void add(Operation operation, long nanos, boolean failed) {
        of(operation).add(nanos, failed);
    }

    synchronized Map<Operation, OperationStatistics> figures() {
        Map<Operation, OperationStatistics> figures = new EnumMap<>(Operation.class);
        for (Operation operation : Operation.values()) {
            Latencies made = latencies.get(operation);
            figures.put(operation, made == null ? NONE : made.figures());
        }
        return Collections.unmodifiableMap(figures);
    }
}
