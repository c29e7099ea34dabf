package velmor.kavril;

import static velmor.kavril.RequestOption.ADD;
import static velmor.kavril.RequestOption.PREEMPT;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.EnumMap;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Random;
import java.util.concurrent.atomic.AtomicLongArray;

/**
 * Mixed calls from eight threads for some seconds: on sessions that they share, and on copies of their
 * own, which they close or forget. In the end all counters have to be what a recount gives, what is
 * booked on links what the LSPs have, and memory what it was half-way.
 */
final class Soak {
    private static final int NB_THREADS = 8;
    private static final int NB_SESSIONS = 3;
    private static final int NB_NODES = 24;
    private static final int NB_IDS = 300;
    private static final int STEPS_ON_A_COPY = 60;
    private static final double WARM = 0.3;
    private static final int MAX_GROWTH_KB = 8 << 10;

    /** A session, and how often each operation was called and has failed. */
    private static final class Watched {
        final Session session;
        final Map<Operation, AtomicLongArray> counts = new EnumMap<>(Operation.class);

        Watched(Session session) {
            this.session = session;
            for (Operation operation : Operation.values()) {
                counts.put(operation, new AtomicLongArray(2));
            }
        }

        void call(Operation operation, Runnable call) {
            counts.get(operation).incrementAndGet(0);
            try {
                call.run();
            } catch (KavrilException e) {
                counts.get(operation).incrementAndGet(1);
            }
        }

        long nbCalls() {
            return counts.values().stream().mapToLong(count -> count.get(0)).sum();
        }

        void check() {
            Map<Operation, OperationStatistics> statistics = session.statistics();
            counts.forEach((operation, count) -> {
                OperationStatistics figures = statistics.get(operation);
                if (figures.calls() != count.get(0) || figures.failures() != count.get(1)) {
                    throw new AssertionError(operation + ": " + figures + ", counted " + count);
                }
            });
            checkLinks(session.state());
            counts.get(Operation.READ_ALL).incrementAndGet(0);
        }
    }

    private final Path folder = Files.createTempDirectory("kavril-soak");
    private final List<Watched> shared = new ArrayList<>();
    private final List<Throwable> failures = new ArrayList<>();
    private volatile boolean isOver;

    private Soak() throws IOException {
        for (int i = 0; i < NB_SESSIONS; i++) {
            SessionBuilder config = Session.builder().classes(2);
            Watched made = new Watched(i > 0 ? config.build()
                    : config.journal(folder.resolve("journal"), java.time.Duration.ofMillis(50)).build());
            made.session.publish("soak " + i);
            for (int node = 0; node < NB_NODES; node++) {
                int id = node;
                made.call(Operation.ADD_NODE, () -> made.session.addNode(id));
            }
            for (int link = 0; link < 4 * NB_NODES; link++) {
                addLink(made, link);
            }
            shared.add(made);
        }
    }

    /** Four links leave each node. */
    private static void addLink(Watched on, int id) {
        int source = id % NB_NODES;
        int destination = (source + new int[] {1, NB_NODES - 1, 5, 7}[id / NB_NODES]) % NB_NODES;
        on.call(Operation.ADD_LINK, () -> on.session.addLink(id, source, destination, 60, 30));
    }

    private void step(Watched on, Random random) {
        Session session = on.session;
        int id = random.nextInt(NB_IDS);
        int source = random.nextInt(NB_NODES);
        int destination = random.nextInt(NB_NODES);
        Traffic traffic = Traffic.of(1 + random.nextInt(9)).inClass(random.nextInt(2))
                .atLevel(random.nextInt(8));
        switch (random.nextInt(20)) {
            case 0: case 1: case 2:
                on.call(Operation.REQUEST, () -> session.request(id, source, destination, traffic, ADD));
                break;
            case 3: case 4:
                on.call(Operation.REQUEST,
                        () -> session.request(id, source, destination, traffic, ADD, PREEMPT));
                break;
            case 5:
                on.call(Operation.PROTECT, () -> session.protect(id,
                        Protection.global().placedAs((id + 1) % NB_IDS)));
                break;
            case 6:
                on.call(Operation.PROTECT, () -> session.protect(id, Protection.local()));
                break;
            case 7:
                on.call(Operation.ADD_LSP, () -> session.addLsp(id, traffic,
                        Route.of(source, (source + 1) % NB_NODES, (source + 2) % NB_NODES)));
                break;
            case 8:
                on.call(Operation.ADD_BACKUP, () -> session.addBackup(id, (id + 1) % NB_IDS,
                        Protection.Kind.LOCAL, traffic, Route.of(source, (source + 5) % NB_NODES)));
                break;
            case 9: case 10: case 11: case 12: case 13:
                on.call(Operation.REMOVE_LSP, () -> session.removeLsp(id));
                break;
            case 14:
                on.call(Operation.REMOVE_LINK,
                        () -> session.removeLink(source, (source + 7) % NB_NODES));
                addLink(on, 3 * NB_NODES + source);
                break;
            case 15:
                on.call(Operation.ADD_NODE, () -> session.addNode(source));
                on.call(Operation.REMOVE_NODE, () -> session.removeNode(NB_NODES));
                break;
            case 16:
                on.call(Operation.READ_ALL, () -> checkLinks(session.state()));
                break;
            case 17:
                on.call(Operation.READ, () -> session.backupsOf(id));
                on.call(Operation.READ, () -> session.link(source, destination));
                break;
            case 18:
                on.call(Operation.READ, () -> session.lsp(id));
                on.call(Operation.READ, () -> session.lspsOn(source, (source + 1) % NB_NODES));
                break;
            default:
                if (random.nextInt(50) == 0) {
                    on.call(Operation.READ_ALL, session::dump);
                }
        }
    }

    /** Primary bandwidth, from the routes; no route of these crosses a link twice. */
    private static void checkLinks(NetworkState state) {
        Map<List<Integer>, double[]> loads = new HashMap<>();
        for (Lsp lsp : state.lsps()) {
            for (int i = 0; !lsp.isBackup() && i < lsp.route().nbLinks(); i++) {
                loads.computeIfAbsent(List.of(lsp.route().node(i), lsp.route().node(i + 1)),
                        ends -> new double[2])[lsp.traffic().trafficClass()] += lsp.traffic().bandwidth();
            }
        }
        for (Link link : state.links()) {
            double[] load = loads.getOrDefault(List.of(link.source(), link.destination()), new double[2]);
            if (link.primary(0) != load[0] || link.primary(1) != load[1]) {
                throw new AssertionError(link + ", but LSPs have " + load[0] + " and " + load[1]);
            }
        }
    }

    /** Makes a copy of a session, works on it, and closes or forgets it. */
    private void workOnCopy(Watched on, Random random) throws IOException {
        Watched copy = new Watched(on.session.copy());
        on.counts.get(Operation.COPY).incrementAndGet(0);
        for (int i = 0; i < STEPS_ON_A_COPY; i++) {
            step(copy, random);
        }
        Path file = folder.resolve("copy " + random.nextInt(NB_THREADS));
        copy.session.save(file);
        copy.counts.get(Operation.SAVE).incrementAndGet(0);
        copy.check();
        if (random.nextBoolean()) {
            copy.session.close();
        }
    }

    private void work(int seed) {
        Random random = new Random(seed);
        try {
            while (!isOver) {
                Watched on = shared.get(random.nextInt(NB_SESSIONS));
                if (random.nextInt(1000) == 0) {
                    workOnCopy(on, random);
                } else {
                    step(on, random);
                }
            }
        } catch (Throwable e) {
            synchronized (failures) {
                failures.add(e);
            }
            isOver = true;
        }
    }

    /** Resident memory in KiB. */
    private static long resident() throws IOException {
        return Files.readAllLines(Path.of("/proc/self/status")).stream()
                .filter(line -> line.startsWith("VmRSS:"))
                .mapToLong(line -> Long.parseLong(line.replaceAll("\\D", ""))).sum();
    }

    /** The most that is resident until a time. */
    private long watch(long untilNanos) throws IOException, InterruptedException {
        long most = 0;
        while (!isOver && System.nanoTime() < untilNanos) {
            Thread.sleep(100);
            most = Math.max(most, resident());
        }
        return most;
    }

    private String run(long nanos) throws Exception {
        List<Thread> threads = new ArrayList<>();
        for (int i = 0; i < NB_THREADS; i++) {
            int seed = i;
            threads.add(new Thread(() -> work(seed)));
        }
        long start = System.nanoTime();
        threads.forEach(Thread::start);
        watch(start + (long) (WARM * nanos));
        long middle = watch(start + (long) ((1 + WARM) / 2 * nanos));
        long end = watch(start + nanos);
        isOver = true;
        for (Thread thread : threads) {
            thread.join();
        }
        for (Throwable failure : failures) {
            failure.printStackTrace(System.out);
        }
        for (Watched watched : shared) {
            watched.check();
            watched.session.close();
        }
        if (!failures.isEmpty() || end > middle + MAX_GROWTH_KB) {
            throw new AssertionError("resident: " + middle + " KiB, then " + end);
        }
        return shared.stream().mapToLong(Watched::nbCalls).sum() + " calls on shared sessions, resident "
                + middle / 1024 + " MiB at most in the first half, " + end / 1024 + " in the second";
    }

    /**
     * Runs it.
     *
     * @param args how many seconds
     */
    public static void main(String[] args) throws Exception {
        Soak soak = new Soak();
        try {
            System.out.println(soak.run((long) (Double.parseDouble(args[0]) * 1e9)));
        } finally {
            try (var files = Files.list(soak.folder)) {
                for (Object file : files.toArray()) {
                    Files.delete((Path) file);
                }
            }
            Files.delete(soak.folder);
        }
    }
}
