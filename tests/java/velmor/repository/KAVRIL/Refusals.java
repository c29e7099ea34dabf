package velmor.repository.KAVRIL;

import java.util.ArrayList;
import java.util.List;

/** Calls that are refused one after the other, with the exception and the messages of each. */
final class Refusals {
    static final String ADD_DB = "AddDBException";
    static final String NO_ROUTE = "NoRouteToHostException";

    private final ArrayList<String> names = new ArrayList<>();
    private final ArrayList<ChildJvm.Scenario> calls = new ArrayList<>();
    private final List<String> out = new ArrayList<>();
    private final List<String> err = new ArrayList<>();

    /** One more call, with its messages, the oldest first. */
    Refusals of(String exception, String name, ChildJvm.Scenario call, String... messages) {
        names.add(name);
        calls.add(call);
        out.add(name + ": " + exception);
        for (String message : messages) {
            err.add(0, message);
        }
        return this;
    }

    /** Expects all this after the set-up, and the network to be unchanged afterwards. */
    void expect(ChildJvm.Scenario setUp, Printout printout) {
        ArrayList<String> names = this.names;
        ArrayList<ChildJvm.Scenario> calls = this.calls;
        ChildJvm.run(probe -> {
            setUp.run(probe);
            for (int i = 0; i < calls.size(); i++) {
                ChildJvm.Scenario call = calls.get(i);
                Probe.attempt(names.get(i), () -> call.run(probe));
            }
            probe.jniprintKavrilDB();
            probe.jnikillKavril();
        }).prints(Messages.lines(out, printout), err);
    }
}
