package velmor.repository.KAVRIL;

import static java.util.List.of;
import static velmor.repository.KAVRIL.Messages.*;
import static velmor.repository.KAVRIL.Probe.*;
import static velmor.repository.KAVRIL.Refusals.*;

import org.junit.jupiter.api.Test;

class TopologyTest {

    @Test
    void printsNodesAndLinksInOrderOfTheirIds() {
        ChildJvm.run(probe -> {
            probe.open(2, 2).jniprintKavrilDB();
            say("now with nodes");
            probe.nodes(0, 5, 2);
            float[][] reserved = {{10, 20}, {0.25f, 0}};
            float[][] ignored = {{7, 7}, {7, 7}};
            probe.jniaddLink(7, 3, 2, 0, new float[] {100, 50.5f}, reserved, ignored, ignored,
                    ignored);
            probe.jniaddLink(3, 3, 0, 5, new float[] {1, 2}, reserved, null, null, null);
            probe.link(0, 0, 2, 4, 5);
            probe.link(8, 5, 5, 6, 7);
            probe.jniprintKavrilDB();
            say("the end");
        }).prints(lines(Printout.of(), "now with nodes",
                Printout.of(0, 2, 5)
                .link(0, 2, 0, "", 4, 0, 0, 5, 0, 0)
                .link(0, 5, 3, "", 1, 0, 30, 2, 0, 0.25)
                .link(2, 0, 7, "", 100, 0, 30, 50.5, 0, 0.25)
                .link(5, 5, 8, "", 6, 0, 0, 7, 0, 0), "the end"));
    }

    @Test
    void reservationGivenWithALinkEndsWithTheFirstBooking() {
        ChildJvm.run(probe -> {
            probe.open(1, 2).nodes(0, 1);
            probe.jniaddLink(0, 0, 0, 1, new float[] {100}, new float[][] {{10, 20}}, null, null,
                    null);
            probe.jniaddLSP(4, ids(0, 1), 1, 0, 3);
            probe.jniprintKavrilDB();
            probe.jniremoveLSP(4);
            probe.jniprintKavrilDB();
        }).prints(lines(
                Printout.of(0, 1)
                .link(0, 1, 0, "4 ", 100, 3, 3),
                Printout.of(0, 1)
                .link(0, 1, 0, "", 100, 0, 0)));
    }

    @Test
    void refusedNodesChangeNothing() {
        String inserting = db("Unable to insert a new node in the general node container");
        String failing = jni("Impossible to init a Node");
        String noMemory = dbUtil("Critical lack of memory");
        String resizing = dbUtil("Unable to resize node vector prior to insertion");
        new Refusals()
                .of(ADD_DB, "in use", probe -> probe.jniaddNode(3),
                        dbUtil("Trying to add a node with a reserved ID"), inserting, failing)
                .of(ADD_DB, "negative", probe -> probe.jniaddNode(-1),
                        dbUtil("Bad argument (NULL)"), inserting, failing)
                .of(ADD_DB, "too large", probe -> probe.jniaddNode(300_000_000), noMemory,
                        resizing, inserting, failing)
                .of(ADD_DB, "largest", probe -> probe.jniaddNode(Integer.MAX_VALUE), noMemory,
                        resizing, inserting, failing)
                .of(ADD_DB, "inexistent", probe -> probe.jniremoveNode(2),
                        db("Trying to remove an inexistent node"),
                        jni("Impossible to remove Node"))
                .of(ADD_DB, "inexistent, negative", probe -> probe.jniremoveNode(-1),
                        db("Trying to remove an inexistent node"),
                        jni("Impossible to remove Node"))
                .expect(probe -> probe.open(1, 1).nodes(3, 0), Printout.of(0, 3));
    }

    @Test
    void refusedLinksChangeNothing() {
        String failing = jni("Impossible to add Link");
        String noMemory = common("Critical lack of memory");
        String resizing = common("Unable to resize long vector");
        String inserting = db("Unable to insert a new node in the general node container");
        float[] capacity = {1, 1};
        float[][] reserved = {{1, 1}, {1, 1}};
        Object[][] unusable = {{null, reserved}, {new float[1], reserved}, {capacity, null},
            {capacity, new float[1][2]}, {capacity, new float[][] {{1, 1}, null}},
            {capacity, new float[][] {{1, 1}, {1}}}};
        Refusals refusals = new Refusals();
        for (Object[] arrays : unusable) {
            refusals.of(ADD_DB, "arrays", probe -> probe.jniaddLink(5, 0, 1, 0, (float[]) arrays[0],
                    (float[][]) arrays[1], null, null, null), jni("Bad argument (NULL)"), failing);
        }
        refusals
                .of(ADD_DB, "id in use", probe -> probe.link(4, 1, 0, 1, 1),
                        db("Trying to add a link with a reserved ID (ID=4)"), failing)
                .of(ADD_DB, "id negative", probe -> probe.link(-4, 1, 0, 1, 1),
                        db("Bad argument (NULL)"), failing)
                .of(ADD_DB, "id too large", probe -> probe.link(Integer.MAX_VALUE, 1, 0, 1, 1),
                        noMemory, resizing, noMemory, resizing, db("Link addition uncomplete"),
                        failing)
                .of(ADD_DB, "pair linked", probe -> probe.link(5, 0, 1, 1, 1), inserting, failing)
                .of(ADD_DB, "no source", probe -> probe.link(5, 2, 1, 1, 1),
                        db("Source or destination node doesn't exist"), failing)
                .of(ADD_DB, "no destination", probe -> probe.link(5, 1, 30_000, 1, 1),
                        db("Source or destination node doesn't exist"), failing)
                .of(ADD_DB, "source negative", probe -> probe.link(5, -1, 1, 1, 1),
                        db("Bad argument (NULL)"), failing)
                .of(ADD_DB, "node beyond the table", probe -> probe.link(5, 1, 20_000, 1, 1),
                        dbUtil("Critical lack of memory"),
                        dbUtil("Unable to resize link table prior to insertion"), inserting,
                        failing)
                .of(ADD_DB, "inexistent", probe -> probe.jniremoveLink(1, 0),
                        db("Link doesn't exist or database unconsistancy"),
                        jni("Impossible to remove Link"))
                .of(ADD_DB, "inexistent, no node", probe -> probe.jniremoveLink(1, 30_000),
                        db("Link doesn't exist or database unconsistancy"),
                        jni("Impossible to remove Link"))
                .of(ADD_DB, "inexistent, negative", probe -> probe.jniremoveLink(-1, 0),
                        db("Link doesn't exist or database unconsistancy"),
                        jni("Impossible to remove Link"))
                .expect(probe -> {
                    probe.open(2, 2).nodes(0, 1, 20_000);
                    probe.link(4, 0, 1, 1, 1);
                }, Printout.of(0, 1, 20_000).link(0, 1, 4, "", 1, 0, 0, 1, 0, 0));
    }

    @Test
    void removedLinksAndNodesLeaveTheRestInPlace() {
        ChildJvm.run(probe -> {
            probe.open(1, 1).nodes(0, 1, 2, 3);
            probe.cables(0, 9, 0, 1, 2, 3, 0);
            probe.jniremoveLink(1, 2);
            probe.jniremoveNode(3);
            probe.link(2, 0, 2, 8);
            probe.jniaddNode(3);
            probe.jniprintKavrilDB();
            probe.jnikillKavril();
        }).prints(lines(
                Printout.of(0, 1, 2, 3)
                .link(0, 1, 0, "", 9, 0, 0)
                .link(0, 2, 2, "", 8, 0, 0)
                .link(1, 0, 1, "", 9, 0, 0)
                .link(2, 1, 3, "", 9, 0, 0)));
    }
}
