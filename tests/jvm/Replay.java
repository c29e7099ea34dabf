import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import java.util.stream.Stream;

import velmor.repository.KAVRIL.JNIKAVRIL;

/**
 * Makes the calls of a record in a virtual machine and prints it anew, with the results that they
 * have here.
 *
 * <p>A line of a record is the number of the calling object, a call, its arguments and, behind
 * " = ", its result; "new" stands for three objects without a session. Other lines are what a call
 * has printed. A list has no blanks in it.
 */
public final class Replay {
    private static final JNIKAVRIL[] objects = new JNIKAVRIL[3];
    private static String[] words;
    private static int next;

    public static void main(String[] args) throws IOException {
        BufferedReader in =
                new BufferedReader(new InputStreamReader(System.in, StandardCharsets.ISO_8859_1));
        for (String line; (line = in.readLine()) != null; ) {
            int end = line.indexOf(" = ");
            if (line.equals("new")) {
                for (int i = 0; i < objects.length; i++) {
                    objects[i] = new JNIKAVRIL();
                    objects[i].sessId = -1;
                }
                System.out.println(line);
            } else if (end > 0 && Character.isDigit(line.charAt(0))) {
                words = line.substring(0, end).split(" ");
                next = 0;
                JNIKAVRIL object = objects[integer()];
                object.lsps = new int[0];
                String result = result(object);
                System.out.printf(
                        "%s = %s %d %s%n",
                        line.substring(0, end), result, object.sessId, show(object.lsps));
            }
            System.out.flush();
        }
    }

    private static String result(JNIKAVRIL object) {
        try {
            return call(object, words[next++]);
        } catch (Exception e) {
            return e.getClass().getSimpleName();
        }
    }

    // Java evaluates arguments from left to right, so each takes its own word.
    private static String call(JNIKAVRIL k, String method) throws Exception {
        switch (method) {
            case "init":
                k.jniinitKavril(
                        integer(), integer(), bool(), bool(), bool(), real(), real(), real(),
                        real(), real(), real(), real(), table());
                break;
            case "kill":
                k.jnikillKavril();
                break;
            case "print":
                k.jniprintKavrilDB();
                break;
            case "addNode":
                k.jniaddNode(integer());
                break;
            case "addLink":
                k.jniaddLink(
                        integer(), 7, integer(), integer(), reals(word()), table(), null, null,
                        null);
                break;
            case "removeLink":
                k.jniremoveLink(integer(), integer());
                break;
            case "removeNode":
                k.jniremoveNode(integer());
                break;
            case "addLSP":
                k.jniaddLSP(integer(), integers(), integer(), integer(), real());
                break;
            case "addBackupLSP":
                k.jniaddBackupLSP(
                        integer(), integer(), integers(), integer(), integer(), real(), bool());
                break;
            case "removeLSP":
                k.jniremoveLSP(integer());
                break;
            case "computePath":
                return "["
                        + show(
                                k.jnicomputePath(
                                        integer(), integer(), integer(), 0, 0, 0, integer(),
                                        integer(), real(), null, bool(), bool()))
                        + "]";
            case "computeBackupPath":
                int[][] paths =
                        k.jnicomputeBackupPath(
                                integer(), integers(), integer(), bool(), bool());
                return Arrays.toString(Stream.of(paths).map(Replay::show).toArray())
                        .replace(" ", "");
            default:
                throw new IllegalArgumentException(method);
        }
        return "done";
    }

    private static String word() {
        return words[next++];
    }

    private static int integer() {
        return Integer.parseInt(word());
    }

    private static boolean bool() {
        return integer() != 0;
    }

    private static float real() {
        return real(word());
    }

    private static float real(String word) {
        return Float.parseFloat(word.replace("nan", "NaN").replace("inf", "Infinity"));
    }

    // What stands between the outer brackets, cut at a separator.
    private static String[] elements(String list, String separator) {
        return list.equals("[]")
                ? new String[0]
                : list.substring(1, list.length() - 1).split(separator);
    }

    private static int[] integers() {
        String list = word();
        return list.equals("null")
                ? null
                : Stream.of(elements(list, ",")).mapToInt(Integer::parseInt).toArray();
    }

    private static float[] reals(String list) {
        String[] parts = elements(list, ",");
        float[] array = new float[parts.length];
        for (int i = 0; i < array.length; i++) {
            array[i] = real(parts[i]);
        }
        return array;
    }

    private static float[][] table() {
        return Stream.of(elements(word(), "(?<=]),")).map(Replay::reals).toArray(float[][]::new);
    }

    private static String show(int[] array) {
        return Arrays.toString(array).replace(" ", "");
    }
}
