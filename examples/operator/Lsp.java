package operator;

/** An LSP that is up: a primary that serves a demand, or a backup of one. */
final class Lsp {

    enum Kind { PRIMARY, LOCAL_BACKUP, GLOBAL_BACKUP }

    /** What a customer asked for; asked again when its LSP is preempted. */
    static final class Demand {
        final Service service;
        final int src;
        final int dst;
        final int bandwidth;

        Demand(Service service, int src, int dst, int bandwidth) {
            this.service = service;
            this.src = src;
            this.dst = dst;
            this.bandwidth = bandwidth;
        }
    }

    final int id;
    final Kind kind;
    final Demand demand;
    final int[] path;

    /** The LSP that a backup protects; a primary is its own. */
    final Lsp primary;

    /** A primary. */
    Lsp(int id, Demand demand, int[] path) {
        this.id = id;
        this.kind = Kind.PRIMARY;
        this.demand = demand;
        this.path = path;
        this.primary = this;
    }

    /** A backup. */
    Lsp(int id, Lsp primary, int[] path, Kind kind) {
        this.id = id;
        this.kind = kind;
        this.demand = primary.demand;
        this.path = path;
        this.primary = primary;
    }

    boolean isPrimary() {
        return kind == Kind.PRIMARY;
    }

    Service service() {
        return demand.service;
    }

    int trafficClass() {
        return demand.service.trafficClass;
    }

    int bandwidth() {
        return demand.bandwidth;
    }

    /** Place of a node on the path, -1 if the path does not pass it. */
    int position(int node) {
        for (int i = 0; i < path.length; i++) {
            if (path[i] == node) {
                return i;
            }
        }
        return -1;
    }

    int tail() {
        return path[path.length - 1];
    }
}
