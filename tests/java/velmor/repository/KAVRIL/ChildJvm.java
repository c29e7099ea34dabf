package velmor.repository.KAVRIL;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.fail;

import java.io.IOException;
import java.io.InputStream;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.Map;
import java.util.concurrent.TimeUnit;
import java.util.stream.Collectors;

/**
 * A JVM of its own, under -Xcheck:jni, and what it printed on either stream, in the order in which it
 * came out; that includes the JVM's warnings.
 */
public final class ChildJvm {
    private static final int TIMEOUT_SECONDS = 120 + Integer.getInteger("kavril.soak.seconds", 0);
    private static final int SHOWN_LINES = 12;

    /** What it printed, a character a byte, with N for the library's source lines. */
    public final String out;

    /** Its exit status. */
    public final int exit;

    private ChildJvm(String out, int exit) {
        this.out = out;
        this.exit = exit;
    }

    /** Runs a class of the tests. */
    public static ChildJvm run(Class<?> main, String... arguments) {
        String[] command = new String[arguments.length + 1];
        command[0] = main.getName();
        System.arraycopy(arguments, 0, command, 1, arguments.length);
        return start(System.getProperty("java.class.path"), command);
    }

    /** Starts a JVM: its own options if any, a main class, and the arguments of that. */
    public static ChildJvm start(String classPath, String... arguments) {
        return start(Map.of(), classPath, arguments);
    }

    /** The same, with variables of the environment. */
    public static ChildJvm start(Map<String, String> environment, String classPath,
            String... arguments) {
        try {
            Path out = Files.createTempFile("kavril", ".out");
            ProcessBuilder builder = new ProcessBuilder(
                    Path.of(System.getProperty("java.home"), "bin", "java").toString(),
                    "-Xcheck:jni", "-XX:TieredStopAtLevel=1", "-XX:+UseSerialGC",
                    "-Djava.library.path=" + System.getProperty("java.library.path"),
                    "-cp", classPath);
            builder.command().addAll(List.of(arguments));
            builder.environment().putAll(environment);
            Process process =
                    builder.redirectErrorStream(true).redirectOutput(out.toFile()).start();
            if (!process.waitFor(TIMEOUT_SECONDS, TimeUnit.SECONDS)) {
                process.destroyForcibly().waitFor();
            }
            ChildJvm child = new ChildJvm(Files.readString(out, StandardCharsets.ISO_8859_1)
                    .replaceAll(" at line \\d+", " at line N"), process.exitValue());
            Files.delete(out);
            return child;
        } catch (IOException e) {
            throw new UncheckedIOException(e);
        } catch (InterruptedException e) {
            throw new IllegalStateException(e);
        }
    }

    /** Puts copies of classes into a folder, to be a class path without all the others. */
    public static void copyClasses(Path folder, String... names) {
        for (String name : names) {
            Path file = folder.resolve(name.replace('.', '/') + ".class");
            try (InputStream bytes = ChildJvm.class.getResourceAsStream(
                    "/" + name.replace('.', '/') + ".class")) {
                Files.createDirectories(file.getParent());
                Files.copy(bytes, file);
            } catch (IOException e) {
                throw new UncheckedIOException(e);
            }
        }
    }

    /** Expects exactly these lines and a normal end. */
    public void prints(List<String> lines) {
        String expected = lines.stream().map(line -> line + "\n").collect(Collectors.joining());
        int at = 0;
        while (at < Math.min(expected.length(), out.length())
                && expected.charAt(at) == out.charAt(at)) {
            at++;
        }
        if (at < Math.max(expected.length(), out.length())) {
            int lineStart = expected.lastIndexOf('\n', at - 1) + 1;
            fail("after " + out.substring(0, lineStart).lines().count() + " lines, expected:\n"
                    + start(expected, lineStart) + "found:\n" + start(out, lineStart)
                    + "(exit status " + exit + ")");
        }
        assertEquals(0, exit, "exit status");
    }

    private static String start(String text, int from) {
        return text.substring(from).lines().limit(SHOWN_LINES).map(line -> "  " + line + "\n")
                .collect(Collectors.joining());
    }
}
