package velmor.kavril;

import java.util.Arrays;
import java.util.List;
import java.util.Set;
import java.util.stream.Collectors;
import velmor.kavril.internal.Requests;
import velmor.repository.KAVRIL.JNIKAVRIL;
import velmor.repository.model.exception.AddDBException;
import velmor.repository.model.exception.NoRouteToHostException;

/** One request on its way to the library, and why there is no path for it. */
final class RequestCall implements NativeSession.Call<Placement> {
    private final Request request;
    private final boolean add;
    private final boolean preempt;
    private String why = "the library gives no reason";

    RequestCall(Request request, Set<RequestOption> options) {
        this.request = request;
        add = options.contains(RequestOption.ADD);
        preempt = options.contains(RequestOption.PREEMPT);
    }

    String what() {
        return request.subject() + (request.hasRoute() ? " cannot be placed " : " finds no way ")
                + request.way();
    }

    String why() {
        return why;
    }

    @Override
    public Placement run(JNIKAVRIL raw) throws AddDBException, NoRouteToHostException {
        int[] answer = Requests.request(raw.sessId, request.numbers(add, preempt));
        switch (answer[0]) {
            case Requests.PLACED:
                int nbNodes = answer[2];
                return new Placement(answer[1], Route.of(Arrays.copyOfRange(answer, 3, 3 + nbNodes)),
                        add, list(answer, 3 + nbNodes));
            case Requests.REFUSED:
                throw new AddDBException();
            case Requests.ID_IN_USE:
                throw refused("the LSP id " + request.id().getAsInt() + " is in use");
            case Requests.NO_ID:
                throw refused("all LSP ids are in use");
            default:
                why = whyNot(answer);
                throw new NoRouteToHostException();
        }
    }

    private RefusedException refused(String reason) {
        return new RefusedException(what() + ": " + reason, List.of(), null);
    }

    private String whyNot(int[] answer) {
        switch (answer[0]) {
            case Requests.NO_NODE:
                return "there is no node " + answer[1];
            case Requests.NO_WAY:
                return request.hasRoute() ? "the route does not keep to the constraints"
                        : "no path keeps to the constraints, however much room there is";
            case Requests.NOT_BOTH:
                return "no path that keeps to the constraints has enough room, others have";
            case Requests.GIVEN_UP:
                return "the search was given up after too many tries; there may be a path";
            default:
                return preempt ? "no path has enough room, even if LSPs of greater level give way"
                        : "no path has enough room, and nothing may give way for it";
        }
    }

    private static List<Integer> list(int[] numbers, int from) {
        return Arrays.stream(numbers, from, numbers.length).boxed()
                .collect(Collectors.toUnmodifiableList());
    }
}
