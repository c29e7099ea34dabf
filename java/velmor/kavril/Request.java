package velmor.kavril;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.OptionalInt;
import java.util.stream.Collectors;
import java.util.stream.IntStream;

/**
 * What is asked of a primary LSP: its ends, what it carries, and constraints that its path keeps to.
 *
 * <pre>{@code
 * Request.of(0, 7, Traffic.of(10)).avoidingColors(3).through(4).withinLinks(5)
 * }</pre>
 *
 * <p>Every method gives another request, with what this one has and what the method says; this one
 * stays as it is. Constraints of one kind add up. They are kept when the path is looked for, and are
 * not those of backups.
 *
 * <p>The path that is found has room on every link, keeps to all constraints and passes no node twice.
 * If there is such a path, one is found; with many nodes to pass the search may be given up, and says
 * so. Colours, nodes and links to avoid, and colours to require, are as if the network had not those
 * links: the path is the one that the library finds there. With nodes or links to pass, or where that
 * path has too many links, it is the one with the least sum of what its links cost one by one. No
 * other is better, unless {@link Weight#LOAD_BALANCE} or {@link Weight#DELAY} has a weight: these make
 * links dearer or cheaper for what the path takes before them, or beyond what they can carry, which
 * the sum does not see.
 */
public final class Request {
    private static final int GAP = -1;
    private static final int[] NONE = {};

    /** -1 to have one chosen. */
    private final int id;
    private final Traffic traffic;
    /** Nodes behind one another, with gaps where others may lie. */
    private final int[] path;
    /** 0 for any number. */
    private final int maxLinks;
    private final int[] colorsAvoided;
    private final int[] colorsRequired;
    private final int[] nodesAvoided;
    /** The two ends of each. */
    private final int[] linksAvoided;

    private Request(int id, Traffic traffic, int[] path, int maxLinks, int[][] limits) {
        this.id = id;
        this.traffic = traffic;
        this.path = path;
        this.maxLinks = maxLinks;
        colorsAvoided = limits[0];
        colorsRequired = limits[1];
        nodesAvoided = limits[2];
        linksAvoided = limits[3];
        for (int node : path) {
            if (Arrays.stream(nodesAvoided).anyMatch(avoided -> avoided == node)) {
                throw new IllegalArgumentException(
                        "node " + node + " is to be passed, must not be avoided");
            }
        }
    }

    /**
     * A request without constraints, for an LSP whose id the library chooses: the one after the highest
     * in use, or else the lowest that is free.
     *
     * @param source the first node of the LSP
     * @param destination its last node
     * @param traffic what it carries
     * @return the request
     */
    public static Request of(int source, int destination, Traffic traffic) {
        return new Request(-1, Check.given("traffic", traffic),
                new int[] {Check.node("source", source), GAP,
                    Check.node("destination", destination)}, 0,
                new int[][] {NONE, NONE, NONE, NONE});
    }

    /**
     * The same request for an LSP with this id.
     *
     * @param id the id, not in use, 0 to 16777215
     * @return the request
     */
    public Request withId(int id) {
        return new Request(Check.lsp("id", id), traffic, path, maxLinks, limits());
    }

    /**
     * The same request with other traffic.
     *
     * @param traffic what the LSP carries
     * @return the request
     */
    public Request carrying(Traffic traffic) {
        return new Request(id, Check.given("traffic", traffic), path, maxLinks, limits());
    }

    /**
     * The same request along a route: it is placed there or nowhere.
     *
     * @param route the route, from the source to the destination
     * @return the request
     * @throws IllegalArgumentException if the route has other ends, or there are nodes or links to pass
     */
    public Request over(Route route) {
        if (Check.given("route", route).head() != source() || route.tail() != destination()) {
            throw new IllegalArgumentException("route is " + route + ", must lead from " + source()
                    + " to " + destination());
        }
        if (path.length > 3 || hasRoute()) {
            throw new IllegalArgumentException(
                    "route is " + route + ", must not be given besides " + passed());
        }
        return new Request(id, traffic, route.nodes(), maxLinks, limits());
    }

    /**
     * The same request through nodes, in this order, after those that it is to pass already.
     *
     * @param nodes ids of the nodes, each once and none of them an end
     * @return the request
     */
    public Request through(int... nodes) {
        Request request = this;
        for (int i = 0; i < Check.given("nodes", nodes).length; i++) {
            Check.node("nodes[" + i + "]", nodes[i]);
            request = request.through("nodes[" + i + "]", new int[] {nodes[i]});
        }
        return request;
    }

    /**
     * The same request over a link, after what it is to pass already.
     *
     * @param source the node it leaves
     * @param destination the node it enters
     * @return the request
     */
    public Request throughLink(int source, int destination) {
        Check.node("source", source);
        Check.node("destination", destination);
        return through("the link", new int[] {source, destination});
    }

    /** With nodes in front of the gap before the destination; they may begin or end with what is there. */
    private Request through(String name, int[] nodes) {
        if (hasRoute()) {
            throw new IllegalArgumentException(
                    name + " must not be given besides the route " + passed());
        }
        if (path[path.length - 2] != GAP) {
            throw new IllegalArgumentException(name + " is " + text(nodes)
                    + ", must not come after the link that ends " + passed());
        }
        int[] head = Arrays.copyOf(path, path.length - 2);
        int first = nodes.length > 1 && nodes[0] == head[head.length - 1] ? 1 : 0;
        boolean atEnd = nodes.length > 1 && nodes[nodes.length - 1] == destination();
        IntStream added = Arrays.stream(nodes, first, nodes.length - (atEnd ? 1 : 0));
        int[] gap = first == 1 ? NONE : new int[] {GAP};
        int[] tail = atEnd ? new int[] {destination()} : new int[] {GAP, destination()};
        int[] longer = join(join(head, gap), join(added.toArray(), tail));
        int[] passed = Arrays.stream(longer).filter(node -> node != GAP).toArray();
        if (Arrays.stream(passed).distinct().count() < passed.length) {
            throw new IllegalArgumentException(name + " is " + text(nodes) + ", must not lead to a node"
                    + " twice behind " + text(head));
        }
        return new Request(id, traffic, longer, maxLinks, limits());
    }

    /**
     * The same request without links of these colours.
     *
     * @param colors the colours
     * @return the request
     */
    public Request avoidingColors(int... colors) {
        return limited(0, Check.given("colors", colors));
    }

    /**
     * The same request with no other links than those of a colour that it requires.
     *
     * @param colors the colours; a link must have one of them
     * @return the request
     */
    public Request requiringColors(int... colors) {
        return limited(1, Check.given("colors", colors));
    }

    /**
     * The same request around nodes.
     *
     * @param nodes ids of the nodes, none of which it is to pass
     * @return the request
     */
    public Request avoidingNodes(int... nodes) {
        for (int i = 0; i < Check.given("nodes", nodes).length; i++) {
            Check.node("nodes[" + i + "]", nodes[i]);
        }
        return limited(2, nodes);
    }

    /**
     * The same request without a link.
     *
     * @param source the node it leaves
     * @param destination the node it enters
     * @return the request
     */
    public Request avoidingLink(int source, int destination) {
        return limited(3, Check.node("source", source), Check.node("destination", destination));
    }

    /**
     * The same request with at most so many links.
     *
     * @param maxLinks the number, 1 to 16382
     * @return the request
     */
    public Request withinLinks(int maxLinks) {
        return new Request(id, traffic, path,
                Check.range("maxLinks", maxLinks, 1, Check.MAX_NODE), limits());
    }

    private Request limited(int kind, int... more) {
        int[][] limits = limits();
        limits[kind] = join(limits[kind], more);
        return new Request(id, traffic, path, maxLinks, limits);
    }

    /**
     * The LSP's id.
     *
     * @return the id, empty if the library chooses it
     */
    public OptionalInt id() {
        return id < 0 ? OptionalInt.empty() : OptionalInt.of(id);
    }

    /**
     * The first node of the LSP.
     *
     * @return its id
     */
    public int source() {
        return path[0];
    }

    /**
     * The last node of the LSP.
     *
     * @return its id
     */
    public int destination() {
        return path[path.length - 1];
    }

    /**
     * What the LSP carries.
     *
     * @return the traffic
     */
    public Traffic traffic() {
        return traffic;
    }

    /** Whether the whole path is given. */
    boolean hasRoute() {
        return Arrays.stream(path).noneMatch(node -> node == GAP);
    }

    /** As the library reads it. */
    int[] numbers(boolean add, boolean preempt) {
        IntStream.Builder numbers = IntStream.builder();
        numbers.add(id).add(traffic.level()).add(traffic.trafficClass())
                .add(Float.floatToRawIntBits((float) traffic.bandwidth())).add(add ? 1 : 0)
                .add(preempt ? 1 : 0).add(maxLinks);
        List.of(path, colorsAvoided, colorsRequired, nodesAvoided, linksAvoided).forEach(list -> {
            numbers.add(list.length);
            Arrays.stream(list).forEach(numbers);
        });
        return numbers.build().toArray();
    }

    /** The LSP, as the beginning of a sentence. */
    String subject() {
        return (id < 0 ? "an LSP" : "LSP " + id) + " (" + traffic + ")";
    }

    /** Where it goes, and its constraints. */
    String way() {
        List<String> parts = new ArrayList<>();
        parts.add((hasRoute() ? "over " : "from ") + passed());
        if (maxLinks > 0) {
            parts.add("within " + maxLinks + (maxLinks == 1 ? " link" : " links"));
        }
        addPart(parts, "by the colours ", colorsRequired);
        addPart(parts, "without the colours ", colorsAvoided);
        addPart(parts, "without the nodes ", nodesAvoided);
        for (int i = 0; i < linksAvoided.length; i += 2) {
            parts.add("without the link " + linksAvoided[i] + " > " + linksAvoided[i + 1]);
        }
        return String.join(", ", parts);
    }

    private static void addPart(List<String> parts, String name, int[] values) {
        if (values.length > 0) {
            parts.add(name + Arrays.toString(values));
        }
    }

    private String passed() {
        if (hasRoute()) {
            return text(path);
        }
        String inner = path.length <= 3 ? "" : ", through " + text(path);
        return source() + " to " + destination() + inner;
    }

    private static String text(int[] path) {
        return Arrays.stream(path).mapToObj(node -> node == GAP ? "..." : String.valueOf(node))
                .collect(Collectors.joining(" > "));
    }

    private int[][] limits() {
        return new int[][] {colorsAvoided, colorsRequired, nodesAvoided, linksAvoided};
    }

    private static int[] join(int[] head, int[] tail) {
        return IntStream.concat(Arrays.stream(head), Arrays.stream(tail)).toArray();
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof Request
                && Arrays.equals(numbers(false, false), ((Request) other).numbers(false, false));
    }

    @Override
    public int hashCode() {
        return Arrays.hashCode(numbers(false, false));
    }

    @Override
    public String toString() {
        return subject() + " " + way();
    }
}
