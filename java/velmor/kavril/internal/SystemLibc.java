package velmor.kavril.internal;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.InvalidPathException;
import java.nio.file.Path;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** The C library that this process runs with, found among the files that it has in memory. */
final class SystemLibc {
    /** What the name of a GNU library begins with; its version follows. */
    static final String GLIBC = "glibc ";

    private static final Path MAPS = Path.of("/proc/self/maps");
    // libc.so.6, before glibc 2.34 also libc-2.31.so
    private static final Pattern GLIBC_FILE = Pattern.compile(" (/.*/libc(?:\\.so\\.6|-[0-9.]+\\.so))\n");
    private static final Pattern GLIBC_VERSION =
            Pattern.compile("GNU C Library [^\0]*?release version ([0-9]+(?:\\.[0-9]+)+)");
    private static final Pattern MUSL_FILE = Pattern.compile("/(?:ld-musl-|libc\\.musl-)[^/\n]*\n");

    private SystemLibc() {
    }

    /**
     * Names it.
     *
     * @return as "glibc 2.36" or "musl"; null if it cannot be told
     */
    static String name() {
        try {
            // readAllBytes, as the file claims to be empty.
            String maps = LibraryFile.text(Files.readAllBytes(MAPS));
            if (MUSL_FILE.matcher(maps).find()) {
                return "musl";
            }
            Matcher file = GLIBC_FILE.matcher(maps);
            if (!file.find()) {
                return null;
            }
            Matcher version = GLIBC_VERSION.matcher(
                    LibraryFile.text(Files.readAllBytes(Path.of(file.group(1)))));
            return version.find() ? GLIBC + version.group(1) : null;
        } catch (IOException | InvalidPathException e) {
            return null;
        }
    }
}
