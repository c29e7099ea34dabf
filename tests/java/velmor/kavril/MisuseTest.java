package velmor.kavril;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.DynamicTest.dynamicTest;
import static velmor.kavril.RequestOption.ADD;

import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.function.Consumer;
import java.util.stream.Stream;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.DynamicTest;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.TestFactory;
import velmor.repository.KAVRIL.JNIKAVRIL;
import velmor.repository.model.exception.AddDBException;

/** Calls that are refused: each says what is wrong, and changes nothing. */
class MisuseTest {

    private static final class Misuse {
        final Class<? extends Exception> type;
        final String message;
        final Consumer<Session> call;

        Misuse(Class<? extends Exception> type, String message, Consumer<Session> call) {
            this.type = type;
            this.message = message;
            this.call = call;
        }
    }

    private final List<Misuse> misuses = new ArrayList<>();

    //   0 --10--> 1 --10--> 2,  0 --10--> 2,  in 2 classes and 4 levels; LSP 1 (of 8) over 0 > 2,
    //   with backup 2 over 0 > 1 > 2
    private final Session session = Session.builder().classes(2).levels(4).build();

    MisuseTest() {
        for (int node = 0; node < 3; node++) {
            session.addNode(node);
        }
        session.addLink(0, 0, 1, 10, 10);
        session.addLink(1, 1, 2, 10, 10);
        session.addLink(2, 0, 2, 10, 10);
        session.addLsp(1, Traffic.of(8).atLevel(2), Route.of(0, 2));
        session.protect(1, Protection.local().placedAs(2));
    }

    @AfterEach
    void close() {
        session.close();
    }

    private void argument(String message, Consumer<Session> call) {
        misuses.add(new Misuse(IllegalArgumentException.class, message, call));
    }

    private void refused(String message, Consumer<Session> call) {
        misuses.add(new Misuse(RefusedException.class, message, call));
    }

    private void noRoute(String message, Consumer<Session> call) {
        misuses.add(new Misuse(NoRouteException.class, message, call));
    }

    private static final Traffic ONE = Traffic.of(1);

    private void argumentsOutsideTheirRange() {
        argument("id is -1, must be 0 to 16382", s -> s.addNode(-1));
        argument("id is 16383, must be 0 to 16382", s -> s.removeNode(16383));
        argument("id is 1048576, must be 0 to 1048575", s -> s.addLink(1 << 20, 0, 1, 1, 1));
        argument("source is -2, must be 0 to 16382", s -> s.addLink(9, -2, 1, 1, 1));
        argument("destination is 99999, must be 0 to 16382", s -> s.removeLink(0, 99999));
        argument("capacities has 1 values, must have 2, one for each class",
                s -> s.addLink(9, 1, 0, 5));
        argument("capacities[1] is -3.0, must be 0 to 3.4028235E38",
                s -> s.addLink(9, 1, 0, 5, -3));
        argument("capacities is null, must be given", s -> s.addLink(9, 1, 0, (double[]) null));
        argument("id is 16777216, must be 0 to 16777215", s -> s.addLsp(1 << 24, ONE, Route.of(0)));
        argument("trafficClass is 2, must be 0 to 1",
                s -> s.addLsp(9, ONE.inClass(2), Route.of(0, 1)));
        argument("level is 4, must be 0 to 3", s -> s.request(9, 0, 1, ONE.atLevel(4)));
        argument("traffic is null, must be given", s -> s.request(9, 0, 1, null));
        argument("request is null, must be given", s -> s.request(null, ADD));
        argument("level is 4, must be 0 to 3", s -> s.request(Request.of(0, 1, ONE.atLevel(4)), ADD));
        argument("colors is null, must be given",
                s -> Request.of(0, 1, ONE).avoidingColors((int[]) null));
        argument("nodes[1] is 16383, must be 0 to 16382",
                s -> Request.of(0, 1, ONE).avoidingNodes(2, 16383));
        argument("route is 0 > 2, must lead from 0 to 1",
                s -> Request.of(0, 1, ONE).over(Route.of(0, 2)));
        argument("nodes[0] is 1, must not lead to a node twice behind 0",
                s -> Request.of(0, 1, ONE).through(1));
        argument("options is null, must be given",
                s -> s.request(9, 0, 1, ONE, (RequestOption) null));
        argument("route is null, must be given", s -> s.addLsp(9, ONE, null));
        argument("kind is null, must be given", s -> s.addBackup(9, 1, null, ONE, Route.of(0, 1)));
        argument("protection is null, must be given", s -> s.protect(1, null));
        argument("level is 5, must be 0 to 3", s -> s.protect(1, Protection.local().atLevel(5)));
        argument("backupIds has 2 ids, must have 1, one for each backup of LSP 1",
                s -> s.protect(1, Protection.global().placedAs(3, 4)));
        argument("backupIds[1] is -5, must be 0 to 16777215",
                s -> Protection.local().placedAs(4, -5));
        argument("bandwidth is NaN, must be 0 to 3.4028235E38", s -> Traffic.of(Double.NaN));
        argument("bandwidth is -1.0, must be 0 to 3.4028235E38", s -> Traffic.of(-1));
        argument("bandwidth is 1.0E39, must be 0 to 3.4028235E38", s -> Traffic.of(1e39));
        argument("trafficClass is 8, must be 0 to 7", s -> ONE.inClass(8));
        argument("level is -1, must be 0 to 7", s -> ONE.atLevel(-1));
        argument("nodes has 0 ids, must have 1 or more", s -> Route.of());
        argument("nodes[1] is -1, must be 0 to 16382", s -> Route.of(3, -1));
        argument("index is 2, must be 0 to 1", s -> Route.of(3, 4).node(2));
        argument("nbClasses is 9, must be 1 to 8", s -> Session.builder().classes(9));
        argument("nbLevels is 0, must be 1 to 8", s -> Session.builder().levels(0));
        argument("weight is -0.5, must be 0 to 3.4028235E38",
                s -> Session.builder().weight(Weight.LOAD, -0.5));
        argument("criterion is null, must be given", s -> Session.builder().weight(null, 1));
        argument("failure is null, must be given", s -> s.fail(null));
        argument("options has PREEMPT, must have REPLACE besides",
                s -> s.failNode(1, FailureOption.PREEMPT));
        argument("requests is null, must be given", s -> s.placeAll(
                Collections.singletonList(null), BatchOrder.AS_GIVEN, (done, total, last) -> true));
        argument("level is 4, must be 0 to 3", s -> s.place(Request.of(0, 1, ONE.atLevel(4))));
        argument("capacities has 1 values, must have 2, one for each class",
                s -> s.setCapacity(0, 1, 5));
    }

    private void whatTheNetworkRefuses() {
        refused("node 1 cannot be added: a node with this id is there already", s -> s.addNode(1));
        refused("node 7 cannot be removed: there is no such node", s -> s.removeNode(7));
        refused("node 1 cannot be removed: LSPs that are up depend on it: [2]", s -> s.removeNode(1));
        refused("link 1 (1 > 0) cannot be added: a link with this id is there already",
                s -> s.addLink(1, 1, 0, 1, 1));
        refused("link 9 (0 > 1) cannot be added: there is a link between these nodes in this "
                + "direction already", s -> s.addLink(9, 0, 1, 1, 1));
        refused("link 9 (0 > 7) cannot be added: its source or its destination is no node; add the "
                + "nodes first", s -> s.addLink(9, 0, 7, 1, 1));
        refused("link 1 > 0 cannot be removed: there is no such link", s -> s.removeLink(1, 0));
        refused("link 0 > 2 cannot be removed: LSPs that are up depend on it: [1, 2]",
                s -> s.removeLink(0, 2));
        refused("LSP 2 (1.0 in class 0 at level 0) cannot be placed over 0 > 1: the LSP id 2 is in "
                + "use", s -> s.addLsp(2, ONE, Route.of(0, 1)));
        refused("LSP 9 (3.0 in class 0 at level 0) cannot be placed over 0 > 2: a link that it "
                + "concerns has not enough room, and nothing may give way for it",
                s -> s.addLsp(9, Traffic.of(3), Route.of(0, 2)));
        refused("LSP 9 (1.0 in class 0 at level 0) cannot be placed over 2 > 0: there is no link "
                + "2 > 0", s -> s.addLsp(9, ONE, Route.of(2, 0)));
        refused("backup 9 of LSP 5 (1.0 in class 0 at level 0) cannot be placed over 0 > 1: LSP 5 "
                + "is not up",
                s -> s.addBackup(9, 5, Protection.Kind.LOCAL, ONE, Route.of(0, 1)));
        refused("backup 9 of LSP 1 (1.0 in class 0 at level 0) cannot be placed over 1 > 2: its "
                + "route must start at a node of the primary, before the primary's last node",
                s -> s.addBackup(9, 1, Protection.Kind.LOCAL, ONE, Route.of(1, 2)));
        refused("LSP 2 cannot be protected: LSP 2 is itself a backup",
                s -> s.protect(2, Protection.global()));
        refused("LSP 1 cannot be protected: the LSP id 2 is in use",
                s -> s.protect(1, Protection.global().placedAs(2)));
        refused("LSP 9 cannot be removed: it is not up", s -> s.removeLsp(9));
        refused("LSP 9 cannot be removed: neither it nor a backup of it is up",
                s -> s.removeLspAndBackups(9));
        refused("LSP 2 cannot be protected: LSP 2 is itself a backup",
                s -> s.protectPartly(2, Protection.local()));
        refused("an LSP (9.0 in class 0 at level 0) cannot be placed over 0 > 2: a link that it concerns"
                + " has not enough room, and nothing may give way for it",
                s -> s.request(Request.of(0, 2, Traffic.of(9)).over(Route.of(0, 2))));
        refused("the failure of link 0 > 1, node 9 cannot be handled: there is no node 9",
                s -> s.fail(Failure.link(0, 1).and(Failure.node(9)), FailureOption.REPLACE));
        refused("the failure of link 2 > 0 cannot be handled: there is no link 2 > 0",
                s -> s.failLink(2, 0));
        refused("the capacity of link 2 > 0 cannot be set: there is no link 2 > 0",
                s -> s.setCapacity(2, 0, 1, 1));
        refused("LSP 9 cannot be changed: it is not up", s -> s.update(9, ONE));
        refused("LSP 2 cannot be changed: it is itself a backup", s -> s.reroute(2, ONE));
        refused("LSP 1 cannot be changed: a link that it concerns has not enough room, and nothing may "
                + "give way for it", s -> s.update(1, Traffic.of(10.5)));
        refused("link 2 (0 > 2) cannot be added: a link with this id is there already",
                s -> s.repair(List.of(s.link(0, 2).orElseThrow())));
        noRoute("LSP 1 cannot be changed: no path has enough room, and nothing may give way for it",
                s -> s.reroute(1, Traffic.of(11)));
        noRoute("LSP 9 (3.0 in class 0 at level 1) finds no way from 0 to 2: no path has enough "
                + "room, and nothing may give way for it",
                s -> s.request(9, 0, 2, Traffic.of(3).atLevel(1), ADD));
        noRoute("an LSP (1.0 in class 0 at level 0) finds no way from 0 to 2, within 1 link, without the"
                + " link 0 > 2: no path keeps to the constraints, however much room there is",
                s -> s.request(Request.of(0, 2, ONE).avoidingLink(0, 2).withinLinks(1), ADD));
        noRoute("LSP 9 (1.0 in class 0 at level 0) finds no way from 7 to 2: there is no node 7",
                s -> s.request(9, 7, 2, ONE));
        noRoute("LSP 9 (11.0 in class 0 at level 0) finds no way from 0 to 2: no path has enough "
                + "room, even if LSPs of greater level give way",
                s -> s.request(9, 0, 2, Traffic.of(11), RequestOption.PREEMPT));
    }

    @TestFactory
    Stream<DynamicTest> misuseIsNamed() {
        argumentsOutsideTheirRange();
        whatTheNetworkRefuses();
        return misuses.stream().map(misuse -> dynamicTest(misuse.message, () -> {
            String before = session.dump();
            Exception e = assertThrows(misuse.type, () -> misuse.call.accept(session));
            assertEquals(misuse.message, e.getMessage());
            assertEquals(before, session.dump());
        }));
    }

    @Test
    void noWayAroundIsTold() {
        session.addLsp(3, ONE, Route.of(0, 1, 2));
        NoRouteException e = assertThrows(NoRouteException.class,
                () -> session.protect(3, Protection.local().placedAs(4, 5)));
        assertEquals("LSP 3 cannot be protected: there is no way around a link of it with enough room",
                e.getMessage());
        assertFalse(e.trace().isEmpty());
        assertEquals(List.of(), session.backupsOf(3));
    }

    @Test
    void aClosedSessionSaysSo() {
        session.close();
        session.close();
        assertTrue(session.isClosed());
        List<Consumer<Session>> calls = List.of(s -> s.addNode(9), s -> s.removeNode(1),
                s -> s.addLink(9, 1, 0, 1, 1), s -> s.removeLink(0, 1),
                s -> s.addLsp(9, ONE, Route.of(0, 1)), s -> s.removeLsp(1),
                s -> s.addBackup(9, 1, Protection.Kind.LOCAL, ONE, Route.of(0, 1)),
                s -> s.request(9, 0, 1, ONE), s -> s.protect(1, Protection.local()),
                s -> s.backupsOf(1), Session::dump);
        for (Consumer<Session> call : calls) {
            IllegalStateException e = assertThrows(IllegalStateException.class,
                    () -> call.accept(session));
            assertEquals("the session is closed", e.getMessage());
        }
    }

    @Test
    void rawSessionsHaveNumbersOfTheirOwn() throws AddDBException {
        JNIKAVRIL raw = new JNIKAVRIL();
        raw.jniinitKavril(1, 1, false, false, true, 0, 1, 0, 0, 0, 0, 0, new float[1][1]);
        session.addLink(9, 1, 0, 5, 7);
        try (Session copy = session.copy(); Session other = Session.builder().classes(3).build()) {
            raw.jniaddNode(0);
            raw.jniaddNode(1);
            raw.jniaddLink(0, 0, 0, 1, new float[] {5}, new float[][] {{1}}, null, null, null);
            copy.addLsp(9, ONE.inClass(1), Route.of(1, 0));
            assertEquals(6, copy.link(1, 0).orElseThrow().free(1));
            other.addNode(3);
        } finally {
            raw.jnikillKavril();
        }
    }
}
