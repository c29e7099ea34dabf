package operator;

import java.io.IOException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Comparator;
import java.util.List;
import java.util.Optional;
import java.util.stream.Collectors;
import velmor.kavril.BatchOrder;
import velmor.kavril.Failure;
import velmor.kavril.KavrilException;
import velmor.kavril.Link;
import velmor.kavril.Lsp;
import velmor.kavril.NetworkState;
import velmor.kavril.PartialProtection;
import velmor.kavril.PlaceOption;
import velmor.kavril.PlaceResult;
import velmor.kavril.Request;
import velmor.kavril.Session;

/** A day of a network operator: fills a network, protects it, and tries its failures. */
public final class Operator {
    private static final String USAGE = String.join("\n",
            "usage: operator [options] NETWORK-FILE",
            "  --scale PERCENT  take so much of the traffic in the file (100)",
            "  --print-db       have the library print its tables before the end",
            "  --verbose        print all lists in full",
            "  --help           print this text");

    private static final int NB_LATE_PAIRS = 20;

    private final Network network;
    private final int scale;
    private final Report report;
    private final Session session;

    private int nbPlaced;
    private int nbPreempted;
    private int nbPlacedAgain;
    private int nbWithdrawn;

    private Operator(Network network, Session session, int scale, boolean verbose) {
        this.network = network;
        this.session = session;
        this.scale = scale;
        report = new Report(System.out, network, verbose);
    }

    /**
     * Runs the example; the exit status is 0 if all went well, 1 if something is wrong and 2 for a
     * wrong command line.
     *
     * @param args options and the network file, see {@code --help}
     */
    public static void main(String[] args) {
        System.exit(run(args));
    }

    private static int run(String[] args) {
        boolean verbose = false;
        boolean printDatabase = false;
        int scale = 100;
        String file = null;
        for (int i = 0; i < args.length; i++) {
            if (args[i].equals("--help")) {
                System.out.println(USAGE);
                return 0;
            } else if (args[i].equals("--verbose")) {
                verbose = true;
            } else if (args[i].equals("--print-db")) {
                printDatabase = true;
            } else if (args[i].equals("--scale") && i + 1 < args.length
                    && args[i + 1].matches("[1-9][0-9]{0,3}")) {
                scale = Integer.parseInt(args[++i]);
            } else if (args[i].startsWith("-") || file != null) {
                return failure(2, "unusable argument '" + args[i] + "'\n" + USAGE);
            } else {
                file = args[i];
            }
        }
        if (file == null) {
            return failure(2, "no network file given\n" + USAGE);
        }
        try {
            Network network = NetworkFile.read(Path.of(file));
            try (Session session = network.open()) {
                new Operator(network, session, scale, verbose).work(printDatabase);
            }
            return 0;
        } catch (NetworkFile.FormatException | CheckFailedException e) {
            return failure(1, e.getMessage());
        } catch (IOException e) {
            return failure(1, "cannot read the network file: " + e);
        } catch (KavrilException e) {
            return failure(1, "the library refused what it must accept: " + e.getMessage());
        } catch (UnsatisfiedLinkError e) {
            return failure(1, e.getMessage());
        }
    }

    private static int failure(int status, String message) {
        System.err.println("operator: " + message);
        return status;
    }

    private void work(boolean printDatabase) {
        report.network();
        placeAll("Evening traffic: bulk and video, nobody preempts",
                demands(Service.BULK, Service.VIDEO));
        placeAll("Working day: business and voice take precedence",
                demands(Service.BUSINESS, Service.VOICE), PlaceOption.PREEMPT);
        protectAll("Protection, the important first");
        placeAll("Late orders: the " + NB_LATE_PAIRS + " largest pairs want more",
                lateOrders(), PlaceOption.PREEMPT);
        protectAll("Protection for what has a gap in it, yet or again");
        showReservations();
        if (printDatabase) {
            report.section("The library's own tables");
            report.text(session.dump());
        }
        drill();
        NetworkState state = session.state();
        report.section("Summary");
        report.line("  %d LSPs placed; for them %d gave way and %d found another place, %d were withdrawn",
                nbPlaced, nbPreempted, nbPlacedAgain, nbWithdrawn);
        report.line("  %s are up; every link has room when another fails", state);
    }

    private List<Request> demands(Service... services) {
        List<Request> demands = new ArrayList<>();
        for (Service service : services) {
            for (int src = 0; src < network.nodes.size(); src++) {
                for (int dst = 0; dst < network.nodes.size(); dst++) {
                    long traffic = (long) network.traffic.get(src)[dst] * scale;
                    if (traffic > 0) {
                        long bandwidth = (traffic * service.trafficPercent + 5_000) / 10_000;
                        demands.add(Request.of(src, dst,
                                service.traffic(Math.min(Math.max(bandwidth, 1), 10_000_000))));
                    }
                }
            }
        }
        return demands;
    }

    private List<Request> lateOrders() {
        List<Request> orders = new ArrayList<>();
        for (Service service : List.of(Service.BUSINESS, Service.VOICE)) {
            demands(service).stream()
                    .sorted(Comparator.comparing(request -> -request.traffic().bandwidth()))
                    .limit(NB_LATE_PAIRS)
                    .forEach(orders::add);
        }
        return orders;
    }

    private void placeAll(String title, List<Request> demands, PlaceOption... options) {
        report.section(title);
        int nbBefore = nbPlaced;
        int nbGone = nbPreempted + nbWithdrawn;
        session.placeAll(demands, BatchOrder.AS_GIVEN, (done, total, result) -> {
            tell(result);
            relieve();
            return true;
        }, options);
        report.total("%d of %d placed, %d refused; %d LSPs went down for them",
                nbPlaced - nbBefore, demands.size(), demands.size() - nbPlaced + nbBefore,
                nbPreempted + nbWithdrawn - nbGone);
    }

    private void tell(PlaceResult result) {
        Service service = Service.of(result.request().traffic());
        if (!result.isPlaced()) {
            report.refused(result, service);
            return;
        }
        nbPlaced++;
        report.lsp("LSP", result.placed().get());
        nbPreempted += result.restoration().preempted().size();
        nbPlacedAgain += result.restoration().placed().size();
        result.restoration().preempted().forEach(lsp -> report.lsp("    preempted", lsp));
        result.restoration().placed().forEach(lsp -> report.lsp("    again", lsp));
    }

    /**
     * Takes down LSPs until no link is booked beyond its capacity. The library counts a preempted
     * LSP's bandwidth as freed in full, which is too much for one that shared it.
     */
    private void relieve() {
        for (Optional<Lsp> lsp = mostExpendable(); lsp.isPresent(); lsp = mostExpendable()) {
            report.lsp("    withdrawn", lsp.get());
            nbWithdrawn += 1 + session.removeLspAndBackups(lsp.get().id()).size();
        }
    }

    /** Of those on links without room: a backup rather than a primary, the least important first. */
    private Optional<Lsp> mostExpendable() {
        NetworkState state = session.state();
        return state.links().stream().flatMap(link -> state.lspsOn(link.source(), link.destination())
                .stream().filter(lsp -> link.free(lsp.traffic().trafficClass()) < 0))
                .max(Comparator.comparing(Lsp::isBackup)
                        .thenComparing(lsp -> lsp.traffic().level())
                        .thenComparing(lsp -> lsp.traffic().bandwidth()));
    }

    /** Gives every primary that wants protection and has gaps in it all backups that there is room for. */
    private void protectAll(String title) {
        report.section(title);
        NetworkState state = session.state();
        List<Lsp> open = state.lsps().stream()
                .filter(lsp -> !lsp.isBackup() && Service.of(lsp.traffic()).protection != null)
                .filter(lsp -> state.backupsOf(lsp.id()).size() < Service.of(lsp.traffic()).nbBackups(lsp))
                .sorted(Comparator.comparing(lsp -> lsp.traffic().level()))
                .collect(Collectors.toList());
        int nbProtected = 0;
        int nbBackups = 0;
        for (Lsp primary : open) {
            session.backupsOf(primary.id()).forEach(session::removeLsp);
            PartialProtection protection =
                    session.protectPartly(primary.id(), Service.of(primary.traffic()).backups());
            report.lsp("LSP", primary);
            protection.backups().forEach(backup -> report.item("    protected by %d: %s",
                    backup.lspId().getAsInt(), network.text(backup.route())));
            protection.unprotected().forEach((part, reason) ->
                    report.item("    not %s: %s", network.text(part), reason));
            nbProtected += protection.isComplete() ? 1 : 0;
            nbBackups += protection.backups().size();
        }
        report.total("%d of %d protected in full, all by %d backups; no second way or no room for the "
                + "others", nbProtected, open.size(), nbBackups);
    }

    private void showReservations() {
        NetworkState state = session.state();
        report.section("Bandwidth on the links, Mbit/s");
        report.loads(state);
        report.section("What sharing saves, Mbit/s of backups over all links");
        report.sharing(state);
        if (mostExpendable().isPresent()) {
            throw new CheckFailedException("a link is booked beyond its capacity");
        }
    }

    private void drill() {
        NetworkState state = session.state();
        report.section("Failure drill: each link in turn, LSPs switched to their backups");
        report.drillHeader();
        int nbOverloads = 0;
        int nbFitting = 0;
        for (Link link : state.links()) {
            FailureDrill drill = new FailureDrill(session, state,
                    Failure.link(link.source(), link.destination()));
            report.drillLine(link, drill);
            nbOverloads += drill.fits() ? 0 : 1;
            nbFitting += link.source() < link.destination() && new FailureDrill(session, state,
                    Failure.cable(link.source(), link.destination())).fits() ? 1 : 0;
        }
        report.line("  Both directions of a cable at once, which nobody promised: %d of %d fit",
                nbFitting, network.cables.size());
        if (nbOverloads > 0) {
            throw new CheckFailedException(nbOverloads + " link failures overload the network");
        }
    }
}
