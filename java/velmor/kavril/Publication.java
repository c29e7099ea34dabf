package velmor.kavril;

import java.lang.management.ManagementFactory;
import java.util.Map;
import java.util.TreeMap;
import javax.management.InstanceAlreadyExistsException;
import javax.management.InstanceNotFoundException;
import javax.management.JMException;
import javax.management.MBeanServer;
import javax.management.ObjectName;

/** A session's statistics in the platform's MBean server. They alone: a forgotten session stays so. */
final class Publication implements SessionMXBean {
    private final Statistics statistics;

    private Publication(Statistics statistics) {
        this.statistics = statistics;
    }

    /** Publishes them; the result ends that. */
    static Runnable of(Statistics statistics, String name) {
        MBeanServer server = ManagementFactory.getPlatformMBeanServer();
        try {
            ObjectName bean =
                    new ObjectName("velmor.kavril:type=Session,name=" + ObjectName.quote(name));
            server.registerMBean(new Publication(statistics), bean);
            return () -> end(server, bean);
        } catch (InstanceAlreadyExistsException e) {
            throw new IllegalArgumentException(
                    "name is " + name + ", under which another session is published", e);
        } catch (JMException e) {
            throw new IllegalStateException("the session cannot be published", e);
        }
    }

    private static void end(MBeanServer server, ObjectName bean) {
        try {
            server.unregisterMBean(bean);
        } catch (InstanceNotFoundException e) {
            // Somebody else has done it.
        } catch (JMException e) {
            throw new IllegalStateException("the session stays published", e);
        }
    }

    @Override
    public Map<String, Figures> getOperations() {
        Map<String, Figures> operations = new TreeMap<>();
        statistics.figures().forEach(
                (operation, figures) -> operations.put(operation.name(), new Shown(figures)));
        return operations;
    }

    private static final class Shown implements Figures {
        private final OperationStatistics figures;

        Shown(OperationStatistics figures) {
            this.figures = figures;
        }

        @Override
        public long getCalls() {
            return figures.calls();
        }

        @Override
        public long getFailures() {
            return figures.failures();
        }

        @Override
        public double getMean() {
            return OperationStatistics.micros(figures.mean());
        }

        @Override
        public double getMedian() {
            return OperationStatistics.micros(figures.percentile(50));
        }

        @Override
        public double getPercentile99() {
            return OperationStatistics.micros(figures.percentile(99));
        }

        @Override
        public double getMax() {
            return OperationStatistics.micros(figures.max());
        }

        @Override
        public double[] getBounds() {
            return figures.histogram().keySet().stream().mapToDouble(OperationStatistics::micros).toArray();
        }

        @Override
        public long[] getCounts() {
            return figures.histogram().values().stream().mapToLong(Long::longValue).toArray();
        }
    }
}
