package velmor.repository.KAVRIL;

import java.util.Arrays;
import velmor.repository.model.exception.AddDBException;

/** The object under test, in the child JVM: short forms of its calls, prints of the results. */
final class Probe extends JNIKAVRIL {

    interface Action {
        void run() throws Exception;
    }

    interface Computation {
        Object run() throws Exception;
    }

    /** Opens a session that counts hops: the score of a path is the load that it adds. */
    Probe open(int nbClasses, int nbLevels) {
        return open(nbClasses, nbLevels, new float[] {0, 1, 0, 0, 0, 0, 0});
    }

    /** Opens a session with the weights in the order of jniinitKavril's arguments. */
    Probe open(int nbClasses, int nbLevels, float[] weights) {
        jniinitKavril(nbClasses, nbLevels, false, false, true, weights[0], weights[1], weights[2],
                weights[3], weights[4], weights[5], weights[6], new float[nbClasses][nbLevels]);
        return this;
    }

    void nodes(int... ids) throws AddDBException {
        for (int id : ids) {
            jniaddNode(id);
        }
    }

    /** Adds a link of the given capacity in each class and nothing reserved. */
    void link(int id, int src, int dst, float... capacity) throws AddDBException {
        jniaddLink(id, 0, src, dst, capacity, new float[capacity.length][8], null, null, null);
    }

    /** Adds a chain of links, numbered from firstId on, each way with the same capacity. */
    void cables(int firstId, float capacity, int... nodes) throws AddDBException {
        for (int i = 0; i + 1 < nodes.length; i++) {
            link(firstId + 2 * i, nodes[i], nodes[i + 1], capacity);
            link(firstId + 2 * i + 1, nodes[i + 1], nodes[i], capacity);
        }
    }

    /** Asks for a primary path of class 0. */
    int[] path(int id, int src, int dst, int level, float bandwidth, boolean add, boolean preempt)
            throws Exception {
        return jnicomputePath(id, src, dst, 0, 0, 0, 0, level, bandwidth, null, add, preempt);
    }

    /**
     * Makes nodes 0 to 3 and reserves 10 on link 1-2, of the given capacity, at level 5, where no
     * LSP crosses it: what is left by a backup around 0-1 whose primary, over 0-1 and 1-2, is gone.
     */
    void orphanedBackup(float capacity) throws AddDBException {
        nodes(0, 1, 2, 3);
        link(0, 0, 1, 100);
        link(1, 1, 2, capacity);
        link(2, 0, 3, 100);
        link(3, 3, 1, 100);
        jniaddLSP(900, ids(0, 1, 2), 4, 0, 10);
        jniaddBackupLSP(901, 900, ids(0, 3, 1), 5, 0, 10, true);
        jniremoveLSP(900);
    }

    static int[] ids(int... ids) {
        return ids;
    }

    static void say(Object word) {
        System.out.println(text(word));
    }

    static void say(Object first, Object second, Object... others) {
        StringBuilder line = new StringBuilder(text(first) + " " + text(second));
        for (Object other : others) {
            line.append(' ').append(text(other));
        }
        System.out.println(line);
    }

    static void attempt(String what, Action action) {
        attempt(what, () -> {
            action.run();
            return "done";
        });
    }

    static void attempt(String what, Computation computation) {
        Object result;
        try {
            result = text(computation.run());
        } catch (Exception e) {
            result = e.getClass().getName().replace("velmor.repository.model.exception.", "")
                    + (e.getMessage() == null ? "" : " with message " + e.getMessage());
        }
        say(what + ":", result);
    }

    private static String text(Object value) {
        if (value instanceof int[]) {
            return Arrays.toString((int[]) value);
        }
        return value instanceof int[][] ? Arrays.deepToString((int[][]) value)
                : String.valueOf(value);
    }
}
