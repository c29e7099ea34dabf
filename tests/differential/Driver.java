import java.io.BufferedReader;
import java.io.BufferedWriter;
import java.io.FileDescriptor;
import java.io.FileOutputStream;
import java.io.IOException;
import java.io.InputStreamReader;
import java.io.OutputStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

import velmor.repository.KAVRIL.JNIKAVRIL;

/**
 * Performs a script of native calls and writes what became of each.
 *
 * <p>The script comes on standard input, one call a line: the number of the calling object, the
 * method without "jni" and its arguments, separated by blanks. Integers are decimal, booleans 0 or
 * 1, floats the eight hexadecimal digits of their bits. Arrays are "null", or "I:" or "F:" with
 * elements separated by commas; tables of floats "M" with "|" before every row. The pseudo method
 * "set" gives the object a session number.
 *
 * <p>The result file (first argument) gets one line per call: exception class, with its message
 * if it has one, or "-", "sessId", "lsps" and the result, separated by blanks. Before each call a marker with its number goes to
 * both standard streams, so that the library's own output can be told apart.
 */
public final class Driver {
    private final List<JNIKAVRIL> objects = new ArrayList<>();
    private String[] words;
    private int next;

    public static void main(String[] args) throws IOException {
        new Driver().run(Path.of(args[0]));
    }

    private void run(Path results) throws IOException {
        OutputStream out = new FileOutputStream(FileDescriptor.out);
        OutputStream err = new FileOutputStream(FileDescriptor.err);
        try (BufferedReader in =
                        new BufferedReader(
                                new InputStreamReader(System.in, StandardCharsets.US_ASCII));
                BufferedWriter to = Files.newBufferedWriter(results)) {
            String line;
            for (int number = 0; (line = in.readLine()) != null; number++) {
                byte[] marker = ("\1" + number + "\n").getBytes(StandardCharsets.US_ASCII);
                out.write(marker);
                err.write(marker);
                words = line.split(" ");
                next = 0;
                JNIKAVRIL object = object(integer());
                String exception = "-";
                String value = "null";
                try {
                    value = call(object, words[next++]);
                } catch (Throwable e) {
                    exception = e.getClass().getName();
                    if (e.getMessage() != null) {
                        exception += "(" + e.getMessage().replaceAll("\\s", "_") + ")";
                    }
                }
                to.write(exception + " " + object.sessId + " " + show(object.lsps) + " " + value);
                to.newLine();
                to.flush();
            }
        }
    }

    private JNIKAVRIL object(int number) {
        while (objects.size() <= number) {
            JNIKAVRIL fresh = new JNIKAVRIL();
            fresh.sessId = -1;
            fresh.lsps = null;
            objects.add(fresh);
        }
        return objects.get(number);
    }

    // Java evaluates arguments from left to right, so each takes its own word.
    private String call(JNIKAVRIL k, String method) throws Exception {
        switch (method) {
            case "set":
                k.sessId = integer();
                return "null";
            case "initKavril":
                k.jniinitKavril(
                        integer(), integer(), bool(), bool(), bool(), real(), real(), real(),
                        real(), real(), real(), real(), table());
                return "null";
            case "killKavril":
                k.jnikillKavril();
                return "null";
            case "printKavrilDB":
                k.jniprintKavrilDB();
                return "null";
            case "addNode":
                k.jniaddNode(integer());
                return "null";
            case "addLink":
                k.jniaddLink(
                        integer(), integer(), integer(), integer(), reals(), table(), table(),
                        table(), table());
                return "null";
            case "removeLink":
                k.jniremoveLink(integer(), integer());
                return "null";
            case "removeNode":
                k.jniremoveNode(integer());
                return "null";
            case "addLSP":
                k.jniaddLSP(integer(), integers(), integer(), integer(), real());
                return "null";
            case "addBackupLSP":
                k.jniaddBackupLSP(
                        integer(), integer(), integers(), integer(), integer(), real(), bool());
                return "null";
            case "removeLSP":
                k.jniremoveLSP(integer());
                return "null";
            case "computePath":
                return show(
                        k.jnicomputePath(
                                integer(), integer(), integer(), integer(), integer(), integer(),
                                integer(), integer(), real(), integers(), bool(), bool()));
            case "computeBackupPath":
                return show(
                        k.jnicomputeBackupPath(
                                integer(), integers(), integer(), bool(), bool()));
            default:
                throw new IllegalArgumentException(method);
        }
    }

    private int integer() {
        return Integer.parseInt(words[next++]);
    }

    private boolean bool() {
        return integer() != 0;
    }

    private static float bits(String word) {
        return Float.intBitsToFloat(Integer.parseUnsignedInt(word, 16));
    }

    private float real() {
        return bits(words[next++]);
    }

    private int[] integers() {
        String word = words[next++];
        if (word.equals("null")) {
            return null;
        }
        String[] parts = elements(word.substring(2));
        int[] array = new int[parts.length];
        for (int i = 0; i < array.length; i++) {
            array[i] = Integer.parseInt(parts[i]);
        }
        return array;
    }

    private static float[] reals(String word) {
        if (word.equals("null")) {
            return null;
        }
        String[] parts = elements(word.substring(2));
        float[] array = new float[parts.length];
        for (int i = 0; i < array.length; i++) {
            array[i] = bits(parts[i]);
        }
        return array;
    }

    private float[] reals() {
        return reals(words[next++]);
    }

    private float[][] table() {
        String word = words[next++];
        if (word.equals("null")) {
            return null;
        }
        String[] rows = word.substring(1).split("\\|", -1);
        float[][] table = new float[rows.length - 1][]; // nothing stands before the first bar
        for (int i = 0; i < table.length; i++) {
            table[i] = reals(rows[i + 1]);
        }
        return table;
    }

    private static String[] elements(String list) {
        return list.isEmpty() ? new String[0] : list.split(",");
    }

    private static String show(int[] array) {
        if (array == null) {
            return "null";
        }
        StringBuilder text = new StringBuilder("[");
        for (int i = 0; i < array.length; i++) {
            text.append(i == 0 ? "" : ",").append(array[i]);
        }
        return text.append("]").toString();
    }

    private static String show(int[][] arrays) {
        if (arrays == null) {
            return "null";
        }
        StringBuilder text = new StringBuilder("[");
        for (int i = 0; i < arrays.length; i++) {
            text.append(i == 0 ? "" : ",").append(show(arrays[i]));
        }
        return text.append("]").toString();
    }
}
