package velmor.kavril;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static velmor.kavril.RequestOption.ADD;
import static velmor.kavril.RequestOption.PREEMPT;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.List;
import java.util.function.Function;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Sessions that are copied, saved, loaded, and kept in journals. */
class StorageTest {

    @TempDir
    Path folder;

    private static void fill(Session session) {
        for (int node = 0; node < 6; node++) {
            session.addNode(node);
        }
        for (int node = 0; node < 6; node++) {
            session.addLink(2 * node, node, (node + 1) % 6, 10, 20);
            session.addLink(2 * node + 1, (node + 1) % 6, node, 10, 20);
        }
        session.request(1, 0, 2, Traffic.of(0.1).inClass(1).atLevel(3), ADD);
        session.protect(1, Protection.local().placedAs(10, 11));
        session.request(2, 3, 5, Traffic.of(7).atLevel(6), ADD);
        session.addNode(9);
        assertThrows(RefusedException.class, () -> session.addNode(9));
        session.removeNode(9);
    }

    /** What happens next, and what is there then. */
    private static String goOn(Session session) {
        assertThrows(RefusedException.class, () -> session.removeLink(0, 1));
        assertThrows(IllegalArgumentException.class,
                () -> session.request(3, 0, 1, Traffic.of(1).inClass(2)));
        Placement placed = session.request(4, 3, 5, Traffic.of(9).atLevel(1), ADD, PREEMPT);
        session.removeLsp(10);
        return placed.route() + " " + placed.preempted() + " " + session.backupsOf(1)
                + session.dump();
    }

    @Test
    void copiesFilesAndJournalsGoOnAlike() throws IOException {
        Path file = folder.resolve("s\u00e9ance");
        Path journal = folder.resolve("journal");
        SessionBuilder config = Session.builder().classes(2).weight(Weight.LOAD, 1);
        Session original = config.journal(journal, Duration.ofMillis(1)).build();
        fill(original);
        try (original; Session copy = original.copy(); Session copyOfCopy = copy.copy()) {
            original.save(file);
            original.save(file);
            String next = goOn(original);
            assertEquals(next, goOn(copyOfCopy));
            assertEquals(next, goOn(copy));
            try (Session loaded = Session.load(file)) {
                assertEquals(next, goOn(loaded));
                loaded.save(file);
            }
        }
        // Its configuration is the journal's, and what was done last is in it.
        try (Session reopened = Session.builder().journal(journal).build();
                Session loaded = Session.load(file)) {
            assertEquals(loaded.dump(), reopened.dump());
            assertEquals(List.of(11), reopened.backupsOf(1));
            assertEquals(Route.of(3, 4, 5), reopened.request(7, 3, 5, Traffic.of(1).inClass(1)).route());
        }
        try (var files = Files.list(folder)) {
            assertEquals(2, files.count());
        }
    }

    private static void assertEnds(String end, String text) {
        assertEquals(end, text.substring(Math.max(0, text.length() - end.length())));
    }

    @Test
    void whatCannotBeOpenedSaysWhy() throws IOException {
        Path text = Files.writeString(folder.resolve("text"), "no session, and no journal either");
        Path none = folder.resolve("none/session");
        Function<Path, String> load =
                path -> assertThrows(IOException.class, () -> Session.load(path)).getMessage();
        Function<Path, String> build = path -> assertThrows(UncheckedIOException.class,
                () -> Session.builder().journal(path).build()).getMessage();
        assertEnds(text + ": it is no session file", load.apply(text));
        assertEnds("it cannot be opened: No such file or directory", load.apply(none));
        assertEnds("it cannot be used: file is not a database", build.apply(text));
        assertEnds("it cannot be used: unable to open database file", build.apply(none));
        Path journal = folder.resolve("journal");
        try (Session owner = Session.builder().journal(journal).build()) {
            assertEnds("it is in use by another session", build.apply(journal));
            owner.addNode(1);
            assertEnds("No file can be made there: No such file or directory",
                    assertThrows(IOException.class, () -> owner.save(none)).getMessage());
        }
        assertThrows(IllegalArgumentException.class,
                () -> Session.builder().journal(journal, Duration.ofNanos(1)));
    }
}
