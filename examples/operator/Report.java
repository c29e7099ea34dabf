package operator;

import java.io.PrintStream;
import java.util.Locale;
import velmor.kavril.Link;
import velmor.kavril.Lsp;
import velmor.kavril.NetworkState;
import velmor.kavril.PlaceResult;
import velmor.kavril.Request;

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
        line("%s: %d nodes, %d links", network.name, network.nodes.size(),
                2 * network.cables.size());
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
        item("%s %d (%s, %.0f): %s", what, lsp.id(), lsp.isBackup()
                ? "backup of " + lsp.primaryId().getAsInt() : Service.of(lsp.traffic()),
                lsp.traffic().bandwidth(), network.text(lsp.route()));
    }

    void refused(PlaceResult result, Service service) {
        Request request = result.request();
        item("refused: %s from %s to %s, %.0f%s", service, network.nodes.get(request.source()),
                network.nodes.get(request.destination()), request.traffic().bandwidth(),
                verbose ? "; " + result.refusal().orElse("") : "");
    }

    /** Primary and reserved bandwidth against the capacity of every link. */
    void loads(NetworkState state) {
        line("  %-16s%13s%37s", "", Service.CLASS_NAMES[0], Service.CLASS_NAMES[1]);
        line("  %-16s%2$13s%3$9s%4$9s%2$19s%3$9s%4$9s", "link", "primary", "reserved", "capacity");
        for (Link link : state.links()) {
            StringBuilder text = new StringBuilder();
            for (int oa = 0; oa < Service.NB_CLASSES; oa++) {
                text.append(String.format(Locale.ROOT, "%13.0f%9.0f%9.0f %3.0f %%", link.primary(oa),
                        link.reserved(oa), link.capacity(oa),
                        Math.floor(100 * link.reserved(oa) / link.capacity(oa))));
            }
            line("  %-16s%s", network.text(link), text);
        }
    }

    /** What the backups reserve on all links together, and would if they shared nothing. */
    void sharing(NetworkState state) {
        for (int oa = 0; oa < Service.NB_CLASSES; oa++) {
            double shared = 0;
            double dedicated = 0;
            int nbOverflows = 0;
            for (Link link : state.links()) {
                int trafficClass = oa;
                double alone = state.lspsOn(link.source(), link.destination()).stream()
                        .filter(lsp -> lsp.isBackup() && lsp.traffic().trafficClass() == trafficClass)
                        .mapToDouble(lsp -> lsp.traffic().bandwidth()).sum();
                shared += link.reservedForBackups(oa);
                dedicated += alone;
                nbOverflows += link.primary(oa) + alone > link.capacity(oa) ? 1 : 0;
            }
            line("  %-10s%7.0f reserved, %7.0f if dedicated: %2.0f %% saved (dedicated ones overflow %d "
                    + "links)", Service.CLASS_NAMES[oa], shared, dedicated,
                    dedicated == 0 ? 0 : 100 - 100 * shared / dedicated, nbOverflows);
        }
    }

    void drillHeader() {
        line("  %-16s%13s%13s    %s", "failed link", "switched LSPs", "lost LSPs",
                "fullest link after it");
    }

    void drillLine(Link failed, FailureDrill drill) {
        line("  %-16s%5d, %6.0f%5d, %6.0f    %-16s%-10s%4.0f %% %s", network.text(failed),
                drill.report.switched().size(), drill.report.switched().stream()
                        .mapToDouble(switched -> switched.lsp().traffic().bandwidth()).sum(),
                drill.report.lost().size(), drill.report.lost().stream()
                        .mapToDouble(lost -> lost.lsp().traffic().bandwidth()).sum(),
                network.text(drill.fullestLink), Service.CLASS_NAMES[drill.fullestClass],
                Math.floor(100 * drill.fullest), drill.fits() ? "fits" : "OVERLOAD");
    }
}
