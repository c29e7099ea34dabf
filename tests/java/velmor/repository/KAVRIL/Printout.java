package velmor.repository.KAVRIL;

import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.TreeSet;

/** What the library should print of a network: nodes by their id, links in the order given. */
final class Printout {
    private final TreeSet<Integer> nodes = new TreeSet<>();
    private final List<int[]> ends = new ArrayList<>();
    private final List<String> links = new ArrayList<>();

    static Printout of(int... nodes) {
        Printout printout = new Printout();
        for (int node : nodes) {
            printout.nodes.add(node);
        }
        return printout;
    }

    /** A link; figures are capacity, primary and reserved bandwidth of class 0, then of class 1. */
    Printout link(int src, int dst, int id, String lsps, double... figures) {
        ends.add(new int[] {src, dst});
        links.addAll(List.of("Link " + src + "-" + dst + " (id = " + id + ")",
                "-----------------------", "\tList of LSPs", "\t------------", lsps, "",
                "\tLink-state", "\t----------"));
        for (int i = 0; i < 24; i++) {
            links.add(String.format(Locale.ROOT, "\t%s[%d] = %f",
                    List.of("Capacity", "pbw", "rbw").get(i % 3), i / 3,
                    i < figures.length ? figures[i] : 0));
        }
        links.addAll(List.of("", ""));
        return this;
    }

    List<String> lines() {
        List<String> lines = new ArrayList<>();
        lines.addAll(List.of("Printing info about nodes ...", "-----------------------------"));
        for (int node : nodes) {
            lines.addAll(List.of("Node id : " + node, "-------------", "Incoming neighboors : ",
                    neighbours(node, 1, 0), "Outgoing neighboors : ", neighbours(node, 0, 1)));
        }
        lines.addAll(List.of("", "Printing info about links ...", "-----------------------------"));
        lines.addAll(links);
        return lines;
    }

    private String neighbours(int node, int end, int otherEnd) {
        StringBuilder text = new StringBuilder();
        ends.stream().filter(link -> link[end] == node).mapToInt(link -> link[otherEnd]).sorted()
                .forEach(neighbour -> text.append(neighbour).append(' '));
        return text.toString();
    }
}
