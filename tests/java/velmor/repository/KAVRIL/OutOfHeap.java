package velmor.repository.KAVRIL;

import java.util.Arrays;

/** Asks for arrays when the heap has no room left for them. */
final class OutOfHeap {

    private static Object[] chain;

    private OutOfHeap() {
    }

    public static void main(String[] args) throws Exception {
        Probe probe = Hostile.open();
        probe.jniaddLSP(4, Probe.ids(1, 0), 0, 0, 9);
        String before = Hostile.print(probe);
        // LSP 2 has to give way to this one, as the other way round the ring is full.
        Object[] path = {7, 1, 2, 0, 0, 0, 0, 3, 3f, null, true, true};
        Object[] preemption = {7, 1, 2, 0, 0, 0, 0, 3, 3f, null, false, true};
        Object[] backups = {1, Probe.ids(7, 8), 2, true, false};
        String thrown = exhausted(probe, "jnicomputePath", path)
                + exhausted(probe, "jnicomputePath", preemption)
                + exhausted(probe, "jnicomputeBackupPath", backups);
        System.out.println(thrown);
        System.out.println("# " + (before.equals(Hostile.print(probe)) ? "as before" : "changed"));
        System.out.println("# " + Hostile.call(probe, "jnicomputePath", path)
                + Arrays.toString(probe.lsps));
    }

    private static String exhausted(Probe probe, String method, Object[] arguments) {
        Hostile.call(new Probe(), method, arguments);  // loads what a call needs
        // A collection that comes too late for one allocation may make room for the next.
        for (int i = 0; i < 5; i++) {
            fill();
        }
        Throwable thrown = null;
        try {
            if (method.equals("jnicomputePath")) {
                probe.jnicomputePath(7, 1, 2, 0, 0, 0, 0, 3, 3f, null, (boolean) arguments[10],
                        true);
            } else {
                probe.jnicomputeBackupPath(1, (int[]) arguments[1], 2, true, false);
            }
        } catch (Throwable e) {
            thrown = e;
        }
        chain = null;
        return "# " + (thrown instanceof OutOfMemoryError ? "out of memory" : thrown) + "\n";
    }

    private static void fill() {
        try {
            while (true) {
                chain = new Object[] {chain};
            }
        } catch (OutOfMemoryError e) {
            // Nothing is left, not even for an empty array.
        }
    }
}
