package operator;

import java.io.IOException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Comparator;
import java.util.List;
import java.util.stream.Collectors;
import operator.Lsp.Demand;
import operator.Network.Link;
import velmor.kavril.KavrilException;

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
    private final Controller controller;

    /** Demands whose LSP was taken down for another one, in the order of their fall. */
    private final List<Demand> fallen = new ArrayList<>();

    private int nbPlaced;
    private int nbPreempted;
    private int nbWithdrawn;

    private Operator(Network network, Controller controller, int scale, boolean verbose) {
        this.network = network;
        this.scale = scale;
        report = new Report(System.out, network, verbose);
        this.controller = controller;
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
            try (Controller controller = new Controller(network)) {
                new Operator(network, controller, scale, verbose).work(printDatabase);
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
                demands(Service.BULK, Service.VIDEO), false);
        placeAll("Working day: business and voice take precedence",
                demands(Service.BUSINESS, Service.VOICE), true);
        protectAll("Protection, the important first");
        placeAll("Late orders: the " + NB_LATE_PAIRS + " largest pairs want more",
                lateOrders(), true);
        List<Demand> again = new ArrayList<>(fallen);
        again.sort(Comparator.comparingInt(demand -> demand.service.level));
        placeAll("What went down is asked again, nobody preempts", again, false);
        protectAll("Protection for what has none, yet or again");
        showReservations();
        if (printDatabase) {
            report.section("The library's own tables");
            report.text(controller.tables());
        }
        drill();
        List<Lsp> primaries = controller.ledger.primaries();
        report.section("Summary");
        report.line("  %d LSPs placed; for them the library preempted %d, and the operator "
                + "withdrew %d with these", nbPlaced, nbPreempted, nbWithdrawn);
        report.line("  %d primaries and %d backups are up; every link has room for them, also when "
                + "another fails", primaries.size(),
                controller.ledger.all().size() - primaries.size());
    }

    private List<Demand> demands(Service... services) {
        List<Demand> demands = new ArrayList<>();
        for (Service service : services) {
            for (int src = 0; src < network.nodes.size(); src++) {
                for (int dst = 0; dst < network.nodes.size(); dst++) {
                    long traffic = (long) network.traffic.get(src)[dst] * scale;
                    if (traffic > 0) {
                        long bandwidth = (traffic * service.trafficPercent + 5_000) / 10_000;
                        demands.add(new Demand(service, src, dst,
                                (int) Math.min(Math.max(bandwidth, 1), 10_000_000)));
                    }
                }
            }
        }
        return demands;
    }

    private List<Demand> lateOrders() {
        List<Demand> orders = new ArrayList<>();
        for (Service service : List.of(Service.BUSINESS, Service.VOICE)) {
            demands(service).stream()
                    .sorted(Comparator.comparingInt((Demand demand) -> -demand.bandwidth))
                    .limit(NB_LATE_PAIRS)
                    .forEach(orders::add);
        }
        return orders;
    }

    private void placeAll(String title, List<Demand> demands, boolean preempt) {
        report.section(title);
        int nbRefused = 0;
        int nbGone = nbPreempted + nbWithdrawn;
        for (Demand demand : demands) {
            Controller.Placement placement = controller.place(demand, preempt);
            if (placement.lsp == null) {
                nbRefused++;
                report.refused(demand, placement.refusal);
                continue;
            }
            report.lsp("LSP", placement.lsp);
            placement.preempted.forEach(lsp -> report.lsp("    preempted", lsp));
            placement.withdrawn.forEach(lsp -> report.lsp("    withdrawn", lsp));
            nbPlaced++;
            nbPreempted += placement.preempted.size();
            nbWithdrawn += placement.withdrawn.size();
            List<Lsp> gone = new ArrayList<>(placement.preempted);
            gone.addAll(placement.withdrawn);
            gone.stream().filter(Lsp::isPrimary).forEach(lsp -> fallen.add(lsp.demand));
        }
        report.total("%d of %d placed, %d refused; %d LSPs went down for them",
                demands.size() - nbRefused, demands.size(), nbRefused,
                nbPreempted + nbWithdrawn - nbGone);
    }

    /** Gives every primary that wants protection and has none its backups, if there is room. */
    private void protectAll(String title) {
        report.section(title);
        List<Lsp> open = controller.ledger.primaries().stream()
                .filter(lsp -> lsp.service().protection != null)
                .filter(lsp -> controller.ledger.backupsOf(lsp).isEmpty())
                .sorted(Comparator.comparingInt(lsp -> lsp.service().level))
                .collect(Collectors.toList());
        int nbProtected = 0;
        int nbBackups = 0;
        for (Lsp primary : open) {
            List<Lsp> backups = controller.protect(primary);
            if (!backups.isEmpty()) {
                report.lsp("LSP", primary);
                backups.forEach(backup -> report.lsp("    protected by", backup));
                nbProtected++;
                nbBackups += backups.size();
            }
        }
        report.total("%d of %d protected, by %d backups; no second way or no room for the others",
                nbProtected, open.size(), nbBackups);
    }

    private void showReservations() {
        Reservations reservations = controller.reservations();
        report.section("Bandwidth on the links, Mbit/s");
        report.loads(reservations);
        report.section("What sharing saves, Mbit/s of backups over all links");
        report.sharing(reservations);
        for (Link link : network.links) {
            for (int oa = 0; oa < Service.NB_CLASSES; oa++) {
                if (reservations.exceedCapacity(link, oa)) {
                    throw new CheckFailedException("link " + network.text(link)
                            + " is booked beyond its capacity");
                }
            }
        }
    }

    private void drill() {
        FailureDrill drill = new FailureDrill(network, controller.ledger);
        report.section("Failure drill: each link in turn, LSPs switched to their backups");
        report.drillHeader();
        int nbOverloads = 0;
        int nbFitting = 0;
        for (Link link : network.links) {
            FailureDrill.Outcome outcome = drill.failLink(link);
            report.drillLine(link, outcome);
            nbOverloads += outcome.fits() ? 0 : 1;
            nbFitting += link.src < link.dst && drill.failCable(link).fits() ? 1 : 0;
        }
        report.line("  Both directions of a cable at once, which nobody promised: %d of %d fit",
                nbFitting, network.links.size() / 2);
        if (nbOverloads > 0) {
            throw new CheckFailedException(nbOverloads + " link failures overload the network");
        }
    }
}
