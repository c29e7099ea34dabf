package velmor.repository.KAVRIL;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;
import velmor.kavril.internal.NativeLibrary;
import velmor.repository.model.exception.AddDBException;
import velmor.repository.model.exception.NoRouteToHostException;
import velmor.repository.model.exception.RoutingException;

/** Nothing a caller does brings the process down or reaches another session. */
class HostileTest {

    /** A minute to see more than the tests have time for. */
    private static final int STORM_SECONDS = Integer.getInteger("kavril.storm.seconds", 3);

    /** Expects a normal end, no warning of the JVM, and these lines among all that is printed. */
    private static void assertTells(ChildJvm run, String... lines) {
        assertEquals(0, run.exit, run.err);
        assertEquals(List.of(lines), Stream.concat(run.out.lines(), run.err.lines())
                .filter(line -> line.startsWith("# ") || line.contains("WARNING in native")
                        || line.contains("FATAL")).collect(Collectors.toList()));
    }

    static Stream<String> methods() {
        return Hostile.LINES.stream().map(line -> line.method).distinct();
    }

    @ParameterizedTest
    @MethodSource("methods")
    void everyValueHasItsOutcome(String method) {
        assertTells(ChildJvm.run(ignored -> {
            Hostile.run(method).forEach(difference -> Probe.say("# " + difference));
            Probe.say("# done");
        }), "# done");
    }

    @Test
    void threadsOnTheSameSessionsWaitForEachOther() {
        int seconds = STORM_SECONDS;
        ChildJvm run = ChildJvm.run(ignored -> {
            Probe[] shared = {Hostile.open(), Hostile.open(), Hostile.open()};
            Probe witness = Hostile.open();
            String before = Hostile.print(witness);
            ExecutorService threads = Executors.newFixedThreadPool(4);
            List<Callable<List<String>>> storms = new ArrayList<>();
            for (long seed = 1; seed <= 4; seed++) {
                long own = seed;
                storms.add(() -> Hostile.storm(own, seconds, shared));
            }
            for (var storm : threads.invokeAll(storms)) {
                storm.get().forEach(difference -> Probe.say("# " + difference));
            }
            threads.shutdown();
            Probe.say("# witness " + (before.equals(Hostile.print(witness)) ? "as before"
                    : "changed"));
        });
        assertTells(run, "# witness as before");
        System.out.println("storm: " + run.out.lines().filter(line -> line.startsWith("calls "))
                .mapToLong(line -> Long.parseLong(line.substring(6))).sum() + " hostile calls");
    }

    /** Copies the classes of a caller, with a field renamed in the library's class. */
    private static void copyWithoutField(Path folder, String field) throws Exception {
        ChildJvm.copyClasses(folder, JNIKAVRIL.class, NativeLibrary.class, WithoutFields.class,
                Class.forName("velmor.kavril.internal.LibraryFile"),
                Hostile.class, Hostile.Line.class, Probe.class, Probe.Action.class, Probe.Computation.class,
                AddDBException.class, NoRouteToHostException.class, RoutingException.class);
        Path file = folder.resolve("velmor/repository/KAVRIL/JNIKAVRIL.class");
        String bytes = Files.readString(file, StandardCharsets.ISO_8859_1);
        String other = "_".repeat(field.length());
        Files.writeString(file, bytes.replace(field, other), StandardCharsets.ISO_8859_1);
    }

    @Test
    void classWithoutSessIdIsRefusedEverywhere(@TempDir Path folder) throws Exception {
        copyWithoutField(folder, "sessId");
        assertTells(ChildJvm.start(folder.toString(), WithoutFields.class.getName()),
                WithoutFields.METHODS.stream()
                        .map(method -> "# " + method + " NoSuchFieldError")
                        .toArray(String[]::new));
    }

    @Test
    void classWithoutLspsOnlyComputesNoPaths(@TempDir Path folder) throws Exception {
        copyWithoutField(folder, "lsps");
        assertTells(ChildJvm.start(folder.toString(), WithoutFields.class.getName()),
                "# jniinitKavril ", "# jniaddNode ", "# jniaddLink A", "# jniremoveLink A",
                "# jniaddLSP A", "# jniaddBackupLSP A", "# jniremoveLSP A",
                "# jnicomputePath NoSuchFieldError", "# jnicomputeBackupPath N",
                "# jniremoveNode A", "# jniprintKavrilDB ", "# jnikillKavril ");
    }

    @Test
    void numberOfAnotherObjectReachesItsSession() {
        assertTells(ChildJvm.run(probe -> {
            Probe owner = Hostile.open();
            probe.sessId = owner.sessId;
            String removal = Hostile.call(probe, "jniremoveLSP", 2);
            probe.jnikillKavril();
            Probe.say("# " + removal + Hostile.call(owner, "jniaddNode", 9)
                    + Hostile.call(owner, "jnicomputePath", Hostile.usual("jnicomputePath")));
        }), "# AN");
    }

    @Test
    void exhaustedHeapChangesNothing() {
        assertTells(ChildJvm.start(System.getProperty("java.class.path"), "-Xmx16m",
                OutOfHeap.class.getName()), "# out of memory", "# out of memory",
                "# out of memory", "# as before", "# [2]");
    }
}
