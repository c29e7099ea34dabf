package velmor.kavril;

import java.util.List;

/** What came of a batch of requests. */
public final class BatchResult {
    private final List<PlaceResult> results;
    private final List<Request> left;

    BatchResult(List<PlaceResult> results, List<Request> left) {
        this.results = List.copyOf(results);
        this.left = List.copyOf(left);
    }

    /**
     * The requests that were tried.
     *
     * @return what came of each, in the order they were tried in
     */
    public List<PlaceResult> results() {
        return results;
    }

    /**
     * The requests that were not tried since the listener did not want to go on.
     *
     * @return these requests, in order
     */
    public List<Request> left() {
        return left;
    }

    /**
     * How many requests were placed. One of them may have had to give way to a later one.
     *
     * @return the number
     */
    public int nbPlaced() {
        return (int) results.stream().filter(PlaceResult::isPlaced).count();
    }

    @Override
    public String toString() {
        return nbPlaced() + " placed, " + (results.size() - nbPlaced()) + " refused, " + left.size()
                + " not tried";
    }
}
