"""A plain reference of the library, seen from a Java caller.

Library holds what the process holds (session table, current session, NBOA and
NBPL) and offers the twelve native methods under their Java names. A call gives
back everything a caller can notice: the result or the exception, the object's
two fields, and the bytes written to the two standard streams.

Written for obviousness: tables of bandwidth per failure are dicts that hold
only what was booked, paths are lists, links and LSPs sit in dicts by id. The
order of floating-point operations is that of the library, since paths hang on
the last bit of a cost; additions of zero are left out. What no native method
can set is not modelled: colours, no-contention partners, rerouting weights.

Line numbers in messages read `at line #` here.
"""

import bisect
import math
import re
import struct

CLASSES = LEVELS = 8
SESSIONS = 128
EPS = 1e-10
INF = math.inf
INT_MAX = 2**31 - 1
MAX_TABLE_BYTES = 2**31 - 1  # the size word of a block is 32 bits, signed
MAX_VECTOR = MAX_TABLE_BYTES // 8
MAX_LONG_VECTOR = MAX_TABLE_BYTES // 4
MAX_LINK_TABLE = math.isqrt(MAX_TABLE_BYTES // 8)
STEP_LIMIT = 3000  # passes of a search, picks of a choice

PRIMARY, LOCAL, GLOBAL = 0, 1, 2
INFO, WARNING, CRITICAL = "[INFO] ", "[WARNING] ", "[CRITICAL] "

JNI = "jni_interface.c"
COMMON = "common/common.c"
DATABASE = "database/database.c"
RECORDS = "database/database_util.c"
PREDICATE = "predicate/predicate.c"
REROUTING = "rerouting/rerouting.c"
SEARCH = "computation/primary/primaryPath.c"
BACKUP = "computation/backup/backup.c"

ADD_DB = "velmor.repository.model.exception.AddDBException"
NO_ROUTE = "velmor.repository.model.exception.NoRouteToHostException"
ROUTING = "velmor.repository.model.exception.RoutingException"


class TooLong(Exception):
    """The call may run for ever, or nearly: no script should contain it."""


class JavaException(Exception):
    pass


def f32(x):
    """x rounded to single precision, as a double."""
    try:
        return struct.unpack("<f", struct.pack("<f", x))[0]
    except OverflowError:
        return math.copysign(INF, x)


def fmt(x):
    """%f of C, which shows the sign of a NaN."""
    if math.isnan(x):
        return "-nan" if math.copysign(1.0, x) < 0 else "nan"
    return "%f" % x


def div(a, b):
    if b != 0.0:
        return a / b
    if a == 0.0 or math.isnan(a):
        return math.nan
    return math.copysign(INF, a) * math.copysign(1.0, b)


def total(values):
    result = 0.0
    for v in values:
        result += v
    return result


def hops(path):
    return list(zip(path, path[1:]))


def hop_index(path, src, dst):
    """Where src first stands on the path, if dst follows it there; else -1."""
    if src in path:
        k = path.index(src)
        if k < len(path) - 1 and path[k + 1] == dst:
            return k
    return -1


def merge(la, lb):
    """Sorts both lists in place; their union, a common value once per pair."""
    la.sort()
    lb.sort()
    result, i, j = [], 0, 0
    while i < len(la):
        if j >= len(lb) or la[i] < lb[j]:
            result.append(la[i])
            i += 1
        elif la[i] == lb[j]:
            result.append(la[i])
            i += 1
            j += 1
        else:
            result.append(lb[j])
            j += 1
    return result + lb[j:]


# ---------------------------------------------------------------- records


class LinkState:
    """bbw and fbw: {(class, level): {id of the failing link: bandwidth}}."""

    __slots__ = ("cap", "rbw", "pbw", "bbw", "fbw")

    def __init__(self):
        self.cap = [0.0] * CLASSES
        self.rbw = [[0.0] * LEVELS for _ in range(CLASSES)]
        self.pbw = [[0.0] * LEVELS for _ in range(CLASSES)]
        self.bbw = {}
        self.fbw = {}

    def copy(self):
        new = LinkState.__new__(LinkState)
        new.cap = self.cap
        new.rbw = [row[:] for row in self.rbw]
        new.pbw = [row[:] for row in self.pbw]
        new.bbw = {k: dict(v) for k, v in self.bbw.items()}
        new.fbw = {k: dict(v) for k, v in self.fbw.items()}
        return new


def book(table, level, failure, bw, mult):
    for oa, b in enumerate(bw):
        if b != 0.0:
            cell = table.setdefault((oa, level), {})
            cell[failure] = cell.get(failure, 0.0) + mult * b


class Node:
    def __init__(self):
        self.inn = []  # both lists ascending
        self.out = []


class Link:
    def __init__(self, link_id, src, dst, state):
        self.id, self.src, self.dst, self.state = link_id, src, dst, state
        self.lsps = []  # in the order of lsp_order


class LSP:
    """A stored LSP, or a request that may become one."""

    def __init__(self, lsp_id=0, precedence=0, bw=None, path=(), kind=PRIMARY,
                 prim_id=0, prim_path=()):
        self.id = lsp_id
        self.precedence = precedence
        self.bw = list(bw) if bw is not None else [0.0] * CLASSES
        self.path = list(path)
        self.kind = kind
        self.prim_id = prim_id
        self.prim_path = list(prim_path)


def lsp_order(lsp):
    """Least important first, then the larger in class 0, then the older id."""
    return (-lsp.precedence, -lsp.bw[0], lsp.id)


class Config:
    def __init__(self):
        self.allow_reroute = self.capacity_clause = False
        self.loadbal = self.load = self.sq_load = 0.0
        self.rel_load = self.sq_rel_load = self.delay = self.fortz = 0.0


# --------------------------------------------------------------- database


class Database:
    def __init__(self, lib, config):
        self.lib = lib  # whose current stack takes the messages
        self.config = config
        self.nodes = {}
        self.links = {}  # by (source, destination)
        self.link_ids = {}  # the same links by id
        self.lsps = {}
        self.nb_nodes = 0  # never falls
        self.nb_links = 0  # falls once too often with each node removed
        self.counted = None  # ids of the links that count as failures

    def push(self, text, source=DATABASE, gravity=CRITICAL):
        self.lib.push(text, source, gravity)

    # nodes and links

    def max_node(self):
        return max(self.nodes, default=-1)

    def add_node(self, node_id):
        if node_id < 0:
            self.push("Bad argument (NULL)", RECORDS)
        elif node_id + 1 > MAX_VECTOR:
            self.push("Critical lack of memory", RECORDS)
            self.push("Unable to resize node vector prior to insertion", RECORDS)
        elif node_id in self.nodes:
            self.push("Trying to add a node with a reserved ID", RECORDS)
        else:
            self.nodes[node_id] = Node()
            self.nb_nodes += 1
            return True
        self.push("Unable to insert a new node in the general node container")
        return False

    def node_neighbours(self, node_id):
        node = self.nodes.get(node_id)
        if node is None:
            self.push("Node don't exist (id = %d)" % node_id)
        return node

    def add_link(self, link_id, src, dst, state):
        if link_id < 0 or src < 0 or dst < 0:
            self.push("Bad argument (NULL)")
            return False
        if link_id in self.link_ids:
            self.push("Trying to add a link with a reserved ID (ID=%d)" % link_id)
            return False
        if src not in self.nodes or dst not in self.nodes:
            self.push("Source or destination node doesn't exist")
            return False
        if (src, dst) in self.links:
            self.push("Unable to insert a new node in the general node container")
            return False
        if link_id + 1 > MAX_LONG_VECTOR:
            for _ in ("sources", "destinations"):
                self.push("Critical lack of memory", COMMON)
                self.push("Unable to resize long vector", COMMON)
            self.push("Link addition uncomplete")
            return False
        if max(src, dst) + 1 > MAX_LINK_TABLE:
            self.push("Critical lack of memory", RECORDS)
            self.push("Unable to resize link table prior to insertion", RECORDS)
            self.push("Unable to insert a new node in the general node container")
            return False
        link = Link(link_id, src, dst, state.copy())
        self.links[src, dst] = self.link_ids[link_id] = link
        bisect.insort(self.nodes[src].out, dst)
        bisect.insort(self.nodes[dst].inn, src)
        self.nb_links += 1
        self.counted = None
        return True

    def link_id(self, src, dst):
        if src < 0 or dst < 0:
            self.push("Bad argument (NULL or negative value)")
            return -1
        link = self.links.get((src, dst))
        return link.id if link else -1

    def inexistent_link(self, src, dst):
        self.push("Inexistent Link (src = %d, dst = %d)" % (src, dst))

    def remove_link(self, src, dst):
        link = self.links.get((src, dst))
        if link is None:
            self.push("Link doesn't exist or database unconsistancy")
            return False
        self.nodes[src].out.remove(dst)
        self.nodes[dst].inn.remove(src)
        del self.links[src, dst]
        del self.link_ids[link.id]
        self.nb_links -= 1
        self.counted = None
        return True

    def remove_node(self, node_id):
        node = self.nodes.get(node_id)
        if node is None:
            self.push("Trying to remove an inexistent node")
            return False
        while node.inn:
            self.remove_link(node.inn[-1], node_id)
        while node.out:
            self.remove_link(node_id, node.out[-1])
        del self.nodes[node_id]
        self.nb_links -= 1
        self.counted = None
        return True

    # bandwidth of one link

    def compute_rbw(self, ls):
        if self.counted is None:
            self.counted = set(sorted(self.link_ids)[:max(self.nb_links, 0)])
        for oa in range(CLASSES):
            worst = self.worst_failures(ls, oa)
            old_m = 0.0
            for p, m in enumerate(worst):
                ls.rbw[oa][p] = ls.pbw[oa][p] + m - old_m
                old_m = m

    def worst_failures(self, ls, oa):
        """Per level, the largest net backup need of a failure, up to that level.

        Only failures under which something was booked need a look; levels at
        which nothing is booked repeat the level before.
        """
        levels = [(p, ls.bbw.get((oa, p), {}), ls.fbw.get((oa, p), {}))
                  for p in range(LEVELS) if (oa, p) in ls.bbw or (oa, p) in ls.fbw]
        if not levels:
            return [0.0] * LEVELS
        failures = set()
        for _, bbw, fbw in levels:
            failures.update(bbw)
            failures.update(fbw)
        nodes = set()
        groups = []  # links that fail together, in the order in which they add up
        for f in failures:
            link = self.link_ids.get(f)
            if link is not None:
                nodes.add(link.dst)
                if f in self.counted:
                    groups.append((f,))
        for n in nodes:
            ids = [self.links[s, n].id for s in self.nodes[n].inn]
            groups.append([f for f in ids if f in failures])
        worst = [0.0] * LEVELS
        for group in groups:
            tot_bbw = tot_fbw = 0.0
            for p, bbw, fbw in levels:
                for f in group:
                    tot_bbw += bbw.get(f, 0.0)
                    tot_fbw += fbw.get(f, 0.0)
                if tot_bbw - tot_fbw > worst[p]:
                    worst[p] = tot_bbw - tot_fbw
        booked = {p for p, _, _ in levels}
        for p in range(1, LEVELS):
            if p not in booked:
                worst[p] = worst[p - 1]
        return worst

    def hop_id(self, src, dst):
        link_id = self.link_id(src, dst)
        if link_id < 0:
            self.push("Cannot determine link ID")
        return link_id

    def update_ls(self, src, dst, ls, lsp, mult):
        """Books the LSP on the link (mult 1) or takes it out (mult -1)."""
        on_path = hop_index(lsp.path, src, dst) >= 0
        pos = hop_index(lsp.prim_path, src, dst) if lsp.kind != PRIMARY else -1
        if not on_path and pos < 0:
            return True
        p, bw, prim = lsp.precedence, lsp.bw, lsp.prim_path
        if lsp.kind == PRIMARY:
            for oa in range(CLASSES):
                ls.pbw[oa][p] += mult * bw[oa]
            for a, b in hops(lsp.path):
                f = self.hop_id(a, b)
                if f < 0:
                    return False
                book(ls.fbw, p, f, bw, mult)
        elif lsp.kind == LOCAL:
            head = lsp.path[0]
            start = prim.index(head) if head in prim else len(prim)
            if start >= len(prim) - 1:
                self.push("Cannot determine the link to protect")
                return False
            plink = self.hop_id(head, prim[start + 1])
            if plink < 0:
                return False
            if on_path:
                book(ls.bbw, p, plink, bw, mult)
            if pos >= 0:
                last = lsp.path[-1]
                end = prim.index(last, start) if last in prim[start:] else -1
                if not start <= pos < end:
                    book(ls.fbw, p, plink, bw, -mult)
        else:
            head = lsp.path[0]
            if head not in prim:
                self.push("Cannot determine the link to protect")
                return False
            start, end = prim.index(head), len(prim) - 1
            if on_path:
                for i in range(start, end):
                    f = self.hop_id(prim[i], prim[i + 1])
                    if f < 0:
                        return False
                    book(ls.bbw, p, f, bw, mult)
            if pos >= 0:
                for i in range(0, start):
                    f = self.hop_id(prim[i], prim[i + 1])
                    if f < 0:
                        return False
                    book(ls.fbw, p, f, bw, -mult)
        self.compute_rbw(ls)
        return True

    def eval_setup(self, src, dst, ls, req):
        """Books the request on ls, which is a trial or a working state."""
        prim_path = []
        if req.kind != PRIMARY:
            if req.prim_id not in self.lsps:
                self.push("Impossible to determine the primary path")
                return False
            prim_path = self.lsps[req.prim_id].path
        if len(req.path) < 2:
            self.push("Wrong path in request")
            return False
        lsp = LSP(req.id, req.precedence, req.bw, req.path, req.kind,
                  req.prim_id, prim_path)
        return self.update_ls(src, dst, ls, lsp, 1.0)

    # admission

    def capacity_clause(self, ls, precedence, gain):
        top = precedence + 1 if self.config.allow_reroute else LEVELS
        for k in range(CLASSES):
            if total(ls.rbw[k][:top]) > ls.cap[k]:
                return False
            all_levels = total(ls.rbw[k])
            gain[k] = all_levels - ls.cap[k] if all_levels > ls.cap[k] else 0.0
        return True

    def is_valid(self, src, dst, ls, req, gain):
        """Whether the link may carry the request; a path that is still open
        is judged as if it were this link alone."""
        trial = ls.copy()
        judged = req
        if any(n < 0 for n in req.path):
            judged = LSP(req.id, req.precedence, req.bw, [src, dst], req.kind,
                         req.prim_id)
        if not self.eval_setup(src, dst, trial, judged):
            self.push("Unable to update link state", PREDICATE)
            return False
        if self.config.capacity_clause:
            return self.capacity_clause(trial, req.precedence, gain)
        return True

    # LSPs

    def gather_preempted(self, lsp, preempt):
        """The admission walk over the path, then over the primary's path.

        True or False is the last verdict, None a failure. The gains of one
        link stay for the next where the capacity clause does not reach them.
        """
        gain = [0.0] * CLASSES
        done = set()
        for path, skip_done in ((lsp.path, False), (lsp.prim_path, True)):
            if skip_done and lsp.kind == PRIMARY:
                break
            for src, dst in hops(path):
                link = self.links.get((src, dst))
                if link is None:
                    self.inexistent_link(src, dst)
                    self.push("Unable to get the list of LSPs carried by the link")
                    return None
                if skip_done and link.id in done:
                    continue
                allowed = self.is_valid(src, dst, link.state, lsp, gain)
                if not allowed and max(gain) > EPS:
                    self.lib.notes.add("refused with a gain left over")
                chosen = []
                if not self.choose(lsp.precedence, link, gain, chosen):
                    self.push("Unable choose LSPs for rerouting")
                    return None
                preempt[:] = merge(chosen, preempt)
                done.add(link.id)
                if not allowed:
                    return False
        return True

    def choose(self, precedence, link, gain, chosen):
        """Which LSPs of the link give way, appended to chosen."""
        oa = max((k for k in range(CLASSES) if gain[k] > EPS), default=0)
        if sum(g > EPS for g in gain) > 1:
            self.lib.notes.add("gains in several classes")
        need = gain[oa]
        reserved = link.state.rbw[oa]
        candidates = [lsp for lsp in link.lsps if lsp.bw[oa] > EPS]
        i = 0
        if need <= EPS:
            return True
        while True:
            if i >= len(candidates) or candidates[i].precedence <= precedence:
                return self.not_enough()
            p = candidates[i].precedence
            if not need >= reserved[p]:
                break
            while i < len(candidates) and candidates[i].precedence == p:
                chosen.append(candidates[i].id)
                i += 1
            need -= reserved[p]
            if not need > EPS:
                return True
        steps = 0
        while not need <= EPS:
            steps += 1
            if steps > STEP_LIMIT:
                raise TooLong("choice")
            if i >= len(candidates):
                return self.not_enough()
            if need >= candidates[i].bw[oa]:
                chosen.append(candidates[i].id)
                need -= candidates[i].bw[oa]
                i += 1
                continue
            j = i
            while (j < len(candidates) and candidates[j].bw[oa] >= need
                   and candidates[j].precedence == p):
                j += 1
            chosen.append(candidates[j - 1].id)
            need -= candidates[j - 1].bw[oa]
            i = j
        return True

    def not_enough(self):
        self.push("Not enough preemptable bandwidth for LSP selection", REROUTING)
        return False

    def preempt_list(self, lsp, preempt):
        return self.gather_preempted(lsp, preempt) is not None

    def add_lsp(self, lsp, preempt):
        allowed = self.gather_preempted(lsp, preempt)
        if allowed is None:
            return False
        if not allowed:
            self.push("LSP refused by the predicate")
            return False
        if lsp.id < 0 or lsp.id in self.lsps or lsp.id + 1 > MAX_VECTOR:
            if lsp.id < 0:
                self.push("Bad argument (NULL)", RECORDS)
            elif lsp.id in self.lsps:
                self.push("Trying to add an LSP with a reserved ID", RECORDS)
            else:
                self.push("Critical lack of memory", RECORDS)
                self.push("Unable to resize LSP vector prior to insertion", RECORDS)
            self.push("Unable to insert LSP in the general LSP container")
            return False
        stored = LSP(lsp.id, lsp.precedence, lsp.bw, lsp.path, lsp.kind,
                     lsp.prim_id, lsp.prim_path)
        self.lsps[lsp.id] = stored
        complete = True
        done = set()
        for src, dst in hops(stored.path):
            link = self.links[src, dst]
            bisect.insort(link.lsps, stored, key=lsp_order)
            complete &= self.update_ls(src, dst, link.state, stored, 1.0)
            done.add(link.id)
        if stored.kind != PRIMARY:
            for src, dst in hops(stored.prim_path):
                link = self.links[src, dst]
                if link.id not in done:
                    complete &= self.update_ls(src, dst, link.state, stored, 1.0)
                    done.add(link.id)
        if not complete:
            self.push("LSP addition uncomplete")
        return complete

    def remove_lsp(self, lsp_id):
        lsp = self.lsps.get(lsp_id)
        if lsp is None:
            self.push("Trying to remove inexistent LSP (id = %d)" % lsp_id)
            return False
        complete = True
        done = set()
        for src, dst in hops(lsp.path):
            link = self.links.get((src, dst))
            if link is None:
                self.inexistent_link(src, dst)
                complete = False
                continue
            at = bisect.bisect_left(link.lsps, lsp_order(lsp), key=lsp_order)
            if at < len(link.lsps) and lsp_order(link.lsps[at]) == lsp_order(lsp):
                del link.lsps[at]
            else:
                self.push("Removing inexistent LSP", RECORDS, WARNING)
                complete = False
            complete &= self.update_ls(src, dst, link.state, lsp, -1.0)
            done.add(link.id)
        if lsp.kind != PRIMARY:
            for src, dst in hops(lsp.prim_path):
                link = self.links.get((src, dst))
                if link is None:
                    self.inexistent_link(src, dst)
                    complete = False
                elif link.id not in done:
                    complete &= self.update_ls(src, dst, link.state, lsp, -1.0)
                    done.add(link.id)
        del self.lsps[lsp_id]
        if not complete:
            self.push("LSP removal uncomplete")
        return complete

    def text(self):
        out = ["Printing info about nodes ...\n-----------------------------\n"]
        for node_id in sorted(self.nodes):
            node = self.nodes[node_id]
            out.append("Node id : %d\n-------------\n" % node_id)
            out.append("Incoming neighboors : \n")
            out.extend("%d " % n for n in node.inn)
            out.append("\nOutgoing neighboors : \n")
            out.extend("%d " % n for n in node.out)
            out.append("\n")
        out.append("\nPrinting info about links ...\n-----------------------------\n")
        for src, dst in sorted(self.links):
            link = self.links[src, dst]
            out.append("Link %d-%d (id = %d)\n" % (src, dst, link.id))
            out.append("-----------------------\n\tList of LSPs\n\t------------\n")
            out.extend("%d " % lsp.id for lsp in link.lsps)
            out.append("\n\n\tLink-state\n\t----------\n")
            for oa in range(CLASSES):
                out.append("\tCapacity[%d] = %s\n" % (oa, fmt(link.state.cap[oa])))
                out.append("\tpbw[%d] = %s\n" % (oa, fmt(total(link.state.pbw[oa]))))
                out.append("\trbw[%d] = %s\n" % (oa, fmt(total(link.state.rbw[oa]))))
            out.append("\n\n")
        return "".join(out)


# ----------------------------------------------------------- primary paths

FORTZ = (  # utilisation below, slope, intercept factor; single precision values
    (f32(1 / 3), 1.0, 0.0),
    (f32(2 / 3), 3.0, f32(-2 / 3)),
    (0.0, 10.0, f32(-16 / 3)),  # never reached, whence 70 from 2/3 on
    (1.0, 70.0, f32(-178 / 3)),
    (f32(1.1), 500.0, f32(-1468 / 3)),
)


def fortz_segment(u):
    for below, slope, intercept in FORTZ:
        if u < below:
            return slope, intercept
    return 5000.0, f32(-19468 / 3)


class Connection:
    """A link seen from one end, with the terms that it adds to a score.

    All are constant during a search but the one of the utilisation sums.
    """

    def __init__(self, neighbour, state, config, bw):
        self.neighbour = neighbour
        self.terms = []  # added one by one, after the load balance terms
        for i in range(CLASSES):
            load, c, b = total(state.pbw[i]), state.cap[i], bw[i]
            u = div(load, c)
            a, k = fortz_segment(u)
            term = config.fortz * ((a * (load + b) + k * c) - (a * load + k * c))
            if i > 0:  # class 0 alone has the other weights
                self.terms.append(term)
                continue
            self.first = term
            self.utilisation, self.share = u, div(b, c)
            after = div(load + b, c)
            self.rise = after * (config.loadbal * after)
            self.fall = u * (u * config.loadbal)
            if config.load != 0.0:
                self.terms.append(config.load * b)
            if config.sq_load != 0.0:
                self.terms.append(config.sq_load * (b * b + (b + b) * load))
            if config.rel_load != 0.0:
                self.terms.append(div(config.rel_load * b, c))
            if config.sq_rel_load != 0.0:
                self.terms.append(div(
                    config.sq_rel_load * (b * b + (b + b) * load), c * c))
            if config.delay != 0.0:
                self.terms.append((div(1.0, (c - load) - b) + div(-1.0, c - load))
                                  * config.delay)


class TopoNode:
    def __init__(self, node_id):
        self.id = node_id
        self.inn, self.out = [], []  # connections
        self.elected = self.candidate = -1  # index in inn; candidate is used
        self.cost = self.new_cost = 0.0  # only after it is first set
        self.sum = self.new_sum = 0.0


class PrimarySearch:
    def __init__(self, db, req):
        self.db, self.req, self.config = db, req, db.config
        self.nodes = []  # in the order in which they were built
        self.index = {}
        self.top = 0
        self.balanced = self.config.loadbal != 0.0

    def push(self, text):
        self.db.push(text, SEARCH)
        return False

    def node(self, node_id):
        return self.nodes[self.index.get(node_id, 0)]  # unbuilt reads as first

    def run(self):
        """Replaces the request's path; False leaves it useless."""
        src, dst = self.req.path[0], self.req.path[-1]
        if src < 0 or dst < 0:
            self.push("Bad requested path format")
            return self.push("Unable to get requested source")
        if not self.build(src):
            return self.push("Unable to build topology")
        if not self.search(src):
            return self.push("Bellman-Kalaba failure")
        if not self.read_path(src, dst):
            return self.push("Unable to update requested path")
        return True

    def admit(self, a, b, neighbour):
        state = self.db.links[a, b].state
        if self.db.is_valid(a, b, state, self.req, [0.0] * CLASSES):
            return Connection(neighbour, state, self.config, self.req.bw)
        return None

    def build(self, src):
        stack, seen, built = [src], {src}, self.index
        while stack:
            nd = stack.pop()
            neighbours = self.db.node_neighbours(nd)
            if neighbours is None:
                return self.push("Unable to get the list of neighbours")
            node = TopoNode(nd)
            for nb in neighbours.inn:
                if nb not in built:
                    conn = self.admit(nb, nd, nb)
                else:
                    conn = self.seen_from(self.node(nb).out, nd, nb)
                if conn is not None:
                    node.inn.append(conn)
            for nb in neighbours.out:
                if nb not in built:
                    conn = self.admit(nd, nb, nb)
                    if nb not in seen:
                        stack.append(nb)
                        seen.add(nb)
                else:
                    conn = self.seen_from(self.node(nb).inn, nd, nb)
                if conn is not None:
                    node.out.append(conn)
            self.index[nd] = len(self.nodes)
            self.nodes.append(node)
            self.top = max(self.top, nd + 1)
        if self.db.nb_nodes < 0 or self.db.nb_links < 0:
            return self.push("Unable to get number of nodes and links")
        return True

    def seen_from(self, connections, nd, nb):
        """The link judged when nb was built, as nd sees it."""
        for conn in connections:
            if conn.neighbour == nd:
                mine = Connection.__new__(Connection)
                mine.__dict__.update(conn.__dict__)
                mine.neighbour = nb
                return mine
        return None

    def score(self, src, conn):
        s = src.cost
        s += conn.first
        if self.balanced:
            w, nb = self.config.loadbal, float(self.db.nb_links)
            s = s + conn.rise - conn.fall
            new_sum = src.sum + conn.share
            if math.isinf(new_sum):
                return INF
            s = (s + new_sum * ((div(-1.0, nb) * w) * new_sum)
                 + ((w * div(1.0, nb)) * src.sum) * src.sum)
        for term in conn.terms:
            s += term
        return s + s * 0.0 if s > 0 else s

    def no_loop(self, src, dst):
        n = self.node(src)
        if n.elected == -1:
            return n.id != dst
        if n.id == dst:
            return False
        for _ in range(STEP_LIMIT):
            n = self.node(n.inn[n.candidate].neighbour)
            if n.elected == -1:
                return n.id != dst
            if n.id == dst:
                return False
        raise TooLong("loop test")

    def elect_candidate(self, node, src, conn):
        if self.balanced:
            node.new_sum = conn.share + src.sum

    def activate(self, node):
        if self.balanced:
            node.sum = node.new_sum

    def reach(self, src, nd, active, flags):
        """First score of a node, from its discoverer alone."""
        node = self.node(nd)
        j = next((j for j, c in enumerate(node.inn) if c.neighbour == src.id), -1)
        active.append(nd)
        if j < 0:
            return self.push("Topology unconsistancy")
        node.cost = node.new_cost = self.score(src, node.inn[j])
        node.elected = node.candidate = j
        self.elect_candidate(node, src, node.inn[j])
        self.activate(node)
        flags[nd] = 1
        return True

    def search(self, src_id):
        active, flags = [], {}
        source = self.node(src_id)
        if self.balanced:
            source.sum = 0.0
            for node in self.nodes:
                for conn in node.inn:
                    source.sum += conn.utilisation
        for conn in source.out:
            if conn.neighbour == src_id:
                continue
            if conn.neighbour >= self.top:
                return self.push("Inexistent node")
            if not self.reach(source, conn.neighbour, active, flags):
                return False
        flags[src_id] = 2
        for _ in range(STEP_LIMIT):
            threshold = len(active)
            if threshold == 0:
                return True
            done = True
            for nd in active[:threshold]:
                node = self.node(nd)
                for j, conn in enumerate(node.inn):
                    nb = conn.neighbour
                    if nb >= self.top:
                        return self.push("Inexistent node")
                    if flags.get(nb, 0) != 0 and self.no_loop(nb, nd):
                        cost = self.score(self.node(nb), conn)
                        if cost - node.cost < -EPS:
                            node.new_cost, node.candidate = cost, j
                            self.elect_candidate(node, self.node(nb), conn)
                            done = False
                if flags[nd] == 1:
                    for conn in node.out:
                        nb = conn.neighbour
                        if nb >= self.top:
                            return self.push("Inexistent node")
                        if flags.get(nb, 0) == 0:
                            if not self.reach(node, nb, active, flags):
                                return False
                            done = False
                    flags[nd] = 2
            for nd in active[:threshold]:
                node = self.node(nd)
                node.cost, node.elected = node.new_cost, node.candidate
                self.activate(node)
            if done:
                return True
        raise TooLong("search")

    def read_path(self, src, dst):
        path = self.req.path
        path.clear()
        node_id, node = dst, self.node(dst)
        if src != dst:
            if node.elected < 0:
                return self.push("Destination unreachable")
            while True:
                path.append(node_id)
                if len(path) > STEP_LIMIT:
                    raise TooLong("read-out")
                node_id = node.inn[node.elected].neighbour
                node = self.node(node_id)
                if node_id == src:
                    break
                if node.elected < 0:
                    return self.push("Destination unreachable")
        path.append(src)
        path.reverse()
        return True


# ------------------------------------------------------------ backup paths


class TreeNode:
    def __init__(self, key, node, father):
        self.key, self.node, self.father = key, node, father
        self.leq = self.gt = None


class Queue:
    """Unbalanced tree by cost; its shape decides between NaN keys."""

    def __init__(self):
        self.root = self.top = None

    def insert(self, node, key):
        if self.root is None:
            self.root = self.top = TreeNode(key, node, None)
        elif self.top.key >= key:
            self.top.leq = TreeNode(key, node, self.top)
            self.top = self.top.leq
        else:
            at = self.root
            while True:
                child = at.leq if at.key >= key else at.gt
                if child is None:
                    break
                at = child
            new = TreeNode(key, node, at)
            if at.key >= key:
                at.leq = new
            else:
                at.gt = new

    def pop(self):
        t = self.top
        if t is None:
            return None
        if t is self.root:
            self.root = self.top = t.gt
            if t.gt is not None:
                t.gt.father = None
        else:
            t.father.leq = t.gt
            if t.gt is not None:
                t.gt.father = t.father
                self.top = t.gt
            else:
                self.top = t.father
        if self.top is not None:
            while self.top.leq is not None:
                self.top = self.top.leq
        return t.node


class Tentative:
    def __init__(self, node_id):
        self.id = node_id
        self.origin = None
        self.val = -1.0
        self.marked = False

    def chain(self):
        """Node ids from the start of the search to this node."""
        ids, node = [], self
        while node is not None:
            ids.append(node.id)
            node = node.origin
        return ids[::-1]


class BackupComputation:
    def __init__(self, db, lsp_id, kind):
        self.db, self.kind = db, kind
        self.lsp_id = lsp_id

    def push(self, text, gravity=CRITICAL):
        self.db.push(text, BACKUP, gravity)

    def run(self):
        """The requests, one per backup, or None."""
        db = self.db
        self.lsp = lsp = db.lsps.get(self.lsp_id)
        if lsp is None:
            self.push("Cannot find lsp ID %d" % self.lsp_id)
            return None
        self.states = {}
        for link_id in range(max(db.link_ids, default=-1) + 1):
            if link_id in db.link_ids:
                self.states[link_id] = db.link_ids[link_id].state.copy()
            else:
                self.push("Warning there is no link numbered %d : src = -1, "
                          "dst = -1 ...." % link_id, INFO)
        self.precedence = min(lsp.precedence + 1, 7)
        return self.local() if self.kind == LOCAL else self.end_to_end()

    def request(self, path=()):
        return LSP(0, self.precedence, self.lsp.bw, path, self.kind, self.lsp.id)

    def entering(self, node_id):
        """Ids of the links into a node, or None."""
        node = self.db.node_neighbours(node_id)
        if node is None:
            self.push("The protected node must have some neighbour")
            return None
        return [self.db.link_id(u, node_id) for u in node.inn]

    def cost(self, src, dst, dn):
        db, lsp = self.db, self.lsp
        req = self.request(dn.chain() + [dst])
        link_id = db.link_id(src, dst)
        before = self.states[link_id]
        trial = before.copy()
        if not db.eval_setup(src, dst, trial, req):
            self.push("Error while computing new link state", WARNING)
            return -1.0
        bw_tot = total(lsp.bw)
        bw_before = total(x for row in before.rbw for x in row)
        bw_after = total(x for row in trial.rbw for x in row)
        for k in range(CLASSES):
            if total(trial.rbw[k]) > trial.cap[k]:
                return -1.0
        inc = bw_after - bw_before
        if inc < 0:
            inc = 0.0
        prim = lsp.prim_path
        k = prim.index(dst) if dst in prim else len(prim)
        return (inc * 0.9090909090909091
                + 0.09090909090909091 * (len(prim) - k + 1) * bw_tot)

    def shortest(self, start, goals, forbidden):
        """The path to the first goal settled, or None."""
        if start not in self.db.nodes:
            return None
        tentative = {n: Tentative(n) for n in self.db.nodes}
        queue = Queue()
        tentative[start].val = 0.0
        queue.insert(tentative[start], 0.0)
        while True:
            node = queue.pop()
            if node is None:
                return None
            if node.marked:
                continue
            node.marked = True
            if node.id in goals:
                return node.chain()
            for w in self.db.nodes[node.id].out:
                nxt = tentative[w]
                if nxt.marked or self.db.link_id(node.id, w) in forbidden:
                    continue
                c = self.cost(node.id, w, node)
                if c < 0:
                    continue
                new_val = node.val + c
                if nxt.val == -1 or (new_val > 0 and nxt.val > new_val):
                    nxt.val, nxt.origin = new_val, node
                    queue.insert(nxt, new_val)

    def record(self, path):
        req = self.request(path)
        for a, b in hops(path):
            self.db.eval_setup(a, b, self.states[self.db.link_id(a, b)], req)
        return req

    def local(self):
        n = self.lsp.path
        requests = []
        for j in range(len(n) - 2, -1, -1):
            forbidden = self.entering(n[j + 1])
            if forbidden is None:
                return None
            goals = n[j + 1:]
            path = self.shortest(n[j], goals, forbidden)
            if path is None:
                path = self.shortest(n[j], goals, [self.db.link_id(n[j], n[j + 1])])
            if path is None:
                self.db.lib.err("No local link disjoint protection path found\n")
                return None
            requests.insert(0, self.record(path))
        return requests

    def end_to_end(self):
        n = self.lsp.path
        forbidden = []
        for node_id in n[1:-1]:
            ids = self.entering(node_id)
            if ids is None:
                return None
            forbidden += ids
        own = [self.db.link_id(a, b) for a, b in hops(n)]
        path = self.shortest(n[0], n[-1:], forbidden + own[-1:]) if n else None
        if path is None:
            self.db.lib.out("Switching from node to link protection for lsp "
                            "number: %d\n" % self.lsp.id)
            path = self.shortest(n[0], n[-1:], own) if n else None
        if path is None:
            self.db.lib.out("Oups ... no path found ...\n")
            self.db.lib.err("No end to end link disjoint protection path found\n")
            return None
        return [self.record(path)]


# ---------------------------------------------------- sessions and natives


class JavaObject:
    def __init__(self, sess_id=-1):
        self.sessId = sess_id
        self.lsps = None


class Session:
    def __init__(self, db, config, stack):
        self.db, self.config, self.stack = db, config, stack


class Result:
    """What a caller notices of one call."""

    def __init__(self, value, exception, obj, out, err):
        self.value, self.exception = value, exception
        self.sess_id = obj.sessId
        self.lsps = None if obj.lsps is None else list(obj.lsps)
        self.out, self.err = out, err


class Library:
    def __init__(self):
        self.sessions = [None] * SESSIONS
        self.last = -1
        self.opened = False  # ever
        self.stack = None  # the current one
        self.nboa = self.nbpl = 0
        self.streams = {"out": [], "err": []}
        self.notes = set()  # what happened inside the last call

    def out(self, text):
        self.streams["out"].append(text)

    def err(self, text):
        self.streams["err"].append(text)

    def push(self, text, source=JNI, gravity=CRITICAL):
        if self.stack is not None:
            if source is not None:
                text += " in %s at line #" % source
            self.stack.append(gravity + text + "\n")

    def print_stack(self, stack):
        for line in reversed(stack):
            self.err(line)

    def call(self, obj, method, *args):
        """One native call. TooLong leaves the library as it was, unless some
        backup has been placed already."""
        self.streams = {"out": [], "err": []}
        self.notes = set()
        session = self.session(obj.sessId)
        before = self.stack
        marks = [(s, len(s)) for s in (before, session and session.stack)
                 if s is not None]
        reroute = session and session.config.allow_reroute
        value = exception = None
        try:
            value = getattr(self, method)(obj, *args)
        except JavaException as e:
            exception = e.args[0]
        except TooLong:
            for stack, length in marks:
                del stack[length:]
            self.stack = before
            if session:
                session.config.allow_reroute = reroute
            raise
        return Result(value, exception, obj,
                      "".join(self.streams["out"]).encode("latin-1"),
                      "".join(self.streams["err"]).encode("latin-1"))

    def session(self, sess_id):
        return self.sessions[sess_id] if 0 <= sess_id < SESSIONS else None

    def load(self, obj, exception=None):
        session = self.session(obj.sessId)
        if session is None:
            self.push("Non existing Session (%d)" % obj.sessId)
            if exception is not None:
                raise JavaException(exception)
            return None
        self.stack = session.stack
        return session

    def fail(self, exception, *texts):
        for text in texts:
            self.push(text)
        raise JavaException(exception)

    # arguments

    def rows(self):
        return min(self.nboa, CLASSES)

    def long_enough(self, array, needed):
        return array is not None and len(array) >= needed

    def good_table(self, table, nboa, nbpl):
        rows, columns = min(nboa, CLASSES), min(nbpl, LEVELS)
        return (self.long_enough(table, rows)
                and all(self.long_enough(table[oa], columns) for oa in range(rows)))

    def bad_lsp_argument(self, array, pl, bw, check_array=True):
        """The message that refuses the arguments, if any."""
        if check_array and array is None:
            return "Bad argument (NULL)"
        if not 0 <= pl < LEVELS:
            return "Bad argument (preemption level)"
        if not math.isfinite(bw):
            return "Bad argument (bandwidth)"
        return None

    def class_bw(self, oa, bw):
        return [bw if i == oa and i < self.rows() else 0.0 for i in range(CLASSES)]

    # natives

    def jniinitKavril(self, obj, nboa, nbpl, color, allow_reroute, capacity,
                      loadbal, load, sq_load, rel_load, sq_rel_load, delay, fortz,
                      coef):
        self.stack = []
        live = sum(s is not None for s in self.sessions)
        if live >= SESSIONS:
            self.push("Too many Sessions (%d)" % live)
            return
        if not self.good_table(coef, nboa, nbpl):
            self.push("Bad argument (NULL)")
            return
        self.nboa, self.nbpl = nboa, nbpl
        config = Config()
        config.allow_reroute, config.capacity_clause = allow_reroute, capacity
        config.loadbal, config.load, config.sq_load = loadbal, load, sq_load
        config.rel_load, config.sq_rel_load = rel_load, sq_rel_load
        config.delay, config.fortz = delay, fortz
        slot = (self.last + 1) % SESSIONS
        while self.sessions[slot] is not None:
            slot = (slot + 1) % SESSIONS
        self.last = slot
        self.opened = True
        self.sessions[slot] = Session(Database(self, config), config, self.stack)
        obj.sessId = slot

    def jnikillKavril(self, obj):
        session = self.load(obj)
        if session is None:
            if not self.opened:
                self.err("ERROR, call to killKavril before initKavril\n")
            return
        self.print_stack(session.stack)
        self.sessions[obj.sessId] = None
        self.stack = None

    def jniprintKavrilDB(self, obj):
        session = self.load(obj)
        if session is not None:
            self.out(session.db.text())

    def jniaddNode(self, obj, node_id):
        if not self.load(obj, ADD_DB).db.add_node(node_id):
            self.fail(ADD_DB, "Impossible to init a Node")

    def jniaddLink(self, obj, link_id, color, src, dst, cap, rbw, pbw, bbw, fbw):
        db = self.load(obj, ADD_DB).db
        if (not self.long_enough(cap, self.rows())
                or not self.good_table(rbw, self.nboa, self.nbpl)):
            self.fail(ADD_DB, "Bad argument (NULL)", "Impossible to add Link")
        state = LinkState()
        for oa in range(self.rows()):
            state.cap[oa] = cap[oa]
            for p in range(min(self.nbpl, LEVELS)):
                state.rbw[oa][p] = rbw[oa][p]
        if not db.add_link(link_id, src, dst, state):
            self.fail(ADD_DB, "Impossible to add Link")

    def jniremoveLink(self, obj, src, dst):
        if not self.load(obj, ADD_DB).db.remove_link(src, dst):
            self.fail(ADD_DB, "Impossible to remove Link")

    def jniremoveNode(self, obj, node_id):
        if not self.load(obj, ADD_DB).db.remove_node(node_id):
            self.fail(ADD_DB, "Impossible to remove Node")

    def fail_lsp(self, lsp_id, bw, *texts):
        for text in texts:
            self.push(text)
        self.push("Lsp ID: %d, Request: %s\n" % (lsp_id, fmt(bw)), None)
        raise JavaException(ADD_DB)

    def jniaddLSP(self, obj, lsp_id, path, pl, oa, bw):
        session = self.load(obj, ADD_DB)
        failure = "Impossible to add PRIMARY LSP (computed by another algorithm)"
        refusal = self.bad_lsp_argument(path, pl, bw)
        if refusal:
            self.fail_lsp(lsp_id, bw, refusal, failure)
        session.config.allow_reroute = False
        lsp = LSP(lsp_id, pl, self.class_bw(oa, bw), path)
        if not session.db.add_lsp(lsp, []):
            self.fail_lsp(lsp_id, bw, failure)

    def jniaddBackupLSP(self, obj, lsp_id, prim_id, path, pl, oa, bw, local):
        session = self.load(obj, ADD_DB)
        failure = "Impossible to add BACKUP LSP (computed by another algorithm)"
        refusal = self.bad_lsp_argument(path, pl, bw)
        if refusal:
            self.fail_lsp(lsp_id, bw, refusal, failure)
        session.config.allow_reroute = False
        primary = session.db.lsps.get(prim_id)
        if primary is None:
            self.fail_lsp(lsp_id, bw, "Impossible to find PRIMARY LSP")
        lsp = LSP(lsp_id, pl, self.class_bw(oa, bw), path,
                  LOCAL if local else GLOBAL, prim_id, primary.path)
        if not session.db.add_lsp(lsp, []):
            self.fail_lsp(lsp_id, bw, failure)

    def jniremoveLSP(self, obj, lsp_id):
        if not self.load(obj, ADD_DB).db.remove_lsp(lsp_id):
            self.fail(ADD_DB, "Impossible to remove LSP")

    def jnicomputePath(self, obj, lsp_id, src, dst, rrid, rrsrc, rrdst, oa, pl,
                       bw, colors, add, preempt):
        session = self.load(obj, NO_ROUTE)
        db = session.db
        refusal = self.bad_lsp_argument(None, pl, bw, check_array=False)
        if refusal:
            self.fail(NO_ROUTE, refusal, "Impossible to compute Path")
        session.config.allow_reroute = preempt
        lsp = LSP(lsp_id, pl, self.class_bw(oa, bw), [src, -1, dst])
        if not PrimarySearch(db, lsp).run():
            self.fail(NO_ROUTE, "Impossible to compute Path")
        self.notes.add("path")
        chosen = []
        if add:
            if not db.add_lsp(lsp, chosen):
                self.fail(ADD_DB, "Impossible to add PRIMARY LSP")
        elif preempt:
            if not db.preempt_list(lsp, chosen):
                self.push("Impossible to obtain preemptList")
                self.print_stack(session.stack)
                raise JavaException(ROUTING)
        for victim in chosen:
            if not db.remove_lsp(victim):
                self.notes.add("preemption failing")
                self.fail(ADD_DB, "Impossible to remove LSP")
        if chosen:
            self.notes.add("preemption")
            obj.lsps = chosen
        return list(lsp.path)

    def jnicomputeBackupPath(self, obj, prim_id, ids, backup_type, add, preempt):
        session = self.load(obj, NO_ROUTE)
        db = session.db
        kind, name = (GLOBAL, "global") if backup_type == 1 else (LOCAL, "local")
        failure = "Impossible to compute %s backup paths" % name
        if ids is None:
            self.fail(NO_ROUTE, "Bad argument (NULL)", failure)
        session.config.allow_reroute = preempt
        requests = BackupComputation(db, prim_id, kind).run()
        if requests is None:
            self.fail(NO_ROUTE, failure)
        self.notes.add(name + " backups")
        primary = db.lsps[prim_id]
        if backup_type == 0 and len(requests) != len(primary.path) - 1:
            self.notes.add("French warning")
            self.err("Pas assez de lsps de backups locaux pour la taille du lsp!\n")
        if (add or preempt) and len(ids) < len(requests):
            self.notes.add("too few ids")
            self.fail(ADD_DB, "Bad argument (NULL)", "Impossible to add BACKUP LSP")
        for i, req in enumerate(requests):
            if not add and not preempt:
                continue
            bw = [b if oa < self.rows() else 0.0 for oa, b in enumerate(req.bw)]
            lsp = LSP(ids[i], 0, bw, req.path, kind, prim_id, primary.path)
            if not add:
                if not db.preempt_list(lsp, []):
                    self.notes.add("no backup preemption list")
                    self.push("Impossible to obtain preemptList")
                    self.err("Can't obtain preemptList \n")
            elif db.add_lsp(lsp, []):
                self.notes.add("backup placed")
            else:
                self.notes.add("backup not placed")
                self.report_backup(db, prim_id, lsp)
        return [list(req.path) for req in requests]

    def report_backup(self, db, prim_id, lsp):
        self.push("Impossible to add BACKUP LSP")
        self.err("Backup global non ajout\xe9 pour primaire %d, valeur de la bande "
                 "passante: %s: \n" % (prim_id, fmt(lsp.bw[0])))
        for src, dst in hops(lsp.path):
            state = db.links[src, dst].state
            self.err("Valeur de la capacit\xe9 du lien %d - %d: %s, Valeur de la "
                     "bande passante r\xe9serv\xe9e P0: %s, PetB0: %s\n"
                     % (src, dst, fmt(state.cap[0]), fmt(state.pbw[0][0]),
                        fmt(state.rbw[0][0])))
        self.err(" \n")
        raise JavaException(ADD_DB)


def mask_lines(data):
    """Stack text with its line numbers taken out."""
    return re.sub(rb" at line -?\d+", b" at line #", data)
