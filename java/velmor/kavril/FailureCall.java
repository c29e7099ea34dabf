package velmor.kavril;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collection;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.TreeMap;
import java.util.stream.Collectors;
import velmor.kavril.internal.Changes;

/** One failure: whom it hits, and what is done about it. */
final class FailureCall {
    private final Session session;
    private final Failure failure;
    private final boolean replaces;
    private final boolean preempts;
    private final boolean isDry;

    FailureCall(Session session, Failure failure, Set<FailureOption> options) {
        this.session = session;
        this.failure = failure;
        replaces = options.contains(FailureOption.REPLACE);
        preempts = options.contains(FailureOption.PREEMPT);
        isDry = options.contains(FailureOption.DRY_RUN);
        if (preempts && !replaces) {
            throw new IllegalArgumentException("options has PREEMPT, must have REPLACE besides");
        }
    }

    FailureReport run() {
        // To take out what is hit is one call of the library, which needs nothing to go back to.
        return replaces ? session.attempt(Operation.FAIL, this::what, !isDry, this::fail)
                : session.together(Operation.FAIL, this::fail);
    }

    private String what() {
        return "the " + failure + " cannot be handled";
    }

    private FailureReport fail() {
        Set<Route> down = linksThatGo();
        List<Link> links = down.stream().map(link -> session.link(link.head(), link.tail()).orElseThrow())
                .collect(Collectors.toList());
        Outage outage = new Outage(down, failure.nodes());
        int[] ends = down.stream().flatMapToInt(link -> Arrays.stream(link.nodes())).toArray();
        List<Lsp> concerned = session.read(sessId ->
                Arrays.stream(Changes.concerned(sessId, ends))
                        .mapToObj(id -> StateReader.lsp(sessId, id).orElseThrow())
                        .collect(Collectors.toList()));

        Map<Integer, Lsp> primaries = new TreeMap<>();
        concerned.stream().filter(lsp -> !lsp.isBackup()).forEach(lsp -> primaries.put(lsp.id(), lsp));
        Map<Integer, List<Lsp>> backups = new TreeMap<>();
        concerned.stream().filter(lsp -> hasPrimary(lsp, primaries)).forEach(lsp -> backups
                .computeIfAbsent(lsp.primaryId().getAsInt(), id -> new ArrayList<>()).add(lsp));
        List<Lsp> removed = concerned.stream().filter(lsp -> outage.hits(lsp.route())
                || lsp.isBackup() && outage.hits(lsp.primaryRoute())).collect(Collectors.toList());

        List<Switchover> switched = new ArrayList<>();
        List<Refusal> lost = new ArrayList<>();
        List<Lsp> unprotected = new ArrayList<>();
        for (Lsp primary : primaries.values()) {
            List<Lsp> own = backups.getOrDefault(primary.id(), List.of());
            if (outage.hits(primary.route())) {
                Switchover switchover = Switchover.of(primary, own, outage);
                if (switchover.isLost()) {
                    lost.add(switchover.loss());
                } else {
                    switched.add(switchover);
                }
            } else if (own.stream().anyMatch(backup -> outage.hits(backup.route()))) {
                unprotected.add(primary);
            }
        }
        FailureReport report = new FailureReport(failure, links, switched, lost, removed, unprotected,
                Restoration.NONE);
        if (replaces || !isDry) {
            takeOut(removed, ends);
        }
        return replaces ? replace(report, primaries) : report;
    }

    private static boolean hasPrimary(Lsp backup, Map<Integer, Lsp> primaries) {
        Lsp primary = backup.isBackup() ? primaries.get(backup.primaryId().getAsInt()) : null;
        return primary != null && backup.isBackupOf(primary);
    }

    private Set<Route> linksThatGo() {
        Set<Route> down = new LinkedHashSet<>();
        for (Route link : failure.links()) {
            if (session.link(link.head(), link.tail()).isEmpty()) {
                throw refused("there is no link " + link);
            }
            down.add(link);
        }
        for (int node : failure.nodes()) {
            int[] ends = session.read(sessId -> Changes.linksAt(sessId, node));
            if (ends == null) {
                throw refused("there is no node " + node);
            }
            for (int i = 0; i < ends.length; i += 2) {
                down.add(Route.of(ends[i], ends[i + 1]));
            }
        }
        return down;
    }

    private RefusedException refused(String reason) {
        return new RefusedException(what() + ": " + reason, List.of(), null);
    }

    private void takeOut(Collection<Lsp> lsps, int[] ends) {
        int[] ids = lsps.stream().mapToInt(Lsp::id).toArray();
        session.make(Operation.FAIL, this::what, sessId -> Changes.remove(sessId, ids, ends));
    }

    private FailureReport replace(FailureReport report, Map<Integer, Lsp> primaries) {
        Restorer restorer = new Restorer(session, preempts, false);
        restorer.add(report.removed().stream()
                .filter(lsp -> !lsp.isBackup() || hasPrimary(lsp, primaries))
                .collect(Collectors.toList()));
        Restoration restoration = restorer.run();
        List<Lsp> unprotected = restoration.refused().stream().map(Refusal::lsp)
                .filter(Lsp::isBackup).map(backup -> backup.primaryId().getAsInt()).distinct().sorted()
                .flatMap(id -> session.lsp(id).stream()).collect(Collectors.toList());
        return new FailureReport(failure, report.links(), report.switched(), report.lost(),
                report.removed(), unprotected, restoration);
    }
}
