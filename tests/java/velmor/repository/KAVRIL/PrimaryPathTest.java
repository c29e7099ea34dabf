package velmor.repository.KAVRIL;

import static java.util.List.of;
import static velmor.repository.KAVRIL.Messages.*;
import static velmor.repository.KAVRIL.Probe.*;
import static velmor.repository.KAVRIL.Refusals.*;

import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.Test;

class PrimaryPathTest {

    @Test
    void theFlagsSayWhatIsPlacedAndPreempted() {
        ChildJvm.run(probe -> {
            probe.open(1, 8).nodes(0, 1, 2);
            probe.link(0, 0, 1, 11);
            probe.link(1, 1, 2, 100);
            probe.jniaddLSP(1, ids(0, 1), 7, 0, 3);
            probe.jniaddLSP(2, ids(0, 1), 5, 0, 4);
            probe.jniaddLSP(3, ids(0, 1), 5, 0, 2);
            say(probe.path(4, 0, 2, 2, 1, true, false), probe.lsps);
            attempt("no room", () -> probe.path(10, 0, 2, 2, 5, true, false));
            attempt("no less important", () -> probe.path(10, 0, 2, 5, 8, true, true));
            say(probe.path(10, 0, 2, 2, 1, false, false), probe.lsps);
            // 4 to be freed: level 7 in full, then the smaller of the two that suffice.
            say(probe.path(10, 0, 2, 2, 5, true, true), probe.lsps);
            say(probe.path(11, 0, 2, 2, 1, true, true), probe.lsps);
            say(probe.path(20, 0, 2, 0, 7, false, true), probe.lsps);
            probe.jniprintKavrilDB();
        }).prints(lines("[0, 1, 2] null", "no room: NoRouteToHostException",
                "no less important: NoRouteToHostException", "[0, 1, 2] null",
                "[0, 1, 2] [1, 3]", "[0, 1, 2] [1, 3]", "[0, 1, 2] [2, 10]",
                Printout.of(0, 1, 2)
                .link(0, 1, 0, "4 11 ", 11, 2, 2)
                .link(1, 2, 1, "4 11 ", 100, 2, 2)));
    }

    @Test
    void headAndTailMayBeOneNode() {
        ChildJvm.run(probe -> {
            probe.open(1, 8).nodes(0, 1);
            probe.cables(0, 1, 0, 1);
            say(probe.path(1, 1, 1, 0, 1000, true, true), probe.lsps);
            probe.jniremoveLSP(1);
        }).prints(of("[1] null"));
    }

    @Test
    void weightsServeClass0AndFortzAllClasses() {
        String[] names = {"loadbal", "load", "sqLoad", "relativeLoad", "sqRelativeLoad", "delay",
            "fortz", "none"};
        List<String> direct = of("load", "relativeLoad", "none");
        List<String> expected = new ArrayList<>();
        for (String name : names) {
            expected.add(name + (direct.contains(name) ? " [0, 2]" : " [0, 1, 2]")
                    + (name.equals("fortz") ? " [0, 1, 2]" : " [0, 2]"));
        }
        ChildJvm.run(ignored -> {
            for (int i = 0; i < names.length; i++) {
                float[] weights = new float[8];
                weights[i] = 1;
                // A loaded direct way, and an empty one of two links.
                Probe probe = new Probe().open(2, 8, weights);
                probe.nodes(0, 1, 2);
                probe.link(0, 0, 1, 100, 100);
                probe.link(1, 1, 2, 100, 100);
                probe.link(2, 0, 2, 100, 100);
                probe.jniaddLSP(1, ids(0, 2), 0, 0, 60);
                probe.jniaddLSP(2, ids(0, 2), 0, 1, 60);
                say(names[i],
                        probe.jnicomputePath(3, 0, 2, 0, 0, 0, 0, 0, 10, null, false, false),
                        probe.jnicomputePath(3, 0, 2, 0, 0, 0, 1, 0, 10, null, false, false));
            }
        }).prints(expected);
    }

    @Test
    void reroutingAndColoursAreIgnoredAndSoAreUnknownClasses() {
        ChildJvm.run(probe -> {
            probe.open(1, 8).nodes(0, 1);
            probe.link(0, 0, 1, 10);
            probe.jniaddLSP(1, ids(0, 1), 0, 0, 6);
            attempt("rerouting of 1",
                    () -> probe.jnicomputePath(2, 0, 1, 1, 0, 1, 0, 0, 6, ids(0), true, false));
            attempt("colour of the link",
                    () -> probe.jnicomputePath(2, 0, 1, 1, 0, 1, 0, 0, 4, ids(0), true, false));
            attempt("class 3",
                    () -> probe.jnicomputePath(3, 0, 1, 0, 0, 0, 3, 0, 999, null, true, false));
            attempt("class -1",
                    () -> probe.jnicomputePath(4, 0, 1, 0, 0, 0, -1, 0, 999, null, true, false));
            probe.jniprintKavrilDB();
        }).prints(lines("rerouting of 1: NoRouteToHostException", "colour of the link: [0, 1]",
                "class 3: [0, 1]", "class -1: [0, 1]",
                Printout.of(0, 1)
                .link(0, 1, 0, "1 2 3 4 ", 10, 10, 10)));
    }

    @Test
    void refusedRequestsChangeNothing() {
        String computing = jni("Impossible to compute Path");
        String[] unreachable = {primaryPath("Destination unreachable"),
            primaryPath("Unable to update requested path"), computing};
        String badPath = primaryPath("Bad requested path format");
        String noSource = primaryPath("Unable to get requested source");
        String badLevel = jni("Bad argument (preemption level)");
        String badBandwidth = jni("Bad argument (bandwidth)");
        new Refusals()
                .of(NO_ROUTE, "no room", probe -> probe.path(2, 0, 2, 0, 7, true, false),
                        unreachable)
                .of(NO_ROUTE, "no way", probe -> probe.path(2, 2, 0, 0, 1, true, true),
                        unreachable)
                .of(NO_ROUTE, "no tail", probe -> probe.path(2, 0, 77, 0, 1, true, true),
                        unreachable)
                .of(NO_ROUTE, "no head", probe -> probe.path(2, 77, 0, 0, 1, true, true),
                        db("Node don't exist (id = 77)"),
                        primaryPath("Unable to get the list of neighbours"),
                        primaryPath("Unable to build topology"), computing)
                .of(NO_ROUTE, "head negative", probe -> probe.path(2, -1, 0, 0, 1, true, true),
                        badPath, noSource, computing)
                .of(NO_ROUTE, "tail negative", probe -> probe.path(2, 0, -2, 0, 1, true, true),
                        badPath, noSource, computing)
                .of(NO_ROUTE, "level -1", probe -> probe.path(2, 0, 2, -1, 1, true, true),
                        badLevel, computing)
                .of(NO_ROUTE, "level 8", probe -> probe.path(2, 0, 2, 8, 1, true, true), badLevel,
                        computing)
                .of(NO_ROUTE, "not a number",
                        probe -> probe.path(2, 0, 2, 0, Float.NaN, true, true), badBandwidth,
                        computing)
                .of(NO_ROUTE, "infinite", probe -> probe.path(2, 0, 2, 0, 1 / 0f, true, true),
                        badBandwidth, computing)
                .of(ADD_DB, "id in use", probe -> probe.path(1, 0, 2, 0, 1, true, false),
                        dbUtil("Trying to add an LSP with a reserved ID"),
                        db("Unable to insert LSP in the general LSP container"),
                        jni("Impossible to add PRIMARY LSP"))
                .expect(probe -> {
                    probe.open(1, 8).nodes(0, 1, 2);
                    probe.link(0, 0, 1, 10);
                    probe.link(1, 1, 2, 10);
                    probe.jniaddLSP(1, ids(0, 1), 3, 0, 4);
                }, Printout.of(0, 1, 2)
                        .link(0, 1, 0, "1 ", 10, 4, 4)
                        .link(1, 2, 1, "", 10, 0, 0));
    }

    @Test
    void reservationThatNoLspExplainsCannotBePreempted() {
        List<String> choosing = of(db("Unable choose LSPs for rerouting"),
                rerouting("Not enough preemptable bandwidth for LSP selection"));
        List<String> firstStack = lines(jni("Impossible to obtain preemptList"), choosing);
        ChildJvm.run(probe -> {
            probe.open(1, 8);
            probe.orphanedBackup(12);
            attempt("ask only", () -> probe.path(5, 1, 2, 1, 5, false, true));
            say("told at once");
            attempt("place", () -> probe.path(5, 1, 2, 1, 5, true, true));
            say(probe.lsps);
            attempt("is not up", () -> probe.jniremoveLSP(5));
            probe.jnikillKavril();
        }).prints(of("ask only: RoutingException", "told at once", "place: AddDBException", "null",
                "is not up: AddDBException"), lines(firstStack,
                jni("Impossible to remove LSP"), db("Trying to remove inexistent LSP (id = 5)"),
                jni("Impossible to add PRIMARY LSP"), choosing, firstStack));
    }

    @Test
    void lspChosenTwiceFailsAtItsSecondRemoval() {
        ChildJvm.run(probe -> {
            probe.open(1, 8);
            probe.orphanedBackup(18);
            probe.jniaddLSP(5, ids(1, 2), 5, 0, 1);
            probe.jniaddLSP(6, ids(1, 2), 3, 0, 5);
            // 3 to be freed. Level 5 has 11 reserved but one LSP of 1, which is taken three times,
            // since the next one is of another level.
            attempt("place", () -> probe.path(7, 1, 2, 1, 5, true, true));
            say(probe.lsps);
            attempt("5 is gone", () -> probe.jniremoveLSP(5));
            attempt("7 is up", () -> probe.jniremoveLSP(7));
            probe.jnikillKavril();
        }).prints(of("place: AddDBException", "null", "5 is gone: AddDBException",
                "7 is up: done"), of(
                jni("Impossible to remove LSP"), db("Trying to remove inexistent LSP (id = 5)"),
                jni("Impossible to remove LSP"), db("Trying to remove inexistent LSP (id = 5)")));
    }
}
