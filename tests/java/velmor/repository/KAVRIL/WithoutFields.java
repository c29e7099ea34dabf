package velmor.repository.KAVRIL;

import java.util.List;

/** Calls everything on a class path whose JNIKAVRIL lacks a field that the library looks for. */
final class WithoutFields {

    static final List<String> METHODS = List.of("jniinitKavril", "jniaddNode", "jniaddLink",
            "jniremoveLink", "jniaddLSP", "jniaddBackupLSP", "jniremoveLSP", "jnicomputePath",
            "jnicomputeBackupPath", "jniremoveNode", "jniprintKavrilDB", "jnikillKavril");

    private WithoutFields() {
    }

    public static void main(String[] args) {
        JNIKAVRIL kavril = new JNIKAVRIL();
        for (String method : METHODS) {
            System.out.println("# " + method + " "
                    + Hostile.call(kavril, method, Hostile.usual(method)));
        }
    }
}
