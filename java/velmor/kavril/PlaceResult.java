package velmor.kavril;

import java.util.Optional;

/** What came of placing an LSP. */
public final class PlaceResult {
    private final Request request;
    private final Lsp placed;
    private final String reason;
    private final Restoration restoration;

    PlaceResult(Request request, Lsp placed, String reason, Restoration restoration) {
        this.request = request;
        this.placed = placed;
        this.reason = reason;
        this.restoration = restoration;
    }

    /**
     * What was asked for.
     *
     * @return the request
     */
    public Request request() {
        return request;
    }

    /**
     * Whether the LSP is placed.
     *
     * @return true if it is up
     */
    public boolean isPlaced() {
        return placed != null;
    }

    /**
     * The LSP that was placed.
     *
     * @return the LSP, empty if it was refused
     */
    public Optional<Lsp> placed() {
        return Optional.ofNullable(placed);
    }

    /**
     * Why the LSP is not placed. Nothing has changed then.
     *
     * @return a sentence, empty if it was placed
     */
    public Optional<String> refusal() {
        return Optional.ofNullable(reason);
    }

    /**
     * Who had to give way, and what came of placing those again.
     *
     * @return nothing without {@link PlaceOption#PREEMPT}
     */
    public Restoration restoration() {
        return restoration;
    }

    @Override
    public String toString() {
        return placed == null ? reason : "placed " + placed + "; " + restoration;
    }
}
