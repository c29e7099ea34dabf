package velmor.kavril;

import java.util.Comparator;

/** Who comes first. */
final class Importance {
    static final Comparator<Traffic> LARGEST =
            Comparator.comparingDouble(Traffic::bandwidth).reversed();
    static final Comparator<Traffic> ORDER =
            Comparator.comparingInt(Traffic::level).thenComparing(LARGEST);

    private Importance() {
    }
}
