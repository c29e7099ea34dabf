package velmor.kavril;

import java.util.Arrays;
import java.util.List;
import java.util.Random;
import java.util.TreeSet;
import velmor.repository.KAVRIL.JNIKAVRIL;

/**
 * The same random calls through the native methods or through a session, each in a process of its
 * own; both print what came of them.
 */
public final class Twins {
    private static final int NB_NODES = 7;
    private static final int NB_CALLS = 160;

    private Twins() {
    }

    /** The calls, in either way; a path or true for success, null for a refusal. */
    private interface Calls {
        Object node(int id) throws Exception;

        Object link(int id, int src, int dst, float[] capacities) throws Exception;

        Object request(int id, int src, int dst, int oa, int level, float bw, boolean preempt)
                throws Exception;

        Object protect(int id, int[] ids, boolean global) throws Exception;

        Object remove(int id) throws Exception;

        /** Ids of the LSPs that the last request preempted. */
        int[] preempted();

        void print();
    }

    private static final class Raw implements Calls {
        private final JNIKAVRIL kavril = new JNIKAVRIL();

        Raw() {
            kavril.jniinitKavril(2, 3, false, false, true, 0, 0, 0, 0, 1, 0, 1, new float[2][3]);
        }

        @Override
        public Object node(int id) throws Exception {
            kavril.jniaddNode(id);
            return true;
        }

        @Override
        public Object link(int id, int src, int dst, float[] capacities) throws Exception {
            kavril.jniaddLink(id, 0, src, dst, capacities, new float[2][3], null, null, null);
            return true;
        }

        @Override
        public Object request(int id, int src, int dst, int oa, int level, float bw,
                boolean preempt) throws Exception {
            kavril.lsps = null;
            return kavril.jnicomputePath(id, src, dst, 0, 0, 0, oa, level, bw, null, true, preempt);
        }

        @Override
        public Object protect(int id, int[] ids, boolean global) throws Exception {
            return kavril.jnicomputeBackupPath(id, ids, global ? 1 : 2, true, false);
        }

        @Override
        public Object remove(int id) throws Exception {
            kavril.jniremoveLSP(id);
            return true;
        }

        @Override
        public int[] preempted() {
            return kavril.lsps == null ? new int[0] : kavril.lsps;
        }

        @Override
        public void print() {
            System.out.flush();
            kavril.jniprintKavrilDB();
        }
    }

    private static final class Safe implements Calls {
        private final Session session = Session.builder().classes(2).levels(3)
                .weight(Weight.SQUARED_RELATIVE_LOAD, 1).weight(Weight.FORTZ, 1).build();
        private Placement last;

        @Override
        public Object node(int id) {
            session.addNode(id);
            return true;
        }

        @Override
        public Object link(int id, int src, int dst, float[] capacities) {
            session.addLink(id, src, dst, capacities[0], capacities[1]);
            return true;
        }

        @Override
        public Object request(int id, int src, int dst, int oa, int level, float bw,
                boolean preempt) {
            last = null;
            Traffic traffic = Traffic.of(bw).inClass(oa).atLevel(level);
            last = preempt
                    ? session.request(id, src, dst, traffic, RequestOption.ADD, RequestOption.PREEMPT)
                    : session.request(id, src, dst, traffic, RequestOption.ADD);
            return last.route().nodes();
        }

        @Override
        public Object protect(int id, int[] ids, boolean global) {
            String before = session.dump();
            try {
                Protection protection = global ? Protection.global() : Protection.local();
                List<Backup> backups = session.protect(id, protection.placedAs(ids));
                return backups.stream().map(backup -> backup.route().nodes()).toArray(int[][]::new);
            } catch (KavrilException e) {
                if (!session.dump().equals(before)) {
                    System.out.println("the refused protection has left something");
                }
                throw e;
            }
        }

        @Override
        public Object remove(int id) {
            session.removeLsp(id);
            return true;
        }

        @Override
        public int[] preempted() {
            return last == null ? new int[0]
                    : last.preempted().stream().mapToInt(Integer::intValue).toArray();
        }

        @Override
        public void print() {
            System.out.print(session.dump());
            System.out.flush();
            session.close();
        }
    }

    /**
     * Makes the calls.
     *
     * @param args raw or safe, and the seeds
     */
    public static void main(String[] args) {
        for (int i = 1; i < args.length; i++) {
            run(args[0].equals("raw") ? new Raw() : new Safe(), new Random(Long.parseLong(args[i])));
        }
    }

    private static void run(Calls calls, Random random) {
        for (int node = 0; node < NB_NODES; node++) {
            int id = node;
            say("node", () -> calls.node(id));
        }
        for (int i = 0; i < 3 * NB_NODES; i++) {
            int id = i;
            int src = random.nextInt(NB_NODES);
            int dst = random.nextInt(NB_NODES);
            float[] capacities = {10 + random.nextInt(10), 5 + random.nextInt(10)};
            if (src != dst) {
                say("link", () -> calls.link(id, src, dst, capacities));
            }
        }
        TreeSet<Integer> primaries = new TreeSet<>();
        TreeSet<Integer> all = new TreeSet<>();
        int[][] paths = new int[NB_CALLS][];
        for (int i = 0; i < NB_CALLS; i++) {
            int id = i;
            int some = all.isEmpty() ? 0 : all.floor(random.nextInt(all.last() + 1) | all.first());
            int a = random.nextInt(NB_NODES);
            int b = random.nextInt(NB_NODES);
            int level = random.nextInt(3);
            boolean flag = random.nextBoolean();
            switch (random.nextInt(4)) {
                case 0:
                    if (say("remove " + some, () -> calls.remove(some)) != null) {
                        primaries.remove(some);
                        all.remove(some);
                    }
                    break;
                case 1:
                    if (primaries.contains(some) && paths[some].length > 1) {
                        int[] ids = new int[flag ? 1 : paths[some].length - 1];
                        Arrays.setAll(ids, k -> 1000 + 10 * id + k);
                        Object made = say("protect " + some, () -> calls.protect(some, ids, flag));
                        if (made != null) {
                            Arrays.stream(ids).forEach(all::add);
                        } else {
                            // The native method leaves what it had placed before the failure.
                            Arrays.stream(ids).filter(k -> calls instanceof Raw)
                                    .forEach(k -> quietly(() -> calls.remove(k)));
                        }
                    }
                    break;
                default:
                    int[] path = (int[]) say("request " + id, () -> calls.request(
                            id, a, b, level % 2, level, 1 + random.nextInt(6), flag));
                    if (path != null) {
                        paths[id] = path;
                        primaries.add(id);
                        all.add(id);
                        int[] preempted = calls.preempted();
                        System.out.println("  preempted " + Arrays.toString(preempted));
                        Arrays.stream(preempted).forEach(primaries::remove);
                        Arrays.stream(preempted).forEach(all::remove);
                    }
            }
        }
        calls.print();
    }

    private interface Call {
        Object run() throws Exception;
    }

    private static Object quietly(Call call) {
        try {
            return call.run();
        } catch (Exception e) {
            return null;
        }
    }

    private static Object say(String what, Call call) {
        Object result = null;
        String text = "refused";
        try {
            result = call.run();
            text = result instanceof int[] ? Arrays.toString((int[]) result)
                    : result instanceof int[][] ? Arrays.deepToString((int[][]) result) : "done";
        } catch (RefusedException | velmor.repository.model.exception.AddDBException e) {
            text = "not added";
        } catch (Exception e) {
            text = "refused";
        }
        System.out.println(what + ": " + text);
        System.out.flush();
        return result;
    }
}
