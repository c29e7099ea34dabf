package velmor.kavril;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.util.stream.Collectors;
import org.junit.jupiter.api.Test;
import velmor.repository.KAVRIL.ChildJvm;

/** A session does what the native methods do, with the same outcome to the last figure. */
class TwinsTest {

    /** Some seeds, and those in which a backup cannot be placed beside the ones before it. */
    private static ChildJvm run(String way) {
        return ChildJvm.start(System.getProperty("java.class.path"), Twins.class.getName(), way,
                "1", "2", "3", "4", "5", "72", "101", "120", "206", "622", "990", "1008", "1069");
    }

    @Test
    void sessionsAndNativeMethodsAgree() {
        ChildJvm raw = run("raw");
        ChildJvm safe = run("safe");
        assertEquals(0, safe.exit, safe.err);
        assertEquals(raw.out, safe.out);
        // The calls are worth something only if these happen: a protection taken back half way.
        for (String event : new String[] {"protect .*: not added", "protect .*: refused",
            "request .*: refused", "  preempted \\[[0-9]+, .*", "Link .*"}) {
            assertTrue(safe.out.lines().anyMatch(line -> line.matches(event)), event);
        }
        // What failed was told by exceptions.
        assertFalse(safe.err.contains("[CRITICAL]"), () -> safe.err.lines()
                .filter(line -> line.contains("CRITICAL")).limit(3).collect(Collectors.joining()));
    }
}
