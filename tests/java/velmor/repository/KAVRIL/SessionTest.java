package velmor.repository.KAVRIL;

import static java.util.List.of;
import static velmor.repository.KAVRIL.Messages.*;
import static velmor.repository.KAVRIL.Probe.*;

import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import velmor.kavril.internal.NativeLibrary;

class SessionTest {

    private static final List<String> SECOND_NODE = of(
            jni("Impossible to init a Node"),
            db("Unable to insert a new node in the general node container"),
            dbUtil("Trying to add a node with a reserved ID"));

    /** Every entry point but init, kill and print. */
    private static void attemptAll(Probe probe, String what) {
        attempt(what + " addNode", () -> probe.jniaddNode(1));
        attempt(what + " addLink", () -> probe.link(0, 0, 1, 1));
        attempt(what + " removeLink", () -> probe.jniremoveLink(0, 1));
        attempt(what + " removeNode", () -> probe.jniremoveNode(0));
        attempt(what + " addLSP", () -> probe.jniaddLSP(1, ids(0), 0, 0, 1));
        attempt(what + " addBackupLSP",
                () -> probe.jniaddBackupLSP(1, 2, ids(0), 0, 0, 1, true));
        attempt(what + " removeLSP", () -> probe.jniremoveLSP(1));
        attempt(what + " computePath", () -> probe.path(1, 0, 1, 0, 1, true, true));
        attempt(what + " computeBackupPath",
                () -> probe.jnicomputeBackupPath(1, ids(1), 1, true, true));
    }

    private static List<String> allRefused(String what) {
        return of(what + " addNode: AddDBException", what + " addLink: AddDBException",
                what + " removeLink: AddDBException", what + " removeNode: AddDBException",
                what + " addLSP: AddDBException", what + " addBackupLSP: AddDBException",
                what + " removeLSP: AddDBException", what + " computePath: NoRouteToHostException",
                what + " computeBackupPath: NoRouteToHostException");
    }

    @Test
    void numbersGoRoundAndAreReusedOnlyOnTheNextTurn() {
        ChildJvm.run(first -> {
            say("fresh", first.sessId, first.lsps);
            say(first.open(1, 1).sessId, new Probe().open(1, 1).sessId);
            first.jnikillKavril();
            say("after a kill", first.sessId, new Probe().open(1, 1).sessId);
            for (int i = 3; i < 128; i++) {
                new Probe().open(1, 1);
            }
            say("next turn", first.open(1, 1).sessId);
        }).prints(of("fresh -1 null", "0 1", "after a kill 0 2", "next turn 0"));
    }

    @Test
    void sessionsBeyond128AreNotOpened() {
        ChildJvm.run(late -> {
            List<Probe> probes = new ArrayList<>();
            for (int i = 0; i < 128; i++) {
                probes.add(new Probe().open(1, 1));
            }
            say("late", late.open(1, 1).sessId);
            late.sessId = 77;
            say("late", late.open(1, 1).sessId);
            for (Probe probe : probes) {
                probe.nodes(0, probe.sessId + 1);
            }
            probes.get(64).jnikillKavril();
            say("late", late.open(1, 1).sessId);
            for (Probe probe : probes) {
                if (probe.sessId != 64) {
                    probe.jniremoveNode(probe.sessId + 1);
                    probe.jnikillKavril();
                }
            }
            attempt("late lives", () -> late.jniaddNode(65));
            late.jnikillKavril();
        }).prints(of("late -1", "late 77", "late 64", "late lives: done"));
    }

    @Test
    void beforeAnySessionOnlyTheKillSpeaks() {
        ChildJvm.run(probe -> {
            attemptAll(probe, "early");
            probe.jniprintKavrilDB();
            probe.jnikillKavril();
            probe.open(1, 1).jnikillKavril();
        }).prints(allRefused("early"), of("ERROR, call to killKavril before initKavril"));
    }

    @Test
    void unknownSessionsAreRefusedAndToldToTheSessionUsedLast() {
        int[] unknown = {1, 127, 128, -1, Integer.MAX_VALUE, Integer.MIN_VALUE};
        List<String> out = new ArrayList<>();
        List<String> err = new ArrayList<>();
        for (int id : unknown) {
            out.addAll(allRefused("session " + id));
            for (int call = 0; call < 11; call++) {
                err.add(0, jni("Non existing Session (" + id + ")"));
            }
        }
        out.add("the network is as it was: done");
        ChildJvm.run(known -> {
            known.open(1, 1).nodes(0);
            for (int id : unknown) {
                Probe probe = new Probe();
                probe.sessId = id;
                attemptAll(probe, "session " + id);
                probe.jniprintKavrilDB();
                probe.jnikillKavril();
            }
            attempt("the network is as it was", () -> known.jniaddNode(1));
            known.jnikillKavril();
        }).prints(out, err);
    }

    @Test
    void killedSessionIsUnknownAndKillingItAgainIsHarmless() {
        ChildJvm.run(probe -> {
            probe.open(1, 1).nodes(5);
            attempt("second node", () -> probe.jniaddNode(5));
            probe.jnikillKavril();
            probe.jnikillKavril();
            attemptAll(probe, "killed");
            probe.jniprintKavrilDB();
            probe.jnikillKavril();
            say("killed", probe.sessId, "opened", probe.open(1, 1).sessId);
            attempt("empty again", () -> probe.jniremoveNode(5));
        }).prints(lines("second node: AddDBException", allRefused("killed"), "killed 0 opened 1",
                "empty again: AddDBException"), SECOND_NODE);
    }

    @Test
    void everySessionKeepsItsNetworkAndItsMessages() {
        ChildJvm.run(a -> {
            Probe b = new Probe().open(1, 1);
            a.open(1, 1).nodes(1, 2);
            b.nodes(2);
            attempt("b", () -> b.jniremoveNode(1));
            attempt("a", () -> a.jniaddNode(1));
            attempt("b", () -> b.jniremoveLSP(4));
            b.jnikillKavril();
            say("b is gone");
            attempt("a", () -> a.jniremoveNode(1));
            a.jnikillKavril();
        }).prints(of("b: AddDBException", "a: AddDBException", "b: AddDBException", "b is gone",
                "a: done"), lines(
                jni("Impossible to remove LSP"),
                db("Trying to remove inexistent LSP (id = 4)"),
                jni("Impossible to remove Node"),
                db("Trying to remove an inexistent node"),
                SECOND_NODE));
    }

    @Test
    void unusableScoreArraysOpenNoSessionAndLeaveTheClassesAlone() {
        float[][][] unusable = {null, {}, {{1, 2}}, {{1, 2}, null}, {{1, 2}, {3}}};
        ChildJvm.run(probe -> {
            Probe first = new Probe().open(1, 1);
            first.nodes(0, 1);
            for (float[][] scores : unusable) {
                probe.jniinitKavril(2, 2, false, false, true, 0, 1, 0, 0, 0, 0, 0, scores);
                say(probe.sessId);
            }
            attempt("still one class of one level", () -> first.jniaddLink(
                    0, 0, 0, 1, new float[1], new float[1][1], null, null, null));
            probe.jniinitKavril(9, 9, false, false, true, 0, 1, 0, 0, 0, 0, 0, new float[8][8]);
            say("nine of each", probe.sessId);
            probe.nodes(0, 1);
            attempt("are eight", () -> probe.link(0, 0, 1, new float[8]));
            attempt("not seven", () -> probe.link(1, 1, 0, new float[7]));
            probe.jniinitKavril(-1, -1, false, false, true, 0, 1, 0, 0, 0, 0, 0, new float[0][]);
            say("less than none", probe.sessId);
            probe.nodes(0, 1);
            attempt("is none", () -> probe.link(0, 0, 1));
        }).prints(of("-1", "-1", "-1", "-1", "-1", "still one class of one level: done",
                "nine of each 1", "are eight: done", "not seven: AddDBException",
                "less than none 2", "is none: done"));
    }

    @Test
    void missingExceptionClassesAreTold(@TempDir Path folder) throws ClassNotFoundException {
        ChildJvm.copyClasses(folder, JNIKAVRIL.class, NativeLibrary.class,
                Class.forName("velmor.kavril.internal.LibraryFile"),
                WithoutExceptions.class, WithoutExceptions.class.getDeclaredClasses()[0]);
        String missing = "java.lang.NoClassDefFoundError: velmor/repository/model/exception/";
        String givingUp = "Unable to find the exception class, giving up";
        ChildJvm.start(folder.toString(), WithoutExceptions.class.getName()).prints(
                of(missing + "AddDBException", missing + "NoRouteToHostException", "done"),
                lines(givingUp, givingUp,
                        jni("Impossible to compute Path"),
                        primaryPath("Unable to build topology"),
                        primaryPath("Unable to get the list of neighbours"),
                        db("Node don't exist (id = 0)"),
                        jni("Impossible to init a Node"),
                        db("Unable to insert a new node in the general node container"),
                        dbUtil("Bad argument (NULL)")));
    }

    @Test
    void threadsWaitForEachOther() {
        ChildJvm.run(ignored -> {
            List<Thread> threads = new ArrayList<>();
            int[] rounds = new int[4];
            for (int i = 0; i < rounds.length; i++) {
                int self = i;
                Probe probe = new Probe().open(1, 8);
                probe.nodes(0, 1, 2);
                probe.cables(0, 10 + self, 0, 1, 2);
                threads.add(new Thread(() -> {
                    try {
                        for (int id = 0; id < 300; id++) {
                            int[] path = probe.path(id, 0, 2, 3, 10 + self, true, false);
                            rounds[self] += Arrays.equals(path, ids(0, 1, 2)) ? 1 : 0;
                            probe.jniremoveLSP(id);
                        }
                    } catch (Exception e) {
                        rounds[self] = -1;
                    }
                }));
            }
            threads.forEach(Thread::start);
            for (Thread thread : threads) {
                thread.join();
            }
            say(rounds);
        }).prints(of("[300, 300, 300, 300]"));
    }
}
