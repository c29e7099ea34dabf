package velmor.kavril;

import java.nio.charset.StandardCharsets;
import java.util.function.Supplier;
import velmor.kavril.internal.Sessions;

/** What the library has to say beside its results: for a logger, unless a session prints. */
final class Output {
    private static final String PRINT_PROPERTY = "velmor.kavril.print";
    private static final System.Logger LOGGER = System.getLogger("velmor.kavril");

    private Output() {
    }

    /** Whether sessions print unless they are built otherwise. */
    static boolean isPrinted() {
        return Boolean.getBoolean(PRINT_PROPERTY);
    }

    /** Logs what this thread's last call has left. A failure is told by its exception, too. */
    static void log(Supplier<String> about) {
        log(System.Logger.Level.DEBUG, about);
    }

    /** Logs what a session leaves that is closed: messages that nobody has got. */
    static void logLast() {
        log(System.Logger.Level.WARNING, () -> "a session that was closed");
    }

    private static void log(System.Logger.Level level, Supplier<String> about) {
        byte[] pieces = Sessions.takeOutput();
        if (pieces == null || !LOGGER.isLoggable(level)) {
            return;
        }
        // The first character tells the stream.
        for (String piece : new String(pieces, StandardCharsets.ISO_8859_1).split("\0")) {
            LOGGER.log(level, about.get() + ": " + piece.substring(1).strip());
        }
    }
}
