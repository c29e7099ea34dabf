package velmor.kavril;

import java.util.Collections;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** The backups that there are for an LSP, and the links of it that none protects. */
public final class PartialProtection {
    private final List<Backup> backups;
    private final Map<Route, String> unprotected;

    PartialProtection(List<Backup> backups, Map<Route, String> unprotected) {
        this.backups = List.copyOf(backups);
        this.unprotected = Collections.unmodifiableMap(new LinkedHashMap<>(unprotected));
    }

    /**
     * The backups, placed if that was asked for.
     *
     * @return the backups; local ones in the order of the primary's links
     */
    public List<Backup> backups() {
        return backups;
    }

    /**
     * What no backup protects, and why.
     *
     * @return links of the primary in its order, each as a route, or the whole of it for a global
     *     backup; with the reason: there is no way around it, or none with enough room, or no room for
     *     its backup beside the others
     */
    public Map<Route, String> unprotected() {
        return unprotected;
    }

    /**
     * Whether there is a backup for everything.
     *
     * @return true if nothing is unprotected
     */
    public boolean isComplete() {
        return unprotected.isEmpty();
    }

    @Override
    public String toString() {
        return backups + (unprotected.isEmpty() ? "" : ", unprotected " + unprotected);
    }
}
