package velmor.repository.KAVRIL;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.TreeMap;
import java.util.regex.MatchResult;
import java.util.regex.Pattern;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

/** The example application: a day of an operator, and its way with unusable input. */
class OperatorTest {

    private static final String[] NETWORK = {
        "network Prism   # two triangles, joined at their corners",
        "node A Alpha", "node B Beta", "node C Gamma", "node D Delta", "node E Eps", "node F Zeta",
        "cable A B 1000", "cable B C 1000", "cable C A 1000", "cable D E 600", "cable E F 600",
        "cable F D 600", "cable A D 500", "cable B E 500", "cable C F 500",
        "traffic A 0 90 80 70 60 90", "traffic B 90 0 70 80 90 60", "traffic C 60 70 0 80 90 70",
        "traffic D 50 60 70 0 90 80", "traffic E 90 80 70 60 0 50", "traffic F 60 70 80 90 50 0"};

    @TempDir
    private Path folder;

    private ChildJvm operator(String... arguments) {
        List<String> command = new ArrayList<>(List.of(arguments));
        command.add(0, "operator.Operator");
        return ChildJvm.start(System.getProperty("java.class.path"),
                command.toArray(new String[0]));
    }

    private String file(String... lines) throws IOException {
        return Files.write(folder.resolve("network"), List.of(lines)).toString();
    }

    /** All matches of the pattern, each its groups from the second on under the first. */
    private static TreeMap<Integer, List<Integer>> figures(String pattern, String text) {
        TreeMap<Integer, List<Integer>> figures = new TreeMap<>();
        Pattern.compile(pattern).matcher(text).results().forEach((MatchResult match) -> {
            List<Integer> groups = new ArrayList<>();
            for (int group = 2; group <= match.groupCount(); group++) {
                groups.add(Integer.valueOf(match.group(group)));
            }
            int id = match.group(1).isEmpty() ? figures.size() : Integer.parseInt(match.group(1));
            figures.put(id, groups);
        });
        return figures;
    }

    // The example works reservations out from the paths alone, the library by trial and booking.
    @ParameterizedTest
    @ValueSource(ints = {50, 100, 150, 200})
    void reservationsAreThoseOfTheLibrary(int scale) throws IOException {
        ChildJvm run = operator("--scale", "" + scale, "--print-db", file(NETWORK));
        assertEquals(0, run.exit, run.err);
        assertEquals(scale >= 150, run.out.contains("    preempted"), run.out);
        String row = " +(\\d+) +(\\d+) +\\d+ +\\d+ %";
        TreeMap<Integer, List<Integer>> own = figures("\n  . > .()" + row + row, run.out);
        String cell = "\\s+Capacity\\[.\\] = \\S+\\s+pbw\\[.\\] = (\\d+)[.]0+"
                + "\\s+rbw\\[.\\] = (\\d+)[.]0+";
        assertEquals(figures("\nLink .-. \\(id = (\\d+)\\)[^C]*" + cell + cell, run.out), own);
        assertEquals(18, own.size());
    }

    @ParameterizedTest
    @CsvSource(delimiter = '|', value = {
        "2 | node B Beta | second node B",
        "2 | node A | not of the form: node ID PLACE",
        "8 | cabel A B 1000 | unknown item 'cabel'",
        "8 | cable A B | not of the form: cable ID ID CAPACITY",
        "8 | cable A G 1000 | unknown node 'G'",
        "8 | cable A A 1000 | both ends of the cable are one node",
        "8 | cable A B 9 | cable of less than 10 Mbit/s",
        "8 | cable A B -5 | '-5' is no amount in whole Mbit/s",
        "9 | cable B A 50 | second cable between these nodes",
        "17 | traffic A 0 1 1 1 1 1 1 | not of the form: traffic ID and an amount for each node",
        "17 | traffic A 1 1 1 1 1 1 | traffic of A to itself",
        "18 | traffic A 0 1 1 1 1 1 | second traffic line of A",
        "22 | # nothing | the file ends without traffic for node 5",
    })
    void unusableFilesAreToldWithTheirLine(int line, String text, String message)
            throws IOException {
        String[] lines = NETWORK.clone();
        lines[line - 1] = text;
        // A second node is only noticed at the other one.
        int told = message.startsWith("second node") ? 3 : line;
        String file = file(lines);
        assertRefused(1, "operator: " + file + ":" + told + ": " + message, operator(file));
    }

    @Test
    void unusableCommandsAndLibrariesAreTold() throws IOException {
        assertRefused(2, "operator: no network file given", operator());
        assertRefused(2, "operator: unusable argument '--fast'", operator("--fast", "x"));
        assertRefused(2, "operator: unusable argument 'y'", operator("x", "y"));
        assertRefused(2, "operator: unusable argument '--scale'", operator("--scale", "0", "x"));
        assertRefused(1, "operator: cannot read the network file", operator("/nowhere"));
        assertRefused(1, "operator: cannot load the native library", ChildJvm.start(
                System.getProperty("java.class.path"), "-Dvelmor.kavril.library=/nowhere",
                "operator.Operator", file(NETWORK)));
        ChildJvm help = operator("--help");
        assertEquals("", help.err);
        assertTrue(help.out.startsWith("usage: operator [options] NETWORK-FILE\n"), help.out);
    }

    private static void assertRefused(int exit, String message, ChildJvm run) {
        assertEquals(exit, run.exit);
        assertEquals("", run.out);
        assertEquals(message, run.err.lines().findFirst().orElse("").substring(0,
                Math.min(message.length(), run.err.length())));
    }
}
