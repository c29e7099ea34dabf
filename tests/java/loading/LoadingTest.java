package loading;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import java.io.IOException;
import java.net.URISyntaxException;
import java.nio.charset.StandardCharsets;
import java.nio.file.FileSystem;
import java.nio.file.FileSystems;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.FileTime;
import java.nio.file.attribute.PosixFilePermissions;
import java.time.Instant;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.jar.JarFile;
import java.util.stream.Collectors;
import java.util.stream.IntStream;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import velmor.kavril.internal.Diagnostics;
import velmor.repository.KAVRIL.ChildJvm;
import velmor.repository.KAVRIL.JNIKAVRIL;
import velmor.repository.KAVRIL.Neighbour;

/** Where the native library comes from, each time in a JVM of its own with the jar alone. */
class LoadingTest {
    private static final String NOWHERE = "-Djava.library.path=/nowhere";
    private static final String FILE = "-Dvelmor.kavril.library=";
    private static final String ODD = "a b%20+c'd\"#&\u00fc;e";
    private static final String BUNDLED = "libkavril-[0-9a-f]{32}-%d\\.so";

    /** The folder of the real library, which the tests run with. */
    private static final String LIBRARY_PATH = System.getProperty("java.library.path");

    @TempDir
    Path temp;

    private Path classes;
    private Path copies;
    private Path jar;

    @BeforeEach
    void setUp() throws URISyntaxException, IOException {
        classes = temp.resolve("classes");
        copies = temp.resolve("copies");
        ChildJvm.copyClasses(classes, Probe.class.getName());
        jar = Path.of(JNIKAVRIL.class.getProtectionDomain().getCodeSource().getLocation().toURI());
    }

    private ChildJvm run(String... optionsAndWords) {
        List<String> arguments = new ArrayList<>(List.of(optionsAndWords));
        int words = 0;
        while (words < arguments.size() && arguments.get(words).startsWith("-")) {
            words++;
        }
        arguments.add(0, "-Dvelmor.kavril.directory=" + copies);
        arguments.add(words + 1, Probe.class.getName());
        return ChildJvm.start(classes + ":" + jar, arguments.toArray(new String[0]));
    }

    private Path folder(String suffix) {
        return copies.resolve("kavril-" + System.getProperty("user.name") + suffix);
    }

    private static List<String> files(Path folder) throws IOException {
        try (Stream<Path> files = Files.list(folder)) {
            return files.map(file -> file.getFileName().toString()).sorted()
                    .collect(Collectors.toList());
        }
    }

    private void assertCopies(int expected) throws IOException {
        List<String> files = files(folder(""));
        assertEquals(expected, files.size(), files::toString);
        for (int i = 0; i < expected; i++) {
            assertTrue(files.get(i).matches(String.format(BUNDLED, i)), files::toString);
        }
    }

    /** Puts a library into a folder of its own: the real one with a text in it changed. */
    private Path changedLibrary(String name, String from, String to) throws IOException {
        Path file = Files.createDirectories(temp.resolve(name)).resolve("libkavril.so");
        String real = Files.readString(Path.of(LIBRARY_PATH, "libkavril.so"),
                StandardCharsets.ISO_8859_1);
        String changed = real.replaceAll(from, to);
        assertEquals(real.length(), changed.length());
        return Files.writeString(file, changed, StandardCharsets.ISO_8859_1);
    }

    @Test
    void theCopyInTheJarIsExtractedOnceForItsOwnerAlone() throws IOException {
        copies = temp.resolve(ODD);
        Path oddJar = Files.createDirectory(temp.resolve(ODD + "2")).resolve("k a.jar");
        Files.copy(jar, oddJar);
        jar = oddJar;
        FileTime written = null;
        for (int i = 0; i < 2; i++) {
            run(NOWHERE, "safe", "raw").prints(List.of("node true", "session 1"));
            assertCopies(1);
            Path copy = folder("").resolve(files(folder("")).get(0));
            for (Path path : List.of(copy, folder(""))) {
                assertEquals("rwx------",
                        PosixFilePermissions.toString(Files.getPosixFilePermissions(path)));
            }
            FileTime time = Files.getLastModifiedTime(copy);
            assertEquals(written == null ? time : written, time, "written again");
            written = time;
        }
    }

    @Test
    void virtualMachinesThatStartAtOnceShareTheCopy() throws IOException {
        List<ChildJvm> children = IntStream.range(0, 4).parallel()
                .mapToObj(i -> run(NOWHERE, "safe")).collect(Collectors.toList());
        children.forEach(child -> child.prints(List.of("node true")));
        assertCopies(1);
    }

    @ParameterizedTest
    @CsvSource({"bundled, 3", "path, 2", "file, 2"})
    void classLoadersGetLibrariesOfTheirOwn(String origin, int nbCopies) throws IOException {
        String path = origin.equals("path") ? "-Djava.library.path=" + LIBRARY_PATH : NOWHERE;
        String file = origin.equals("file") ? FILE + LIBRARY_PATH + "/libkavril.so" : "-Dnothing=set";
        for (int i = 0; i < 2; i++) {
            ChildJvm child = run(path, file, "loaders");
            List<String> expected = new ArrayList<>(List.of("3 loaders"));
            for (int copy = 0; copy < nbCopies; copy++) {
                expected.add("session 0 from libkavril-HASH-" + copy + ".so");
            }
            if (nbCopies == 2) {
                expected.add("session 0 from " + (origin.equals("path") ? "java.library.path"
                        : "libkavril.so"));
            }
            assertEquals(expected.stream().sorted().collect(Collectors.toList()),
                    child.out.lines().sorted().collect(Collectors.toList()));
            assertCopies(nbCopies);
        }
    }

    @Test
    void theLibraryPathGoesBeforeTheCopyAndThreadsMayOpenTheFirstSessionsAtOnce() {
        run("threads").prints(Collections.nCopies(8, "node true"));
        assertFalse(Files.exists(copies));
    }

    @Test
    void aLibraryOfAnotherVersionOnThePathIsPassedOver() throws IOException {
        Path other = changedLibrary("other", "KAVRIL library [0-9]", "KAVRIL library 9");
        run("-Djava.library.path=" + other.getParent(), "safe").prints(List.of("node true"));
        assertCopies(1);
    }

    @Test
    void theModulePathAndTheClassPathDoTheSame() {
        ChildJvm.start(classes.toString(), NOWHERE, "-Dvelmor.kavril.directory=" + copies, "-p",
                jar.toString(), "--add-modules", "velmor.kavril", "--add-exports",
                "velmor.kavril/velmor.kavril.internal=ALL-UNNAMED", Probe.class.getName(), "safe")
                .prints(List.of("node true"));
    }

    /** What the error says, by the options that lead to it; T is the tests' folder, V the version. */
    @ParameterizedTest
    @CsvSource(delimiter = '|', value = {
        "-Dvelmor.kavril.library=/nowhere/x.so | '/nowhere/x.so': there is no such file; END",
        "-Dvelmor.kavril.library=/             | '/': not a file; END",
        "-Dvelmor.kavril.library=              | '': not a file; END",
        "-Dvelmor.kavril.library=/etc/hostname"
                + " | '/etc/hostname': /etc/hostname is no library of KAVRIL V; END",
        "-Dvelmor.kavril.library=T/other/libkavril.so | 'T/other/libkavril.so': T/other/libkavril.so"
                + " is the library of KAVRIL 9.V, the jar is V; END",
        "-Dvelmor.kavril.library=T/future/libkavril.so"
                + " | 'T/future/libkavril.so': needs glibc 9.N, this system has glibc 2.N; END",
        "-Djava.io.tmpdir=/proc                | PATH COPY [^;]*/proc/kavril-.*; HINT",
        "-Dvelmor.kavril.directory=/proc/x     | PATH COPY [^;]*/proc/x.*; HINT",
        "-Dvelmor.kavril.directory=/etc/hostname | PATH COPY [^;]*/etc/hostname.*; HINT",
        "-Dos.arch=riscv64 -Dos.name=Plan_9    | PATH 2. the copy in the jar,"
                + " /velmor/kavril/native/plan9-riscv64/libkavril.so: the jar has none for this"
                + " platform, only for linux-\\w+( and linux-\\w+)?",
    })
    void theErrorSaysWhatIsWrong(String options, String expected) throws IOException {
        changedLibrary("other", "KAVRIL library [0-9]", "KAVRIL library 9");
        changedLibrary("future", "GLIBC_2\\.", "GLIBC_9.");
        List<String> arguments = new ArrayList<>(List.of(NOWHERE));
        arguments.addAll(List.of(options.replace("T/", temp + "/").split(" ")));
        arguments.addAll(List.of(Probe.class.getName(), "safe"));
        ChildJvm child = ChildJvm.start(classes + ":" + jar, arguments.toArray(new String[0]));
        String found = child.out.replace(temp + "/", "T/").replaceAll("(glibc [29]\\.)[0-9.]+", "$1N")
                .replaceAll("KAVRIL (9\\.)?[0-9.]*[0-9]", "KAVRIL $1V").replaceAll("jar is [0-9.]+", "jar is V")
                .replaceAll("\\s+", " ");
        String pattern = expected
                .replace("PATH", "1. java.library.path: no kavril in java.library.path: /nowhere")
                .replace("COPY", "2. the copy in the jar, /velmor/kavril/native/linux-[^:]*:")
                .replace("HINT", "the system property velmor.kavril.directory chooses the directory"
                        + " for it, which must allow to write and to execute")
                .replace("END", "nothing else is tried while the property is set");
        if (expected.startsWith("'")) {
            pattern = "1. the system property velmor.kavril.library, " + pattern;
        }
        assertTrue(found.matches("cannot load the native library of KAVRIL on \\S+; tried "
                + pattern + " "), found);
    }

    @Test
    void aSystemTooOldForTheJarIsTold() throws IOException {
        Path oldJar = Files.copy(jar, temp.resolve("k.jar"));
        Path future = changedLibrary("future", "GLIBC_2\\.", "GLIBC_9.");
        try (FileSystem files = FileSystems.newFileSystem(oldJar, (ClassLoader) null);
                Stream<Path> paths = Files.walk(files.getPath("/velmor/kavril/native"))) {
            for (Path library : paths.filter(path -> path.endsWith("libkavril.so"))
                    .collect(Collectors.toList())) {
                Files.write(library, Files.readAllBytes(future));
            }
        }
        jar = oldJar;
        String told = run("-Djava.library.path=" + future.getParent(), "safe").out;
        assertTrue(told.matches("(?s).* 1\\. java\\.library\\.path: needs glibc 9\\.\\S+, this system "
                + "has glibc 2\\.\\S+\n  2\\. the copy [^:]*: needs glibc 9\\.\\S+, this system has "
                + "glibc 2\\.[0-9]+\n"), told);
    }

    @Test
    void foldersThatOthersHaveAHandInArePassedOver() throws IOException {
        Files.createDirectories(copies);
        Files.createFile(folder(""));
        Files.createSymbolicLink(folder("-1"), Files.createDirectory(temp.resolve("elsewhere")));
        Files.setPosixFilePermissions(Files.createDirectory(folder("-2")),
                PosixFilePermissions.fromString("rwx----w-"));
        String last = "-3";
        if (System.getProperty("user.name").equals("root")) {
            Files.setOwner(Files.createDirectory(folder(last)), folder("").getFileSystem()
                    .getUserPrincipalLookupService().lookupPrincipalByName("nobody"));
            last = "-4";
        }
        run(NOWHERE, "safe").prints(List.of("node true"));
        assertEquals(1, files(folder(last)).size());
        for (int number = Integer.parseInt(last.substring(1)); number < 10; number++) {
            Files.createDirectories(folder("-" + number));
            Files.setPosixFilePermissions(folder("-" + number),
                    PosixFilePermissions.fromString("rwxrwx---"));
        }
        String told = run(NOWHERE, "safe").out;
        for (String part : List.of(folder("") + " is not a directory",
                folder("-1") + " is not a directory", "others can write to " + folder("-2"),
                "others can write to " + folder("-9"))) {
            assertTrue(told.contains(part), told);
        }
        assertEquals(last.equals("-4"), told.contains(folder("-3") + " belongs to nobody"), told);
    }

    @Test
    void aUserWithoutANameHasAFolderToo() {
        run(NOWHERE, "-Duser.name=?", "safe").prints(List.of("node true"));
        assertTrue(Files.isDirectory(copies.resolve("kavril-_")));
    }

    @Test
    void classesThatTheLibraryDoesNotKnowAreTold() throws IOException {
        ChildJvm.copyClasses(classes, Diagnostics.class.getName());
        Path file = classes.resolve("velmor/kavril/internal/Diagnostics.class");
        String bytes = Files.readString(file, StandardCharsets.ISO_8859_1);
        Files.writeString(file, bytes.replace("print", "_____"), StandardCharsets.ISO_8859_1);
        ChildJvm child = run("safe");
        assertTrue(child.out.startsWith("the native library from java.library.path does not go with"
                + " the classes of the jar: "), child.out);
    }

    @Test
    void forbiddenNativeAccessIsTold() {
        assumeTrue(Runtime.version().feature() >= 24, "older machines forbid nothing");
        run("--illegal-native-access=deny", "safe").prints(List.of("cannot load the native library of"
                + " KAVRIL on linux-" + System.getProperty("os.arch").replace("amd64", "x86_64")
                + ": the virtual machine forbids native access; start it with"
                + " --enable-native-access=ALL-UNNAMED"));
    }

    @Test
    void aDamagedCopyIsReplacedAndAbandonedFilesAreCleared() throws IOException {
        run(NOWHERE, "safe").prints(List.of("node true"));
        Path copy = folder("").resolve(files(folder("")).get(0));
        byte[] content = Files.readAllBytes(copy);
        byte[] damaged = content.clone();
        damaged[damaged.length / 2] ^= 1;
        for (byte[] wrong : List.of(new byte[0], Arrays.copyOf(content, 1000), damaged)) {
            Files.write(copy, wrong);
            Path abandoned = Files.createFile(folder("").resolve("copy1.tmp"));
            Files.setLastModifiedTime(abandoned, FileTime.from(Instant.now().minusSeconds(7200)));
            Path inTheMaking = Files.createFile(folder("").resolve("copy2.tmp"));
            run(NOWHERE, "safe").prints(List.of("node true"));
            assertFalse(Files.exists(abandoned));
            Files.delete(inTheMaking);
            assertTrue(Arrays.equals(content, Files.readAllBytes(copy)));
            assertCopies(1);
        }
    }

    @Test
    void anApplicationMayHaveClassesInThesePackages() {
        Path own = temp.resolve("own");
        ChildJvm.copyClasses(own, Neighbour.class.getName());
        // It may have loaded the library itself, from the same place or another.
        String[][] ways = {{NOWHERE}, {NOWHERE, LIBRARY_PATH + "/libkavril.so"},
            {"-Djava.library.path=" + LIBRARY_PATH, LIBRARY_PATH + "/libkavril.so"}};
        for (String[] way : ways) {
            List<String> arguments = new ArrayList<>(List.of("-Dvelmor.kavril.directory=" + copies,
                    way[0], Neighbour.class.getName()));
            arguments.addAll(List.of(way).subList(1, way.length));
            ChildJvm.start(own + ":" + jar, arguments.toArray(new String[0]))
                    .prints(List.of("session 0", "node 1"));
        }
    }

    /** Whatever the module exports, the bundle exports too, and the other way round. */
    @Test
    void theBundleExportsWhatTheModuleExports() throws IOException {
        try (JarFile file = new JarFile(jar.toFile())) {
            String header = file.getManifest().getMainAttributes().getValue("Export-Package");
            assertEquals(java.lang.module.ModuleFinder.of(jar).find("velmor.kavril").orElseThrow()
                    .descriptor().exports().stream().map(export -> export.source()).sorted()
                    .collect(Collectors.toList()),
                    Arrays.stream(header.split(",")).map(part -> part.replaceAll(";.*", "")).sorted()
                    .collect(Collectors.toList()));
        }
    }
}
