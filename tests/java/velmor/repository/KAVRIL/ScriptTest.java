package velmor.repository.KAVRIL;

import static org.junit.jupiter.api.DynamicTest.dynamicTest;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import org.junit.jupiter.api.DynamicTest;
import org.junit.jupiter.api.TestFactory;

/**
 * The native methods do what the scripts say. Lines of commands begin with >, what comes of them stands
 * behind =; above is all that the library prints meanwhile, on either stream.
 */
class ScriptTest {

    @TestFactory
    Stream<DynamicTest> scripts() throws IOException {
        return Files.list(Path.of(System.getProperty("kavril.scripts"))).sorted()
                .flatMap(file -> parts(file).map(part -> dynamicTest(
                        file.getFileName() + ", " + part.lines().findFirst().orElse(""), () -> play(part))));
    }

    /** A file has several; each begins with a line of its own that says what it is about. */
    private static Stream<String> parts(Path file) {
        try {
            return Stream.of(Files.readString(file, StandardCharsets.ISO_8859_1).split("\n*# ")).skip(1);
        } catch (IOException e) {
            throw new java.io.UncheckedIOException(e);
        }
    }

    private static void play(String part) {
        List<String> lines = part.lines().skip(1).collect(Collectors.toList());
        ChildJvm.run(Script.class, lines.stream().filter(line -> line.startsWith("> "))
                .map(line -> line.substring(2).replaceAll(" = .*", "")).toArray(String[]::new)).prints(lines);
    }
}
