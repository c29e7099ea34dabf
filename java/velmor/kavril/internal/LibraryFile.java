package velmor.kavril.internal;

import java.io.IOException;
import java.io.InputStream;
import java.lang.module.ModuleDescriptor.Version;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Comparator;
import java.util.regex.Pattern;

/** What the content of a library tells before it is loaded. */
final class LibraryFile {
    /** Beside the libraries in the jar; classes without a jar have none, and take every library. */
    private static final String JAR_VERSION = "/velmor/kavril/native/version";

    // Of the mark that the native side puts into the file, and of the symbols that it needs.
    private static final Pattern VERSION = Pattern.compile("KAVRIL library ([0-9.]+)\0");
    private static final Pattern GLIBC = Pattern.compile("GLIBC_([0-9]+(?:\\.[0-9]+)+)\0");

    private LibraryFile() {
    }

    /** Refuses a library of another version than the jar's, which may not go with its classes. */
    static void checkVersion(Path file) throws IOException {
        String expected = jarVersion();
        if (expected == null) {
            return;
        }
        String found = VERSION.matcher(text(Files.readAllBytes(file))).results()
                .map(match -> match.group(1)).findFirst().orElse(null);
        if (!expected.equals(found)) {
            throw new UnsatisfiedLinkError(file + (found == null ? " is no library of KAVRIL "
                    + expected : " is the library of KAVRIL " + found + ", the jar is " + expected));
        }
    }

    /**
     * Why this system's C library cannot run the library with this content, which failed to load.
     *
     * @return the reason; null if it is another one
     */
    static String unmetNeed(byte[] content) {
        Version needed = GLIBC.matcher(text(content)).results()
                .map(match -> Version.parse(match.group(1))).max(Comparator.naturalOrder())
                .orElse(null);
        String libc = SystemLibc.name();
        if (needed == null || libc == null) {
            return null;
        }
        boolean isMet = libc.startsWith(SystemLibc.GLIBC)
                && Version.parse(libc.substring(SystemLibc.GLIBC.length())).compareTo(needed) >= 0;
        return isMet ? null : "needs glibc " + needed + ", this system has " + libc;
    }

    private static String jarVersion() throws IOException {
        try (InputStream stream = LibraryFile.class.getResourceAsStream(JAR_VERSION)) {
            return stream == null ? null : text(stream.readAllBytes()).strip();
        }
    }

    /** A character a byte. */
    static String text(byte[] content) {
        return new String(content, StandardCharsets.ISO_8859_1);
    }
}
