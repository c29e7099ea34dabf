package loading;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.IOException;
import java.net.URISyntaxException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.FileTime;
import java.nio.file.attribute.PosixFilePermissions;
import java.time.Instant;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.stream.Collectors;
import java.util.stream.IntStream;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import velmor.repository.KAVRIL.ChildJvm;
import velmor.repository.KAVRIL.JNIKAVRIL;
import velmor.repository.KAVRIL.Neighbour;

/** Where the native library comes from, each time in a JVM of its own with the jar alone. */
class LoadingTest {
    private static final String NOWHERE = "-Djava.library.path=/nowhere";
    private static final String ODD = "a b%20+c'd\"#&\u00fc;e";
    private static final String BUNDLED = "libkavril-[0-9a-f]{32}-%d\\.so";

    /** The folder of the real library, which the tests run with. */
    private static final String LIBRARY_PATH = System.getProperty("java.library.path");

    @TempDir
    Path temp;

    private Path classes;
    private Path jar;

    @BeforeEach
    void setUp() throws URISyntaxException {
        classes = temp.resolve("classes");
        ChildJvm.copyClasses(classes, Probe.class);
        jar = Path.of(JNIKAVRIL.class.getProtectionDomain().getCodeSource().getLocation().toURI());
    }

    private ChildJvm run(String... optionsAndWords) {
        List<String> arguments = new ArrayList<>(List.of(optionsAndWords));
        int words = 0;
        while (words < arguments.size() && arguments.get(words).startsWith("-")) {
            words++;
        }
        arguments.add(words, Probe.class.getName());
        return ChildJvm.start(jar + ":" + classes, arguments.toArray(new String[0]));
    }

    private static String directory(Path folder) {
        return "-Dvelmor.kavril.directory=" + folder;
    }

    /** The one folder below the chosen directory. */
    private static Path own(Path directory) throws IOException {
        try (Stream<Path> folders = Files.list(directory)) {
            List<Path> found = folders.collect(Collectors.toList());
            assertEquals(1, found.size(), () -> "folders: " + found);
            return found.get(0);
        }
    }

    private static List<String> files(Path directory) throws IOException {
        try (Stream<Path> files = Files.list(own(directory))) {
            return files.map(file -> file.getFileName().toString()).sorted()
                    .collect(Collectors.toList());
        }
    }

    private static void assertCopies(int expected, Path directory) throws IOException {
        List<String> files = files(directory);
        assertEquals(expected, files.size(), files::toString);
        for (int i = 0; i < expected; i++) {
            assertTrue(files.get(i).matches(String.format(BUNDLED, i)), files::toString);
        }
    }

    @Test
    void theCopyInTheJarIsExtractedOnceForItsOwnerAlone() throws IOException {
        Path directory = temp.resolve(ODD);
        Path oddJar = Files.createDirectory(temp.resolve(ODD + "2")).resolve("k a.jar");
        Files.copy(jar, oddJar);
        jar = oddJar;
        FileTime written = null;
        for (int i = 0; i < 2; i++) {
            run(NOWHERE, directory(directory), "safe", "raw").prints(
                    List.of("node true", "session 1"));
            assertCopies(1, directory);
            Path copy = own(directory).resolve(files(directory).get(0));
            for (Path path : List.of(copy, own(directory))) {
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
        Path directory = temp.resolve("shared");
        List<ChildJvm> children = IntStream.range(0, 4).parallel()
                .mapToObj(i -> run(NOWHERE, directory(directory), "safe"))
                .collect(Collectors.toList());
        children.forEach(child -> child.prints(List.of("node true")));
        assertCopies(1, directory);
    }

    @ParameterizedTest
    @CsvSource({"bundled, 3", "path, 2", "file, 2"})
    void classLoadersGetLibrariesOfTheirOwn(String origin, int nbCopies) throws IOException {
        Path directory = temp.resolve("loaders");
        String path = origin.equals("path") ? "-Djava.library.path=" + LIBRARY_PATH : NOWHERE;
        String file = origin.equals("file")
                ? "-Dvelmor.kavril.library=" + LIBRARY_PATH + "/libkavril.so" : "-Dnothing=set";
        for (int i = 0; i < 2; i++) {
            ChildJvm child = run(path, file, directory(directory), "loaders");
            List<String> expected = new ArrayList<>(List.of("3 loaders"));
            for (int copy = 0; copy < nbCopies; copy++) {
                expected.add("session 0 from libkavril-HASH-" + copy + ".so");
            }
            if (nbCopies == 2) {
                expected.add("session 0 from " + (origin.equals("path") ? "java.library.path"
                        : "libkavril.so"));
            }
            assertEquals(expected.stream().sorted().collect(Collectors.toList()),
                    child.out.lines().sorted().collect(Collectors.toList()), child.err);
            assertCopies(nbCopies, directory);
        }
    }

    @Test
    void theLibraryPathGoesBeforeTheCopy() {
        Path directory = temp.resolve("unused");
        run(directory(directory), "safe", "raw").prints(List.of("node true", "session 1"));
        assertFalse(Files.exists(directory));
    }

    @Test
    void threadsMayOpenTheFirstSessionsAtOnce() {
        run("threads").prints(Collections.nCopies(8, "node true"));
    }

    @Test
    void theModulePathAndTheClassPathDoTheSame() {
        Path directory = temp.resolve("module");
        String path = classes.toString();
        ChildJvm child = ChildJvm.start(path, NOWHERE, directory(directory), "-p", jar.toString(),
                "--add-modules", "velmor.kavril", "--add-exports",
                "velmor.kavril/velmor.kavril.internal=ALL-UNNAMED", Probe.class.getName(), "safe");
        child.prints(List.of("node true"));
    }

    /** The wrong values of the property, and what the error says of them. */
    @ParameterizedTest
    @CsvSource(delimiter = '|', value = {
        "/nowhere/libkavril.so | '/nowhere/libkavril.so': there is no such file",
        "/                     | '/': not a file",
        "''                    | '': not a file",
        "/etc/hostname         | '/etc/hostname': /etc/hostname: ",
    })
    void aWrongPropertyEndsTheSearchAtOnce(String file, String reason) {
        Path directory = temp.resolve("unused");
        ChildJvm child = run("-Dvelmor.kavril.library=" + file, directory(directory), "safe", "raw");
        assertEquals(2, child.out.lines().filter(line -> line.startsWith(
                "cannot load the native library of KAVRIL on linux-")).count(),
                child.out + child.err);
        assertTrue(child.out.contains("  1. the system property velmor.kavril.library, " + reason),
                child.out);
        assertFalse(child.out.contains("  2. "), child.out);
        assertFalse(Files.exists(directory));
    }

    @Test
    void allThatWasTriedIsListed() throws IOException {
        Path file = Files.createFile(temp.resolve("file"));
        Path others = temp.resolve("others");
        run(NOWHERE, directory(others), "safe").prints(List.of("node true"));
        Path writable = own(others);
        Files.setPosixFilePermissions(writable, PosixFilePermissions.fromString("rwxrwxrwx"));
        String[][] unusable = {
            {"-Djava.io.tmpdir=/proc", "/proc/kavril-"},
            {directory(Path.of("/proc/nowhere")), "/proc/nowhere"},
            {directory(file), file.toString()},
            {directory(writable.getParent()), "others can write to " + writable},
        };
        for (String[] option : unusable) {
            ChildJvm child = run(NOWHERE, option[0], "safe");
            List<String> lines = child.out.lines().collect(Collectors.toList());
            assertEquals(3, lines.size(), child.out + child.err);
            assertTrue(lines.get(1).matches("  1\\. java\\.library\\.path: no kavril in .*/nowhere.*"),
                    child.out);
            assertTrue(lines.get(2).startsWith("  2. the copy in the jar, /velmor/kavril/native/"),
                    child.out);
            assertTrue(lines.get(2).contains(option[1]), child.out);
            assertTrue(lines.get(2).contains("velmor.kavril.directory chooses the directory"),
                    child.out);
        }
    }

    @Test
    void aDamagedCopyIsReplacedAndAbandonedFilesAreCleared() throws IOException {
        Path directory = temp.resolve("damaged");
        run(NOWHERE, directory(directory), "safe").prints(List.of("node true"));
        Path copy = own(directory).resolve(files(directory).get(0));
        byte[] content = Files.readAllBytes(copy);
        byte[] damaged = content.clone();
        damaged[damaged.length / 2] ^= 1;
        for (byte[] wrong : List.of(new byte[0], Arrays.copyOf(content, 1000), damaged)) {
            Files.write(copy, wrong);
            Path abandoned = Files.createFile(own(directory).resolve("copy1.tmp"));
            Files.setLastModifiedTime(abandoned, FileTime.from(Instant.now().minusSeconds(7200)));
            Path inTheMaking = Files.createFile(own(directory).resolve("copy2.tmp"));
            run(NOWHERE, directory(directory), "safe").prints(List.of("node true"));
            assertFalse(Files.exists(abandoned));
            Files.delete(inTheMaking);
            assertTrue(Arrays.equals(content, Files.readAllBytes(copy)));
            assertCopies(1, directory);
        }
    }

    @Test
    void anApplicationMayHaveClassesInThesePackages() {
        Path own = temp.resolve("own");
        ChildJvm.copyClasses(own, Neighbour.class);
        // It may have loaded the library itself, from the same place or another.
        String[][] ways = {{NOWHERE}, {NOWHERE, LIBRARY_PATH + "/libkavril.so"},
            {"-Djava.library.path=" + LIBRARY_PATH, LIBRARY_PATH + "/libkavril.so"}};
        for (String[] way : ways) {
            List<String> arguments = new ArrayList<>(List.of(directory(temp.resolve("application")),
                    way[0], Neighbour.class.getName()));
            arguments.addAll(List.of(way).subList(1, way.length));
            ChildJvm.start(own + ":" + jar, arguments.toArray(new String[0]))
                    .prints(List.of("session 0", "node 1"));
        }
    }
}
