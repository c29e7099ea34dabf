package operator;

/** Something came out that must not: the run is worth nothing and ends with this message. */
final class CheckFailedException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    CheckFailedException(String message) {
        super(message);
    }
}
