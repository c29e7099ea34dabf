package velmor.repository.KAVRIL;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.fail;

import java.io.ByteArrayInputStream;
import java.io.ByteArrayOutputStream;
import java.io.File;
import java.io.IOException;
import java.io.InputStream;
import java.io.ObjectInputStream;
import java.io.ObjectOutputStream;
import java.io.Serializable;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Base64;
import java.util.List;
import java.util.concurrent.TimeUnit;
import java.util.stream.Collectors;

/**
 * Runs a scenario in a JVM of its own, under -Xcheck:jni, and keeps what that JVM prints: the
 * scenario's own lines and the library's, in the order in which they came out.
 *
 * <p>Warnings of -Xcheck:jni come out on the standard output too, so no expectation on it can hold
 * when there are any.
 */
public final class ChildJvm {

    /** What happens in the child; the probe has no session yet. */
    interface Scenario extends Serializable {
        void run(Probe probe) throws Exception;
    }

    private static final int TIMEOUT_SECONDS = 120;
    private static final int SHOWN_LINES = 12;

    /** What it printed to its standard output, a character a byte. */
    public final String out;

    /** What it printed to its standard error stream. */
    public final String err;

    /** Its exit status. */
    public final int exit;

    private ChildJvm(String out, String err, int exit) {
        this.out = out;
        this.err = err;
        this.exit = exit;
    }

    static ChildJvm run(Scenario scenario) {
        try {
            ByteArrayOutputStream bytes = new ByteArrayOutputStream();
            try (ObjectOutputStream stream = new ObjectOutputStream(bytes)) {
                stream.writeObject(scenario);
            }
            return start(System.getProperty("java.class.path"), ChildJvm.class.getName(),
                    Base64.getEncoder().encodeToString(bytes.toByteArray()));
        } catch (IOException e) {
            throw new UncheckedIOException(e);
        }
    }

    /** Starts a JVM: its own options if any, a main class, and the arguments of that. */
    public static ChildJvm start(String classPath, String... arguments) {
        try {
            Path out = Files.createTempFile("kavril", ".out");
            Path err = Files.createTempFile("kavril", ".err");
            ProcessBuilder builder = new ProcessBuilder(
                    Path.of(System.getProperty("java.home"), "bin", "java").toString(),
                    "-Xcheck:jni", "-XX:TieredStopAtLevel=1", "-XX:+UseSerialGC",
                    "-Djava.library.path=" + System.getProperty("java.library.path"),
                    "-cp", classPath);
            builder.command().addAll(List.of(arguments));
            Process process = builder.redirectOutput(out.toFile()).redirectError(err.toFile())
                    .start();
            if (!process.waitFor(TIMEOUT_SECONDS, TimeUnit.SECONDS)) {
                process.destroyForcibly().waitFor();
            }
            ChildJvm child = new ChildJvm(text(out), text(err), process.exitValue());
            Files.delete(out);
            Files.delete(err);
            return child;
        } catch (IOException e) {
            throw new UncheckedIOException(e);
        } catch (InterruptedException e) {
            throw new IllegalStateException(e);
        }
    }

    /** The child's side. */
    public static void main(String[] args) throws Exception {
        byte[] bytes = Base64.getDecoder().decode(args[0]);
        try (ObjectInputStream stream = new ObjectInputStream(new ByteArrayInputStream(bytes))) {
            ((Scenario) stream.readObject()).run(new Probe());
        }
    }

    /** Puts copies of classes into a folder, to be a class path without all the others. */
    public static void copyClasses(Path folder, Class<?>... classes) {
        for (Class<?> type : classes) {
            String name = type.getName().replace('.', '/') + ".class";
            Path file = folder.resolve(name.replace('/', File.separatorChar));
            try (InputStream bytes = type.getClassLoader().getResourceAsStream(name)) {
                Files.createDirectories(file.getParent());
                Files.copy(bytes, file);
            } catch (IOException e) {
                throw new UncheckedIOException(e);
            }
        }
    }

    /** Expects exactly these lines, nothing on the standard error and a normal end. */
    public void prints(List<String> outLines) {
        prints(outLines, List.of());
    }

    /** Expects exactly these two outputs, each line ended by a newline, and a normal end. */
    public void prints(List<String> outLines, List<String> errLines) {
        expect("standard output", lines(outLines), out);
        expect("standard error", lines(errLines), err);
        assertEquals(0, exit, "exit status");
    }

    private void expect(String stream, String expected, String actual) {
        int at = 0;
        while (at < Math.min(expected.length(), actual.length())
                && expected.charAt(at) == actual.charAt(at)) {
            at++;
        }
        if (at < Math.max(expected.length(), actual.length())) {
            int lineStart = expected.lastIndexOf('\n', at - 1) + 1;
            fail(stream + " after " + lineStart + " bytes, expected:\n" + start(expected, lineStart)
                    + "found:\n" + start(actual, lineStart) + "(exit status " + exit
                    + "), standard error:\n" + start(err, 0));
        }
    }

    private static String start(String text, int from) {
        return text.substring(from).lines().limit(SHOWN_LINES).map(line -> "  " + line + "\n")
                .collect(Collectors.joining());
    }

    private static String lines(List<String> lines) {
        return lines.isEmpty() ? "" : String.join("\n", lines) + "\n";
    }

    // One character a byte, so that no byte gets lost; source lines are the library's own affair.
    private static String text(Path file) throws IOException {
        return Files.readString(file, StandardCharsets.ISO_8859_1)
                .replaceAll(" at line \\d+", " at line N");
    }
}
