package velmor.kavril;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static velmor.kavril.RequestOption.ADD;
import static velmor.kavril.RequestOption.PREEMPT;

import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Optional;
import java.util.OptionalInt;
import java.util.Random;
import java.util.TreeMap;
import java.util.stream.Collectors;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;

/** What sessions tell of themselves, against books kept beside them. */
class StateTest {
    private static final int NB_NODES = 8;

    // A ring with chords, in 2 classes.
    private final Session session = Session.builder().classes(2).levels(4).build();

    StateTest() {
        for (int node = 0; node < NB_NODES; node++) {
            session.addNode(node);
        }
        for (int node = 0; node < NB_NODES; node++) {
            for (int step : new int[] {1, 3, 7}) {
                session.addLink(8 * step + node, node, (node + step) % NB_NODES, 40, 10 + node);
            }
        }
    }

    @AfterEach
    void close() {
        session.close();
    }

    /** Random requests and removals; what is up as a map of the caller's. */
    private Map<Integer, Placement> fill(Random random, Map<Integer, Traffic> traffics) {
        Map<Integer, Placement> up = new TreeMap<>();
        for (int id = 0; id < 300; id++) {
            Traffic traffic = Traffic.of(1 + random.nextInt(7)).inClass(random.nextInt(2))
                    .atLevel(random.nextInt(4));
            try {
                Placement placed = session.request(3 * id, random.nextInt(NB_NODES),
                        random.nextInt(NB_NODES), traffic, ADD, PREEMPT);
                up.put(3 * id, placed);
                traffics.put(3 * id, traffic);
                placed.preempted().forEach(up::remove);
                session.protect(3 * id, Protection.global().placedAs(3 * id + 1));
            } catch (KavrilException e) {
                // No room; the next may find some.
            }
            int gone = 3 * random.nextInt(id + 1);
            if (up.remove(gone) != null) {
                session.removeLsp(gone);
                session.backupsOf(gone).forEach(session::removeLsp);
            }
        }
        return up;
    }

    @Test
    void theStateIsThatOfABookKeptBeside() {
        Map<Integer, Traffic> traffics = new TreeMap<>();
        Map<Integer, Placement> up = fill(new Random(5), traffics);
        NetworkState state = session.state();
        List<Lsp> primaries = state.lsps().stream().filter(lsp -> !lsp.isBackup())
                .collect(Collectors.toList());
        assertTrue(up.size() > 20 && state.lsps().size() > primaries.size(), state::toString);
        assertEquals(up.entrySet().stream().map(entry -> new Lsp(entry.getKey(), Lsp.Kind.PRIMARY,
                traffics.get(entry.getKey()), entry.getValue().route(), -1, null))
                .collect(Collectors.toList()), primaries);
        assertEquals(NB_NODES, state.nodes().size());
        assertEquals(3 * NB_NODES, state.links().size());
        String dump = session.dump();
        double highest = 0;
        for (Link link : state.links()) {
            List<Lsp> on = state.lspsOn(link.source(), link.destination());
            double primary = on.stream()
                    .filter(lsp -> !lsp.isBackup() && lsp.traffic().trafficClass() == 1)
                    .mapToDouble(lsp -> lsp.traffic().bandwidth()).sum();
            assertEquals(primary, link.primary(1));
            assertEquals(primary, link.primary(1, 0) + link.primary(1, 1) + link.primary(1, 2)
                    + link.primary(1, 3));
            assertEquals(link.reserved(1), primary + link.reservedForBackups(1));
            assertEquals(10 + link.source() - link.reserved(1), link.free(1));
            assertEquals(link.capacity(1) - link.reserved(1, 0) - link.reserved(1, 1),
                    link.free(1, 1));
            highest = Math.max(highest, primary / link.capacity(1));
            assertTrue(dump.contains(String.format(Locale.ROOT, "(id = %d)", link.id())));
            assertEquals(Optional.of(link), session.link(link.source(), link.destination()));
            assertEquals(on, session.lspsOn(link.source(), link.destination()));
        }
        assertEquals(highest, state.highestUtilisation(1));
        for (Lsp lsp : state.lsps()) {
            assertEquals(Optional.of(lsp), session.lsp(lsp.id()));
            assertEquals(Optional.of(lsp), state.lsp(lsp.id()));
            assertEquals(session.backupsOf(lsp.id()),
                    state.backupsOf(lsp.id()).stream().map(Lsp::id).collect(Collectors.toList()));
        }
        // It is no view.
        session.removeLsp(primaries.get(0).id());
        assertEquals(primaries.get(0), state.lsp(primaries.get(0).id()).orElseThrow());
        assertEquals(Optional.empty(), session.lsp(primaries.get(0).id()));
        assertEquals(Optional.empty(), session.link(0, 2));
        assertEquals(List.of(), session.lspsOn(0, 2));
    }

    @Test
    void backupsTellWhatTheyProtect() {
        session.addLsp(1, Traffic.of(2), Route.of(0, 1, 2, 3));
        session.protect(1, Protection.local().placedAs(2, 3, 4));
        session.addBackup(5, 1, Protection.Kind.GLOBAL, Traffic.of(1), Route.of(1, 4, 3));
        NetworkState state = session.state();
        Route[] routes = {Route.of(0, 1), Route.of(1, 2), Route.of(2, 3), Route.of(1, 2, 3)};
        for (int i = 0; i < 4; i++) {
            Lsp backup = state.lsp(2 + i).orElseThrow();
            assertEquals(Optional.of(routes[i]), backup.protectedRoute());
            assertEquals(OptionalInt.of(1), backup.primaryId());
            assertEquals(i < 3 ? Lsp.Kind.LOCAL_BACKUP : Lsp.Kind.GLOBAL_BACKUP, backup.kind());
        }
    }

    @Test
    void lspsThatHadAnIdInTurnHaveTheirOwnBackups() {
        session.addLsp(1, Traffic.of(2), Route.of(0, 1));
        session.protect(1, Protection.local().placedAs(11));
        session.removeLsp(1);
        assertEquals(List.of(11), session.backupsOf(1));
        session.addLsp(1, Traffic.of(2), Route.of(0, 3));
        assertEquals(List.of(), session.backupsOf(1));
        session.protect(1, Protection.local().placedAs(12));
        assertEquals(List.of(12), session.backupsOf(1));
        assertEquals(List.of(12),
                session.state().backupsOf(1).stream().map(Lsp::id).collect(Collectors.toList()));
        session.removeLsp(1);
        assertEquals(List.of(11, 12), session.backupsOf(1));
    }

    @Test
    void aRefusalNamesAFewOfManyLsps() {
        for (int id = 0; id < 2000; id++) {
            session.addLsp(id, Traffic.of(0.01), Route.of(0, 1));
        }
        assertEquals("link 0 > 1 cannot be removed: LSPs that are up depend on it: "
                + "[0, 1, 2, 3, 4, 5, 6, 7, 8, 9] and 1990 more",
                assertThrows(RefusedException.class, () -> session.removeLink(0, 1)).getMessage());
    }
}
