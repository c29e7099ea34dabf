package velmor.kavril;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static velmor.kavril.RequestOption.ADD;
import static velmor.kavril.RequestOption.PREEMPT;

import java.util.Arrays;
import java.util.List;
import java.util.stream.IntStream;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** The worked numbers of docs/model.md. */
class ModelTest {
    private static final int A = 0;
    private static final int B = 1;
    private static final int C = 2;
    private static final int D = 3;
    private static final int N = 4;
    private static final int X = 5;
    private static final int Y = 6;

    private final Session session = Session.builder().build();
    private int nbLinks;

    ModelTest() {
        for (int node = 0; node <= Y; node++) {
            session.addNode(node);
        }
    }

    @AfterEach
    void close() {
        session.close();
    }

    private void links(double capacity, int[]... routes) {
        for (int[] route : routes) {
            for (int i = 0; i + 1 < route.length; i++) {
                session.addLink(nbLinks++, route[i], route[i + 1], capacity);
            }
        }
    }

    private static int[] via(int... nodes) {
        return nodes;
    }

    private void primary(int id, double bandwidth, int level, int... route) {
        session.addLsp(id, Traffic.of(bandwidth).atLevel(level), Route.of(route));
    }

    private void backup(int id, int primary, double bandwidth, int level, int... route) {
        session.addBackup(id, primary, Protection.Kind.LOCAL, Traffic.of(bandwidth).atLevel(level),
                Route.of(route));
    }

    private double reserved(int source, int destination) {
        String text = session.dump();
        text = text.substring(text.indexOf("Link " + source + "-" + destination + " "));
        String figure = text.substring(text.indexOf("rbw[0] = ") + 9);
        return Double.parseDouble(figure.substring(0, figure.indexOf('\n')));
    }

    private List<Integer> preemptedBy(double bandwidth, int level) {
        return session.request(99, A, B, Traffic.of(bandwidth).atLevel(level), PREEMPT).preempted();
    }

    @Test
    void admissionAndTheFirstLink() {
        links(100, via(A, B));
        primary(1, 40, 2, A, B);
        primary(2, 30, 5, A, B);
        primary(3, 20, 5, A, B);
        assertEquals(Route.of(A, B), session.request(9, A, B, Traffic.of(10)).route());
        assertThrows(NoRouteException.class, () -> session.request(9, A, B, Traffic.of(11)));
        assertThrows(NoRouteException.class, () -> preemptedBy(61, 3));
        assertEquals(List.of(2, 3), preemptedBy(50, 3));
        primary(2, 30, 5, A, B);
        primary(3, 20, 5, A, B);
        assertEquals(List.of(3), preemptedBy(25, 3));
    }

    @Test
    void aWholeLevelGoesFirst() {
        links(100, via(A, B));
        double[][] lsps = {{40, 6}, {15, 6}, {5, 6}, {30, 7}, {10, 7}};
        for (int i = 0; i < lsps.length; i++) {
            primary(i, lsps[i][0], (int) lsps[i][1], A, B);
        }
        assertEquals(List.of(1, 3, 4), preemptedBy(50, 2));
    }

    @Test
    void aFullLinkIsGoneAround() {
        links(100, via(A, C), via(A, B, C));
        primary(1, 70, 0, A, C);
        assertEquals(Route.of(A, B, C), session.request(2, A, C, Traffic.of(10)).route());
    }

    @Test
    void backupsShareUnlessOneFailureNeedsBoth() {
        links(100, via(A, B), via(C, D), via(A, X, Y, B), via(C, X), via(Y, D));
        primary(1, 10, 0, A, B);
        primary(2, 10, 0, C, D);
        backup(11, 1, 10, 0, A, X, Y, B);
        backup(12, 2, 10, 0, C, X, Y, D);
        assertEquals(10, reserved(X, Y));

        links(100, via(A, N, B), via(C, N, D));
        Arrays.stream(new int[] {11, 12, 1, 2}).forEach(session::removeLsp);
        primary(1, 10, 0, A, N, B);
        primary(2, 10, 0, C, N, D);
        backup(11, 1, 10, 0, A, X, Y, B);
        assertEquals(10, reserved(X, Y));
        backup(12, 2, 10, 0, C, X, Y, D);
        assertEquals(20, reserved(X, Y));
    }

    @Test
    void aFailureFreesWhatItCutsOff() {
        links(100, via(0, 1, 2, 3), via(1, 3), via(0, 4, 2), via(4, 1), via(0, 5, 1));
        primary(1, 6, 0, 0, 1, 2);
        primary(2, 6, 0, 0, 1, 3);
        backup(12, 2, 6, 0, 0, 5, 1, 2, 3);
        backup(11, 1, 6, 0, 0, 4, 2);
        assertEquals(6, reserved(1, 2));
        session.removeLsp(11);
        backup(11, 1, 6, 0, 0, 4, 1);
        assertEquals(12, reserved(1, 2));
    }

    @Test
    void levelsReserveTheGrowthOfTheWorstFailure() {
        links(20, via(A, B), via(C, D), via(A, X, Y, B), via(C, X), via(Y, D));
        primary(1, 10, 0, A, B);
        primary(2, 15, 0, C, D);
        backup(11, 1, 10, 1, A, X, Y, B);
        backup(12, 2, 15, 4, C, X, Y, D);
        assertEquals(15, reserved(X, Y));
        assertThrows(NoRouteException.class,
                () -> session.request(3, X, Y, Traffic.of(11).atLevel(2), ADD, PREEMPT));
        assertEquals(List.of(12), session.request(3, X, Y, Traffic.of(10).atLevel(2), ADD, PREEMPT)
                .preempted());
    }

    /** From X to Y there is a direct link and a chain that another backup has reserved already. */
    @ParameterizedTest
    @CsvSource({"10, true", "12, false"})
    void aBackupTakesTenLinksOfDetourToShare(int nbShared, boolean taken) {
        int[] chain = new int[nbShared + 1];
        for (int i = 1; i < nbShared; i++) {
            chain[i] = 20 + i;
            session.addNode(chain[i]);
        }
        chain[0] = X;
        chain[nbShared] = Y;
        links(100, via(A, B), via(C, D), via(C, X), via(Y, D), via(A, X), via(Y, B), via(X, Y), chain);
        primary(1, 11, 0, A, B);
        primary(2, 11, 0, C, D);
        int[] other = IntStream.concat(IntStream.concat(IntStream.of(C), Arrays.stream(chain)),
                IntStream.of(D)).toArray();
        backup(12, 2, 11, 0, other);
        Route found = session.protect(1, Protection.local()).get(0).route();
        assertEquals(taken, found.crosses(X, chain[1]), found::toString);
        assertEquals(!taken, found.crosses(X, Y), found::toString);
    }
}
