package operator;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;

/** Reads a network from a text file; examples/data/abilene.txt tells the format. */
final class NetworkFile {

    /** A file that is no network; the message names file and line. */
    static final class FormatException extends Exception {
        private static final long serialVersionUID = 1L;

        FormatException(String message) {
            super(message);
        }
    }

    private final Path file;
    private final Network network = new Network();
    private int lineNumber;

    private NetworkFile(Path file) {
        this.file = file;
    }

    static Network read(Path file) throws IOException, FormatException {
        return new NetworkFile(file).parse();
    }

    private Network parse() throws IOException, FormatException {
        for (String line : Files.readAllLines(file)) {
            lineNumber++;
            String item = line.replaceFirst("#.*", "").trim();
            if (!item.isEmpty()) {
                parseItem(item.split("\\s+"));
            }
        }
        expect(!network.cables.isEmpty(), "the file ends without a cable");
        int silent = network.traffic.indexOf(null);
        expect(silent < 0, "the file ends without traffic for node " + silent);
        return network;
    }

    private void parseItem(String[] fields) throws FormatException {
        switch (fields[0]) {
            case "network":
                expect(fields.length == 2, "not of the form: network NAME");
                network.name = fields[1];
                break;
            case "node":
                expect(fields.length >= 3, "not of the form: node ID PLACE");
                expect(!network.nodes.contains(fields[1]), "second node " + fields[1]);
                expect(network.traffic.stream().allMatch(row -> row == null),
                        "node after the traffic of others");
                network.addNode(fields[1],
                        String.join(" ", Arrays.copyOfRange(fields, 2, fields.length)));
                break;
            case "cable":
                expect(fields.length == 4, "not of the form: cable ID ID CAPACITY");
                parseCable(node(fields[1]), node(fields[2]), amount(fields[3]));
                break;
            case "traffic":
                expect(fields.length == network.nodes.size() + 2,
                        "not of the form: traffic ID and an amount for each node");
                parseTraffic(node(fields[1]), fields);
                break;
            default:
                expect(false, "unknown item '" + fields[0] + "'");
        }
    }

    private void parseCable(int a, int b, int capacity) throws FormatException {
        expect(a != b, "both ends of the cable are one node");
        expect(capacity >= 10, "cable of less than 10 Mbit/s");
        expect(!network.hasCable(a, b), "second cable between these nodes");
        network.cables.add(new int[] {a, b, capacity});
    }

    private void parseTraffic(int src, String[] fields) throws FormatException {
        int[] amounts = new int[network.nodes.size()];
        for (int dst = 0; dst < amounts.length; dst++) {
            amounts[dst] = amount(fields[dst + 2]);
        }
        expect(amounts[src] == 0, "traffic of " + fields[1] + " to itself");
        expect(network.traffic.get(src) == null, "second traffic line of " + fields[1]);
        network.traffic.set(src, amounts);
    }

    private int node(String name) throws FormatException {
        expect(network.nodes.contains(name), "unknown node '" + name + "'");
        return network.nodes.indexOf(name);
    }

    private int amount(String field) throws FormatException {
        expect(field.matches("[0-9]{1,7}"), "'" + field + "' is no amount in whole Mbit/s");
        return Integer.parseInt(field);
    }

    private void expect(boolean holds, String otherwise) throws FormatException {
        if (!holds) {
            throw new FormatException(file + ":" + lineNumber + ": " + otherwise);
        }
    }
}
