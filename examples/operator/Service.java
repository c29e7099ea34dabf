package operator;

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

    /** Level of the service's backups; nobody can preempt at level 0. */
    int backupLevel() {
        return this == VIDEO ? 5 : 0;
    }

    /** The part of a link's capacity that belongs to a class. */
    static int capacity(Network.Link link, int trafficClass) {
        int realTime = link.capacity * REAL_TIME_PERCENT / 100;
        return trafficClass == REAL_TIME ? realTime : link.capacity - realTime;
    }

    @Override
    public String toString() {
        return name().toLowerCase(java.util.Locale.ROOT);
    }
}
