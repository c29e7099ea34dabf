package velmor.kavril;

import java.util.ArrayList;
import java.util.List;
import java.util.Set;
import java.util.stream.Collectors;

/** Requests to be placed, one or many, with those that give way placed again. */
final class PlaceCall {
    private final Session session;
    private final boolean preempts;
    private final boolean isDry;

    PlaceCall(Session session, Set<PlaceOption> options) {
        this.session = session;
        preempts = options.contains(PlaceOption.PREEMPT);
        isDry = options.contains(PlaceOption.DRY_RUN);
    }

    PlaceResult run(Request request) {
        return isDry ? session.attempt(Operation.PLACE, () -> what(request), false, () -> place(request))
                : session.together(Operation.PLACE, () -> place(request));
    }

    BatchResult run(List<Request> requests, BatchOrder order, BatchListener listener) {
        List<Request> ordered = requests.stream().map(request -> Check.given("requests", request))
                .collect(Collectors.toCollection(ArrayList::new));
        if (order.order() != null) {
            ordered.sort(order.order());
        }
        return isDry ? session.attempt(Operation.PLACE, () -> "the batch cannot be tried",
                false, () -> placeAll(ordered, listener)) : placeAll(ordered, listener);
    }

    private BatchResult placeAll(List<Request> requests, BatchListener listener) {
        List<PlaceResult> results = new ArrayList<>();
        boolean goesOn = true;
        while (goesOn && results.size() < requests.size()) {
            Request request = requests.get(results.size());
            PlaceResult last = session.together(Operation.PLACE, () -> place(request));
            results.add(last);
            goesOn = listener.done(results.size(), requests.size(), last);
        }
        return new BatchResult(results, requests.subList(results.size(), requests.size()));
    }

    private static String what(Request request) {
        return request.subject() + " cannot be placed";
    }

    private PlaceResult place(Request request) {
        try {
            Placement placement = session.request(request, RequestOption.ADD);
            return new PlaceResult(request, session.lsp(placement.lspId()).orElseThrow(), null,
                    Restoration.NONE);
        } catch (KavrilException e) {
            if (!preempts) {
                return new PlaceResult(request, null, e.getMessage(), Restoration.NONE);
            }
        }
        try {
            return session.attempt(Operation.PLACE, () -> what(request), true,
                    () -> preempt(request));
        } catch (KavrilException e) {
            return new PlaceResult(request, null, e.getMessage(), Restoration.NONE);
        }
    }

    private PlaceResult preempt(Request request) {
        Restorer restorer = new Restorer(session, true, false);
        Lsp placed = restorer.preempt(request);
        Restoration restoration = restorer.run();
        return new PlaceResult(request, placed, null, restoration);
    }
}
