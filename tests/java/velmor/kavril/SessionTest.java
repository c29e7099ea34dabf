package velmor.kavril;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static velmor.kavril.RequestOption.ADD;
import static velmor.kavril.RequestOption.PREEMPT;

import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.OptionalInt;
import java.util.Set;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.stream.Collectors;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;

/** What sessions do; {@link MisuseTest} has what they refuse. */
class SessionTest {

    //   0 --10--> 1 --10--> 2 --10--> 3      and a way around each inner node, all links both ways:
    //   0 -- 4 -- 2,  1 -- 5 -- 3            of capacity 10
    private final Session session = Session.builder().weight(Weight.LOAD, 1).build();

    SessionTest() {
        for (int node = 0; node < 6; node++) {
            session.addNode(node);
        }
        int[][] cables = {{0, 1}, {1, 2}, {2, 3}, {0, 4}, {4, 2}, {1, 5}, {5, 3}};
        int id = 0;
        for (int[] cable : cables) {
            session.addLink(id++, cable[0], cable[1], 10);
            session.addLink(id++, cable[1], cable[0], 10);
        }
    }

    @AfterEach
    void close() {
        session.close();
    }

    private String reserved(int source, int destination) {
        String text = session.dump();
        String link = text.substring(text.indexOf("Link " + source + "-" + destination + " "));
        return link.substring(link.indexOf("rbw[0] = ") + 9, link.indexOf("\n\tCapacity[1]"));
    }

    @Test
    void aRequestFindsAndPlacesAsItsOptionsSay() {
        Traffic traffic = Traffic.of(6).atLevel(3);
        Placement found = session.request(1, 0, 1, traffic);
        assertEquals(Route.of(0, 1), found.route());
        assertFalse(found.isAdded());
        assertEquals("0.000000", reserved(0, 1));

        assertTrue(session.request(1, 0, 1, traffic, ADD).isAdded());
        assertEquals("6.000000", reserved(0, 1));
        // Not enough is left on 0 > 1, and the way over 4 and 2 costs two more links.
        assertEquals(Route.of(0, 4, 2, 1), session.request(2, 0, 1, traffic, ADD).route());
        assertThrows(NoRouteException.class, () -> session.request(3, 0, 1, traffic, ADD));

        Placement urgent = session.request(3, 0, 1, traffic.atLevel(2), ADD, PREEMPT);
        assertEquals(Route.of(0, 1), urgent.route());
        assertEquals(List.of(1), urgent.preempted());
        assertEquals("6.000000", reserved(0, 1));

        // Room is made, and not used.
        assertEquals(List.of(3), session.request(4, 0, 1, traffic.atLevel(1), PREEMPT).preempted());
        assertEquals("0.000000", reserved(0, 1));
        assertThrows(RefusedException.class, () -> session.removeLsp(3));
        session.removeLsp(2);
        assertEquals("0.000000", reserved(4, 2));
        // The ids of those that gave way are free again.
        session.addLsp(1, traffic, Route.of(0, 1));
    }

    @Test
    void localBackupsTellWhatTheyProtect() {
        session.addLsp(1, Traffic.of(6).atLevel(4), Route.of(0, 1, 2, 3));
        List<Backup> computed = session.protect(1, Protection.local());
        assertEquals(List.of(), session.backupsOf(1));
        assertEquals("0.000000", reserved(0, 4));

        List<Backup> backups = session.protect(1, Protection.local().placedAs(11, 12, 13).atLevel(2));
        assertEquals(List.of(11, 12, 13), session.backupsOf(1));
        assertEquals("6.000000", reserved(0, 4));
        Route[] routes = {Route.of(0, 4, 2), Route.of(1, 5, 3), Route.of(2, 1, 5, 3)};
        Route[] links = {Route.of(0, 1), Route.of(1, 2), Route.of(2, 3)};
        List<List<Integer>> nodes = List.of(List.of(1), List.of(2), List.of());
        for (int i = 0; i < 3; i++) {
            assertEquals(routes[i], computed.get(i).route());
            assertEquals(OptionalInt.empty(), computed.get(i).lspId());
            Backup backup = backups.get(i);
            assertEquals(routes[i], backup.route());
            assertEquals(OptionalInt.of(11 + i), backup.lspId());
            assertEquals(links[i], backup.protectedRoute());
            assertEquals(nodes.get(i), backup.protectedNodes());
            assertEquals(1, backup.primaryId());
        }
        // The two over 1 > 5 and 5 > 3 share: no single failure needs both.
        assertEquals("6.000000", reserved(5, 3));

        // They do not give way to level 3.
        assertThrows(NoRouteException.class,
                () -> session.request(9, 0, 4, Traffic.of(5).atLevel(3), PREEMPT));

        // Backups outlive their primary and are to be removed.
        session.removeLsp(1);
        assertEquals(List.of(11, 12, 13), session.backupsOf(1));
        session.backupsOf(1).forEach(session::removeLsp);
        assertEquals(List.of(), session.backupsOf(1));
    }

    @Test
    void whatHasNoBackupIsListed() {
        session.addNode(6);
        session.addLink(30, 3, 6, 10);
        session.addLsp(1, Traffic.of(6), Route.of(0, 1, 2, 3, 6));
        Protection local = Protection.local().placed();
        assertThrows(NoRouteException.class, () -> session.protect(1, local));
        PartialProtection partial = session.protectPartly(1, local);
        assertEquals(List.of(2, 3, 4), session.backupsOf(1));
        assertEquals(List.of(2, 3, 4), partial.backups().stream()
                .map(backup -> backup.lspId().getAsInt()).collect(Collectors.toList()));
        assertEquals(Map.of(Route.of(3, 6), "there is no way around it"), partial.unprotected());
        assertEquals(Set.of(Route.of(0, 1, 2, 3, 6)),
                session.protectPartly(1, Protection.global()).unprotected().keySet());

        // As protect() where there is a backup for every link.
        session.addLsp(9, Traffic.of(1), Route.of(0, 1, 2));
        List<Backup> all = session.protect(9, local);
        session.backupsOf(9).forEach(session::removeLsp);
        assertEquals(all.toString(), session.protectPartly(9, local).toString());

        session.addLsp(20, Traffic.of(3), Route.of(3, 2));
        session.addLsp(21, Traffic.of(9), Route.of(5, 1));
        assertEquals(Map.of(Route.of(3, 2), "no way around it has enough room"),
                session.protectPartly(20, local).unprotected());
    }

    @Test
    void anLspGoesWithItsBackups() {
        session.addLsp(1, Traffic.of(6), Route.of(0, 1, 2));
        session.protect(1, Protection.local().placedAs(5, 3));
        assertEquals(6, session.addBackup(1, Protection.Kind.GLOBAL, Traffic.of(4), Route.of(0, 4, 2)));
        assertEquals(List.of(), session.removeLspAndBackups(6));
        assertEquals(List.of(3, 5), session.removeLspAndBackups(1));
        assertEquals(List.of(), session.state().lsps());
        assertThrows(RefusedException.class, () -> session.removeLspAndBackups(1));
        session.addLsp(1, Traffic.of(6), Route.of(0, 1, 2));
        session.protect(1, Protection.global().placed());
        session.removeLsp(1);
        assertEquals(List.of(2), session.removeLspAndBackups(1));
        assertEquals("0.000000", reserved(0, 4));
    }

    @Test
    void aGlobalBackupGoesAroundAllNodesIfItCan() {
        session.addLsp(1, Traffic.of(6), Route.of(0, 1, 2));
        session.addLsp(2, Traffic.of(6), Route.of(3, 2, 1));
        Backup around = session.protect(1, Protection.global().placedAs(11)).get(0);
        assertEquals(Route.of(0, 4, 2), around.route());
        assertEquals(Route.of(0, 1, 2), around.protectedRoute());
        assertEquals(List.of(1), around.protectedNodes());
        assertEquals(Protection.Kind.GLOBAL, around.kind());
        Backup other = session.protect(2, Protection.global()).get(0);
        assertEquals(Route.of(3, 5, 1), other.route());

        session.addBackup(12, 2, Protection.Kind.GLOBAL, Traffic.of(6).atLevel(5), other.route());
        assertEquals(List.of(12), session.backupsOf(2));
        assertEquals("6.000000", reserved(5, 1));

        session.addLsp(3, Traffic.of(1), Route.of(0, 1, 2, 3));
        Backup winding = session.protect(3, Protection.global()).get(0);
        assertEquals(Route.of(0, 4, 2, 1, 5, 3), winding.route());
        assertEquals(List.of(), winding.protectedNodes());
    }

    /** A primary that comes back to a node has backups of which only the first finds room. */
    @Test
    void aProtectionThatEndsHalfWayIsTakenBack() {
        session.addLsp(1, Traffic.of(4), Route.of(1, 2, 3, 2));
        NetworkState before = session.state();
        RefusedException e = assertThrows(RefusedException.class,
                () -> session.protect(1, Protection.local().placedAs(11, 12, 13)));
        assertTrue(e.getMessage().contains("has not enough room"), e.getMessage());
        assertEquals(before.lsps(), session.state().lsps());
        assertEquals(before.links(), session.state().links());
        session.addBackup(11, 1, Protection.Kind.LOCAL, Traffic.of(4), Route.of(1, 5, 3));
    }

    @Test
    void unlessToldOtherwiseASessionGoesAroundCongestion() {
        try (Session other = Session.builder().build()) {
            for (int node = 0; node < 3; node++) {
                other.addNode(node);
            }
            other.addLink(0, 0, 1, 10);
            other.addLink(1, 0, 2, 10);
            other.addLink(2, 2, 1, 10);
            other.addLsp(2, Traffic.of(6), Route.of(0, 1));
            assertEquals(Route.of(0, 2, 1), other.request(3, 0, 1, Traffic.of(0.5)).route());
        }
    }

    @Test
    void whatLspsDependOnStays() {
        session.addLsp(1, Traffic.of(1), Route.of(0, 1, 2));
        session.protect(1, Protection.global().placedAs(11));
        session.removeLsp(1);
        // The backup's own links, and those of the primary that is gone.
        for (int[] link : new int[][] {{0, 4}, {1, 2}}) {
            RefusedException e = assertThrows(RefusedException.class,
                    () -> session.removeLink(link[0], link[1]));
            assertTrue(e.getMessage().endsWith("LSPs that are up depend on it: [11]"), e.getMessage());
        }
        assertThrows(RefusedException.class, () -> session.removeNode(1));
        session.removeLsp(11);
        session.removeLink(0, 1);
        // The library remarks on the gap in the links' ids; that must not be told with a later failure.
        session.addLsp(3, Traffic.of(1), Route.of(1, 2));
        session.protect(3, Protection.local());
        assertEquals(3, assertThrows(RefusedException.class, () -> session.addNode(1)).trace().size());
        session.removeNode(4);
        assertThrows(NoRouteException.class, () -> session.request(2, 0, 1, Traffic.of(1)));
        session.addNode(4);
        session.addLink(0, 0, 1, 10);
        assertEquals(Route.of(0, 1), session.request(2, 0, 1, Traffic.of(1)).route());
    }

    @Test
    void sessionsOfDifferentShapesGoTogether() {
        try (Session wide = Session.builder().classes(8).levels(2).capacityClause(false)
                .weight(Weight.FORTZ, 2).weight(Weight.DELAY, 0.5).build()) {
            wide.addNode(0);
            wide.addNode(1);
            wide.addLink(0, 0, 1, 1, 2, 3, 4, 5, 6, 7, 8);
            wide.request(1, 0, 1, Traffic.of(99).inClass(7).atLevel(1), ADD);
            session.request(1, 0, 1, Traffic.of(2), ADD);
            assertTrue(wide.dump().contains("Capacity[7] = 8.000000\n\tpbw[7] = 99.000000"));
            assertEquals("2.000000", reserved(0, 1));
        }
    }

    @Test
    void threadsTakeTurns() throws Exception {
        int nbThreads = 4;
        int nbEach = 200;
        session.addNode(6);
        session.addNode(7);
        session.addLink(20, 6, 7, nbThreads * nbEach);
        ExecutorService pool = Executors.newFixedThreadPool(nbThreads);
        List<Future<?>> futures = new ArrayList<>();
        for (int thread = 0; thread < nbThreads; thread++) {
            int first = thread * nbEach;
            futures.add(pool.submit(() -> {
                try (Session own = Session.builder().build()) {
                    own.addNode(0);
                    for (int i = first; i < first + nbEach; i++) {
                        session.request(i, 6, 7, Traffic.of(1), ADD);
                        int id = i;
                        KavrilException e = assertThrows(RefusedException.class,
                                () -> own.addNode(0));
                        assertEquals(3, e.trace().size(), () -> "messages of others at " + id);
                    }
                }
            }));
        }
        for (Future<?> future : futures) {
            future.get();
        }
        pool.shutdown();
        assertEquals(nbThreads * nbEach + ".000000", reserved(6, 7));
    }

    @Test
    void forgottenSessionsAreClosedBeforeThereAreTooMany() {
        for (int i = 0; i < 300; i++) {
            Session.builder().build();
        }
        List<Session> kept = new ArrayList<>();
        RefusedException full = assertThrows(RefusedException.class, () -> {
            while (kept.size() <= 128) {
                kept.add(Session.builder().build());
            }
        });
        assertTrue(full.getMessage().startsWith("a session cannot be opened: 128 sessions are open"),
                full.getMessage());
        assertThrows(RefusedException.class, session::copy);
        // None of these has been forgotten.
        session.addNode(9);
        kept.forEach(Session::close);
    }

    private boolean overflow(int depth, Runnable call) {
        try {
            return overflow(depth + 1, call);
        } catch (StackOverflowError e) {
            try {
                call.run();
                return true;
            } catch (StackOverflowError again) {
                throw e;
            }
        }
    }

    /** As far as its call came: the stack ends a little later every time. */
    @Test
    void anErrorLeavesNoLspThatCannotBeRemoved() throws InterruptedException {
        List<Integer> ids = new ArrayList<>();
        Runnable call = () -> {
            ids.add(ids.size());
            session.addLsp(ids.size(), Traffic.of(0.001), Route.of(0, 1));
        };
        call.run();
        assertThrows(RefusedException.class, () -> session.addLsp(1, Traffic.of(1), Route.of(0, 1)));
        Thread thread = new Thread(null, () -> overflow(0, call), "small stack", 1 << 18);
        thread.start();
        thread.join();
        assertTrue(ids.size() > 2, "the stack did not end");
        for (Lsp lsp : session.state().lsps()) {
            session.removeLsp(lsp.id());
        }
        assertEquals(List.of(), session.lspsOn(0, 1));
        assertEquals(10, session.link(0, 1).orElseThrow().free(0));
    }

    @Test
    void sessionsAreNamed() {
        assertEquals("session of 1 class and 8 levels", session.toString());
        session.close();
        assertEquals("closed session of 1 class and 8 levels", session.toString());
    }

    @Test
    void valuesAreComparedAndPrinted() {
        assertAll(
                () -> assertEquals("1 > 2 > 3", Route.of(1, 2, 3).toString()),
                () -> assertEquals(Route.of(1, 2, 3).hashCode(), Route.of(1, 2, 3).hashCode()),
                () -> assertFalse(Route.of(1, 2).equals(Route.of(2, 1))),
                () -> assertTrue(Route.of(1, 2, 3).crosses(2, 3)),
                () -> assertFalse(Route.of(1, 2, 3).crosses(3, 2)),
                () -> assertEquals(Traffic.of(5).inClass(1).atLevel(2),
                        Traffic.of(5).atLevel(2).inClass(1)),
                () -> assertFalse(Traffic.of(5).equals(Traffic.of(5).atLevel(1))),
                () -> assertEquals("5.0 in class 0 at level 0", Traffic.of(5).toString()));
        int[] nodes = {1, 2};
        Route route = Route.of(nodes);
        nodes[0] = 7;
        route.nodes()[1] = 7;
        assertEquals(Route.of(1, 2), route);
    }
}
