package velmor.kavril;

/** Checks of arguments; each failure names the argument, its value and its range. */
final class Check {
    static final int MAX_CLASSES = 8;
    static final int MAX_LEVELS = 8;
    private static final int MAX_NODE = 16382;
    private static final int MAX_LINK = (1 << 20) - 1;
    private static final int MAX_LSP = (1 << 24) - 1;

    private Check() {
    }

    static int range(String name, int value, int min, int max) {
        if (value < min || value > max) {
            throw new IllegalArgumentException(
                    name + " is " + value + ", must be " + min + " to " + max);
        }
        return value;
    }

    static int node(String name, int value) {
        return range(name, value, 0, MAX_NODE);
    }

    static int link(String name, int value) {
        return range(name, value, 0, MAX_LINK);
    }

    static int lsp(String name, int value) {
        return range(name, value, 0, MAX_LSP);
    }

    /** A bandwidth, capacity or weight: in single precision, as the library takes it. */
    static float amount(String name, double value) {
        if (!(value >= 0 && value <= Float.MAX_VALUE)) {
            throw new IllegalArgumentException(
                    name + " is " + value + ", must be 0 to " + Float.MAX_VALUE);
        }
        return (float) value;
    }

    static <T> T given(String name, T value) {
        if (value == null) {
            throw new IllegalArgumentException(name + " is null, must be given");
        }
        return value;
    }
}
