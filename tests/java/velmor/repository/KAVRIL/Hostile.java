package velmor.repository.KAVRIL;

import static velmor.repository.KAVRIL.Probe.ids;

import java.io.IOException;
import java.io.RandomAccessFile;
import java.io.UncheckedIOException;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;
import java.util.Random;

/**
 * What a careless or hostile caller may pass, and what comes of it: a line for each argument, and
 * the runner. Each value takes the place of one argument of a call that would succeed, on a session
 * made for it.
 */
final class Hostile {

    private static final int MAX = Integer.MAX_VALUE;
    private static final int MIN = Integer.MIN_VALUE;
    private static final float INF = Float.POSITIVE_INFINITY;
    private static final float TINY = Float.MIN_VALUE;  // denormal

    private static final Object[] NUMBERS = {-1, 0, 8, 9, MAX, MIN};
    private static final Object[] AMOUNTS = {0f, -1f, Float.NaN, INF, -INF, TINY, Float.MAX_VALUE};
    private static final Object[] PATHS = {null, ids(), ids(0), ids(0, 0), ids(0, 1, 0, 1),
        ids(0, 1, 2, 3, 0), ids(-1, 0), ids(0, MAX), ids(2, 0), shuttle(5001)};
    private static final Object[] ID_LISTS = {null, ids(), ids(7), ids(7, 7), ids(-1, 7),
        ids(7, MAX), ids(1, 7), new int[5000]};
    private static final Object[] CAPACITIES = {null, new float[0], new float[1], floats(-1),
        floats(Float.NaN), floats(INF), floats(TINY), new float[5000]};
    private static final Object[] TABLES = {null, new float[0][], new float[1][], new float[1][0],
        new float[1][7], new float[9][9], row(Float.NaN), row(INF), row(-1)};

    /** A method, the number of an argument, the values for it and what comes of each. */
    static final class Line {
        final String method;
        private final int argument;
        private final Object[] values;
        private final String outcomes;

        Line(String method, int argument, Object[] values, String outcomes) {
            this.method = method;
            this.argument = argument;
            this.values = values;
            this.outcomes = outcomes;
        }
    }

    // A: AddDBException, N: NoRouteToHostException, and nothing has changed; a: AddDBException,
    // and the backups before the refused one are placed. =: no exception, and nothing has changed.
    // o: done, or of jniinitKavril: a session that works.
    static final List<Line> LINES = List.of(
            new Line("jniinitKavril", 0, NUMBERS, "oooooo"),
            new Line("jniinitKavril", 1, NUMBERS, "oooooo"),
            new Line("jniinitKavril", 5, AMOUNTS, "ooooooo"),
            new Line("jniinitKavril", 10, AMOUNTS, "ooooooo"),
            new Line("jniinitKavril", 11, AMOUNTS, "ooooooo"),
            new Line("jniinitKavril", 12, TABLES, "=====oooo"),
            new Line("jniaddNode", 0, NUMBERS, "AAooAA"),
            new Line("jniaddLink", 0, NUMBERS, "AAooAA"),
            new Line("jniaddLink", 1, NUMBERS, "oooooo"),
            new Line("jniaddLink", 2, NUMBERS, "AoAAAA"),
            new Line("jniaddLink", 3, NUMBERS, "AoAAAA"),
            new Line("jniaddLink", 4, CAPACITIES, "AAoooooo"),
            new Line("jniaddLink", 5, TABLES, "AAAAAoooo"),
            new Line("jniaddLink", 6, TABLES, "ooooooooo"),
            new Line("jniremoveLink", 0, NUMBERS, "AAAAAA"),
            new Line("jniremoveLink", 1, NUMBERS, "AoAAAA"),
            new Line("jniremoveNode", 0, NUMBERS, "AoAAAA"),
            new Line("jniaddLSP", 0, NUMBERS, "AoooAA"),
            new Line("jniaddLSP", 1, PATHS, "A==AooAAAo"),
            new Line("jniaddLSP", 2, NUMBERS, "AoAAAA"),
            new Line("jniaddLSP", 3, NUMBERS, "oooooo"),
            new Line("jniaddLSP", 4, AMOUNTS, "ooAAAoA"),
            new Line("jniaddBackupLSP", 0, NUMBERS, "AoooAA"),
            new Line("jniaddBackupLSP", 1, NUMBERS, "AAAAAA"),
            new Line("jniaddBackupLSP", 2, PATHS, "AAAAooAAAo"),
            new Line("jniaddBackupLSP", 3, NUMBERS, "AoAAAA"),
            new Line("jniaddBackupLSP", 4, NUMBERS, "oooooo"),
            new Line("jniaddBackupLSP", 5, AMOUNTS, "ooAAAoA"),
            new Line("jniremoveLSP", 0, NUMBERS, "AAAAAA"),
            new Line("jnicomputePath", 0, NUMBERS, "AoooAA"),
            new Line("jnicomputePath", 1, NUMBERS, "NoNNNN"),
            new Line("jnicomputePath", 2, NUMBERS, "N=NNNN"),
            new Line("jnicomputePath", 3, NUMBERS, "oooooo"),
            new Line("jnicomputePath", 6, NUMBERS, "oooooo"),
            new Line("jnicomputePath", 7, NUMBERS, "NoNNNN"),
            new Line("jnicomputePath", 8, AMOUNTS, "ooNNNoN"),
            new Line("jnicomputePath", 9, ID_LISTS, "oooooooo"),
            new Line("jnicomputeBackupPath", 0, NUMBERS, "NNNNNN"),
            new Line("jnicomputeBackupPath", 1, ID_LISTS, "NAAaAaAa"),
            new Line("jnicomputeBackupPath", 2, NUMBERS, "oooooo"));

    private Hostile() {
    }

    /**
     * Runs the lines of a method; returns what differs. The child's standard output must be a file:
     * networks are compared by what the library prints of them.
     */
    static List<String> run(String method) throws Exception {
        List<String> differences = new ArrayList<>();
        Probe witness = open();
        String before = print(witness);
        for (Line line : LINES) {
            if (!line.method.equals(method)) {
                continue;
            }
            StringBuilder outcomes = new StringBuilder();
            for (Object value : line.values) {
                Object[] arguments = usual(method);
                arguments[line.argument] = value;
                outcomes.append(outcome(method, arguments));
                if (!before.equals(print(witness))) {
                    differences.add("another session has changed");
                }
            }
            if (!line.outcomes.contentEquals(outcomes)) {
                differences.add(method + ", argument " + line.argument + ": " + outcomes);
            }
        }
        return differences;
    }

    private static String outcome(String method, Object[] arguments) throws Exception {
        Probe probe = method.equals("jniinitKavril") ? new Probe() : open();
        String before = probe.sessId < 0 ? "" : print(probe);
        String thrown = call(probe, method, arguments);
        if (probe.sessId < 0) {
            return "=";
        }
        String after = print(probe);
        String unusable = method.equals("jniinitKavril") ? use(probe, (int) arguments[1])
                : isUsable(probe, after) ? "" : "unusable ";
        probe.jnikillKavril();
        boolean changed = !before.equals(after);
        return unusable + (thrown.isEmpty() ? changed ? "o" : "="
                : changed ? thrown.toLowerCase(Locale.ROOT) : thrown);
    }

    /** The first letter of the exception if it is one of the library's, else its name. */
    static String call(JNIKAVRIL kavril, String method, Object... arguments) {
        try {
            for (Method candidate : JNIKAVRIL.class.getMethods()) {
                if (candidate.getName().equals(method)) {
                    candidate.invoke(kavril, arguments);
                    return "";
                }
            }
            throw new IllegalArgumentException(method);
        } catch (InvocationTargetException e) {
            Class<?> type = e.getCause().getClass();
            String name = type.getSimpleName();
            return type.getPackageName().equals("velmor.repository.model.exception")
                    ? name.substring(0, 1) : name;
        } catch (IllegalAccessException e) {
            throw new IllegalStateException(e);
        }
    }

    /** A ring of four nodes with a primary, one that may give way to it, and a backup. */
    static Probe open() throws Exception {
        Probe probe = new Probe().open(1, 8, new float[] {1, 1, 1, 1, 1, 1, 1});
        probe.nodes(0, 1, 2, 3);
        probe.cables(0, 10, 0, 1, 2, 3, 0);
        probe.jniaddLSP(1, ids(0, 1, 2), 3, 0, 4);
        probe.jniaddLSP(2, ids(1, 2), 7, 0, 5);
        probe.jniaddBackupLSP(3, 1, ids(0, 3, 2), 3, 0, 4, false);
        return probe;
    }

    /** Arguments with which the method succeeds on such a network. */
    static Object[] usual(String method) {
        switch (method) {
            case "jniinitKavril":
                return new Object[] {1, 8, false, false, true, 0f, 0f, 0f, 0f, 0f, 0f, 1f,
                    new float[8][8]};
            case "jniaddNode":
                return new Object[] {4};
            case "jniaddLink":
                return new Object[] {20, 0, 0, 2, floats(10), row(0), null, null, null};
            case "jniremoveLink":
                return new Object[] {3, 0};
            case "jniaddLSP":
                return new Object[] {7, ids(0, 1, 2), 3, 0, 1f};
            case "jniaddBackupLSP":
                return new Object[] {7, 1, ids(0, 3, 2), 3, 0, 1f, true};
            case "jnicomputePath":
                return new Object[] {7, 0, 2, 0, 0, 0, 0, 3, 1f, null, true, true};
            case "jnicomputeBackupPath":
                return new Object[] {1, ids(7, 8), 2, true, false};
            case "jniprintKavrilDB":
            case "jnikillKavril":
                return new Object[0];
            default:
                return new Object[] {0};
        }
    }

    /** Whether paths can be computed, and an LSP set up and removed, without a trace. */
    private static boolean isUsable(Probe probe, String before) throws Exception {
        Object[] path = usual("jnicomputePath");
        path[10] = path[11] = false;
        String computed = call(probe, "jnicomputePath", path)
                + call(probe, "jnicomputeBackupPath", 1, ids(), 2, false, false);
        probe.nodes(60, 61);
        probe.link(90, 60, 61, 5);
        boolean found = Arrays.equals(ids(60, 61), probe.path(5000, 60, 61, 0, 5, true, false));
        probe.jniremoveLSP(5000);
        probe.jniremoveLink(60, 61);
        probe.jniremoveNode(61);
        probe.jniremoveNode(60);
        return found && computed.matches("N*") && before.equals(print(probe));
    }

    /** Makes a new session compute; whatever its weights are, it must end. */
    private static String use(Probe probe, int nbLevels) throws Exception {
        probe.nodes(0, 1, 2);
        for (int id = 0; id < 3; id++) {
            probe.jniaddLink(id, 0, id, (id + 1) % 3, new float[8], new float[8][8], null, null,
                    null);
        }
        String thrown = call(probe, "jnicomputePath", 1, 0, 2, 0, 0, 0, 0, 0, 0f, null, true, true);
        return thrown.isEmpty() || thrown.equals("N") ? "" : thrown;
    }

    /**
     * Calls with random lines of the table, on sessions that come and go, for so many seconds, while
     * the same is done by other threads; returns what should not have been.
     */
    static List<String> storm(long seed, int seconds, Probe[] shared) {
        List<String> differences = new ArrayList<>();
        Random random = new Random(seed);
        long end = System.nanoTime() + seconds * 1_000_000_000L;
        int calls = 0;
        try {
            Probe own = open();
            String before = Arrays.toString(own.path(9, 3, 1, 3, 1, false, false));
            while (System.nanoTime() < end) {
                int at = random.nextInt(shared.length);
                if (random.nextInt(500) == 0) {
                    synchronized (shared) {  // or a session opened by two would be lost
                        shared[at].jnikillKavril();
                        shared[at] = open();
                    }
                }
                Line line = LINES.get(random.nextInt(LINES.size()));
                Object[] arguments = usual(line.method);
                arguments[line.argument] = line.values[random.nextInt(line.values.length)];
                // The numbers of classes and levels belong to the process; 5000 hops take seconds.
                boolean fits = !line.method.equals("jniinitKavril")
                        && (line.values != PATHS || arguments[line.argument] != PATHS[9]);
                String thrown = fits ? call(shared[at], line.method, arguments) : "";
                if (thrown.length() > 1) {
                    differences.add(line.method + ", argument " + line.argument + ": " + thrown);
                }
                own.jniaddLSP(10, ids(3, 2, 1), 3, 0, 1);
                own.jniremoveLSP(10);
                calls++;
            }
            if (!before.equals(Arrays.toString(own.path(9, 3, 1, 3, 1, false, false)))) {
                differences.add("the thread's own session has changed");
            }
            own.jnikillKavril();
        } catch (Exception e) {
            differences.add(e.toString());
        }
        Probe.say("calls", calls);
        return differences;
    }

    /** What the library prints of a network. */
    static String print(Probe probe) {
        try (RandomAccessFile out = new RandomAccessFile("/proc/self/fd/1", "r")) {
            System.out.flush();
            long start = out.length();
            probe.jniprintKavrilDB();
            byte[] bytes = new byte[(int) (out.length() - start)];
            out.seek(start);
            out.readFully(bytes);
            return new String(bytes, StandardCharsets.ISO_8859_1);
        } catch (IOException e) {
            throw new UncheckedIOException(e);
        }
    }

    private static float[] floats(float... values) {
        return values;
    }

    private static float[][] row(float value) {
        float[][] rows = new float[1][8];
        Arrays.fill(rows[0], value);
        return rows;
    }

    /** To and fro between nodes 0 and 1. */
    private static int[] shuttle(int length) {
        int[] path = new int[length];
        Arrays.setAll(path, i -> i % 2);
        return path;
    }
}
