package operator;

import java.io.PrintStream;
import java.util.Locale;
import operator.Network.Link;

/** Writes what the operator wants to see, in at most 100 columns. */
final class Report {
    private static final int SAMPLE = 8;
    private static final int WIDTH = 100;

    private final PrintStream out;
    private final Network network;
    private final boolean verbose;
    private int nbListed;

    Report(PrintStream out, Network network, boolean verbose) {
        this.out = out;
        this.network = network;
        this.verbose = verbose;
    }

    void line(String format, Object... args) {
        String line = String.format(Locale.ROOT, format, args);
        while (line.length() > WIDTH) {
            int end = line.lastIndexOf(' ', WIDTH);
            out.println(line.substring(0, end));
            line = "          " + line.substring(end);
        }
        out.println(line);
    }

    /** Lines as they are. */
    void text(String lines) {
        out.print(lines);
    }

    /** Starts a section, and a list in it. */
    void section(String title) {
        line("%n== %s", title);
        nbListed = 0;
    }

    /** A line of a list, of which only the first ones are shown unless all are asked for. */
    void item(String format, Object... args) {
        if (nbListed++ < SAMPLE || verbose) {
            line("  " + format, args);
        }
    }

    /** Ends a list with its result. */
    void total(String format, Object... args) {
        if (nbListed > SAMPLE && !verbose) {
            line("  ... and %d lines more (--verbose shows them)", nbListed - SAMPLE);
        }
        line("  " + format, args);
    }

    void network() {
        line("%s: %d nodes, %d links", network.name, network.nodes.size(), network.links.size());
        for (int node = 0; node < network.nodes.size(); node++) {
            line("  %-9s%s", network.nodes.get(node), network.places.get(node));
        }
        line("%n  %-11s%-11s%-7s%-14s%s", "service", "class", "level", "traffic", "protected by");
        for (Service service : Service.values()) {
            line("  %-11s%-11s%-7d%-14s%s", service, Service.CLASS_NAMES[service.trafficClass],
                    service.level, service.trafficPercent + " % of all",
                    service.protection == null ? "nothing" : service.protection);
        }
    }

    /** An LSP of a list, with a word on what happens to it. */
    void lsp(String what, Lsp lsp) {
        String kind = lsp.isPrimary() ? "" : lsp.kind == Lsp.Kind.LOCAL_BACKUP
                ? ", local backup of " + lsp.primary.id : ", global backup of " + lsp.primary.id;
        item("%s %d (%s, %d%s): %s", what, lsp.id, lsp.service(), lsp.bandwidth(), kind,
                network.text(lsp.route));
    }

    void refused(Lsp.Demand demand, String refusal) {
        item("refused: %s from %s to %s, %d%s", demand.service, network.nodes.get(demand.src),
                network.nodes.get(demand.dst), demand.bandwidth,
                verbose ? "; " + refusal : "");
    }

    /** Primary and reserved bandwidth against the capacity of every link. */
    void loads(Reservations reservations) {
        line("  %-16s%13s%37s", "", Service.CLASS_NAMES[0], Service.CLASS_NAMES[1]);
        line("  %-16s%2$13s%3$9s%4$9s%2$19s%3$9s%4$9s", "link", "primary", "reserved", "capacity");
        for (Link link : network.links) {
            StringBuilder text = new StringBuilder();
            for (int oa = 0; oa < Service.NB_CLASSES; oa++) {
                int reserved = reservations.reserved[oa][link.id];
                int capacity = Service.capacity(link, oa);
                text.append(String.format(Locale.ROOT, "%13d%9d%9d %3d %%",
                        reservations.primary[oa][link.id], reserved, capacity,
                        100L * reserved / capacity));
            }
            line("  %-16s%s", network.text(link), text);
        }
    }

    /** What the backups reserve on all links together, and would if they shared nothing. */
    void sharing(Reservations reservations) {
        for (int oa = 0; oa < Service.NB_CLASSES; oa++) {
            int shared = 0;
            int dedicated = 0;
            int nbOverflows = 0;
            for (Link link : network.links) {
                int primary = reservations.primary[oa][link.id];
                int alone = reservations.dedicated[oa][link.id];
                shared += reservations.reserved[oa][link.id] - primary;
                dedicated += alone;
                nbOverflows += primary + alone > Service.capacity(link, oa) ? 1 : 0;
            }
            line("  %-10s%7d reserved, %7d if dedicated: %2d %% saved (dedicated ones overflow %d "
                    + "links)", Service.CLASS_NAMES[oa], shared, dedicated,
                    dedicated == 0 ? 0 : 100 - 100L * shared / dedicated, nbOverflows);
        }
    }

    void drillHeader() {
        line("  %-16s%13s%13s    %s", "failed link", "switched LSPs", "lost LSPs",
                "fullest link after it");
    }

    void drillLine(Link failed, FailureDrill.Outcome outcome) {
        line("  %-16s%5d, %6d%5d, %6d    %-16s%-10s%4.0f %% %s", network.text(failed),
                outcome.nbSwitched, outcome.switchedBandwidth, outcome.nbLost,
                outcome.lostBandwidth, network.text(outcome.fullestLink),
                Service.CLASS_NAMES[outcome.fullestClass], Math.floor(100 * outcome.fullest),
                outcome.fits() ? "fits" : "OVERLOAD");
    }
}
