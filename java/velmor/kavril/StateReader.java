package velmor.kavril;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Optional;
import java.util.function.Supplier;
import velmor.kavril.internal.State;

/** Asks the library what is in a session, which nobody else keeps a book of. */
final class StateReader {
    private static final int NOT_ONE_CLASS = -1;

    private final int nbClasses;
    private final ByteBuffer bytes;

    private StateReader(int nbClasses, byte[] bytes) {
        this.nbClasses = nbClasses;
        this.bytes = ByteBuffer.wrap(bytes).order(ByteOrder.LITTLE_ENDIAN);
    }

    static NetworkState all(int sessId, int nbClasses) {
        StateReader reader = new StateReader(nbClasses, State.all(sessId));
        List<Integer> nodes = reader.list(reader.bytes::getInt);
        List<Link> links = reader.list(reader::link);
        return new NetworkState(nbClasses, nodes, links, reader.list(reader::lsp));
    }

    static Optional<Lsp> lsp(int sessId, int id) {
        byte[] bytes = State.lsp(sessId, id);
        return bytes == null ? Optional.empty() : Optional.of(new StateReader(0, bytes).lsp());
    }

    static Optional<Link> link(int sessId, int nbClasses, int source, int destination) {
        byte[] bytes = State.link(sessId, source, destination);
        return bytes == null ? Optional.empty()
                : Optional.of(new StateReader(nbClasses, bytes).link());
    }

    static List<Lsp> lspsOn(int sessId, int source, int destination) {
        byte[] bytes = State.lspsOn(sessId, source, destination);
        if (bytes == null) {
            return List.of();
        }
        StateReader reader = new StateReader(0, bytes);
        return List.copyOf(reader.list(reader::lsp));
    }

    /** The ids that {@code State.backupsOf} or {@code dependants} gives. */
    static List<Integer> ids(byte[] bytes) {
        ByteBuffer ids = ByteBuffer.wrap(bytes).order(ByteOrder.LITTLE_ENDIAN);
        List<Integer> list = new ArrayList<>();
        while (ids.hasRemaining()) {
            list.add(ids.getInt());
        }
        return List.copyOf(list);
    }

    private <T> List<T> list(Supplier<T> element) {
        List<T> list = new ArrayList<>();
        while (bytes.get() != 0) {
            list.add(element.get());
        }
        return list;
    }

    private Lsp lsp() {
        int id = bytes.getInt();
        Lsp.Kind kind = kind(bytes.get());
        int level = bytes.get();
        int oa = bytes.get();
        double bandwidth = bytes.getDouble();
        if (oa == NOT_ONE_CLASS) {
            throw new IllegalArgumentException("LSP " + id + " has bandwidth in several classes");
        }
        Traffic traffic = Traffic.of(bandwidth).inClass(oa).atLevel(level);
        Route route = route();
        return kind == Lsp.Kind.PRIMARY ? new Lsp(id, kind, traffic, route, -1, null)
                : new Lsp(id, kind, traffic, route, bytes.getInt(), route());
    }

    /** A type that is none counts as a primary in the library. */
    private static Lsp.Kind kind(int type) {
        return type == 1 ? Lsp.Kind.LOCAL_BACKUP
                : type == 2 ? Lsp.Kind.GLOBAL_BACKUP : Lsp.Kind.PRIMARY;
    }

    private Route route() {
        int[] nodes = new int[bytes.getInt()];
        for (int i = 0; i < nodes.length; i++) {
            nodes[i] = bytes.getInt();
        }
        return Route.of(nodes);
    }

    private Link link() {
        int id = bytes.getInt();
        int source = bytes.getInt();
        int destination = bytes.getInt();
        int color = bytes.getInt();
        double[] capacity = row(new double[Check.MAX_CLASSES]);
        return new Link(id, source, destination, color, Arrays.copyOf(capacity, nbClasses),
                table(), table());
    }

    private double[][] table() {
        double[] all = row(new double[Check.MAX_CLASSES * Check.MAX_LEVELS]);
        double[][] table = new double[nbClasses][];
        for (int oa = 0; oa < nbClasses; oa++) {
            table[oa] = Arrays.copyOfRange(all, oa * Check.MAX_LEVELS,
                    (oa + 1) * Check.MAX_LEVELS);
        }
        return table;
    }

    /** Fills a row that is all zeros. */
    private double[] row(double[] row) {
        byte[] present = new byte[row.length / Byte.SIZE];
        bytes.get(present);
        for (int i = 0; i < row.length; i++) {
            if ((present[i / Byte.SIZE] >> (i % Byte.SIZE) & 1) != 0) {
                row[i] = bytes.getDouble();
            }
        }
        return row;
    }
}
