package velmor.repository.KAVRIL;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Random;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import velmor.kavril.internal.Diagnostics;

/**
 * What a careless or hostile caller may pass, and what comes of it: a line for each argument. Each
 * value takes the place of one argument of a call that would succeed, on a session made for it.
 */
final class Hostile {
    private static final String NUMBERS = "-1 0 8 9 MAX MIN";
    private static final String AMOUNTS = "0 -1 NaN Infinity -Infinity 1.4E-45 3.4028235E38";
    private static final String PATHS =
            "null - 0 0,0 0,1,0,1 0,1,2,3,0 -1,0 0,MAX 2,0 0,1*2500";
    private static final String ID_LISTS = "null - 7 7,7 -1,7 7,MAX 1,7 0*5000";
    private static final String CAPACITIES = "null - 0 -1 NaN Infinity 1.4E-45 0*5000";
    private static final String TABLES =
            "null 0x0 null;null - 1x7 9x9 NaN*8 Infinity*8 -1*8";

    // A: AddDBException, N: NoRouteToHostException, and nothing has changed; a: AddDBException,
    // and the backups before the refused one are placed. =: no exception, and nothing has changed.
    // o: done, or of initKavril: a session that works.
    private static final String[][] LINES = {
        {"initKavril", "0", NUMBERS, "oooooo"}, {"initKavril", "1", NUMBERS, "oooooo"},
        {"initKavril", "5", AMOUNTS, "ooooooo"}, {"initKavril", "10", AMOUNTS, "ooooooo"},
        {"initKavril", "11", AMOUNTS, "ooooooo"}, {"initKavril", "12", TABLES, "=====oooo"},
        {"addNode", "0", NUMBERS, "AAooAA"},
        {"addLink", "0", NUMBERS, "AAooAA"}, {"addLink", "1", NUMBERS, "oooooo"},
        {"addLink", "2", NUMBERS, "AoAAAA"}, {"addLink", "3", NUMBERS, "AoAAAA"},
        {"addLink", "4", CAPACITIES, "AAoooooo"}, {"addLink", "5", TABLES, "AAAAAoooo"},
        {"addLink", "6", TABLES, "ooooooooo"},
        {"removeLink", "0", NUMBERS, "AAAAAA"}, {"removeLink", "1", NUMBERS, "AoAAAA"},
        {"removeNode", "0", NUMBERS, "AoAAAA"},
        {"addLSP", "0", NUMBERS, "AoooAA"}, {"addLSP", "1", PATHS, "A==AooAAAo"},
        {"addLSP", "2", NUMBERS, "AoAAAA"}, {"addLSP", "3", NUMBERS, "oooooo"},
        {"addLSP", "4", AMOUNTS, "ooAAAoA"},
        {"addBackupLSP", "0", NUMBERS, "AoooAA"}, {"addBackupLSP", "1", NUMBERS, "AAAAAA"},
        {"addBackupLSP", "2", PATHS, "AAAAooAAAo"}, {"addBackupLSP", "3", NUMBERS, "AoAAAA"},
        {"addBackupLSP", "4", NUMBERS, "oooooo"}, {"addBackupLSP", "5", AMOUNTS, "ooAAAoA"},
        {"removeLSP", "0", NUMBERS, "AAAAAA"},
        {"computePath", "0", NUMBERS, "AoooAA"}, {"computePath", "1", NUMBERS, "NoNNNN"},
        {"computePath", "2", NUMBERS, "N=NNNN"}, {"computePath", "3", NUMBERS, "oooooo"},
        {"computePath", "6", NUMBERS, "oooooo"}, {"computePath", "7", NUMBERS, "NoNNNN"},
        {"computePath", "8", AMOUNTS, "ooNNNoN"}, {"computePath", "9", ID_LISTS, "oooooooo"},
        {"computeBackupPath", "0", NUMBERS, "NNNNNN"},
        {"computeBackupPath", "1", ID_LISTS, "NAAaAaAa"},
        {"computeBackupPath", "2", NUMBERS, "oooooo"},
    };

    /** Calls that succeed on the network below, but for two. */
    static final Map<String, String> USUAL = Map.of(
            "initKavril", "1 8 n n y 0 0 0 0 0 0 1 8x8", "addNode", "4",
            "addLink", "20 0 0 2 10 1x8 null null null", "removeLink", "3 0", "removeNode", "0",
            "addLSP", "7 0,1,2 3 0 1", "addBackupLSP", "7 1 0,3,2 3 0 1 y", "removeLSP", "0",
            "computePath", "7 0 2 0 0 0 0 3 1 null y y", "computeBackupPath", "1 7,8 2 y n");

    private Hostile() {
    }

    /** Runs the table, or so many seconds of random calls from four threads; prints what differs. */
    public static void main(String[] seconds) throws Exception {
        Script witness = open();
        String before = print(witness);
        if (seconds.length == 0) {
            for (String[] line : LINES) {
                String found = outcomes(line);
                if (!found.equals(line[3]) || !before.equals(print(witness))) {
                    System.out.println("# " + String.join(" ", line) + ": " + found);
                }
            }
        } else {
            Script[] shared = {open(), open(), open()};
            ExecutorService threads = Executors.newFixedThreadPool(4);
            List<Callable<Integer>> storms = new ArrayList<>();
            for (int seed = 1; seed <= 4; seed++) {
                Random random = new Random(seed);
                storms.add(() -> storm(random, Integer.parseInt(seconds[0]), shared));
            }
            int calls = 0;
            for (var storm : threads.invokeAll(storms)) {
                calls += storm.get();
            }
            threads.shutdown();
            System.out.println(calls + " hostile calls");
        }
        System.out.println(before.equals(print(witness)) ? "# as before" : "# changed");
    }

    private static String call(String[] line, String value) {
        String[] words = USUAL.get(line[0]).split(" ");
        words[Integer.parseInt(line[1])] = value;
        return line[0] + " " + String.join(" ", words);
    }

    private static String outcomes(String[] line) {
        StringBuilder outcomes = new StringBuilder();
        for (String value : line[2].split(" ")) {
            boolean opens = line[0].equals("initKavril");
            Script script = opens ? new Script() : open();
            String before = opens ? "" : print(script);
            String thrown = exception(script.run(call(line, value)));
            if (script.object().sessId < 0) {
                outcomes.append('=');
                continue;
            }
            String after = print(script);
            outcomes.append(opens ? use(script) : isUsable(script, after) ? "" : "unusable ");
            boolean changed = !before.equals(after);
            outcomes.append(thrown.isEmpty() ? changed ? "o" : "="
                    : changed ? thrown.toLowerCase(Locale.ROOT) : thrown);
            script.run("killKavril");
        }
        return outcomes.toString();
    }

    /** The first letter of one of the library's exceptions, another one in full. */
    private static String exception(String outcome) {
        return outcome.matches("(AddDB|NoRouteToHost|Routing)Exception") ? outcome.substring(0, 1)
                : outcome.startsWith("[") ? "" : outcome;
    }

    /** A ring of four nodes with a primary, one that may give way to it, and a backup. */
    static Script open() {
        return new Script().all("initKavril 1 8 n n y 1 1 1 1 1 1 1 1x8", "nodes 0 1 2 3",
                "net 10 0-1-0 1-2-1 2-3-2 3-0-3", "addLSP 1 0,1,2 3 0 4", "addLSP 2 1,2 7 0 5",
                "addBackupLSP 3 1 0,3,2 3 0 4 n");
    }

    static String print(Script script) {
        return Diagnostics.print(script.object().sessId);
    }

    /** Whether paths can be computed, and an LSP set up and removed, without a trace. */
    private static boolean isUsable(Script script, String before) {
        String computed = exception(script.run("computePath 7 0 2 0 0 0 0 3 1 null n n"))
                + exception(script.run("computeBackupPath 1 - 2 n n"));
        script.all("nodes 60 61", "link 90 60 61 5");
        String found = script.run("computePath 5000 60 61 0 0 0 0 0 5 null y n");
        script.all("removeLSP 5000", "removeLink 60 61", "removeNode 61", "removeNode 60");
        return found.equals("[60, 61]") && computed.matches("N*") && before.equals(print(script));
    }

    /** Makes a new session compute; whatever its weights are, it must end. */
    private static String use(Script script) {
        script.all("nodes 0 1 2");
        for (int id = 0; id < 3; id++) {
            script.run("link " + id + " " + id + " " + (id + 1) % 3 + " 0 0 0 0 0 0 0 0");
        }
        String thrown = exception(script.run("computePath 1 0 2 0 0 0 0 0 0 null y y"));
        return thrown.matches("N?") ? "" : thrown;
    }

    /**
     * Calls with random lines of the table, on sessions that come and go, while the same is done by
     * other threads; returns how often.
     */
    private static int storm(Random random, int seconds, Script[] shared) {
        long end = System.nanoTime() + seconds * 1_000_000_000L;
        int calls = 0;
        Script own = open();
        String search = "computePath 9 3 1 0 0 0 0 3 1 null n n";
        String before = own.run(search) + print(own);
        while (System.nanoTime() < end) {
            int at = random.nextInt(shared.length);
            if (random.nextInt(500) == 0) {
                synchronized (shared) {  // or a session opened by two would be lost
                    shared[at].run("killKavril");
                    shared[at] = open();
                }
            }
            // The numbers of classes and levels belong to the process; 5000 hops take seconds.
            String[] line = LINES[6 + random.nextInt(LINES.length - 6)];
            String[] values = line[2].split(" ");
            int value = random.nextInt(values.length);
            if (!values[value].equals("0,1*2500")) {
                String thrown = exception(shared[at].run(call(line, values[value])));
                if (thrown.length() > 1) {
                    System.out.println("# " + Arrays.toString(line) + ": " + thrown);
                }
                calls++;
            }
            own.all("addLSP 10 3,2,1 3 0 1", "removeLSP 10");
        }
        if (!before.equals(own.run(search) + print(own))) {
            System.out.println("# the thread's own session has changed");
        }
        own.run("killKavril");
        return calls;
    }
}
