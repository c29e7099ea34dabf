import java.util.Arrays;
import velmor.repository.KAVRIL.JNIKAVRIL;

/** The same as {@code Triangle}, through the native methods. */
public class RawTriangle {
    public static void main(String[] args) throws Exception {
        JNIKAVRIL kavril = new JNIKAVRIL();
        // 1 class, 8 levels, admission by capacity; congestion cost as the only weight
        kavril.jniinitKavril(1, 8, false, false, true, 0, 0, 0, 0, 0, 0, 1, new float[1][8]);
        for (int node = 0; node < 3; node++) {
            kavril.jniaddNode(node);
        }
        for (int src = 0, id = 0; src < 3; src++) {
            for (int dst = 0; dst < 3; dst++) {
                if (src != dst) {
                    kavril.jniaddLink(id++, 0, src, dst, new float[] {100}, new float[1][8],
                            null, null, null);
                }
            }
        }
        // LSP 7 from node 0 to node 2: class 0, level 3, bandwidth 40, placed at once
        int[] path = kavril.jnicomputePath(7, 0, 2, 0, 0, 0, 0, 3, 40, null, true, false);
        int[][] backups = kavril.jnicomputeBackupPath(7, new int[] {8}, 0, true, false);
        System.out.println(Arrays.toString(path) + " protected by " + Arrays.deepToString(backups));
        kavril.jnikillKavril();
    }
}
