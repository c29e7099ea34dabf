package velmor.repository.KAVRIL;

import static java.util.List.of;
import static velmor.repository.KAVRIL.Messages.*;
import static velmor.repository.KAVRIL.Probe.*;
import static velmor.repository.KAVRIL.Refusals.*;

import org.junit.jupiter.api.Test;

class BackupPathTest {

    private static final String LOCAL_FAILED = jni("Impossible to compute local backup paths");
    private static final String GLOBAL_FAILED = jni("Impossible to compute global backup paths");

    /** Nodes 1 to 4, linked both ways in a ring of capacity 10, with LSP 1 from 1 by 2 to 3. */
    private static void ring(Probe probe) throws Exception {
        probe.open(1, 8).nodes(1, 2, 3, 4);
        probe.cables(0, 10, 1, 2, 3, 4, 1);
        probe.jniaddLSP(1, ids(1, 2, 3), 3, 0, 4);
    }

    @Test
    void localBackupsAvoidTheNodeOrElseTheLinkAndAreOfLevel0() {
        ChildJvm.run(probe -> {
            ring(probe);
            probe.jniaddLSP(50, ids(1, 4), 1, 0, 1);
            probe.lsps = ids(99);
            say(probe.jnicomputeBackupPath(1, ids(21, 22, 23), 2, true, false), probe.lsps);
            probe.jniprintKavrilDB();
        }).prints(lines("[[1, 4, 3], [2, 1, 4, 3]] [99]",
                Printout.of(1, 2, 3, 4)
                .link(1, 2, 0, "1 ", 10, 4, 4)
                .link(1, 4, 7, "50 21 22 ", 10, 1, 5)
                .link(2, 1, 1, "22 ", 10, 0, 4)
                .link(2, 3, 2, "1 ", 10, 4, 4)
                .link(3, 2, 3, "", 10, 0, 0)
                .link(3, 4, 4, "", 10, 0, 0)
                .link(4, 1, 6, "", 10, 0, 0)
                .link(4, 3, 5, "21 22 ", 10, 0, 4)));
    }

    @Test
    void backupTypeAndFlagsChooseWhatIsComputedAndPlaced() {
        ChildJvm.run(probe -> {
            ring(probe);
            for (int type : ids(0, 1, 2, -5)) {
                say(type, probe.jnicomputeBackupPath(1, ids(), type, false, false));
            }
            say(probe.jnicomputeBackupPath(1, ids(7, 8), 0, false, true), probe.lsps);
            attempt("7 is not up", () -> probe.jniremoveLSP(7));
            say(probe.jnicomputeBackupPath(1, ids(7), 1, true, true), probe.lsps);
            attempt("7 is up", () -> probe.jniremoveLSP(7));
        }).prints(of("0 [[1, 4, 3], [2, 1, 4, 3]]", "1 [[1, 4, 3]]",
                "2 [[1, 4, 3], [2, 1, 4, 3]]", "-5 [[1, 4, 3], [2, 1, 4, 3]]",
                "[[1, 4, 3], [2, 1, 4, 3]] null", "7 is not up: AddDBException",
                "[[1, 4, 3]] null", "7 is up: done"));
    }

    //   0 --> 1 --> 2    every detour passes node 1
    //    \   ^ \   ^
    //     v /   v /
    //      3     4
    private static void waist(Probe probe) throws Exception {
        probe.open(1, 8).nodes(0, 1, 2, 3, 4);
        int[][] links = {{0, 1}, {1, 2}, {0, 3}, {3, 1}, {1, 4}, {4, 2}};
        for (int id = 0; id < links.length; id++) {
            probe.link(id, links[id][0], links[id][1], 10);
        }
        probe.jniaddLSP(1, ids(0, 1, 2), 3, 0, 4);
    }

    @Test
    void searchesWithoutNodeOrLinkDisjointWaysAreTold() {
        String noLink = "[INFO] Warning there is no link numbered 4 : src = -1, dst = -1 .... in "
                + "computation/backup/backup.c at line N";
        ChildJvm.run(probe -> {
            waist(probe);
            attempt("local", () -> probe.jnicomputeBackupPath(1, ids(), 2, false, false));
            attempt("global", () -> probe.jnicomputeBackupPath(1, ids(), 1, false, false));
            probe.jniremoveLink(1, 4);
            attempt("local", () -> probe.jnicomputeBackupPath(1, ids(7, 8), 2, true, false));
            attempt("global", () -> probe.jnicomputeBackupPath(1, ids(7), 1, true, false));
            say("so much for that");
            probe.jnikillKavril();
        }).prints(of("local: [[0, 3, 1], [1, 4, 2]]",
                "Switching from node to link protection for lsp number: 1",
                "global: [[0, 3, 1, 4, 2]]", "local: NoRouteToHostException",
                "Switching from node to link protection for lsp number: 1",
                "Oups ... no path found ...", "global: NoRouteToHostException",
                "so much for that"), of(
                "No local link disjoint protection path found",
                "No end to end link disjoint protection path found",
                GLOBAL_FAILED, noLink, LOCAL_FAILED, noLink));
    }

    @Test
    void primariesOfLessThanTwoNodesHaveNoLocalBackups() {
        ChildJvm.run(probe -> {
            probe.open(1, 8).nodes(0);
            probe.jniaddLSP(1, ids(), 3, 0, 4);
            probe.jniaddLSP(2, ids(0), 3, 0, 4);
            for (int type : ids(0, 2)) {
                say(probe.jnicomputeBackupPath(1, ids(), type, true, true));
                say(probe.jnicomputeBackupPath(2, ids(), type, true, true));
            }
        }).prints(of("[]", "[]", "[]", "[]"),
                of("Pas assez de lsps de backups locaux pour la taille du lsp!"));
    }

    @Test
    void refusedBackupsChangeNothing() {
        String noArray = jni("Bad argument (NULL)");
        String adding = jni("Impossible to add BACKUP LSP");
        new Refusals()
                .of(NO_ROUTE, "unknown",
                        probe -> probe.jnicomputeBackupPath(9, ids(7), 0, true, false),
                        backup("Cannot find lsp ID 9"), LOCAL_FAILED)
                .of(NO_ROUTE, "unknown, global",
                        probe -> probe.jnicomputeBackupPath(-1, ids(7), 1, true, false),
                        backup("Cannot find lsp ID -1"), GLOBAL_FAILED)
                .of(NO_ROUTE, "no ids",
                        probe -> probe.jnicomputeBackupPath(1, null, 2, false, false), noArray,
                        LOCAL_FAILED)
                .of(NO_ROUTE, "no ids, global",
                        probe -> probe.jnicomputeBackupPath(1, null, 1, true, false), noArray,
                        GLOBAL_FAILED)
                .of(ADD_DB, "too few ids",
                        probe -> probe.jnicomputeBackupPath(1, ids(7), 2, true, false), noArray,
                        adding)
                .of(ADD_DB, "too few ids to list",
                        probe -> probe.jnicomputeBackupPath(1, ids(7), 2, false, true), noArray,
                        adding)
                .expect(BackupPathTest::waist, Printout.of(0, 1, 2, 3, 4)
                        .link(0, 1, 0, "1 ", 10, 4, 4)
                        .link(0, 3, 2, "", 10, 0, 0)
                        .link(1, 2, 1, "1 ", 10, 4, 4)
                        .link(1, 4, 4, "", 10, 0, 0)
                        .link(3, 1, 3, "", 10, 0, 0)
                        .link(4, 2, 5, "", 10, 0, 0));
    }

    @Test
    void backupThatCannotBePlacedIsTracedAndThoseBeforeItStay() {
        ChildJvm.run(probe -> {
            ring(probe);
            attempt("second id in use",
                    () -> probe.jnicomputeBackupPath(1, ids(21, 1), 2, true, false));
            attempt("first is up", () -> probe.jniremoveLSP(21));
            probe.jnikillKavril();
        }).prints(of("second id in use: AddDBException", "first is up: done"), of(
                "Backup global non ajout\u00e9 pour primaire 1, valeur de la bande passante: "
                        + "4.000000: ",
                "Valeur de la capacit\u00e9 du lien 2 - 1: 10.000000, Valeur de la bande passante "
                        + "r\u00e9serv\u00e9e P0: 0.000000, PetB0: 0.000000",
                "Valeur de la capacit\u00e9 du lien 1 - 4: 10.000000, Valeur de la bande passante "
                        + "r\u00e9serv\u00e9e P0: 0.000000, PetB0: 4.000000",
                "Valeur de la capacit\u00e9 du lien 4 - 3: 10.000000, Valeur de la bande passante "
                        + "r\u00e9serv\u00e9e P0: 0.000000, PetB0: 4.000000",
                " ",
                jni("Impossible to add BACKUP LSP"),
                db("Unable to insert LSP in the general LSP container"),
                dbUtil("Trying to add an LSP with a reserved ID")));
    }

    @Test
    void preemptionListThatCannotBeHadIsToldAndPassedOver() {
        ChildJvm.run(probe -> {
            probe.open(1, 8);
            probe.orphanedBackup(12);
            probe.nodes(4);
            probe.link(4, 1, 4, 100);
            probe.link(5, 4, 2, 100);
            // A negative LSP makes room for more than the link can bear without it.
            probe.jniaddLSP(3, ids(1, 2), 7, 0, -11);
            probe.jniaddLSP(4, ids(1, 2), 0, 0, 12);
            probe.jniaddLSP(5, ids(1, 2), 3, 0, 1);
            probe.jniremoveLSP(3);
            // The backup fits; its primary's link is overbooked beyond what may be preempted.
            say(probe.jnicomputeBackupPath(5, ids(6), 2, false, true), probe.lsps);
            say("told at once");
            probe.jnikillKavril();
        }).prints(of("[[1, 4, 2]] null", "told at once"), of("Can't obtain preemptList ",
                jni("Impossible to obtain preemptList"), db("Unable choose LSPs for rerouting"),
                rerouting("Not enough preemptable bandwidth for LSP selection")));
    }

    @Test
    void longPrimariesNeedNoMoreReferencesThanTheJvmGrants() {
        int nbHops = 40;
        ChildJvm.run(probe -> {
            probe.open(1, 8).nodes(0);
            int[] path = new int[nbHops + 1];
            for (int i = 0; i < nbHops; i++) {
                probe.nodes(i + 1, 100 + i);
                probe.link(3 * i, i, i + 1, 10);
                probe.link(3 * i + 1, i, 100 + i, 10);
                probe.link(3 * i + 2, 100 + i, i + 1, 10);
                path[i + 1] = i + 1;
            }
            probe.jniaddLSP(1, path, 3, 0, 4);
            int[][] backups = probe.jnicomputeBackupPath(1, path, 2, false, false);
            say(backups.length, backups[0], backups[39]);
        }).prints(of("40 [0, 100, 1] [39, 139, 40]"));
    }
}
