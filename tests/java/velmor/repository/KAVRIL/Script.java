package velmor.repository.KAVRIL;

import java.lang.reflect.Array;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.TreeMap;
import java.util.regex.MatchResult;
import java.util.regex.Pattern;
import java.util.stream.Collectors;
import velmor.kavril.internal.Diagnostics;

/**
 * Calls of the native methods, written as text, and what came of each.
 *
 * <p>A command is the name of a native method without jni, and its arguments: {@code addLSP 7 0,1,2 3
 * 0 1.5}. An array is its elements with commas, - if it has none, 0*8 eight times 0; rows have
 * semicolons between them, 2x8 are rows of zeros; booleans are y and n. Words of the script's own:
 *
 * <pre>
 * on B           goes on with object B, a new one at first; the first is A
 * open 2 8       a session of 2 classes and 8 levels that counts hops
 * nodes 0 1 2
 * link 0 1 2 9   link 0 from 1 to 2 with 9 in class 0; more classes may follow
 * net 9 1-2-3 3-1     links of 9, numbered from 0, along these chains
 * links          id, LSPs, and capacity, primary and reserved bandwidth of each class that has any
 * id 7           sets the object's sessId; without a number, prints it
 * lsps 7         sets the field; without ids, prints it
 * </pre>
 */
final class Script {
    private static final Pattern LINK = Pattern.compile(
            "Link (\\S+) \\(id = (\\d+)\\)\n[^L]*List of LSPs\n[^\n]*\n([^\n]*)\n(.*?)\n\n", Pattern.DOTALL);
    private static final Pattern CLASS =
            Pattern.compile("Capacity\\S+ = (\\S+)\\s+pbw\\S+ = (\\S+)\\s+rbw\\S+ = (\\S+)");

    private final TreeMap<String, JNIKAVRIL> objects = new TreeMap<>();
    private JNIKAVRIL kavril = new JNIKAVRIL();

    Script() {
        objects.put("A", kavril);
    }

    /**
     * Runs lines of commands with "; " between them, and prints each line with what came of it.
     *
     * @param lines the lines
     */
    public static void main(String[] lines) {
        Script script = new Script();
        for (String line : lines) {
            StringBuilder outcomes = new StringBuilder();
            for (String command : line.split("; ")) {
                String outcome = script.run(command);
                outcomes.append(outcome.isEmpty() || outcome.startsWith("\n") ? outcome
                        : " = " + outcome);
            }
            System.out.println("> " + line + outcomes);
            System.out.flush();
        }
    }

    /** The object that commands go to. */
    JNIKAVRIL object() {
        return kavril;
    }

    /** Runs the commands, which succeed. */
    Script all(String... commands) {
        for (String command : commands) {
            if (!run(command).isEmpty()) {
                throw new IllegalStateException(command);
            }
        }
        return this;
    }

    /** What came of a command: a result, an exception's name, or nothing. */
    String run(String command) {
        String[] words = command.split(" ");
        try {
            return run(words[0], Arrays.copyOfRange(words, 1, words.length));
        } catch (InvocationTargetException e) {
            Throwable thrown = e.getCause();
            return thrown.getClass().getSimpleName()
                    + (thrown.getMessage() == null ? "" : ": " + thrown.getMessage());
        } catch (ReflectiveOperationException e) {
            throw new IllegalStateException(e);
        }
    }

    private String run(String name, String[] words) throws ReflectiveOperationException {
        switch (name) {
            case "on":
                kavril = objects.computeIfAbsent(words[0], key -> new JNIKAVRIL());
                return "";
            case "open":
                return call("initKavril", (words[0] + " " + words[1] + " n n y 0 1 0 0 0 0 0 "
                        + words[0] + "x" + words[1]).split(" "));
            case "nodes":
                for (String node : words) {
                    String outcome = call("addNode", node);
                    if (!outcome.isEmpty()) {
                        return outcome;
                    }
                }
                return "";
            case "link":
                String capacity = Arrays.stream(words).skip(3).collect(Collectors.joining(","));
                return call("addLink", words[0], "0", words[1], words[2],
                        capacity.isEmpty() ? "-" : capacity, "8x8", "null", "null", "null");
            case "net":
                int id = 0;
                for (int chain = 1; chain < words.length; chain++) {
                    String[] nodes = words[chain].split("-");
                    for (int i = 0; i + 1 < nodes.length; i++) {
                        all("link " + id++ + " " + nodes[i] + " " + nodes[i + 1] + " " + words[0]);
                    }
                }
                return "";
            case "links":
                return links(Diagnostics.print(kavril.sessId));
            case "id":
                kavril.sessId = words.length == 0 ? kavril.sessId : Integer.parseInt(words[0]);
                return words.length == 0 ? "" + kavril.sessId : "";
            case "lsps":
                kavril.lsps = words.length == 0 ? kavril.lsps : (int[]) value(int[].class, words[0]);
                return words.length == 0 ? Arrays.toString(kavril.lsps) : "";
            default:
                return call(name, words);
        }
    }

    private String call(String name, String... words) throws ReflectiveOperationException {
        for (Method method : JNIKAVRIL.class.getMethods()) {
            if (method.getName().equals("jni" + name)) {
                Class<?>[] types = method.getParameterTypes();
                Object[] values = new Object[types.length];
                for (int i = 0; i < types.length; i++) {
                    values[i] = value(types[i], words[i]);
                }
                Object result = method.invoke(kavril, values);
                return result instanceof int[] ? Arrays.toString((int[]) result)
                        : result == null ? "" : Arrays.deepToString((Object[]) result);
            }
        }
        throw new IllegalArgumentException(name);
    }

    /** The value that a word stands for. */
    static Object value(Class<?> type, String word) {
        if (type == int.class) {
            return word.equals("MAX") ? Integer.MAX_VALUE : word.equals("MIN") ? Integer.MIN_VALUE
                    : Integer.parseInt(word);
        }
        if (type == float.class) {
            return Float.parseFloat(word);
        }
        if (type == boolean.class) {
            return word.equals("y");
        }
        if (word.equals("null")) {
            return null;
        }
        Class<?> element = type.getComponentType();
        List<String> words = new ArrayList<>();
        if (word.contains("x")) {  // 8x8: rows of zeros
            String[] sizes = word.split("x");
            for (int i = 0; i < Integer.parseInt(sizes[0]); i++) {
                words.add("0*" + sizes[1]);
            }
        } else if (!element.isArray() && word.contains("*")) {
            String[] repeated = word.split("\\*");
            for (int i = 0; i < Integer.parseInt(repeated[1]); i++) {
                words.addAll(List.of(repeated[0].split(",")));
            }
        } else if (!word.equals("-")) {
            words.addAll(List.of(word.split(element.isArray() ? ";" : ",")));
        }
        Object array = Array.newInstance(element, words.size());
        for (int i = 0; i < words.size(); i++) {
            Array.set(array, i, value(element, words.get(i)));
        }
        return array;
    }

    private static String links(String text) {
        List<String> lines = new ArrayList<>();
        LINK.matcher(text).results().forEach((MatchResult link) -> {
            StringBuilder line = new StringBuilder(link.group(1) + " #" + link.group(2) + " ["
                    + link.group(3).strip() + "]");
            CLASS.matcher(link.group(4)).results().map(figures -> figures.group(1) + "/"
                    + figures.group(2) + "/" + figures.group(3))
                    .map(figures -> figures.replaceAll("\\.?0+(?=/|$)", ""))
                    .filter(figures -> !figures.equals("0/0/0")).forEach(f -> line.append(" ").append(f));
            lines.add("\n  " + line);
        });
        return String.join("", lines);
    }
}
