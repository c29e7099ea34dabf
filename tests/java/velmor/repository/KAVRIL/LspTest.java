package velmor.repository.KAVRIL;

import static java.util.List.of;
import static velmor.repository.KAVRIL.Messages.*;
import static velmor.repository.KAVRIL.Probe.*;
import static velmor.repository.KAVRIL.Refusals.*;

import org.junit.jupiter.api.Test;

class LspTest {

    @Test
    void lspsAreBookedPerClassAndListedTheLeastImportantFirst() {
        ChildJvm.run(probe -> {
            probe.open(2, 8).nodes(0, 1, 2);
            probe.link(0, 0, 1, 100, 50);
            probe.link(1, 1, 2, 100, 50);
            probe.lsps = ids(99);
            probe.jniaddLSP(7, ids(0, 1), 3, 0, 10);
            probe.jniaddLSP(6, ids(0, 1), 5, 1, 20);
            probe.jniaddLSP(5, ids(0, 1, 2), 3, 0, 10);
            probe.jniaddLSP(8, ids(0, 1), 3, 0, 12);
            probe.jniaddLSP(9, ids(0), 3, 0, 1000);
            probe.jniaddLSP(10, ids(0, 1), 0, 2, 1000);
            probe.jniaddLSP(11, ids(), 0, 0, 1000);
            probe.jniprintKavrilDB();
            probe.jniremoveLSP(8);
            probe.jniremoveLSP(9);
            probe.jniaddLSP(8, ids(1, 2), 7, 1, 50);
            probe.jniprintKavrilDB();
            say(probe.lsps);
        }).prints(lines(
                Printout.of(0, 1, 2)
                .link(0, 1, 0, "6 8 5 7 10 ", 100, 32, 32, 50, 20, 20)
                .link(1, 2, 1, "5 ", 100, 10, 10, 50, 0, 0),
                Printout.of(0, 1, 2)
                .link(0, 1, 0, "6 5 7 10 ", 100, 20, 20, 50, 20, 20)
                .link(1, 2, 1, "8 5 ", 100, 10, 10, 50, 50, 50), "[99]"));
    }

    //   0 --> 1    primaries, protected over the way through 4 --> 5
    //   2 --> 3
    //   6 --> 1
    private static void threeByways(Probe probe) throws Exception {
        probe.open(1, 8).nodes(0, 1, 2, 3, 4, 5, 6);
        int[][] links = {{0, 1}, {2, 3}, {6, 1}, {0, 4}, {2, 4}, {6, 4}, {4, 5}, {5, 1}, {5, 3}};
        for (int id = 0; id < links.length; id++) {
            probe.link(id, links[id][0], links[id][1], 100);
        }
        probe.jniaddLSP(1, ids(0, 1), 2, 0, 5);
        probe.jniaddLSP(2, ids(2, 3), 2, 0, 8);
        probe.jniaddLSP(3, ids(6, 1), 2, 0, 6);
        probe.jniaddBackupLSP(11, 1, ids(0, 4, 5, 1), 2, 0, 5, true);
        probe.jniaddBackupLSP(12, 2, ids(2, 4, 5, 3), 2, 0, 8, false);
    }

    private static Printout threeBywaysPrinted(String shared, double onShared, String third,
            double onThird, String into1, double onInto1) {
        return Printout.of(0, 1, 2, 3, 4, 5, 6)
                .link(0, 1, 0, "1 ", 100, 5, 5)
                .link(0, 4, 3, "11 ", 100, 0, 5)
                .link(2, 3, 1, "2 ", 100, 8, 8)
                .link(2, 4, 4, "12 ", 100, 0, 8)
                .link(4, 5, 6, shared, 100, 0, onShared)
                .link(5, 1, 7, into1, 100, 0, onInto1)
                .link(5, 3, 8, "12 ", 100, 0, 8)
                .link(6, 1, 2, "3 ", 100, 6, 6)
                .link(6, 4, 5, third, 100, 0, onThird);
    }

    @Test
    void backupsShareUnlessALinkOrANodeFailsForBoth() {
        ChildJvm.run(probe -> {
            threeByways(probe);
            probe.jniprintKavrilDB();
            // Its primary enters the same node as that of 11: when node 1 fails, both are on.
            probe.jniaddBackupLSP(13, 3, ids(6, 4, 5, 1), 2, 0, 6, true);
            probe.jniprintKavrilDB();
            probe.jniremoveLSP(13);
            probe.jniprintKavrilDB();
        }).prints(lines(threeBywaysPrinted("12 11 ", 8, "", 0, "11 ", 5),
                threeBywaysPrinted("12 13 11 ", 11, "13 ", 6, "13 11 ", 11),
                threeBywaysPrinted("12 11 ", 8, "", 0, "11 ", 5)));
    }

    @Test
    void lspOverARemovedLinkGoesWithAFailure() {
        ChildJvm.run(probe -> {
            probe.open(1, 8).nodes(0, 1, 2);
            probe.link(0, 0, 1, 10);
            probe.link(1, 1, 2, 10);
            probe.jniaddLSP(1, ids(0, 1, 2), 4, 0, 5);
            probe.jniremoveLink(1, 2);
            attempt("removal", () -> probe.jniremoveLSP(1));
            attempt("removal again", () -> probe.jniremoveLSP(1));
            // The reservation of the other link was not worked out again.
            probe.jniprintKavrilDB();
            probe.jnikillKavril();
        }).prints(lines("removal: AddDBException", "removal again: AddDBException",
                Printout.of(0, 1, 2)
                .link(0, 1, 0, "", 10, 0, 5)), of(
                jni("Impossible to remove LSP"),
                db("Trying to remove inexistent LSP (id = 1)"),
                jni("Impossible to remove LSP"),
                db("LSP removal uncomplete"),
                db("Inexistent Link (src = 1, dst = 2)"),
                db("Cannot determine link ID")));
    }

    // For a computation, which changes nothing; placing an LSP forbids it again.
    private static void allowPreemption(Probe probe) throws Exception {
        probe.path(9, 0, 1, 0, 1, false, true);
    }

    private static String request(int id, String bandwidth) {
        return "[CRITICAL] Lsp ID: " + id + ", Request: " + bandwidth + "\n";
    }

    @Test
    void refusedLspsChangeNothing() {
        String adding = jni("Impossible to add PRIMARY LSP (computed by another algorithm)");
        String addingBackup = jni("Impossible to add BACKUP LSP (computed by another algorithm)");
        String finding = jni("Impossible to find PRIMARY LSP");
        String inserting = db("Unable to insert LSP in the general LSP container");
        String listing = db("Unable to get the list of LSPs carried by the link");
        String noArray = jni("Bad argument (NULL)");
        String badLevel = jni("Bad argument (preemption level)");
        String badBandwidth = jni("Bad argument (bandwidth)");
        String one = "1.000000";
        new Refusals()
                .of(ADD_DB, "id in use", p -> p.jniaddLSP(1, ids(0, 1), 3, 0, 1),
                        dbUtil("Trying to add an LSP with a reserved ID"), inserting, adding,
                        request(1, one))
                .of(ADD_DB, "id negative", p -> p.jniaddLSP(-1, ids(0, 1), 3, 0, 1),
                        dbUtil("Bad argument (NULL)"), inserting, adding, request(-1, one))
                .of(ADD_DB, "id too large",
                        p -> p.jniaddLSP(Integer.MAX_VALUE, ids(0, 1), 3, 0, 1),
                        dbUtil("Critical lack of memory"),
                        dbUtil("Unable to resize LSP vector prior to insertion"), inserting,
                        adding, request(Integer.MAX_VALUE, one))
                .of(ADD_DB, "no link", p -> p.jniaddLSP(2, ids(0, 2), 3, 0, 1),
                        db("Inexistent Link (src = 0, dst = 2)"), listing, adding, request(2, one))
                .of(ADD_DB, "node negative", p -> p.jniaddLSP(2, ids(0, -1), 3, 0, 1),
                        db("Inexistent Link (src = 0, dst = -1)"), listing, adding,
                        request(2, one))
                .of(ADD_DB, "no room", p -> {
                    allowPreemption(p);
                    p.jniaddLSP(2, ids(0, 1), 0, 0, 6.5f);
                }, db("LSP refused by the predicate"), adding, request(2, "6.500000"))
                .of(ADD_DB, "no path", p -> p.jniaddLSP(2, null, 3, 0, 1), noArray, adding,
                        request(2, one))
                .of(ADD_DB, "level -1", p -> p.jniaddLSP(2, ids(0, 1), -1, 0, 1), badLevel, adding,
                        request(2, one))
                .of(ADD_DB, "level 8", p -> p.jniaddLSP(2, ids(0, 1), 8, 0, 1), badLevel, adding,
                        request(2, one))
                .of(ADD_DB, "not a number", p -> p.jniaddLSP(2, ids(0, 1), 3, 0, Float.NaN),
                        badBandwidth, adding, request(2, "nan"))
                .of(ADD_DB, "infinite",
                        p -> p.jniaddLSP(2, ids(0, 1), 3, 0, -1 / 0f),
                        badBandwidth, adding, request(2, "-inf"))
                .of(ADD_DB, "backup of none",
                        p -> p.jniaddBackupLSP(2, 5, ids(0, 1), 3, 0, 1, true), finding,
                        request(2, one))
                .of(ADD_DB, "backup of -1",
                        p -> p.jniaddBackupLSP(2, -1, ids(0, 1), 3, 0, 1, false), finding,
                        request(2, one))
                .of(ADD_DB, "backup beside it",
                        p -> p.jniaddBackupLSP(2, 1, ids(1, 2), 3, 0, 1, true),
                        db("Cannot determine the link to protect"),
                        predicate("Unable to update link state"),
                        db("LSP refused by the predicate"), addingBackup, request(2, one))
                .of(ADD_DB, "backup, no room", p -> {
                    allowPreemption(p);
                    p.jniaddBackupLSP(2, 1, ids(0, 1, 2), 0, 0, 5.5f, false);
                }, db("LSP refused by the predicate"), addingBackup, request(2, "5.500000"))
                .of(ADD_DB, "backup, level 8",
                        p -> p.jniaddBackupLSP(2, 1, ids(0, 1), 8, 0, 1, true), badLevel,
                        addingBackup, request(2, one))
                .of(ADD_DB, "backup, infinite",
                        p -> p.jniaddBackupLSP(2, 1, ids(0, 1), 3, 0, 1 / 0f, true),
                        badBandwidth, addingBackup, request(2, "inf"))
                .of(ADD_DB, "backup, no path", p -> p.jniaddBackupLSP(2, 1, null, 3, 0, 1, true),
                        noArray, addingBackup, request(2, one))
                .of(ADD_DB, "backup, id in use",
                        p -> p.jniaddBackupLSP(1, 1, ids(0, 1), 3, 0, 1, true),
                        dbUtil("Trying to add an LSP with a reserved ID"), inserting, addingBackup,
                        request(1, one))
                .of(ADD_DB, "removal of none", p -> p.jniremoveLSP(2),
                        db("Trying to remove inexistent LSP (id = 2)"),
                        jni("Impossible to remove LSP"))
                .of(ADD_DB, "removal of -1", p -> p.jniremoveLSP(-1),
                        db("Trying to remove inexistent LSP (id = -1)"),
                        jni("Impossible to remove LSP"))
                .expect(p -> {
                    p.open(1, 8).nodes(0, 1, 2);
                    p.cables(0, 10, 0, 1, 2);
                    p.jniaddLSP(1, ids(0, 1), 3, 0, 4);
                    p.jniaddLSP(6, ids(1, 2), 7, 0, 5);
                }, Printout.of(0, 1, 2)
                        .link(0, 1, 0, "1 ", 10, 4, 4)
                        .link(1, 0, 1, "", 10, 0, 0)
                        .link(1, 2, 2, "6 ", 10, 5, 5)
                        .link(2, 1, 3, "", 10, 0, 0));
    }
}
