package velmor.kavril;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeTrue;
import static velmor.kavril.RequestOption.ADD;

import java.io.IOException;
import java.lang.management.ManagementFactory;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.logging.Handler;
import java.util.logging.Level;
import java.util.logging.LogRecord;
import java.util.logging.Logger;
import javax.management.JMX;
import javax.management.MBeanServer;
import javax.management.ObjectName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import velmor.repository.KAVRIL.ChildJvm;
import velmor.repository.KAVRIL.JNIKAVRIL;
import velmor.repository.model.exception.AddDBException;

/** What sessions tell of their work to those who watch. */
class ObservationTest {

    /** Remarks of the library: that there is no backup, or one of lesser kind. */
    private static void makeRemarks(Session session) {
        for (int node = 0; node < 4; node++) {
            session.addNode(node);
        }
        session.addLink(0, 0, 1, 4.5);
        session.addLink(1, 0, 2, 4.5);
        session.addLink(2, 2, 1, 4.5);
        session.addLink(3, 1, 3, 4.5);
        session.addLsp(7, Traffic.of(1.5), Route.of(0, 1));
        session.protect(7, Protection.local());
        session.addLsp(8, Traffic.of(1), Route.of(1, 3));
        assertThrows(NoRouteException.class, () -> session.protect(8, Protection.local()));
        assertThrows(NoRouteException.class, () -> session.protect(8, Protection.global()));
    }

    /** A child's program: what is printed beside the result is the library's. */
    public static void main(String[] args) {
        try (Session session = Session.builder().build()) {
            makeRemarks(session);
            session.dump().lines().filter(line -> line.contains("pbw[0] = 1.5"))
                    .forEach(line -> System.out.println(line.strip()));
        }
    }

    /** What the logger gets meanwhile. */
    private static List<String> logged(Runnable work) {
        Logger logger = Logger.getLogger("velmor.kavril");
        List<String> records = new ArrayList<>();
        Handler handler = new Handler() {
            @Override
            public void publish(LogRecord record) {
                records.add(record.getLevel() + " " + record.getMessage());
            }

            @Override
            public void flush() {
            }

            @Override
            public void close() {
            }
        };
        logger.addHandler(handler);
        logger.setLevel(Level.ALL);
        try {
            work.run();
        } finally {
            logger.removeHandler(handler);
            logger.setLevel(null);
        }
        return records;
    }

    @Test
    void remarksGoToALogger() {
        List<String> records = logged(() -> {
            try (Session session = Session.builder().build(); Session copy = session.copy()) {
                makeRemarks(copy);
            }
        });
        assertEquals(List.of("FINE LSP 8: No local link disjoint protection path found",
                "FINE LSP 8: Switching from node to link protection for lsp number: 8",
                "FINE LSP 8: Oups ... no path found ...",
                "FINE LSP 8: No end to end link disjoint protection path found"), records);
    }

    @Test
    void messagesThatNobodyGotAreLoggedInTheEnd() {
        NativeSession session = new NativeSession(Session.builder());
        JNIKAVRIL raw = new JNIKAVRIL();
        raw.sessId = session.sessId();
        assertThrows(AddDBException.class, () -> raw.jniaddNode(-1));
        List<String> records = logged(session);
        assertEquals("WARNING a session that was closed: [CRITICAL] Impossible to init a Node in "
                + "jni_interface.c at line N", records.get(0).replaceAll("\\d+$", "N"));
        assertEquals(List.of(), logged(session));
    }

    private static ChildJvm child(Map<String, String> environment, String... options) {
        List<String> arguments = new ArrayList<>(List.of(options));
        arguments.add(ObservationTest.class.getName());
        return ChildJvm.start(environment, System.getProperty("java.class.path"),
                arguments.toArray(new String[0]));
    }

    @Test
    void remarksArePrintedOnRequestAlone() {
        child(Map.of()).prints(List.of("pbw[0] = 1.500000"));
        String printed = child(Map.of(), "-Dvelmor.kavril.print=true").out;
        assertTrue(printed.contains("\nNo end to end link disjoint protection path found\n"), printed);
    }

    @Test
    void decimalsHaveAPointInAllLanguages(@TempDir Path folder) throws Exception {
        Path german = folder.resolve("de_DE.UTF-8");
        try {
            Process made = new ProcessBuilder("localedef", "-i", "de_DE", "-f", "UTF-8",
                    german.toString()).inheritIO().start();
            assumeTrue(made.waitFor() == 0, "there is no German");
        } catch (IOException e) {
            assumeTrue(false, "locales cannot be made here");
        }
        child(Map.of("LOCPATH", folder.toString(), "LC_ALL", "de_DE.UTF-8"))
                .prints(List.of("pbw[0] = 1.500000"));
    }

    @Test
    void callsAreCountedAndTimed() throws Exception {
        MBeanServer server = ManagementFactory.getPlatformMBeanServer();
        ObjectName bean = new ObjectName("velmor.kavril:type=Session,name=\"north, \\\"1\\\"\"");
        try (Session session = Session.builder().build(); Session other = session.copy()) {
            session.publish("south");
            session.publish("north, \"1\"");
            assertEquals("name is north, \"1\", under which another session is published",
                    assertThrows(IllegalArgumentException.class,
                            () -> other.publish("north, \"1\"")).getMessage());
            makeRemarks(session);
            assertThrows(IllegalArgumentException.class, () -> session.addNode(-1));
            assertThrows(RefusedException.class, () -> session.addNode(1));
            assertThrows(IllegalArgumentException.class,
                    () -> session.protect(7, Protection.local().placedAs(1, 2)));
            session.request(9, 0, 1, Traffic.of(1), ADD);
            Map<Operation, OperationStatistics> statistics = session.statistics();
            Map<Operation, long[]> expected = Map.of(Operation.ADD_NODE, new long[] {5, 1},
                    Operation.ADD_LINK, new long[] {4, 0}, Operation.ADD_LSP, new long[] {2, 0},
                    Operation.PROTECT, new long[] {3, 2}, Operation.REQUEST, new long[] {1, 0},
                    Operation.COPY, new long[] {1, 0});
            SessionMXBean shown = JMX.newMXBeanProxy(server, bean, SessionMXBean.class);
            for (Operation operation : Operation.values()) {
                long[] counts = expected.getOrDefault(operation, new long[2]);
                OperationStatistics figures = statistics.get(operation);
                assertEquals(counts[0], figures.calls(), operation::toString);
                assertEquals(counts[1], figures.failures(), operation::toString);
                assertEquals(counts[0],
                        figures.histogram().values().stream().mapToLong(Long::longValue).sum());
                assertEquals(figures.max(), figures.percentile(100));
                assertTrue(figures.percentile(50).compareTo(figures.max()) <= 0);
                SessionMXBean.Figures seen = shown.getOperations().get(operation.name());
                assertEquals(counts[0], seen.getCalls());
                assertEquals(counts[1], seen.getFailures());
                assertEquals(figures.histogram().size(), seen.getBounds().length);
                assertEquals(figures.max().toNanos() / 1000.0, seen.getMax());
            }
        }
        assertEquals(0, server.queryNames(new ObjectName("velmor.kavril:*"), null).size());
    }

    @Test
    void countersAndMemoryAreRightAfterMixedCalls() {
        ChildJvm child = ChildJvm.start(System.getProperty("java.class.path"), "-Xmx32m", "-Xms32m",
                "-XX:+AlwaysPreTouch",
                Soak.class.getName(), System.getProperty("kavril.soak.seconds"));
        assertTrue(child.exit == 0 && child.out.matches("\\d+ calls on shared sessions, .*\n"),
                child.out);
    }

    @Test
    void histogramsTellTimesWithinAnEighth() {
        Latencies latencies = new Latencies();
        long sum = 0;
        for (long nanos = 1; nanos < 1L << 40; nanos = nanos * 5 / 4 + 1) {
            int bucket = Latencies.bucketOf(nanos);
            long longest = Latencies.longestIn(bucket);
            assertTrue(nanos <= longest && longest - nanos <= nanos / 8, nanos + " in " + longest);
            assertTrue(bucket == 0 || Latencies.longestIn(bucket - 1) < nanos);
            latencies.add(nanos, false);
            sum += nanos;
        }
        latencies.add(Long.MAX_VALUE / 2, true);
        assertEquals(Duration.ofNanos(sum + Long.MAX_VALUE / 2), latencies.figures().total());
        assertThrows(IllegalArgumentException.class, () -> latencies.figures().percentile(0));
    }
}
