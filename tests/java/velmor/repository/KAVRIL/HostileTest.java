package velmor.repository.KAVRIL;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Collectors;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** Nothing a caller does brings the process down or reaches another session. */
class HostileTest {
    private static final String KAVRIL = "velmor.repository.KAVRIL.JNIKAVRIL";
    private static final String LOADER = "velmor.kavril.internal.";

    /** Expects a normal end, no warning of the JVM, and these lines among all that is printed. */
    private static void assertTells(ChildJvm run, String... lines) {
        assertEquals(List.of(lines), run.out.lines().filter(line -> line.startsWith("# ")
                || line.contains("WARNING in native") || line.contains("FATAL"))
                .collect(Collectors.toList()), run.out);
        assertEquals(0, run.exit);
    }

    @Test
    void everyValueHasItsOutcome() {
        assertTells(ChildJvm.run(Hostile.class), "# as before");
    }

    @Test
    void threadsOnTheSameSessionsWaitForEachOther() {
        ChildJvm run = ChildJvm.run(Hostile.class, System.getProperty("kavril.storm.seconds", "3"));
        assertTells(run, "# as before");
        run.out.lines().filter(line -> line.endsWith("hostile calls")).forEach(System.out::println);
    }

    /** The methods that miss a field of a class that has another in its place. */
    @ParameterizedTest
    @CsvSource({"sessId, 12", "lsps, 1"})
    void aMissingFieldIsTold(String field, int nbRefused, @TempDir Path folder) throws IOException {
        String model = "velmor.repository.model.exception.";
        ChildJvm.copyClasses(folder, KAVRIL, LOADER + "NativeLibrary", LOADER + "LibraryFile",
                Script.class.getName(), model + "AddDBException", model + "NoRouteToHostException",
                model + "RoutingException");
        Path file = folder.resolve(KAVRIL.replace('.', '/') + ".class");
        String bytes = Files.readString(file, StandardCharsets.ISO_8859_1);
        Files.writeString(file, bytes.replace(field, "_".repeat(field.length())),
                StandardCharsets.ISO_8859_1);
        List<String> command = new ArrayList<>(List.of(Script.class.getName(), "initKavril "
                + Hostile.USUAL.get("initKavril")));
        Hostile.USUAL.forEach((name, arguments) -> {
            if (!name.equals("initKavril")) {
                command.add(name + " " + arguments);
            }
        });
        command.addAll(List.of("printKavrilDB", "killKavril"));
        ChildJvm run = ChildJvm.start(folder.toString(), command.toArray(new String[0]));
        assertEquals(nbRefused, run.out.lines().filter(line -> line.contains(" = NoSuchFieldError"))
                .count(), run.out);
        assertEquals(0, run.exit);
    }

    @Test
    void missingExceptionClassesAreTold(@TempDir Path folder) {
        ChildJvm.copyClasses(folder, KAVRIL, LOADER + "NativeLibrary", LOADER + "LibraryFile",
                WithoutExceptions.class.getName(), WithoutExceptions.class.getName() + "$Action");
        String missing = "# java.lang.NoClassDefFoundError: velmor/repository/model/exception/";
        ChildJvm run = ChildJvm.start(folder.toString(), WithoutExceptions.class.getName());
        assertTells(run, missing + "AddDBException", missing + "NoRouteToHostException", "# done");
        assertEquals(2, run.out.lines().filter(line -> line.equals(
                "Unable to find the exception class, giving up")).count(), run.out);
    }

    @Test
    void exhaustedHeapChangesNothing() {
        assertTells(ChildJvm.start(System.getProperty("java.class.path"), "-Xmx16m",
                OutOfHeap.class.getName()), "# out of memory", "# out of memory",
                "# out of memory", "# as before", "# [1, 2][2]");
    }
}
