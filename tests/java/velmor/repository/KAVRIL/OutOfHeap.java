package velmor.repository.KAVRIL;

/** Asks for arrays when the heap has no room left for them. */
final class OutOfHeap {
    private static Object[] chain;

    private OutOfHeap() {
    }

    public static void main(String[] args) throws Exception {
        Script script = Hostile.open().all("addLSP 4 1,0 0 0 9");
        String before = Hostile.print(script);
        JNIKAVRIL kavril = script.object();
        int[] ids = {7, 8};
        // LSP 2 has to give way to this one, as the other way round the ring is full.
        exhausted(() -> kavril.jnicomputePath(7, 1, 2, 0, 0, 0, 0, 3, 3f, null, true, true));
        exhausted(() -> kavril.jnicomputePath(7, 1, 2, 0, 0, 0, 0, 3, 3f, null, false, true));
        exhausted(() -> kavril.jnicomputeBackupPath(1, ids, 2, true, false));
        System.out.println(before.equals(Hostile.print(script)) ? "# as before" : "# changed");
        System.out.println("# " + script.run("computePath 7 1 2 0 0 0 0 3 3 null y y")
                + script.run("lsps"));
    }

    private interface Call {
        Object run() throws Exception;
    }

    private static void exhausted(Call call) {
        // A collection that comes too late for one allocation may make room for the next.
        for (int i = 0; i < 5; i++) {
            try {
                while (true) {
                    chain = new Object[] {chain};
                }
            } catch (OutOfMemoryError e) {
                continue;  // Nothing is left, not even for an empty array.
            }
        }
        Throwable thrown = null;
        try {
            call.run();
        } catch (Throwable e) {
            thrown = e;
        }
        chain = null;
        System.out.println("# " + (thrown instanceof OutOfMemoryError ? "out of memory" : thrown));
    }
}
