package velmor.repository.KAVRIL;

/** Fails in every way on a class path that has none of the library's exception classes. */
final class WithoutExceptions {

    private WithoutExceptions() {
    }

    public static void main(String[] args) {
        JNIKAVRIL kavril = new JNIKAVRIL();
        kavril.jniinitKavril(1, 1, false, false, true, 0, 1, 0, 0, 0, 0, 0, new float[1][1]);
        attempt(() -> kavril.jniaddNode(-1));
        attempt(() -> kavril.jnicomputePath(1, 0, 1, 0, 0, 0, 0, 0, 1, null, true, false));
        attempt(() -> kavril.jniaddNode(1));
        kavril.jnikillKavril();
    }

    private interface Action {
        void run() throws Throwable;
    }

    private static void attempt(Action action) {
        try {
            action.run();
            System.out.println("# done");
        } catch (Throwable e) {
            System.out.println("# " + e);
        }
    }
}
