package velmor.kavril.internal;

import java.io.File;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.InvalidPathException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;

/** Finds and loads the native library, once per class loader; the module's page tells the order. */
public final class NativeLibrary {
    /** System property: the library's file. If set, nothing else is tried. */
    public static final String FILE_PROPERTY = "velmor.kavril.library";

    /** System property: the directory under which the library in the jar is extracted. */
    public static final String DIRECTORY_PROPERTY = "velmor.kavril.directory";

    private static final String NAME = "kavril";

    private static volatile String origin;

    private NativeLibrary() {
    }

    /**
     * Loads the library, unless it is loaded already.
     *
     * @throws UnsatisfiedLinkError if there is none that can be loaded; it lists what was tried. The
     *     next call tries again
     */
    public static void load() {
        if (origin == null) {
            loadFirst();
        }
    }

    /**
     * Where the library came from.
     *
     * @return a file, or the words java.library.path; null before it is loaded
     */
    public static String origin() {
        return origin;
    }

    /**
     * The folder of the jar's library for this machine.
     *
     * @return operating system and processor, as linux-x86_64
     */
    static String platform() {
        String system = System.getProperty("os.name").toLowerCase(Locale.ROOT);
        String processor = System.getProperty("os.arch").toLowerCase(Locale.ROOT);
        return (system.startsWith("windows") ? "windows"
                : system.startsWith("mac") ? "macos" : system.replaceAll("[^a-z0-9]", ""))
                + "-" + (processor.equals("amd64") || processor.equals("x64") ? "x86_64" : processor);
    }

    /** Whether only another class loader of this virtual machine stands in the way. */
    static boolean isLoadedElsewhere(UnsatisfiedLinkError e) {
        return String.valueOf(e.getMessage()).contains("already loaded in another");
    }

    private static synchronized void loadFirst() {
        if (origin != null) {
            return;
        }
        String file = System.getProperty(FILE_PROPERTY);
        List<String> failures = new ArrayList<>();
        String found = file != null ? loadNamed(file, failures) : loadFromPath(failures);
        if (found == null && file == null) {
            found = loadBundled(failures);
        }
        if (found == null) {
            throw failure(failures);
        }
        origin = found;
    }

    private static UnsatisfiedLinkError failure(List<String> failures) {
        StringBuilder text = new StringBuilder("cannot load the native library of KAVRIL on ")
                .append(platform()).append("; tried");
        for (int i = 0; i < failures.size(); i++) {
            text.append("\n  ").append(i + 1).append(". ").append(failures.get(i));
        }
        return new UnsatisfiedLinkError(text.toString());
    }

    private static String loadNamed(String name, List<String> failures) {
        String what = "the system property " + FILE_PROPERTY + ", '" + name + "': ";
        try {
            Path file = Path.of(name).toAbsolutePath();
            if (Files.isRegularFile(file)) {
                return loadFile(file);
            }
            failures.add(what + (Files.exists(file) ? "not a file" : "there is no such file")
                    + "; nothing else is tried while the property is set");
        } catch (InvalidPathException | IOException | UnsatisfiedLinkError e) {
            failures.add(what + reason(e) + "; nothing else is tried while the property is set");
        }
        return null;
    }

    private static String loadFromPath(List<String> failures) {
        try {
            try {
                System.loadLibrary(NAME);
                return "java.library.path";
            } catch (UnsatisfiedLinkError e) {
                Path file = isLoadedElsewhere(e) ? findOnPath() : null;
                if (file == null) {
                    throw e;
                }
                return loadFile(file);
            }
        } catch (InvalidPathException | IOException | UnsatisfiedLinkError e) {
            failures.add("java.library.path: " + reason(e));
            return null;
        }
    }

    private static Path findOnPath() {
        for (String folder : System.getProperty("java.library.path", "")
                .split(File.pathSeparator)) {
            Path file = Path.of(folder, System.mapLibraryName(NAME)).toAbsolutePath();
            if (Files.isRegularFile(file)) {
                return file;
            }
        }
        return null;
    }

    /** Loads the file itself, or a copy if another class loader has it. */
    private static String loadFile(Path file) throws IOException {
        try {
            System.load(file.toString());
            return file.toString();
        } catch (UnsatisfiedLinkError e) {
            if (!isLoadedElsewhere(e)) {
                throw e;
            }
            return LibraryCopy.load(Files.readAllBytes(file));
        }
    }

    private static String loadBundled(List<String> failures) {
        String resource = "/velmor/kavril/native/" + platform() + "/" + System.mapLibraryName(NAME);
        String what = "the copy in the jar, " + resource + ": ";
        try (InputStream stream = NativeLibrary.class.getResourceAsStream(resource)) {
            if (stream == null) {
                failures.add(what + "the jar has none for this platform");
                return null;
            }
            return LibraryCopy.load(stream.readAllBytes());
        } catch (InvalidPathException | IOException | UnsatisfiedLinkError e) {
            failures.add(what + reason(e) + "; the system property " + DIRECTORY_PROPERTY
                    + " chooses the directory for it, which must allow to write and to execute");
            return null;
        }
    }

    private static String reason(Throwable e) {
        return e instanceof IOException ? e.toString() : e.getMessage();
    }
}
