package velmor.kavril;

import java.util.ArrayList;
import java.util.Collection;
import java.util.Comparator;
import java.util.List;
import java.util.Map;
import java.util.Optional;
import java.util.PriorityQueue;
import java.util.SortedSet;
import java.util.TreeMap;
import java.util.TreeSet;
import velmor.kavril.internal.Requests;

/**
 * Places LSPs that are down again: primaries, the most important first, then their backups. A backup is
 * one of its primary's as that was last.
 */
final class Restorer {
    private static final Comparator<Lsp> ORDER =
            Comparator.comparing(Lsp::traffic, Importance.ORDER).thenComparingInt(Lsp::id);

    private final Session session;
    private final boolean preempts;
    private final boolean triesOldRoutes;
    private final PriorityQueue<Lsp> primaries = new PriorityQueue<>(ORDER);
    private final Map<Integer, List<Lsp>> backups = new TreeMap<>();  // by primary
    private final SortedSet<Integer> reserved = new TreeSet<>();  // ids of those that are down
    private final List<Lsp> placed = new ArrayList<>();
    private final List<Lsp> preempted = new ArrayList<>();
    private final List<Refusal> refused = new ArrayList<>();

    Restorer(Session session, boolean preempts, boolean triesOldRoutes) {
        this.session = session;
        this.preempts = preempts;
        this.triesOldRoutes = triesOldRoutes;
    }

    void add(Collection<Lsp> down) {
        for (Lsp lsp : down) {
            reserved.add(lsp.id());
            if (lsp.isBackup()) {
                backups.computeIfAbsent(lsp.primaryId().getAsInt(), id -> new ArrayList<>()).add(lsp);
            } else {
                primaries.add(lsp);
            }
        }
    }

    Restoration run() {
        while (!primaries.isEmpty()) {
            place(primaries.remove());
        }
        backups.forEach(this::protect);
        return new Restoration(placed, preempted, refused);
    }

    private void place(Lsp lsp) {
        Request request = Request.of(lsp.route().head(), lsp.route().tail(), lsp.traffic())
                .withId(lsp.id());
        if (triesOldRoutes && tryToPlace(request.over(lsp.route())) == null) {
            return;
        }
        String reason = tryToPlace(request);
        if (reason != null && preempts) {
            reason = tryToPreempt(request);
        }
        if (reason != null) {
            refused.add(new Refusal(lsp, reason));
        }
    }

    /** Why it cannot be placed, null if it is. */
    private String tryToPlace(Request request) {
        try {
            Placement placement = session.request(request, RequestOption.ADD);
            placed.add(session.lsp(placement.lspId()).orElseThrow());
            return null;
        } catch (KavrilException e) {
            return e.getMessage();
        }
    }

    private String tryToPreempt(Request request) {
        try {
            placed.add(preempt(request));
            return null;
        } catch (KavrilException e) {
            return e.getMessage();
        }
    }

    /** Places an LSP for which others have to give way; these are to be placed again. */
    Lsp preempt(Request request) {
        NetworkState before = session.state();
        Placement placement =
                session.request(request, RequestOption.ADD, RequestOption.PREEMPT);
        List<Lsp> down = new ArrayList<>();
        for (int id : placement.preempted()) {
            down.add(before.lsp(id).orElseThrow());
        }
        for (int id : placement.preempted()) {
            for (Lsp backup : before.backupsOf(id)) {
                if (session.lsp(backup.id()).isPresent()) {
                    session.removeLsp(backup.id());
                    down.add(backup);
                }
            }
        }
        preempted.addAll(down);
        down.removeIf(lsp -> lsp.isBackup()
                && before.lsp(lsp.primaryId().getAsInt()).filter(lsp::isBackupOf).isEmpty());
        add(down);
        return session.lsp(placement.lspId()).orElseThrow();
    }

    /** Makes up for the backups that a primary has lost. */
    private void protect(int primaryId, List<Lsp> lost) {
        Optional<Lsp> primary = session.lsp(primaryId).filter(lsp -> !lsp.isBackup());
        if (primary.isEmpty()) {
            return;  // it is among the refused ones, or was down before
        }
        List<Lsp> missing = new ArrayList<>();
        for (Lsp backup : lost) {
            if (!backup.isBackupOf(primary.get()) || !tryToPlaceBackup(backup)) {
                missing.add(backup);
            }
        }
        for (Lsp.Kind kind : new Lsp.Kind[] {Lsp.Kind.LOCAL_BACKUP, Lsp.Kind.GLOBAL_BACKUP}) {
            List<Lsp> ofKind = new ArrayList<>(missing);
            ofKind.removeIf(backup -> backup.kind() != kind);
            if (!ofKind.isEmpty()) {
                compute(primary.get(), ofKind);
            }
        }
    }

    private boolean tryToPlaceBackup(Lsp backup) {
        try {
            placeBackup(backup.id(), backup, backup.route());
            return true;
        } catch (KavrilException e) {
            return false;  // on its old route
        }
    }

    /** Places backups on computed routes, one for each link that has lost its own or is new. */
    private void compute(Lsp primary, List<Lsp> lost) {
        PartialProtection found;
        try {
            found = session.protectPartly(primary.id(),
                    lost.get(0).kind() == Lsp.Kind.GLOBAL_BACKUP ? Protection.global()
                            : Protection.local());
        } catch (KavrilException e) {
            lost.forEach(backup -> refused.add(new Refusal(backup, e.getMessage())));
            return;
        }
        found.unprotected().forEach((part, reason) -> modelFor(part.head(), primary, lost)
                .ifPresent(model -> refused.add(new Refusal(model, "for " + part + " " + reason))));
        for (Backup backup : found.backups()) {
            modelFor(backup.route().head(), primary, lost).ifPresent(model -> {
                boolean isTaken = session.lsp(model.id()).isPresent();
                replaceBackup(isTaken ? freeId() : model.id(), model, backup.route());
            });
        }
    }

    /** The lost backup to make up for by one from there; none if that one is still up. */
    private Optional<Lsp> modelFor(int head, Lsp primary, List<Lsp> lost) {
        Lsp first = lost.get(0);
        if (first.kind() == Lsp.Kind.LOCAL_BACKUP && first.isBackupOf(primary)) {
            return lost.stream().filter(lsp -> lsp.route().head() == head).findFirst();
        }
        return Optional.of(lost.stream().filter(lsp -> session.lsp(lsp.id()).isEmpty()).findFirst()
                .orElse(first));
    }

    private void replaceBackup(int id, Lsp model, Route route) {
        try {
            placeBackup(id, model, route);
        } catch (KavrilException e) {
            refused.add(new Refusal(model, e.getMessage()));
        }
    }

    /** One that no LSP has, nor had before it went down. */
    private int freeId() {
        int free = session.read(Requests::freeLspId);
        int id = Math.max(free, reserved.last() + 1);
        return id <= Check.MAX_LSP ? id : free;
    }

    private void placeBackup(int id, Lsp model, Route route) {
        session.addBackup(id, model.primaryId().getAsInt(),
                model.kind() == Lsp.Kind.LOCAL_BACKUP ? Protection.Kind.LOCAL : Protection.Kind.GLOBAL,
                model.traffic(), route);
        placed.add(session.lsp(id).orElseThrow());
    }
}
