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
import java.util.stream.Collectors;

/** Finds and loads the native library, once per class loader; the module's page tells the order. */
public final class NativeLibrary {
    /** System property: the library's file. If set, nothing else is tried. */
    public static final String FILE_PROPERTY = "velmor.kavril.library";

    /** System property: the directory under which the library in the jar is extracted. */
    public static final String DIRECTORY_PROPERTY = "velmor.kavril.directory";

    private static final String NAME = "kavril";

    /** Those that a jar may have a library for, if it was built with all compilers. */
    private static final List<String> PLATFORMS = List.of("linux-x86_64", "linux-aarch64");

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
        try {
            String found = file != null ? loadNamed(file, failures) : loadFromPath(failures);
            if (found == null && file == null) {
                found = loadBundled(failures);
            }
            if (found == null) {
                throw failure("; tried", failures);
            }
            origin = found;
        } catch (IllegalCallerException e) {
            // Java 24 and later, with --illegal-native-access=deny or whatever becomes its default.
            Module module = NativeLibrary.class.getModule();
            throw failure(": the virtual machine forbids native access; start it with"
                    + " --enable-native-access="
                    + (module.isNamed() ? module.getName() : "ALL-UNNAMED"), List.of());
        }
    }

    private static UnsatisfiedLinkError failure(String why, List<String> failures) {
        StringBuilder text = new StringBuilder("cannot load the native library of KAVRIL on ")
                .append(platform()).append(why);
        for (int i = 0; i < failures.size(); i++) {
            text.append("\n  ").append(i + 1).append(". ").append(failures.get(i));
        }
        return new UnsatisfiedLinkError(text.toString());
    }

    private static String loadNamed(String name, List<String> failures) {
        String what = "the system property " + FILE_PROPERTY + ", '" + name + "': ";
        String end = "; nothing else is tried while the property is set";
        Path file = null;
        try {
            file = Path.of(name).toAbsolutePath();
            if (Files.isRegularFile(file)) {
                LibraryFile.checkVersion(file);
                return loadFile(file);
            }
            failures.add(what + (Files.exists(file) ? "not a file" : "there is no such file") + end);
        } catch (InvalidPathException | IOException | UnsatisfiedLinkError e) {
            failures.add(what + reason(e, file) + end);
        }
        return null;
    }

    private static String loadFromPath(List<String> failures) {
        Path file = null;
        try {
            file = findOnPath();
            if (file != null) {
                LibraryFile.checkVersion(file);
            }
            try {
                // Class loaders of containers know places beside the path.
                System.loadLibrary(NAME);
                return "java.library.path";
            } catch (UnsatisfiedLinkError e) {
                if (file == null || !isLoadedElsewhere(e)) {
                    throw e;
                }
                return loadFile(file);
            }
        } catch (InvalidPathException | IOException | UnsatisfiedLinkError e) {
            failures.add("java.library.path: " + reason(e, file));
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
        String resource = resource(platform());
        String what = "the copy in the jar, " + resource + ": ";
        byte[] content = null;
        try (InputStream stream = NativeLibrary.class.getResourceAsStream(resource)) {
            if (stream == null) {
                failures.add(what + "the jar has none for this platform, only for "
                        + PLATFORMS.stream().filter(NativeLibrary::isBundled)
                                .collect(Collectors.joining(" and ")));
                return null;
            }
            content = stream.readAllBytes();
            return LibraryCopy.load(content);
        } catch (InvalidPathException | IOException | UnsatisfiedLinkError e) {
            String need = content == null ? null : LibraryFile.unmetNeed(content);
            failures.add(what + (need != null ? need : message(e) + "; the system property "
                    + DIRECTORY_PROPERTY
                    + " chooses the directory for it, which must allow to write and to execute"));
            return null;
        }
    }

    private static String resource(String platform) {
        return "/velmor/kavril/native/" + platform + "/" + System.mapLibraryName(NAME);
    }

    private static boolean isBundled(String platform) {
        return NativeLibrary.class.getResource(resource(platform)) != null;
    }

    /** What kept the file from being loaded: its needs if this system does not meet them. */
    private static String reason(Throwable e, Path file) {
        String need = null;
        if (e instanceof UnsatisfiedLinkError && file != null) {
            try {
                need = LibraryFile.unmetNeed(Files.readAllBytes(file));
            } catch (IOException unreadable) {
                return unreadable.toString();
            }
        }
        return need != null ? need : message(e);
    }

    private static String message(Throwable e) {
        return e instanceof IOException ? e.toString() : e.getMessage();
    }
}
