package velmor.kavril;

/** An LSP that was up and finds no place again. */
public final class Refusal {
    private final Lsp lsp;
    private final String reason;

    Refusal(Lsp lsp, String reason) {
        this.lsp = lsp;
        this.reason = reason;
    }

    /**
     * The LSP, primary or backup.
     *
     * @return what it was while it was up
     */
    public Lsp lsp() {
        return lsp;
    }

    /**
     * Why it has no place.
     *
     * @return a sentence
     */
    public String reason() {
        return reason;
    }

    @Override
    public String toString() {
        return lsp + ": " + reason;
    }
}
