package operator;

import java.util.Collection;
import java.util.List;
import java.util.TreeMap;
import java.util.stream.Collectors;

/** The operator's own book of the LSPs that are up, since the library gives none back. */
final class Ledger {
    private final TreeMap<Integer, Lsp> lsps = new TreeMap<>();

    void add(Lsp lsp) {
        if (lsps.put(lsp.id, lsp) != null) {
            throw new CheckFailedException("LSP id " + lsp.id + " given twice");
        }
    }

    Lsp remove(int id) {
        Lsp lsp = lsps.remove(id);
        if (lsp == null) {
            throw new CheckFailedException("the library preempted LSP " + id + ", which is not up");
        }
        return lsp;
    }

    Collection<Lsp> all() {
        return lsps.values();
    }

    List<Lsp> primaries() {
        return lsps.values().stream().filter(Lsp::isPrimary).collect(Collectors.toList());
    }

    /** The backups of a primary, which itself may be down already. */
    List<Lsp> backupsOf(Lsp primary) {
        return lsps.values().stream().filter(lsp -> lsp.primary == primary && lsp != primary)
                .collect(Collectors.toList());
    }
}
