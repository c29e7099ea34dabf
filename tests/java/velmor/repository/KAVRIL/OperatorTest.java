package velmor.repository.KAVRIL;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.TreeMap;
import java.util.regex.Pattern;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

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

    private static ChildJvm operator(String... arguments) {
        List<String> command = new ArrayList<>(List.of(arguments));
        command.add(command.size() > 0 && command.get(0).startsWith("-D") ? 1 : 0, "operator.Operator");
        return ChildJvm.start(System.getProperty("java.class.path"), command.toArray(new String[0]));
    }

    private String file(String... lines) throws IOException {
        return Files.write(folder.resolve("network"), List.of(lines)).toString();
    }

    @Test
    void reservationsAreThoseOfTheTables() throws IOException {
        for (int scale : new int[] {50, 200}) {
            ChildJvm run = operator("--scale", "" + scale, "--print-db", file(NETWORK));
            assertEquals(0, run.exit, run.out);
            assertEquals(scale > 50, run.out.contains("    preempted"), run.out);
            TreeMap<Integer, String> library = new TreeMap<>();
            String cell = "\\s+Capacity\\S+ = \\S+\\s+pbw\\S+ = (\\d+)[.]0+\\s+rbw\\S+ = (\\d+)[.]0+";
            Pattern.compile("\nLink .-. \\(id = (\\d+)\\)[^C]*" + cell + cell).matcher(run.out).results()
                    .forEach(link -> library.put(Integer.valueOf(link.group(1)), link.group(2) + " "
                            + link.group(3) + " " + link.group(4) + " " + link.group(5)));
            List<String> own = new ArrayList<>();
            String row = " +(\\d+) +(\\d+) +\\d+ +\\d+ %";
            Pattern.compile("\n  . > . " + row + row).matcher(run.out).results().forEach(link ->
                    own.add(link.group(1) + " " + link.group(2) + " " + link.group(3) + " "
                            + link.group(4)));
            assertEquals(new ArrayList<>(library.values()), own);
            assertEquals(18, own.size());
        }
    }

    /** A line of the file, what it is replaced by, and the message about it or the line told. */
    @ParameterizedTest
    @CsvSource(delimiter = '|', value = {
        "2 | node B Beta | 3: second node B",
        "2 | node A | 2: not of the form: node ID PLACE",
        "8 | cabel A B 1000 | 8: unknown item 'cabel'",
        "8 | cable A B | 8: not of the form: cable ID ID CAPACITY",
        "8 | cable A G 1000 | 8: unknown node 'G'",
        "8 | cable A A 1000 | 8: both ends of the cable are one node",
        "8 | cable A B 9 | 8: cable of less than 10 Mbit/s",
        "8 | cable A B -5 | 8: '-5' is no amount in whole Mbit/s",
        "9 | cable B A 50 | 9: second cable between these nodes",
        "17 | traffic A 0 1 1 1 1 1 1 | 17: not of the form: traffic ID and an amount for each node",
        "17 | traffic A 1 1 1 1 1 1 | 17: traffic of A to itself",
        "18 | traffic A 0 1 1 1 1 1 | 18: second traffic line of A",
        "22 | # nothing | 22: the file ends without traffic for node 5",
    })
    void unusableFilesAreToldWithTheirLine(int line, String text, String message)
            throws IOException {
        String[] lines = NETWORK.clone();
        lines[line - 1] = text;
        String file = file(lines);
        assertRefused(1, file + ":" + message, operator(file));
    }

    @Test
    void unusableCommandsAndLibrariesAreTold() throws IOException {
        assertRefused(2, "no network file given", operator());
        assertRefused(2, "unusable argument '--scale'", operator("--scale", "0", "x"));
        assertRefused(1, "cannot read the network file", operator("/nowhere"));
        assertRefused(1, "cannot load the native library",
                operator("-Dvelmor.kavril.library=/nowhere", file(NETWORK)));
        String help = operator("--help").out;
        assertTrue(help.startsWith("usage: operator [options] NETWORK-FILE\n"), help);
    }

    private static void assertRefused(int exit, String message, ChildJvm run) {
        assertEquals(exit, run.exit);
        assertTrue(run.out.startsWith("operator: " + message), run.out);
    }
}
