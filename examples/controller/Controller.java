import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Comparator;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.TreeSet;
import java.util.function.Consumer;
import java.util.stream.Collectors;
import velmor.kavril.BatchOrder;
import velmor.kavril.BatchResult;
import velmor.kavril.Failure;
import velmor.kavril.FailureOption;
import velmor.kavril.FailureReport;
import velmor.kavril.KavrilException;
import velmor.kavril.Link;
import velmor.kavril.Lsp;
import velmor.kavril.NetworkState;
import velmor.kavril.PlaceOption;
import velmor.kavril.Protection;
import velmor.kavril.Refusal;
import velmor.kavril.Request;
import velmor.kavril.Session;
import velmor.kavril.Traffic;

/**
 * Steers a network by commands, one a line, and keeps no book of LSPs, links or reservations: the
 * session tells what there is.
 *
 * <pre>
 * load PERCENT               place so much of the traffic matrix, a tenth as voice, the rest as bulk
 * place FROM TO MBITS LEVEL  place an LSP, of level 0 to 7; others may give way
 * protect local|global       give voice that has no backups those that there is room for
 * drill                      fail every cable on trial
 * fail A B [A B ...]         fail cables at once, and place again what was on them
 * repair                     bring back all that has failed
 * drain A B                  move the primaries off a link
 * capacity A B MBITS         change the capacity of a link
 * remove LSP                 remove an LSP and its backups
 * show                       list the links
 * </pre>
 */
public final class Controller {
    private static final int VOICE = 1;
    private static final int BULK = 5;

    private final Session session = Session.builder().build();
    private final List<String> nodes = new ArrayList<>();
    private final Map<Integer, int[]> matrix = new LinkedHashMap<>();
    private final List<FailureReport> failures = new ArrayList<>();
    private final Map<String, Consumer<String[]>> commands = Map.of(
            "load", words -> load(Integer.parseInt(words[1])),
            "place", words -> say("  %s", session.place(Request.of(node(words[1]), node(words[2]),
                    Traffic.of(Double.parseDouble(words[3])).atLevel(Integer.parseInt(words[4]))),
                    PlaceOption.PREEMPT)),
            "protect", words -> protect(
                    words[1].equals("local") ? Protection.local() : Protection.global()),
            "drill", words -> drill(),
            "fail", this::fail,
            "repair", words -> repair(),
            "drain", words -> drain(node(words[1]), node(words[2])),
            "capacity", words -> say("  %d LSPs have no room left", session.setCapacity(
                    node(words[1]), node(words[2]), Double.parseDouble(words[3])).size()),
            "remove", words -> say("  with its backups %s",
                    session.removeLspAndBackups(Integer.parseInt(words[1]))),
            "show", words -> show());

    public static void main(String[] args) throws IOException {
        if (args.length == 0) {
            System.err.println("usage: Controller NETWORK-FILE [COMMAND-FILE]");
            System.exit(2);
        }
        Controller controller = new Controller();
        Files.readAllLines(Path.of(args[0])).stream().map(line -> line.replaceFirst("#.*", "").trim())
                .filter(line -> !line.isEmpty()).forEach(line -> controller.describe(line.split("\\s+")));
        BufferedReader commands = args.length > 1 ? Files.newBufferedReader(Path.of(args[1]))
                : new BufferedReader(new InputStreamReader(System.in));
        boolean isFine = true;
        for (String line = commands.readLine(); line != null; line = commands.readLine()) {
            String command = line.replaceFirst("#.*", "").trim();
            isFine &= command.isEmpty() || controller.obey(command);
        }
        controller.session.close();
        System.exit(isFine ? 0 : 1);
    }

    /** An item of the network file; examples/data/abilene.txt tells its form. */
    private void describe(String[] item) {
        switch (item[0]) {
            case "node":
                session.addNode(nodes.size());
                nodes.add(item[1]);
                break;
            case "cable":
                int id = session.state().links().size();
                session.addLink(id, node(item[1]), node(item[2]), Double.parseDouble(item[3]));
                session.addLink(id + 1, node(item[2]), node(item[1]), Double.parseDouble(item[3]));
                break;
            case "traffic":
                int[] row = new int[nodes.size()];
                for (int to = 0; to < row.length; to++) {
                    row[to] = Integer.parseInt(item[to + 2]);
                }
                matrix.put(node(item[1]), row);
                break;
            default:
        }
    }

    /** Carries a command out; false if it fails or leaves a link without room. */
    private boolean obey(String command) {
        say("> %s", command);
        String[] words = command.split("\\s+");
        if (!commands.containsKey(words[0])) {
            say("  unknown command; there are %s", new TreeSet<>(commands.keySet()));
            return false;
        }
        try {
            commands.get(words[0]).accept(words);
        } catch (KavrilException | IllegalArgumentException e) {
            say("  %s", e.getMessage());
            return false;
        } catch (ArrayIndexOutOfBoundsException e) {
            say("  it needs more words");
            return false;
        }
        List<Link> full = session.state().links().stream().filter(link -> link.free(0) < 0)
                .collect(Collectors.toList());
        full.forEach(link -> say("  no room on %s: %s", name(link), link));
        return full.isEmpty();
    }

    private void load(int percent) {
        List<Request> requests = new ArrayList<>();
        matrix.forEach((from, row) -> {
            for (int to = 0; to < row.length; to++) {
                double traffic = (double) row[to] * percent / 100;
                if (traffic > 0) {
                    requests.add(Request.of(from, to, Traffic.of(traffic / 10).atLevel(VOICE)));
                    requests.add(Request.of(from, to, Traffic.of(traffic * 9 / 10).atLevel(BULK)));
                }
            }
        });
        BatchResult result = session.placeAll(requests, BatchOrder.MOST_IMPORTANT_FIRST,
                (done, total, last) -> {
                    last.refusal().ifPresent(reason -> say("  refused: %s", reason));
                    return true;
                });
        say("  %s", result);
    }

    private void protect(Protection protection) {
        NetworkState before = session.state();
        int nbGaps = before.lsps().stream().filter(lsp -> !lsp.isBackup())
                .filter(lsp -> lsp.traffic().level() <= VOICE && before.backupsOf(lsp.id()).isEmpty())
                .mapToInt(lsp -> session.protectPartly(lsp.id(), protection.placed()).unprotected().size())
                .sum();
        NetworkState state = session.state();
        double reserved = state.links().stream().mapToDouble(link -> link.reservedForBackups(0)).sum();
        double alone = state.lsps().stream().filter(Lsp::isBackup)
                .mapToDouble(lsp -> lsp.traffic().bandwidth() * lsp.route().nbLinks()).sum();
        say("  %d parts of LSPs stay without; backups reserve %.0f, without sharing %.0f", nbGaps, reserved,
                alone);
    }

    private void drill() {
        for (Link link : session.state().links()) {
            if (link.source() < link.destination()) {
                FailureReport report = session.fail(Failure.cable(link.source(), link.destination()),
                        FailureOption.DRY_RUN, FailureOption.REPLACE);
                say("  %-15s %3d switch, %3d are lost; then %s", name(link), report.switched().size(),
                        report.lost().size(), report.restoration());
            }
        }
    }

    private void fail(String[] words) {
        Failure failure = Failure.cable(node(words[1]), node(words[2]));
        for (int i = 3; i < words.length; i += 2) {
            failure = failure.and(Failure.cable(node(words[i]), node(words[i + 1])));
        }
        FailureReport report = session.fail(failure, FailureOption.REPLACE, FailureOption.PREEMPT);
        failures.add(report);
        say("  %s", report);
        report.restoration().refused().stream().map(Refusal::lsp).filter(lsp -> !lsp.isBackup())
                .forEach(lsp -> say("  down: %s", lsp));
    }

    private void repair() {
        for (int i = failures.size() - 1; i >= 0; i--) {
            say("  %s", session.repair(failures.remove(i)));
        }
    }

    private void drain(int source, int destination) {
        List<Lsp> primaries = session.lspsOn(source, destination).stream().filter(lsp -> !lsp.isBackup())
                .sorted(Comparator.comparing(lsp -> lsp.traffic().level())).collect(Collectors.toList());
        for (Lsp lsp : primaries) {
            try {
                session.rerouteAround(lsp.id(), source, destination);
            } catch (KavrilException e) {
                say("  LSP %d stays: %s", lsp.id(), e.getMessage());
            }
        }
        say("  %d of %d primaries are left", session.lspsOn(source, destination).stream()
                .filter(lsp -> !lsp.isBackup()).count(), primaries.size());
    }

    private void show() {
        NetworkState state = session.state();
        for (Link link : state.links()) {
            say("  %-15s %6.0f for primaries %6.0f for backups of %6.0f", name(link), link.primary(0),
                    link.reservedForBackups(0), link.capacity(0));
        }
        say("  %s; utilisation %.1f %% on average, %.1f %% at most", state,
                100 * state.meanUtilisation(0), 100 * state.highestUtilisation(0));
    }

    private int node(String name) {
        if (!nodes.contains(name)) {
            throw new IllegalArgumentException("there is no node " + name);
        }
        return nodes.indexOf(name);
    }

    private String name(Link link) {
        return nodes.get(link.source()) + " > " + nodes.get(link.destination());
    }

    private static void say(String format, Object... args) {
        System.out.printf(Locale.ROOT, format + "%n", args);
    }
}
