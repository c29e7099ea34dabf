package velmor.kavril;

import java.util.Arrays;
import java.util.Set;
import java.util.stream.Collectors;

/** Checks of arguments; each failure names the argument, its value and its range. */
final class Check {
    static final int MAX_CLASSES = 8;
    static final int MAX_LEVELS = 8;
    static final int MAX_NODE = 16382;
    private static final int MAX_LINK = (1 << 20) - 1;
    static final int MAX_LSP = (1 << 24) - 1;

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

    /** The nodes of a route; a name for each is made only if it is told. */
    static void nodes(String name, int[] values) {
        if (values.length == 0) {
            throw new IllegalArgumentException(name + " has 0 ids, must have 1 or more");
        }
        for (int i = 0; i < values.length; i++) {
            if (values[i] < 0 || values[i] > MAX_NODE) {
                node(name + "[" + i + "]", values[i]);
            }
        }
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

    /** Options of a call, none of them null. */
    static <T> Set<T> options(T[] options) {
        return Arrays.stream(given("options", options)).map(option -> given("options", option))
                .collect(Collectors.toSet());
    }

    static <T> T given(String name, T value) {
        if (value == null) {
            throw new IllegalArgumentException(name + " is null, must be given");
        }
        return value;
    }
}
