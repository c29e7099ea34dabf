"""Random call scripts for the native methods, aimed with the model.

A Generator drives a model.Library while it writes, so that most calls name
things that exist and fail or succeed for reasons of their own; the rest is
deliberately wrong. A script is a list of Call, each with the outcome that the
model gives. The same library and the same seeds give the same script; process
state (session slots, NBOA, NBPL, objects) runs on from seed to seed.

What a script never contains: calls for which the model does not end in a
sensible number of steps, ids that would take much memory (except 2^31-1 and
the like, which must be refused), and negative weights.
"""

import random
import struct

from model import INF, INT_MAX, SESSIONS, JavaObject, Result, TooLong, f32, total

NAN = float("nan")

# i int, b boolean, f float, I int[], F float[], T float[][]
SIGNATURES = {
    "set": "i",
    "initKavril": "iibbbfffffffT",
    "killKavril": "",
    "printKavrilDB": "",
    "addNode": "i",
    "addLink": "iiiiFTTTT",
    "removeLink": "ii",
    "removeNode": "i",
    "addLSP": "iIiif",
    "addBackupLSP": "iiIiifb",
    "removeLSP": "i",
    "computePath": "iiiiiiiifIbb",
    "computeBackupPath": "iIibb",
}


class GroupEnded(Exception):
    """The model stopped half-way through a call: nothing can follow."""


class Call:
    def __init__(self, seed, obj, method, args, result, notes):
        self.seed, self.obj, self.method, self.args = seed, obj, method, args
        self.result, self.notes = result, notes

    def line(self):
        words = [str(self.obj), self.method]
        words += [word(kind, arg)
                  for kind, arg in zip(SIGNATURES[self.method], self.args)]
        return " ".join(words)


def bits(x):
    return struct.pack(">f", x).hex()


def unbits(text):
    return struct.unpack(">f", bytes.fromhex(text))[0]


def word(kind, arg):
    if kind in "ib":
        return str(int(arg))
    if kind == "f":
        return bits(arg)
    if arg is None:
        return "null"
    if kind == "I":
        return "I:" + ",".join(map(str, arg))
    if kind == "F":
        return "F:" + ",".join(map(bits, arg))
    return "M" + "".join("|" + word("F", row) for row in arg)


def unword(kind, text):
    if kind == "i":
        return int(text)
    if kind == "b":
        return text == "1"
    if kind == "f":
        return unbits(text)
    if text == "null":
        return None
    if kind == "T":
        return [unword("F", row) for row in text[1:].split("|")[1:]]
    parts = text[2:].split(",") if text[2:] else []
    return [int(p) if kind == "I" else unbits(p) for p in parts]


def perform(library, objects, number, method, args):
    """The call on the model; "set" is the only method that is not native."""
    while len(objects) <= number:
        objects.append(JavaObject())
    if method != "set":
        return library.call(objects[number], "jni" + method, *args)
    objects[number].sessId = args[0]
    return Result(None, None, objects[number], b"", b"")


def replay(lines, library, objects):
    """The calls of a written script, with the outcomes that the model gives."""
    calls = []
    for line in lines:
        number, method, *words = line.split()
        args = [unword(k, w) for k, w in zip(SIGNATURES[method], words)]
        result = perform(library, objects, int(number), method, args)
        calls.append(Call(None, int(number), method, args, result,
                          sorted(library.notes)))
    return calls


class Profile:
    def __init__(self, name, share, nodes, degree, calls, fill, sessions=(1, 3),
                 odd=0.0, many_sessions=False, lattice=False):
        self.name, self.share, self.nodes, self.degree = name, share, nodes, degree
        self.calls, self.fill, self.sessions, self.odd = calls, fill, sessions, odd
        self.many_sessions, self.lattice = many_sessions, lattice


PROFILES = [  # calls: share of --calls made once the networks stand; fill: LSPs first
    Profile("small", 40, (3, 8), (1.5, 3.5), 1.0, 40, (1, 4)),
    Profile("odd", 20, (2, 7), (1.0, 3.5), 1.0, 30, (1, 4), odd=0.12),
    Profile("middle", 25, (20, 60), (2.5, 4.5), 0.5, 200, (1, 2)),
    Profile("large", 4, (100, 140), (3.0, 4.0), 0.15, 100, (1, 1)),
    Profile("sessions", 6, (2, 4), (1.0, 2.0), 1.0, 20, many_sessions=True),
    Profile("ties", 12, (9, 30), (4.0, 4.0), 0.8, 20, (1, 2), lattice=True),
]


class World:
    """One session as the generator sees it, with the means it is filled from."""

    def __init__(self, obj):
        self.obj = obj
        self.freed_links = []  # (id, src, dst) once in use
        self.freed_nodes = []
        self.freed_lsps = []
        self.found = []  # (class, level, bandwidth, path) computed, not placed
        self.found_backups = []  # (primary, path, type, class, bandwidth)
        self.placed = {}  # LSP id: (class, bandwidth)


class Generator:
    def __init__(self, library, objects):
        self.lib, self.objects = library, objects

    def script(self, seed, calls):
        """The calls of one seed, appended to self.calls as they are made."""
        self.seed, self.calls = seed, []
        self.rng = rng = random.Random(seed)
        self.profile = rng.choices(PROFILES, [p.share for p in PROFILES])[0]
        self.odd = self.profile.odd
        self.nboa = rng.randint(1, rng.choice([2, 2, 8]))
        self.nbpl = rng.randint(rng.choice([1, 3]), 8)
        self.scale = rng.choice([1.0] * 6 + [0.001, 0.001, 2.0**90])
        self.tight = rng.choice([0.5, 1.0, 2.0, 4.0])
        self.grid = rng.choice([1.0, 0.5, 0.1])  # 0.1 leaves rounding residues
        self.clause = rng.choice([1.0, 0.9, 0.9, 0.2])
        self.zero = rng.choice([0.02, 0.02, 0.3]) if self.clause < 0.5 else 0.02
        self.junk = rng.choice([0.0, 0.02, 0.02, 0.3])
        # Where links look alike, and costs are large beside the threshold of
        # improvement, the last bit decides between paths.
        self.alike = None
        if self.profile.lattice:
            self.scale, self.grid, self.clause = 1.0, 0.1, 0.8
        if self.chance(0.4) or self.profile.lattice:
            unit = rng.choice([7, 10, 11])
            self.alike = [f32(unit * k * self.scale)
                          for k in rng.choice([(2,), (1,), (1, 2, 3), (1, 3, 6)])]
        self.heavy = rng.choice([1.0, 1.0, f32(1e9), f32(3e18)])
        self.usual = [1.0, 2.0, 4.0]
        if self.profile.lattice:
            self.heavy = max(self.heavy, f32(1e9))
            self.usual = [self.amount(1, 3) for _ in range(rng.randint(1, 3))]
        self.worlds = []
        if self.profile.many_sessions:
            self.fill_table()
        else:
            for _ in range(rng.randint(*self.profile.sessions)):
                self.open_session()
        for _ in range(int(calls * self.profile.calls)):
            self.step()
        self.leave()
        return self.calls

    # making calls

    def call(self, obj, method, *args):
        try:
            result = perform(self.lib, self.objects, obj, method, args)
        except TooLong:
            if "backup placed" in self.lib.notes:
                raise GroupEnded from None
            return None
        self.calls.append(Call(self.seed, obj, method, args, result,
                               sorted(self.lib.notes)))
        return result

    def new_object(self):
        self.objects.append(JavaObject())
        return len(self.objects) - 1

    def chance(self, p):
        return self.rng.random() < p

    def db(self, world):
        session = self.lib.session(self.objects[world.obj].sessId)
        return session.db if session else None

    # numbers

    def amount(self, low, high):
        steps = self.rng.randint(int(low / self.grid), int(high / self.grid))
        return f32(f32(steps * self.grid) * self.scale)

    def bandwidth(self):
        rng = self.rng
        if self.chance(self.odd / 4):
            return rng.choice([NAN, INF, -INF])
        if self.chance(self.odd / 2 + 0.01):
            return rng.choice([0.0, -0.0, f32(1e-45), f32(1e-11)])
        if self.chance(self.odd / 3):
            return -self.amount(1, 4)
        if self.chance(0.5):
            return f32(rng.choice(self.usual) * self.scale)  # ties
        return max(self.amount(1, rng.choice([4, 10, 24])), f32(self.scale * 0.5))

    def capacity(self):
        if self.chance(self.odd / 3):
            return self.rng.choice([NAN, INF, -INF, -self.scale, -0.0])
        if self.chance(self.zero):
            return 0.0
        if self.alike is not None:
            return self.rng.choice(self.alike)
        if self.chance(0.5):
            return f32(self.rng.choice([10.0, 10.0, 20.0]) * self.tight * self.scale)
        return self.amount(4 * self.tight, 30 * self.tight)

    def table(self, rows, columns, make):
        return [[make() for _ in range(max(columns, 0))] for _ in range(max(rows, 0))]

    def spoil(self, table, rows, columns):
        """A table that is null, too short or has such a row."""
        kind = self.rng.randrange(4)
        rows, columns = min(rows, 8), min(columns, 8)
        if rows < 1 or kind == 0 or columns < 1:
            return None if rows >= 1 else table
        if kind == 1:
            return table[:self.rng.randrange(rows)]
        at = self.rng.randrange(rows)
        row = None if kind == 2 else table[at][:self.rng.randrange(columns)]
        return table[:at] + [row] + table[at + 1:]

    # sessions and networks

    def open_session(self, world=None, network=True):
        rng = self.rng
        if world is None:
            world = World(self.new_object())
            self.worlds.append(world)
        if self.worlds and self.chance(0.1):  # they share NBOA and NBPL all the same
            self.nboa, self.nbpl = rng.randint(1, 8), rng.randint(1, 8)
        nboa, nbpl = self.nboa, self.nbpl
        if self.chance(self.odd / 3):
            nboa, nbpl = rng.choice([(9, 8), (-1, 3), (8, 12), (0, 2), (2, -5)])
        weights = [0.0] * 7
        for i in rng.sample(range(7), rng.choice([0, 0, 0, 1, 1, 2, 3, 7])):
            weights[i] = f32(rng.choice([1.0, 1.0, 2.5, 0.1, 0.7, 100.0]) * self.heavy)
        if self.chance(self.odd / 3):
            weights[rng.randrange(7)] = rng.choice([INF, NAN, f32(1e30)])
        coef = self.table(nboa, nbpl, lambda: f32(rng.random()))
        if self.chance(0.02):
            coef = self.spoil(coef, nboa, nbpl)
        self.call(world.obj, "initKavril", nboa, nbpl, self.chance(0.5),
                  self.chance(0.5), self.chance(self.clause), *weights, coef)
        world.__init__(world.obj)
        if network and self.db(world) is not None:
            self.build(world)
        return world

    def random_edges(self, n):
        """Pairs of positions, connected, neither far apart in large networks."""
        rng = self.rng
        edges = {(i, rng.randrange(max(0, i - 6), i)) for i in range(1, n)}
        wanted = min(n * rng.uniform(*self.profile.degree) / 2, n * (n - 1) / 2)
        while len(edges) < wanted:
            a = rng.randrange(n)
            b = rng.randrange(n) if n < 10 else min(a + rng.randint(1, 9), n - 1)
            if a != b:
                edges.add((a, b))
        return edges

    def lattice_edges(self, n, width):
        return ({(i, i + 1) for i in range(n - 1) if (i + 1) % width}
                | {(i, i + width) for i in range(n - width)})

    def build(self, world):
        rng = self.rng
        self.late = False
        if self.profile.lattice:
            width = rng.randint(3, 6)
            n = width * rng.randint(3, 5)
            edges = self.lattice_edges(n, width)
        else:
            n = rng.randint(*self.profile.nodes)
            edges = self.random_edges(n)
        ids = list(range(n))
        style = rng.randrange(3)
        if style > 0:
            ids = rng.sample(range(n * rng.choice([1, 3])), n)
        for node in ids:
            self.call(world.obj, "addNode", node)
        directed = []
        for a, b in sorted((ids[i], ids[j]) for i, j in edges):
            directed.append((a, b))
            if self.chance(0.92):
                directed.append((b, a))
        if rng.randrange(2):
            rng.shuffle(directed)
        numbers = list(range(len(directed)))
        if style == 2:
            numbers = rng.sample(range(len(directed) * 2), len(directed))
        for number, (a, b) in zip(numbers, directed):
            self.add_link(world, number, a, b)
        if self.chance(self.odd + 0.03):
            a = rng.choice(ids)
            self.add_link(world, len(directed) * 2, a, a)
        for a, b in directed if self.profile.lattice else ():
            for _ in range(rng.randrange(3)):
                self.call(world.obj, "addLSP", self.new_lsp_id(world), [a, b],
                          self.level(), self.class_number(),
                          f32(rng.choice(self.usual)))
        for _ in range(min(rng.choice([0, 2, 4]) * len(directed), self.profile.fill)):
            self.compute_path(world, flags=(1, 0))
        self.late = True

    def add_link(self, world, number, a, b):
        rng = self.rng
        rows = max(0, min(self.lib.nboa, 8)) + rng.choice([0, 0, 0, 1])
        columns = max(0, min(self.lib.nbpl, 8)) + rng.choice([0, 0, 0, 2])
        cap = [self.capacity() for _ in range(rows)]
        junk = 0.0
        if self.chance(self.junk):
            junk = rng.choice([2.0, 5.0, -3.0, INF, NAN, NAN])
        rbw = self.table(rows, columns, lambda: f32(junk * self.scale))
        other = rng.choice([None, [], self.table(1, 1, lambda: 7.0)])
        if self.chance(0.006 + self.odd / 20):
            if self.chance(0.5):
                rbw = self.spoil(rbw, self.lib.nboa, self.lib.nbpl)
            elif self.lib.nboa > 0:
                cap = rng.choice([None, cap[:rng.randrange(min(self.lib.nboa, 8))]])
        return self.call(world.obj, "addLink", number, rng.choice([0, 3]), a, b, cap,
                         rbw, other, other, other)

    def fill_table(self):
        """Sessions up to the limit and one more, and their slots anew."""
        rng = self.rng
        wanted = rng.choice([SESSIONS + 1, SESSIONS + 1, 40])
        for i in range(wanted):
            self.open_session(network=i % 16 == 0)
        for _ in range(rng.randint(1, 12)):
            self.call(rng.choice(self.worlds).obj, "killKavril")
        for _ in range(rng.randint(1, 14)):
            self.open_session(network=False)
        networks = [w for w in self.worlds if (db := self.db(w)) and db.links]
        rest = [w for w in self.worlds if w not in networks]
        self.worlds = networks + rest

    def leave(self):
        for world in self.worlds:
            db = self.db(world)
            if db is not None and (db.nodes or self.chance(0.1)):
                self.call(world.obj, "printKavrilDB")
            self.call(world.obj, "killKavril")
            if self.chance(0.05):
                self.call(world.obj, "killKavril")

    # steps

    STEPS = [
        ("compute_path", 34), ("compute_backup", 15), ("add_lsp", 9),
        ("add_backup", 9), ("remove_lsp", 8), ("change_link", 5), ("change_node", 2),
        ("print_db", 2), ("ghost", 1.5), ("swell", 1.5), ("bad_arguments", 3),
        ("session_step", 1),
    ]

    def step(self):
        worlds = self.worlds[:12]
        world = self.rng.choice(worlds if self.chance(0.97) else self.worlds)
        if self.db(world) is None:
            if self.chance(0.6):
                self.open_session(world)
            else:
                self.session_step(world)
            return
        if self.db(world).nb_links < 1 and self.chance(0.2):  # little left to do here
            self.call(world.obj, "killKavril")
            self.open_session(world)
            return
        if self.profile.lattice and self.chance(0.6):
            self.rng.choice([self.compute_path, self.compute_backup])(world)
            return
        names, shares = zip(*self.STEPS)
        getattr(self, self.rng.choices(names, shares)[0])(world)

    def some_node(self, world):
        db, rng = self.db(world), self.rng
        if not db.nodes or self.chance(0.02 + self.odd / 5):
            return rng.choice([-1, 0, 1, 7, 99, INT_MAX] + world.freed_nodes[-3:])
        return rng.choice(sorted(db.nodes))

    def some_lsp(self, world, primary=False):
        db, rng = self.db(world), self.rng
        ids = sorted(i for i, lsp in db.lsps.items()
                     if not primary or lsp.kind == 0 or self.chance(0.1))
        if not ids or self.chance(0.03):
            return rng.choice([-1, 0, 5, 800, INT_MAX] + world.freed_lsps[-3:])
        return rng.choice(ids)

    def new_lsp_id(self, world):
        db, rng = self.db(world), self.rng
        if self.chance(0.03):
            return rng.choice([-1, -7, INT_MAX] + sorted(db.lsps)[:3])
        if world.freed_lsps and self.chance(0.2):
            return rng.choice(world.freed_lsps)
        if self.chance(0.1):
            return rng.randrange(900)
        return next(i for i in range(10**6) if i not in db.lsps)

    def level(self):
        if self.chance(0.006 + self.odd / 25):
            return self.rng.choice([-1, 8, INT_MAX, -INT_MAX - 1])
        if self.chance(0.03):
            return self.rng.randrange(8)
        levels = max(1, min(self.nbpl, 8))
        if self.chance(0.4):
            return self.rng.randrange(levels)
        if self.late:  # important ones come when there is something to preempt
            return self.rng.randrange((levels + 1) // 2)
        return self.rng.randrange(levels // 2, levels)

    def class_number(self):
        if self.chance(0.02 + self.odd / 10):
            return self.rng.choice([-1, 7, 8, 100])
        classes = max(1, min(self.nboa, 8))
        return min(self.rng.randrange(classes), self.rng.randrange(classes))

    def compute_path(self, world, flags=None):
        rng = self.rng
        lsp_id, oa, level = self.new_lsp_id(world), self.class_number(), self.level()
        bw = self.bandwidth()
        src, dst = self.some_node(world), self.some_node(world)
        if src == dst and self.chance(0.9):
            dst = self.some_node(world)
        add, preempt = flags or rng.choice(
            [(1, 1), (1, 1), (1, 0), (0, 1), (0, 1), (0, 0)])
        if self.profile.lattice and self.chance(0.7):
            add = 0
        rr = rng.choice([-1, 0, 3])
        colors = rng.choice([None, [], [0, 3]])
        before = set(self.db(world).lsps)
        result = self.call(world.obj, "computePath", lsp_id, src, dst, rr, rr, rr, oa,
                           level, bw, colors, bool(add), bool(preempt))
        if result is None:
            return
        world.freed_lsps += sorted(before - set(self.db(world).lsps))
        if result.exception is None:
            if add:
                world.placed[lsp_id] = oa, bw
            else:
                world.found.append((oa, level, bw, result.value))

    def compute_backup(self, world, prim=None):
        rng, db = self.rng, self.db(world)
        if prim is None:
            prim = self.some_lsp(world, primary=True)
        lsp = db.lsps.get(prim)
        needed = max(1, len(lsp.path) - 1) if lsp else 2
        kind = rng.choice([0, 1, 1, 2, 0, rng.choice([-1, 3])])
        ids = []
        for _ in range(needed):
            new = self.new_lsp_id(world)
            while new in ids and new != INT_MAX and self.chance(0.97):
                new += 1
            ids.append(new)
        if self.chance(0.02 + self.odd / 10):
            ids = rng.choice([None, ids[:rng.randrange(len(ids))], ids + [3]])
        add, preempt = rng.choice([(1, 1), (1, 1), (1, 0), (0, 1), (0, 0)])
        result = self.call(world.obj, "computeBackupPath", prim, ids, kind, bool(add),
                           bool(preempt))
        if result and result.value and not add:
            for path in result.value:
                world.found_backups.append((prim, path, kind != 1))

    def walk(self, db, start, length):
        path = [start]
        while len(path) < length and path[-1] in db.nodes:
            out = db.nodes[path[-1]].out
            if not out:
                break
            fresh = [n for n in out if n not in path]
            path.append(self.rng.choice(fresh or out))
        return path

    def mangle(self, world, path):
        rng = self.rng
        path = list(path)
        kind = rng.randrange(6)
        if kind == 0:
            path = path[:rng.choice([0, 1])]
        elif kind == 1 and path:
            path[rng.randrange(len(path))] = rng.choice([-1, 99, INT_MAX, 0])
        elif kind == 2 and len(path) > 1:  # there and back and on
            at = rng.randrange(len(path) - 1)
            path = path[:at + 2] + path[at:]
        elif kind == 3:
            path = path + self.walk(self.db(world), path[0] if path else 0, 4)
        elif kind == 4:
            path.insert(rng.randrange(len(path) + 1), self.some_node(world))
        else:
            path = [self.some_node(world) for _ in range(rng.randrange(5))]
        return path

    def add_lsp(self, world):
        rng, db = self.rng, self.db(world)
        lsp_id = self.new_lsp_id(world)
        if world.found and self.chance(0.4):
            oa, level, bw, path = rng.choice(world.found[-5:])
        else:
            oa, level, bw = self.class_number(), self.level(), self.bandwidth()
            path = self.walk(db, self.some_node(world), rng.randint(2, 5))
            if self.chance(0.15 + self.odd):
                path = self.mangle(world, path)
        result = self.call(world.obj, "addLSP", lsp_id, path, level, oa, bw)
        if result and result.exception is None:
            world.placed[lsp_id] = oa, bw

    def backup_path(self, world, prim_path):
        """From a node of the primary, with luck to another one."""
        rng, db = self.rng, self.db(world)
        if len(prim_path) < 2:
            return self.walk(db, self.some_node(world), rng.randint(1, 3))
        start = rng.randrange(len(prim_path) - 1)
        path = [prim_path[start]]
        for _ in range(12):
            if path[-1] not in db.nodes:
                break
            out = [n for n in db.nodes[path[-1]].out if n not in path]
            if len(path) == 1 and self.chance(0.9):
                out = [n for n in out if n != prim_path[start + 1]]
            if not out:
                break
            good = [n for n in out if n in prim_path[start + 1:]]
            path.append(rng.choice(good or out))
            if path[-1] in prim_path[start + 1:] and self.chance(0.85):
                break
        return path

    def add_backup(self, world):
        rng, db = self.rng, self.db(world)
        lsp_id = self.new_lsp_id(world)
        if world.found_backups and self.chance(0.4):
            prim, path, local = rng.choice(world.found_backups[-5:])
        else:
            prim = self.some_lsp(world, primary=True)
            lsp = db.lsps.get(prim)
            path = self.backup_path(world, lsp.path if lsp else [])
            if self.chance(0.1 + self.odd):
                path = self.mangle(world, path)
            local = self.chance(0.6)
        oa, bw = world.placed.get(prim, (self.class_number(), self.bandwidth()))
        if self.chance(0.2):
            oa, bw = self.class_number(), self.bandwidth()
        self.call(world.obj, "addBackupLSP", lsp_id, prim, path, self.level(), oa, bw,
                  local)

    def remove_lsp(self, world):
        lsp_id = self.some_lsp(world)
        result = self.call(world.obj, "removeLSP", lsp_id)
        if result.exception is None and lsp_id >= 0:
            world.freed_lsps.append(lsp_id)

    def remove_link(self, world, link):
        self.call(world.obj, "removeLink", link.src, link.dst)
        world.freed_links.append((link.id, link.src, link.dst))

    def change_link(self, world):
        rng, db = self.rng, self.db(world)
        freed = [x for x in world.freed_links if x[1:] not in db.links
                 and x[1] in db.nodes and x[2] in db.nodes]
        if self.chance(0.05):
            self.call(world.obj, "removeLink", self.some_node(world),
                      self.some_node(world))
        elif freed and self.chance(0.7):
            number, a, b = freed[rng.randrange(len(freed))]
            world.freed_links.remove((number, a, b))
            if self.chance(0.2):
                number = rng.choice([-1, INT_MAX, number + 1, 3])
            if self.chance(0.1):
                a = self.some_node(world)
            self.add_link(world, number, a, b)
        elif db.links and self.chance(0.8):
            self.remove_link(world, db.links[rng.choice(sorted(db.links))])
        else:
            number = next(i for i in range(10**6) if i not in db.link_ids)
            self.add_link(world, number, self.some_node(world), self.some_node(world))

    def change_node(self, world):
        rng, db = self.rng, self.db(world)
        if self.chance(self.odd / 2):  # no link can reach a node as high as this
            self.call(world.obj, "addNode", 20000)
            self.add_link(world, 77, self.some_node(world), 20000)
            self.call(world.obj, "removeNode", 20000)
        elif world.freed_nodes and self.chance(0.6):
            self.call(world.obj, "addNode", world.freed_nodes.pop())
        elif self.chance(0.3):
            self.call(world.obj, "addNode", self.some_node(world))
        elif self.chance(0.2):
            self.call(world.obj, "addNode", rng.choice([-1, INT_MAX, 200, 12]))
        else:
            node = self.some_node(world)
            for (a, b), link in sorted(db.links.items()):
                if node in (a, b):
                    world.freed_links.append((link.id, a, b))
            if node in db.nodes:
                world.freed_nodes.append(node)
            self.call(world.obj, "removeNode", node)

    def print_db(self, world):
        self.call(world.obj, "printKavrilDB")

    def ghost(self, world):
        """A backup removed while its protected link is away leaves bandwidth
        that no LSP can give back, once a link has the id again."""
        rng, db = self.rng, self.db(world)
        prims = sorted(i for i, lsp in db.lsps.items()
                       if lsp.kind == 0 and len(lsp.path) > 1)
        if not prims:
            return
        prim = rng.choice(prims)
        prim_path = db.lsps[prim].path
        path = self.backup_path(world, prim_path)
        start = prim_path.index(path[0])
        if len(path) < 2 or start == len(prim_path) - 1:
            return
        protected = db.links.get((path[0], prim_path[start + 1]))
        hop = db.links.get((path[0], path[1]))
        if protected is None or hop is None or hop is protected:
            return
        oa = self.class_number() % 8
        room = hop.state.cap[oa] - total(hop.state.rbw[oa])
        bw = f32(room * rng.choice([0.5, 0.9, 1.0]))
        if not 0 < bw < INF:
            bw = self.amount(1, 4)
        backup = self.new_lsp_id(world)
        self.call(world.obj, "addBackupLSP", backup, prim, path,
                  rng.choice([self.level(), 7]), oa, bw, self.chance(0.7))
        self.remove_link(world, protected)
        self.call(world.obj, "removeLSP", backup)
        self.add_link(world, protected.id, protected.src, protected.dst)
        for dst in (path[1], path[1], path[-1]):
            bw = f32(hop.state.cap[oa] * rng.choice([0.2, 0.5, 0.9]))
            if 0 < bw < INF:
                self.call(world.obj, "computePath", self.new_lsp_id(world), path[0],
                          dst, 0, 0, 0, oa, rng.choice([0, self.level()]), bw, None,
                          self.chance(0.3), True)

    def swell(self, world):
        """LSPs of negative bandwidth make room; once they go, links hold more
        than they can, in several classes and at levels that cannot give way."""
        rng, db = self.rng, self.db(world)
        used = sorted(pair for pair, link in db.links.items() if link.lsps)
        if not used:
            return
        start, end = rng.choice(used)
        path = [start] + self.walk(db, end, rng.choice([1, 1, 2, 3]))
        classes = list(range(max(1, min(self.nboa, 8))))[:rng.choice([1, 2, 2])]
        negative = []
        for oa in classes:
            for src, dst in zip(path, path[1:]):
                self.call(world.obj, "addLSP", self.new_lsp_id(world), [src, dst],
                          self.level(), oa, abs(self.amount(1, 6)))
            load = min(total(db.links[hop].state.pbw[oa])
                       for hop in zip(path, path[1:]))
            negative.append(self.new_lsp_id(world))
            self.call(world.obj, "addLSP", negative[-1], path, rng.randrange(8), oa,
                      -f32(load * rng.choice([0.5, 1.0, 1.0])))
        fill = rng.choice([None, None, 0, 7])
        twice = [start, end] * 2 if (end, start) in db.links else path
        for _ in range(rng.randint(4, 10)):
            self.call(world.obj, "addLSP", self.new_lsp_id(world),
                      rng.choice([path, path, path, twice]),
                      fill if fill is not None else self.level(),
                      rng.choice(classes), abs(self.amount(1, 5)))
        for lsp_id in negative:
            self.call(world.obj, "removeLSP", lsp_id)
        for _ in range(6):
            if self.chance(0.6):
                self.call(world.obj, "computePath", self.new_lsp_id(world), start,
                          rng.choice([end, path[-1]]), 0, 0, 0, rng.choice(classes),
                          rng.choice([0, 0, self.level()]), self.amount(1, 2), None,
                          self.chance(0.4), True)
            else:
                crossing = [lsp.id for lsp in db.links[start, end].lsps
                            if lsp.kind == 0] if (start, end) in db.links else []
                self.compute_backup(world, rng.choice(crossing or [0]))
        self.call(world.obj, "printKavrilDB")

    def bad_arguments(self, world):
        rng = self.rng
        kind = rng.randrange(5)
        level, bw = rng.choice([(9, 1.0), (-1, 1.0), (0, NAN), (0, INF), (8, -INF)])
        path = self.walk(self.db(world), self.some_node(world), 3)
        if kind == 0:
            self.call(world.obj, "computePath", 1, 0, 1, 0, 0, 0, 0, level, bw, None,
                      True, self.chance(0.5))
        elif kind == 1:
            self.call(world.obj, "addLSP", 5, path, level, 0, bw)
        elif kind == 2:
            self.call(world.obj, "addLSP", 5, None, 0, 0, 1.5)
        elif kind == 3:
            if self.chance(0.5):  # one fault at a time: no order is promised
                path, level, bw = None, 0, 1.0
            self.call(world.obj, "addBackupLSP", 6, self.some_lsp(world), path, level,
                      0, bw, self.chance(0.5))
        else:
            self.call(world.obj, "computeBackupPath", self.some_lsp(world), None,
                      rng.randrange(3), False, False)

    def session_step(self, world):
        rng = self.rng
        kind = rng.randrange(6)
        if kind == 0:  # killed, perhaps opened again
            self.call(world.obj, "killKavril")
            if self.chance(0.5):
                self.call(world.obj, "killKavril")
            if self.chance(0.8):
                self.open_session(world)
        elif kind == 1:  # two objects on one session
            other = self.new_object()
            self.call(other, "set", self.objects[world.obj].sessId)
            self.call(other, "addNode", rng.choice([150, 151, 0]))
        elif kind == 2 and len(self.worlds) < 20:
            self.open_session(network=self.chance(0.5))
        else:
            lost = self.new_object()
            free = [i for i, s in enumerate(self.lib.sessions) if s is None]
            self.call(lost, "set", rng.choice(
                [-1, SESSIONS, INT_MAX, -INT_MAX - 1] + free[:1] + free[-1:]))
            for _ in range(rng.randint(1, 4)):
                self.lost_call(lost)

    def lost_call(self, lost):
        calls = [
            ("killKavril",), ("printKavrilDB",), ("addNode", 4), ("removeLink", 0, 1),
            ("addLink", 1, 0, 0, 1, None, None, None, None, None), ("removeNode", 0),
            ("addLSP", 1, None, 0, 0, 1.0), ("addBackupLSP", 1, 0, [], 9, 0, 1.0, True),
            ("removeLSP", 0), ("computeBackupPath", 0, None, 1, False, False),
            ("computePath", 1, 0, 1, 0, 0, 0, 0, 0, 1.0, None, True, True),
            ("initKavril", 2, 2, False, False, True, *[0.0] * 7, None),
        ]
        self.call(lost, *self.rng.choice(calls))
