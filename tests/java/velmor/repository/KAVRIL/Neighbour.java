package velmor.repository.KAVRIL;

/** A class of an application in the library's own package. */
public final class Neighbour {

    private Neighbour() {
    }

    /**
     * Opens a session.
     *
     * @param args none
     */
    public static void main(String[] args) {
        JNIKAVRIL kavril = new JNIKAVRIL();
        kavril.jniinitKavril(1, 1, false, false, true, 0, 0, 0, 0, 0, 0, 1, new float[1][1]);
        System.out.println("session " + kavril.sessId);
        kavril.jnikillKavril();
    }
}
