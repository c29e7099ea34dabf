package velmor.kavril;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static velmor.kavril.RequestOption.ADD;
import static velmor.kavril.RequestOption.PREEMPT;

import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Random;
import java.util.function.Predicate;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Requests with constraints, against all paths there are. */
class RequestTest {
    private static final int NODES = 7;

    /** A random network in plain data: capacities, 0 for no link, and colours. */
    private static final class Plain {
        final double[][] capacities = new double[NODES][NODES];
        final int[][] colors = new int[NODES][NODES];

        Plain(Random random) {
            for (int from = 0; from < NODES; from++) {
                for (int to = 0; to < NODES; to++) {
                    if (from != to && random.nextInt(100) < 45) {
                        capacities[from][to] = 4 + random.nextInt(30);
                        colors[from][to] = random.nextInt(4);
                    }
                }
            }
        }

        Session open(Weight criterion) {
            Session session = Session.builder().weight(criterion, 1).build();
            for (int node = 0; node < NODES; node++) {
                session.addNode(node);
            }
            for (int from = 0; from < NODES; from++) {
                for (int to = 0; to < NODES; to++) {
                    if (capacities[from][to] > 0) {
                        session.addLink(from * NODES + to, from, to,
                                new double[] {capacities[from][to]}, colors[from][to]);
                    }
                }
            }
            return session;
        }

        double cost(List<Integer> path, double bandwidth) {
            double cost = 0;
            for (int i = 0; i + 1 < path.size(); i++) {
                cost += bandwidth / capacities[path.get(i)][path.get(i + 1)];
            }
            return cost;
        }

        boolean hasRoom(List<Integer> path, double bandwidth) {
            for (int i = 0; i + 1 < path.size(); i++) {
                if (capacities[path.get(i)][path.get(i + 1)] < bandwidth) {
                    return false;
                }
            }
            return true;
        }

        List<List<Integer>> paths(List<Integer> head, int destination) {
            List<List<Integer>> paths = new ArrayList<>();
            int last = head.get(head.size() - 1);
            if (last == destination) {
                paths.add(head);
                return paths;
            }
            for (int next = 0; next < NODES; next++) {
                if (capacities[last][next] > 0 && !head.contains(next)) {
                    List<Integer> longer = new ArrayList<>(head);
                    longer.add(next);
                    paths.addAll(paths(longer, destination));
                }
            }
            return paths;
        }
    }

    /** A request with some constraints of every kind, and the same as a test of paths. */
    private static final class Wish {
        Request request;
        Predicate<List<Integer>> keeps = path -> true;

        Wish(Random random, Plain plain, double bandwidth) {
            request = Request.of(0, NODES - 1, Traffic.of(bandwidth));
            if (random.nextInt(3) == 0) {
                int most = 1 + random.nextInt(4);
                request = request.withinLinks(most);
                keeps = keeps.and(path -> path.size() - 1 <= most);
            }
            if (random.nextInt(3) == 0) {
                int color = random.nextInt(4);
                request = request.avoidingColors(color, 77);
                keeps = keeps.and(path -> !hasLink(path, (a, b) -> plain.colors[a][b] == color));
            }
            if (random.nextInt(3) == 0) {
                int one = random.nextInt(4);
                int other = random.nextInt(4);
                request = request.requiringColors(one).requiringColors(other);
                keeps = keeps.and(path -> !hasLink(path,
                        (a, b) -> plain.colors[a][b] != one && plain.colors[a][b] != other));
            }
            if (random.nextInt(3) == 0) {
                request = request.avoidingNodes(5).avoidingLink(0, 1);
                keeps = keeps.and(path -> !path.contains(5)
                        && !hasLink(path, (a, b) -> a == 0 && b == 1));
            }
            boolean hasNodes = random.nextInt(3) == 0;
            if (hasNodes) {
                request = request.through(2, 1);
                keeps = keeps.and(path -> path.contains(1)
                        && path.subList(0, path.indexOf(1)).contains(2));
            }
            if (random.nextInt(4) == 0) {
                request = request.throughLink(3, 4);
                keeps = keeps.and(path -> hasLink(path, (a, b) -> a == 3 && b == 4)
                        && (!hasNodes || path.indexOf(1) < path.indexOf(3)));
            }
        }

        private interface OfLink {
            boolean test(int source, int destination);
        }

        private static boolean hasLink(List<Integer> path, OfLink test) {
            for (int i = 0; i + 1 < path.size(); i++) {
                if (test.test(path.get(i), path.get(i + 1))) {
                    return true;
                }
            }
            return false;
        }
    }

    @Test
    void findsTheBestOfAllPathsThatKeepToTheConstraints() {
        int[] nb = new int[4];
        for (int seed = 0; seed < 700; seed++) {
            Random random = new Random(seed);
            Plain plain = new Plain(random);
            double bandwidth = 1 + random.nextInt(20);
            boolean isSum = seed % 5 > 0;
            Wish wish = new Wish(random, plain, bandwidth);
            List<List<Integer>> all = plain.paths(List.of(0), NODES - 1);
            double best = all.stream().filter(wish.keeps)
                    .filter(path -> plain.hasRoom(path, bandwidth))
                    .mapToDouble(path -> plain.cost(path, bandwidth)).min().orElse(-1);
            String what = "seed " + seed + ", " + wish.request;
            try (Session session = plain.open(isSum ? Weight.RELATIVE_LOAD : Weight.LOAD_BALANCE)) {
                if (best >= 0) {
                    List<Integer> path = new ArrayList<>();
                    for (int node : session.request(wish.request, ADD).route().nodes()) {
                        path.add(node);
                    }
                    assertTrue(all.contains(path) && wish.keeps.test(path), what + ": " + path);
                    if (isSum) {
                        assertEquals(best, plain.cost(path, bandwidth), 1e-6, what + ": " + path);
                    }
                    nb[0]++;
                    continue;
                }
                String message = assertThrows(NoRouteException.class,
                        () -> session.request(wish.request, ADD), what).getMessage();
                int reason = all.stream().noneMatch(wish.keeps) ? 1
                        : all.stream().noneMatch(path -> plain.hasRoom(path, bandwidth)) ? 2 : 3;
                String[] reasons = {null, "however much room", "nothing may give way", "others have"};
                // With nothing to keep to, room is all there is to say.
                assertTrue(message.contains(reasons[reason]) || reason == 1 && message.contains(reasons[2])
                        && wish.request.equals(Request.of(0, NODES - 1, Traffic.of(bandwidth))),
                        what + ": " + message);
                nb[reason]++;
            }
        }
        for (int times : nb) {
            assertTrue(times > 10, List.of(nb[0], nb[1], nb[2], nb[3]).toString());
        }
    }

    @Test
    void idsAndRoutesAreTakenAsAsked() {
        try (Session session = Session.builder().build()) {
            for (int node = 0; node < 4; node++) {
                session.addNode(node);
            }
            session.addLink(0, 0, 1, new double[] {10}, 7);
            session.addLink(1, 1, 3, 10);
            session.addLink(2, 0, 2, 10);
            session.addLink(3, 2, 3, 10);
            Request request = Request.of(0, 3, Traffic.of(6));
            Request around = request.over(Route.of(0, 2, 3));
            assertEquals(Route.of(0, 2, 3), session.request(around).route());
            assertEquals(0, session.request(around.carrying(Traffic.of(6).atLevel(3)), ADD).lspId());
            assertEquals(7, session.request(request.withId(7), ADD).lspId());
            assertEquals(8, session.request(request.carrying(Traffic.of(1)), ADD).lspId());
            session.removeLsp(8);
            assertEquals(8, session.request(Request.of(3, 3, Traffic.of(1)), ADD).lspId());
            session.addLsp(16777215, Traffic.of(1), Route.of(0));
            assertEquals(1, session.request(Request.of(0, 1, Traffic.of(1)), ADD).lspId());

            String[][] refusals = {
                {refusal(session, around), "LSP 3 (6.0 in class 0 at level 0) cannot be placed over"
                        + " 0 > 2 > 3: a link that it concerns has not enough room"},
                {refusal(session, request.over(Route.of(0, 3))), "there is no link 0 > 3"},
                {refusal(session, request.over(Route.of(0, 1, 3)).avoidingColors(7)),
                    "over 0 > 1 > 3, without the colours [7]: the route does not keep"},
                {refusal(session, request.through(9)), "through 0 > ... > 9 > ... > 3:"
                        + " there is no node 9"},
                {refusal(session, request.withId(7)), "the LSP id 7 is in use"}};
            for (String[] refusal : refusals) {
                assertTrue(refusal[0].contains(refusal[1]), refusal[0]);
            }
            // An urgent one may go where it is told to.
            assertEquals(List.of(0), session.request(around, ADD, PREEMPT).preempted());
        }
    }

    private static String refusal(Session session, Request request) {
        Request named = request.id().isPresent() ? request : request.withId(3);
        return assertThrows(KavrilException.class, () -> session.request(named)).getMessage();
    }

    @Test
    void journalsKeepColoursAndTheLspsThatAvoidThem(@TempDir Path folder) {
        Path journal = folder.resolve("journal");
        Request request = Request.of(0, 1, Traffic.of(6)).avoidingColors(7);
        String before;
        try (Session session = Session.builder().journal(journal).build()) {
            for (int node = 0; node < 3; node++) {
                session.addNode(node);
            }
            session.addLink(0, 0, 1, new double[] {10}, 7);
            session.addLink(1, 0, 2, 10);
            session.addLink(2, 2, 1, 10);
            assertEquals(Route.of(0, 2, 1), session.request(request, ADD).route());
            before = session.dump();
        }
        try (Session session = Session.builder().journal(journal).build()) {
            assertEquals(before, session.dump());
            assertEquals(7, session.link(0, 1).get().color());
            assertThrows(NoRouteException.class, () -> session.request(request));
        }
    }

    @Test
    void contradictionsAreRefusedWhenTheyAreMade() {
        Request request = Request.of(0, 3, Traffic.of(1)).through(1).throughLink(1, 2);
        assertEquals("an LSP (1.0 in class 0 at level 0) from 0 to 3, through 0 > ... > 1 > 2 > ... > 3",
                request.toString());
        assertEquals(Request.of(0, 3, Traffic.of(1)).through(1, 4).throughLink(4, 3),
                Request.of(0, 3, Traffic.of(1)).through(1).throughLink(4, 3));
        List<Runnable> contradictions = List.of(
                () -> request.through(1), () -> request.through(3), () -> request.throughLink(5, 0),
                () -> request.throughLink(5, 3).through(4), () -> request.throughLink(5, 3).throughLink(4, 3),
                () -> request.avoidingNodes(4, 2), () -> request.avoidingNodes(0),
                () -> request.over(Route.of(0, 3)), () -> request.withinLinks(0),
                () -> Request.of(0, 3, Traffic.of(1)).over(Route.of(0, 2)),
                () -> Request.of(0, 3, Traffic.of(1)).over(Route.of(0, 3)).through(1));
        for (Runnable contradiction : contradictions) {
            assertThrows(IllegalArgumentException.class, contradiction::run);
        }
    }
}
