package operator;

import java.util.HashMap;
import java.util.Map;
import velmor.kavril.Failure;
import velmor.kavril.FailureOption;
import velmor.kavril.FailureReport;
import velmor.kavril.Link;
import velmor.kavril.Lsp;
import velmor.kavril.NetworkState;
import velmor.kavril.Refusal;
import velmor.kavril.Route;
import velmor.kavril.Session;
import velmor.kavril.Switchover;

/** A failure on trial: who switches or is lost, and what every link then carries, LSP by LSP. */
final class FailureDrill {
    final FailureReport report;

    /** Where the network is fullest after the failure, and how full, 1 being at capacity. */
    Link fullestLink;
    int fullestClass;
    double fullest = -1;

    FailureDrill(Session session, NetworkState state, Failure failure) {
        report = session.fail(failure, FailureOption.DRY_RUN);
        Map<Integer, Route> routes = new HashMap<>();
        state.lsps().stream().filter(lsp -> !lsp.isBackup())
                .forEach(lsp -> routes.put(lsp.id(), lsp.route()));
        for (Switchover switched : report.switched()) {
            routes.put(switched.lsp().id(), switched.route());
        }
        for (Refusal lost : report.lost()) {
            routes.remove(lost.lsp().id());
        }
        Map<Integer, double[]> loads = new HashMap<>();
        routes.forEach((id, route) -> {
            Lsp lsp = state.lsp(id).orElseThrow();
            for (int i = 0; i < route.nbLinks(); i++) {
                Link link = state.link(route.node(i), route.node(i + 1)).orElseThrow();
                loads.computeIfAbsent(link.id(), key -> new double[Service.NB_CLASSES])
                        [lsp.traffic().trafficClass()] += lsp.traffic().bandwidth();
            }
        });
        for (Link link : state.links()) {
            double[] load = loads.getOrDefault(link.id(), new double[Service.NB_CLASSES]);
            for (int oa = 0; oa < load.length; oa++) {
                if (load[oa] / link.capacity(oa) > fullest) {
                    fullestLink = link;
                    fullestClass = oa;
                    fullest = load[oa] / link.capacity(oa);
                }
            }
        }
    }

    boolean fits() {
        return fullest <= 1;
    }
}
