package velmor.repository.KAVRIL;

import java.util.ArrayList;
import java.util.List;

/** Lines of the printed error stack, by the source that they name. */
final class Messages {

    private Messages() {
    }

    static String jni(String message) {
        return critical(message, "jni_interface.c");
    }

    static String common(String message) {
        return critical(message, "common/common.c");
    }

    static String db(String message) {
        return critical(message, "database/database.c");
    }

    static String dbUtil(String message) {
        return critical(message, "database/database_util.c");
    }

    static String primaryPath(String message) {
        return critical(message, "computation/primary/primaryPath.c");
    }

    static String backup(String message) {
        return critical(message, "computation/backup/backup.c");
    }

    static String predicate(String message) {
        return critical(message, "predicate/predicate.c");
    }

    static String rerouting(String message) {
        return critical(message, "rerouting/rerouting.c");
    }

    private static String critical(String message, String source) {
        return "[CRITICAL] " + message + " in " + source + " at line N";
    }

    /** All lines of the parts, each a line, a list of lines or a printout. */
    static List<String> lines(Object... parts) {
        List<String> lines = new ArrayList<>();
        for (Object part : parts) {
            if (part instanceof String) {
                lines.add((String) part);
            } else if (part instanceof Printout) {
                lines.addAll(((Printout) part).lines());
            } else {
                ((List<?>) part).forEach(line -> lines.add((String) line));
            }
        }
        return lines;
    }
}
