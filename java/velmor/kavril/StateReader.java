package velmor.kavril;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Optional;
import java.util.function.Supplier;
import java.util.stream.Collectors;
import velmor.kavril.internal.State;

/** Asks the library what is in a session, which nobody else keeps a book of. */
final class StateReader {
    private static final int ROW = 8;

    /** A row of zeros; many links have little else. */
    private static final double[] NOTHING = new double[ROW];

    private final int nbClasses;
    private final int[] numbers;
    private int next;

    private StateReader(int nbClasses, int[] numbers) {
        this.nbClasses = nbClasses;
        this.numbers = numbers;
    }

    static NetworkState all(int sessId, int nbClasses) {
        StateReader reader = new StateReader(nbClasses, State.all(sessId));
        List<Integer> nodes = reader.list(reader::number);
        List<Link> links = reader.list(reader::link);
        return new NetworkState(nbClasses, nodes, links, reader.list(reader::lsp));
    }

    static Optional<Lsp> lsp(int sessId, int id) {
        int[] numbers = State.lsp(sessId, id);
        return numbers == null ? Optional.empty() : Optional.of(new StateReader(0, numbers).lsp());
    }

    static Optional<Link> link(int sessId, int nbClasses, int source, int destination) {
        int[] numbers = State.link(sessId, source, destination);
        return numbers == null ? Optional.empty()
                : Optional.of(new StateReader(nbClasses, numbers).link());
    }

    static List<Lsp> lspsOn(int sessId, int source, int destination) {
        int[] numbers = State.lspsOn(sessId, source, destination);
        if (numbers == null) {
            return List.of();
        }
        StateReader reader = new StateReader(0, numbers);
        return List.copyOf(reader.list(reader::lsp));
    }

    static List<Integer> backupsOf(int sessId, int id) {
        return Arrays.stream(State.backupsOf(sessId, id)).boxed()
                .collect(Collectors.toUnmodifiableList());
    }

    private int number() {
        return numbers[next++];
    }

    private double amount() {
        long low = number() & 0xFFFF_FFFFL;
        return Double.longBitsToDouble((long) number() << Integer.SIZE | low);
    }

    private <T> List<T> list(Supplier<T> element) {
        List<T> list = new ArrayList<>();
        while (number() != 0) {
            list.add(element.get());
        }
        return list;
    }

    private Lsp lsp() {
        int id = number();
        Lsp.Kind kind = kind(number());
        int level = number();
        int oa = number();
        double bandwidth = amount();
        if (oa < 0) {
            throw new IllegalArgumentException("LSP " + id + " has bandwidth in several classes");
        }
        Traffic traffic = new Traffic(Check.amount("bandwidth", bandwidth), oa, level);
        Route route = route();
        return kind == Lsp.Kind.PRIMARY ? new Lsp(id, kind, traffic, route, -1, null)
                : new Lsp(id, kind, traffic, route, number(), route());
    }

    /** A type that is none counts as a primary in the library. */
    private static Lsp.Kind kind(int type) {
        return type == 1 ? Lsp.Kind.LOCAL_BACKUP
                : type == 2 ? Lsp.Kind.GLOBAL_BACKUP : Lsp.Kind.PRIMARY;
    }

    private Route route() {
        int nbNodes = number();
        next += nbNodes;
        return Route.ofOwn(Arrays.copyOfRange(numbers, next - nbNodes, next));
    }

    private Link link() {
        int id = number();
        int source = number();
        int destination = number();
        int color = number();
        double[] capacity = Arrays.copyOf(row(), nbClasses);
        return new Link(id, source, destination, color, capacity, table(), table());
    }

    /** A row for each class of the session; there is one for each that there can be. */
    private double[][] table() {
        double[][] table = new double[Check.MAX_CLASSES][];
        for (int oa = 0; oa < table.length; oa++) {
            table[oa] = row();
        }
        return Arrays.copyOf(table, nbClasses);
    }

    private double[] row() {
        int present = number();
        if (present == 0) {
            return NOTHING;
        }
        double[] row = new double[ROW];
        for (int i = 0; i < ROW; i++) {
            if ((present >> i & 1) != 0) {
                row[i] = amount();
            }
        }
        return row;
    }
}
