package velmor.kavril;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static velmor.kavril.FailureOption.DRY_RUN;
import static velmor.kavril.FailureOption.REPLACE;
import static velmor.kavril.RequestOption.ADD;
import static velmor.kavril.RequestOption.PREEMPT;

import java.io.IOException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Comparator;
import java.util.List;
import java.util.Random;
import java.util.stream.Collectors;
import java.util.stream.IntStream;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** What fails and comes back, changes, and gives way, recounted from plain data. */
class ChangeTest {

    //   0 --10--> 1 --10--> 2 --10--> 3      and a way around each inner node, all links both ways:
    //   0 -- 4 -- 2,  1 -- 5 -- 3            of capacity 10
    private static final int[][] CABLES =
            {{0, 1}, {1, 2}, {2, 3}, {0, 4}, {4, 2}, {1, 5}, {5, 3}};

    @TempDir Path folder;
    private Session session = open(Session.builder());

    private static Session open(SessionBuilder builder) {
        Session session = builder.weight(Weight.LOAD, 1).build();
        for (int node = 0; node < 6; node++) {
            session.addNode(node);
        }
        for (int i = 0; i < 2 * CABLES.length; i++) {
            session.addLink(i, CABLES[i / 2][i % 2], CABLES[i / 2][1 - i % 2], new double[] {10}, i);
        }
        return session;
    }

    @AfterEach
    void close() {
        session.close();
    }

    private static List<Integer> ids(List<Lsp> lsps) {
        return lsps.stream().map(Lsp::id).collect(Collectors.toList());
    }

    /** What is booked, against a network in which all that is up is placed anew. */
    private static void recount(Session session) {
        NetworkState state = session.state();
        try (Session plain = Session.builder().capacityClause(false).build()) {
            state.nodes().forEach(plain::addNode);
            state.links().forEach(link -> plain.addLink(link.id(), link.source(), link.destination(),
                    new double[] {link.capacity(0)}, link.color()));
            state.lsps().stream().filter(lsp -> !lsp.isBackup())
                    .forEach(lsp -> plain.addLsp(lsp.id(), lsp.traffic(), lsp.route()));
            state.lsps().stream().filter(Lsp::isBackup).forEach(lsp -> {
                assertTrue(state.lsp(lsp.primaryId().getAsInt()).filter(lsp::isBackupOf).isPresent(),
                        () -> lsp + " is left over");
                plain.addBackup(lsp.id(), lsp.primaryId().getAsInt(),
                        lsp.kind() == Lsp.Kind.LOCAL_BACKUP ? Protection.Kind.LOCAL
                                : Protection.Kind.GLOBAL, lsp.traffic(), lsp.route());
            });
            assertEquals(plain.state().links(), state.links());
            assertEquals(plain.state().lsps(), state.lsps());
        }
    }

    @Test
    void whateverIsMadeOfItTheBooksAreRight() {
        Random random = new Random(3);
        List<FailureReport> down = new ArrayList<>();
        int[] nbDone = new int[8];
        for (int i = 0; i < 600; i++) {
            int step = i;
            int[] cable = CABLES[random.nextInt(CABLES.length)];
            List<Lsp> primaries = session.state().lsps().stream().filter(lsp -> !lsp.isBackup())
                    .collect(Collectors.toList());
            int id = primaries.isEmpty() ? 0 : primaries.get(random.nextInt(primaries.size())).id();
            Traffic traffic = Traffic.of(1 + random.nextInt(4)).atLevel(random.nextInt(4));
            int kind = random.nextInt(nbDone.length);
            try {
                switch (kind) {
                    case 0:
                    case 1:
                        PlaceResult placed = session.place(
                                Request.of(step % 3, 3 + random.nextInt(3), traffic).withId(10 * step),
                                PlaceOption.PREEMPT);
                        check(placed.restoration());
                        if (!placed.isPlaced()) {
                            break;
                        }
                        session.protect(10 * step, random.nextBoolean() ? Protection.local()
                                .placedAs(IntStream.rangeClosed(1, placed.placed().orElseThrow()
                                        .route().nbLinks()).map(nth -> 10 * step + nth).toArray())
                                : Protection.global().placedAs(10 * step + 1));
                        break;
                    case 2:
                        Failure failure = random.nextInt(4) > 0 ? Failure.cable(cable[0], cable[1])
                                : Failure.node(cable[1]);
                        if (down.size() > 1) {
                            break;
                        }
                        FailureOption how = random.nextBoolean() ? REPLACE : FailureOption.PREEMPT;
                        String before = session.dump();
                        FailureReport dry = session.fail(failure, DRY_RUN, REPLACE, how);
                        assertEquals(before, session.dump());
                        FailureReport report = session.fail(failure, REPLACE, how);
                        assertEquals(dry.toString() + dry.restoration().placed(),
                                report.toString() + report.restoration().placed());
                        check(report.restoration());
                        down.add(report);
                        break;
                    case 3:
                        if (!down.isEmpty()) {
                            check(session.repair(down.get(0)));
                            down.remove(0);
                        }
                        break;
                    case 4:
                        check(session.update(id, traffic).restoration());
                        break;
                    case 5:
                        check(session.reroute(id, traffic).restoration());
                        break;
                    case 6:
                        assertFalse(session.rerouteAround(id, cable[0], cable[1]).after().route()
                                .crosses(cable[0], cable[1]));
                        break;
                    default:
                        if (session.link(cable[0], cable[1]).isEmpty()) {
                            break;
                        }
                        for (Lsp misfit : session.setCapacity(cable[0], cable[1], 4 + random.nextInt(9))) {
                            if (session.lsp(misfit.id()).isPresent()) {
                                session.removeLsp(misfit.id());
                                session.backupsOf(misfit.id()).forEach(session::removeLsp);
                            }
                        }
                        Link link = session.link(cable[0], cable[1]).orElseThrow();
                        assertTrue(link.free(0) >= 0 || link.reservedForBackups(0) > 0, link::toString);
                }
                nbDone[kind]++;
            } catch (KavrilException e) {
                // No room; the next may find some.
            }
            recount(session);
        }
        assertTrue(Arrays.stream(nbDone).allMatch(nb -> nb > 8), () -> Arrays.toString(nbDone));
    }

    @ParameterizedTest
    @CsvSource(nullValues = "-", value = {
        // failed cable or node; backups in use; the traffic's way, or why it is lost
        "0 1,   11, 0 > 4 > 2 > 3",
        "1 2,   12, 0 > 1 > 5 > 3",
        "2 3,   13, 0 > 1 > 2 > 1 > 5 > 3",
        "1,     11, 0 > 4 > 2 > 3",
        "0 1 2 3, 11 13, 0 > 4 > 2 > 1 > 5 > 3",
        "4,     '', ''",
        "0 1 0 4, -, its backup 11 is down too",
        "2 3 1 2, 12, 0 > 1 > 5 > 3",
        "2 3 1 5, -, its backup 13 is down too",
        "3,     -, it ends at a node that is down",
    })
    void trafficSwitchesToBackupsThatAreUp(String failed, String backups, String outcome) {
        session.addLsp(1, Traffic.of(6).atLevel(4), Route.of(0, 1, 2, 3));
        session.protect(1, Protection.local().placedAs(11, 12, 13));
        int[] nodes = Arrays.stream(failed.split(" ")).mapToInt(Integer::parseInt).toArray();
        Failure failure = Failure.node(nodes[0]);
        for (int i = 0; i + 1 < nodes.length; i += 2) {
            Failure cable = Failure.cable(nodes[i], nodes[i + 1]);
            failure = i == 0 ? cable : failure.and(cable);
        }
        String before = session.dump();
        FailureReport dry = session.fail(failure, DRY_RUN);
        assertEquals(before, session.dump());
        FailureReport report = session.fail(failure);
        assertEquals(dry.toString(), report.toString());
        if (backups == null) {
            assertEquals(outcome, report.lost().get(0).reason());
        } else if (!backups.isEmpty()) {
            Switchover switchover = report.switched().get(0);
            assertEquals(Route.of(Arrays.stream(outcome.split(" > ")).mapToInt(Integer::parseInt)
                    .toArray()), switchover.route());
            assertEquals(backups, switchover.backups().stream().map(String::valueOf)
                    .collect(Collectors.joining(" ")));
        } else {
            // Only a backup is hit.
            assertEquals(List.of(1), ids(report.unprotected()));
            assertEquals(List.of(11), ids(report.removed()));
        }
        assertEquals(List.of(), backups != null && backups.isEmpty() ? List.of()
                : session.state().lsps());
        session.repair(report);
        assertEquals(before, session.dump());
        assertEquals(dry.links(), session.state().links().stream()
                .filter(dry.links()::contains).sorted(Comparator.comparingInt(
                        link -> dry.links().indexOf(link))).collect(Collectors.toList()));
        assertThrows(RefusedException.class, () -> session.repair(report));
        assertThrows(RefusedException.class, () -> session.failLink(0, 5));
        assertThrows(RefusedException.class, () -> session.failNode(7));
        assertEquals(before, session.dump());
    }

    @Test
    void linksOfOldAndNewRouteNeedRoomForTheLarger() {
        session.addLsp(1, Traffic.of(6).atLevel(4), Route.of(0, 1, 2));
        session.protect(1, Protection.global().placedAs(2).atLevel(3));
        UpdateResult grown = session.update(1, Traffic.of(10).atLevel(2));
        assertEquals(Traffic.of(10).atLevel(2), session.lsp(1).orElseThrow().traffic());
        assertEquals(Traffic.of(10).atLevel(3), session.lsp(2).orElseThrow().traffic());
        assertEquals(List.of(2), ids(grown.removed()));
        String before = session.dump();
        assertThrows(RefusedException.class, () -> session.update(1, Traffic.of(10.5)));
        assertThrows(RefusedException.class, () -> session.update(2, Traffic.of(1)));
        assertThrows(RefusedException.class, () -> session.update(1, Traffic.of(1), Route.of(0, 5, 2)));
        assertThrows(NoRouteException.class, () -> session.reroute(1, Traffic.of(11)));
        assertEquals(before, session.dump());
        // Another level takes no room; the backups stay.
        assertEquals(List.of(), session.update(1, Traffic.of(10).atLevel(7)).removed());
        assertEquals(List.of(2), session.backupsOf(1));
        // 0 > 1 is full, with the LSP itself alone.
        UpdateResult moved = session.update(1, Traffic.of(9), Route.of(0, 1, 5, 3, 2));
        assertEquals(Route.of(0, 1, 2), moved.before().route());
        assertEquals(9, session.link(0, 1).orElseThrow().primary(0));
        assertEquals(0, session.link(1, 2).orElseThrow().primary(0));
        assertEquals(Route.of(0, 4, 2), session.rerouteAround(1, 0, 1).after().route());
        recount(session);
    }

    @Test
    void aLinkThatIsMadeSmallerTellsWhoNoLongerFits() {
        session.addLsp(1, Traffic.of(3).atLevel(1), Route.of(0, 1));
        session.addLsp(2, Traffic.of(4).atLevel(5), Route.of(0, 1));
        session.addLsp(3, Traffic.of(2).atLevel(5), Route.of(0, 1, 2));
        // By capacity: the one of level 5 that is just large enough, both, all.
        int[][] misfits = {{9}, {8, 3}, {6, 2}, {4, 2, 3}, {2, 1, 2, 3}};
        for (int[] row : misfits) {
            assertEquals(Arrays.stream(row).skip(1).boxed().collect(Collectors.toList()),
                    ids(session.setCapacity(0, 1, row[0])));
            assertEquals(row[0] - 9.0, session.link(0, 1).orElseThrow().free(0));
        }
        assertThrows(RefusedException.class, () -> session.setCapacity(0, 2, 1));
        assertThrows(IllegalArgumentException.class, () -> session.setCapacity(0, 1, -1));
        // To need less is never refused, however much is booked.
        assertThrows(RefusedException.class, () -> session.update(3, Traffic.of(2.5).atLevel(5)));
        session.update(3, Traffic.of(1).atLevel(2));
        assertEquals(-6, session.link(0, 1).orElseThrow().free(0));
        session.rerouteAround(2, 0, 1);
        session.setCapacity(0, 1, 5);
        recount(session);
        assertThrows(NoRouteException.class, () -> session.request(4, 0, 1, Traffic.of(7)));
    }

    @Test
    void whoGivesWayIsPlacedAgain() {
        session.addLsp(1, Traffic.of(6).atLevel(5), Route.of(0, 1));
        session.addBackup(11, 1, Protection.Kind.LOCAL, Traffic.of(1).atLevel(6), Route.of(0, 4, 2, 1));
        session.addLsp(2, Traffic.of(5).atLevel(6), Route.of(0, 4));
        Request request = Request.of(0, 1, Traffic.of(9).atLevel(2)).withId(3);
        String before = session.dump();
        PlaceResult refused = session.place(request);
        assertFalse(refused.isPlaced());
        assertTrue(refused.refusal().orElseThrow().contains("nothing may give way"), refused::toString);
        PlaceResult dry = session.place(request, PlaceOption.PREEMPT, PlaceOption.DRY_RUN);
        assertEquals(before, session.dump());
        PlaceResult placed = session.place(request, PlaceOption.PREEMPT);
        assertEquals(dry.toString(), placed.toString());
        // LSP 1 takes the way round, LSP 2 has no other.
        assertEquals(Route.of(0, 1), session.lsp(3).orElseThrow().route());
        assertEquals(Route.of(0, 4, 2, 1), session.lsp(1).orElseThrow().route());
        assertEquals(List.of(1, 11, 2), ids(placed.restoration().preempted()));
        assertEquals(List.of(1, 11), ids(placed.restoration().placed()));
        assertEquals(List.of(2, 11, 11), placed.restoration().refused().stream()
                .map(refusal -> refusal.lsp().id()).collect(Collectors.toList()));
        recount(session);
        Placement room = session.request(4, 0, 1, Traffic.of(9).atLevel(1), PREEMPT);
        assertEquals("LSP 4 not placed, could go over 0 > 1, removed [3] for it", room.toString());
    }

    @Test
    void batchesComeInOrderAndStop() {
        List<Request> requests = new ArrayList<>();
        int[][] sizesAndLevels = {{2, 3}, {7, 5}, {3, 1}, {8, 0}};
        for (int[] row : sizesAndLevels) {
            requests.add(Request.of(0, 1, Traffic.of(row[0]).atLevel(row[1])));
        }
        int[][] orders = {{2, 7, 3, 8}, {8, 7, 3, 2}, {8, 3, 2, 7}};
        for (BatchOrder order : BatchOrder.values()) {
            String before = session.dump();
            List<Integer> progress = new ArrayList<>();
            BatchResult batch = session.placeAll(requests, order, (done, total, last) -> {
                progress.add(10 * done + total);
                assertTrue(last.isPlaced() || last.refusal().isPresent());
                return done < 3;
            }, PlaceOption.DRY_RUN);
            int[] sizes = IntStream.concat(batch.results().stream().mapToInt(result ->
                    (int) result.request().traffic().bandwidth()), batch.left().stream()
                    .mapToInt(request -> (int) request.traffic().bandwidth())).toArray();
            assertEquals(Arrays.toString(orders[order.ordinal()]), Arrays.toString(sizes));
            assertEquals(List.of(14, 24, 34), progress);
            assertEquals(before, session.dump());
        }
        assertEquals("3 placed, 1 refused, 0 not tried", session.placeAll(requests,
                BatchOrder.AS_GIVEN, (done, total, last) -> true).toString());
        assertEquals(12, session.link(0, 1).orElseThrow().primary(0)
                + session.link(0, 4).orElseThrow().primary(0));
    }

    @Test
    void whatIsTakenBackIsNoChangeForTheJournal() throws IOException {
        Path journal = folder.resolve("journal");
        String expected;
        try (Session kept = open(Session.builder().journal(journal))) {
            kept.addLsp(1, Traffic.of(6).atLevel(5), Route.of(0, 1, 2));
            kept.protect(1, Protection.local().placedAs(11, 12));
            FailureReport report = kept.failLink(0, 1, REPLACE);
            kept.failNode(2, REPLACE, DRY_RUN);
            kept.repair(report.links());
            kept.update(1, Traffic.of(4).atLevel(3));
            kept.setCapacity(1, 2, 7);
            assertThrows(StackOverflowError.class, () -> kept.placeAll(
                    List.of(Request.of(0, 3, Traffic.of(1))), BatchOrder.AS_GIVEN,
                    (done, total, last) -> {
                        throw new StackOverflowError();
                    }, PlaceOption.DRY_RUN));
            expected = kept.dump();
            recount(kept);
        }
        try (Session again = Session.builder().journal(journal).build()) {
            assertEquals(expected, again.dump());
            again.request(9, 0, 3, Traffic.of(2), ADD);
        }
    }

    /** Those that are said to be up are, and the others are not. */
    private void check(Restoration restoration) {
        List<Integer> up = ids(session.state().lsps());
        for (Lsp lsp : restoration.placed()) {
            assertTrue(up.contains(lsp.id()) || ids(restoration.preempted()).contains(lsp.id()));
        }
        for (Refusal refusal : restoration.refused()) {
            assertTrue(refusal.lsp().isBackup() || !up.contains(refusal.lsp().id()), refusal::toString);
        }
    }
}
