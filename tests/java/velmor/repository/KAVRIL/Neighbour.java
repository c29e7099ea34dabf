package velmor.repository.KAVRIL;

import velmor.kavril.Session;

/** A class of an application in the library's own package. */
public final class Neighbour {

    private Neighbour() {
    }

    /**
     * Opens sessions in both ways.
     *
     * @param args a library to load before, or nothing
     */
    public static void main(String[] args) {
        for (String library : args) {
            System.load(library);
        }
        JNIKAVRIL kavril = new JNIKAVRIL();
        kavril.jniinitKavril(1, 1, false, false, true, 0, 0, 0, 0, 0, 0, 1, new float[1][1]);
        System.out.println("session " + kavril.sessId);
        kavril.jnikillKavril();
        try (Session session = Session.builder().build()) {
            session.addNode(1);
            System.out.println("node " + session.dump().lines().filter(line -> line.startsWith("Node"))
                    .count());
        }
    }
}
