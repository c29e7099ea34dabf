package operator;

import velmor.kavril.Route;
import velmor.kavril.Traffic;

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

        Traffic traffic() {
            return Traffic.of(bandwidth).inClass(service.trafficClass).atLevel(service.level);
        }
    }

    final int id;
    final Kind kind;
    final Demand demand;
    final Route route;

    /** The LSP that a backup protects; a primary is its own. */
    final Lsp primary;

    /** A primary. */
    Lsp(int id, Demand demand, Route route) {
        this.id = id;
        this.kind = Kind.PRIMARY;
        this.demand = demand;
        this.route = route;
        this.primary = this;
    }

    /** A backup. */
    Lsp(int id, Lsp primary, Route route, Kind kind) {
        this.id = id;
        this.kind = kind;
        this.demand = primary.demand;
        this.route = route;
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
}
