package operator;

import java.util.Arrays;
import java.util.Locale;
import velmor.kavril.Lsp;
import velmor.kavril.Protection;
import velmor.kavril.Traffic;

/**
 * What the operator sells. The traffic of every pair of nodes is divided over the services.
 *
 * <p>Real-time and data traffic are two classes: each has a part of every link for itself. Inside a
 * class the level decides who gives way; the smaller number is the more important.
 */
enum Service {
    VOICE(Service.REAL_TIME, 1, 10, "local backups", false),
    BUSINESS(Service.DATA, 2, 28, "a global backup", true),
    VIDEO(Service.REAL_TIME, 4, 12, "local backups of level 5", false),
    BULK(Service.DATA, 6, 50, null, false);

    static final int DATA = 0;
    static final int REAL_TIME = 1;
    static final int NB_CLASSES = 2;
    static final int NB_LEVELS = 8;
    static final String[] CLASS_NAMES = {"data", "real-time"};

    private static final int REAL_TIME_PERCENT = 30;

    final int trafficClass;
    final int level;
    final int trafficPercent;

    /** How the LSPs of the service are protected; null if they are not. */
    final String protection;

    final boolean globalBackup;

    Service(int trafficClass, int level, int trafficPercent, String protection,
            boolean globalBackup) {
        this.trafficClass = trafficClass;
        this.level = level;
        this.trafficPercent = trafficPercent;
        this.protection = protection;
        this.globalBackup = globalBackup;
    }

    /** What an LSP of the service with this bandwidth carries. */
    Traffic traffic(double bandwidth) {
        return Traffic.of(bandwidth).inClass(trafficClass).atLevel(level);
    }

    /** The service of a primary's traffic. */
    static Service of(Traffic traffic) {
        return Arrays.stream(values()).filter(service -> service.level == traffic.level()).findFirst()
                .orElseThrow();
    }

    /** How many backups protect a primary in full. */
    int nbBackups(Lsp primary) {
        return globalBackup ? 1 : primary.route().nbLinks();
    }

    /** Backups as customers of the service want them; those of level 0 give way to nobody. */
    Protection backups() {
        return (globalBackup ? Protection.global() : Protection.local())
                .atLevel(this == VIDEO ? 5 : 0).placed();
    }

    /** The parts of a link's capacity that belong to the classes. */
    static double[] capacities(int capacity) {
        int realTime = capacity * REAL_TIME_PERCENT / 100;
        return new double[] {capacity - realTime, realTime};
    }

    @Override
    public String toString() {
        return name().toLowerCase(Locale.ROOT);
    }
}
