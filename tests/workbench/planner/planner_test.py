"""A planner's work with the program as it is called, every result checked from the files.

    KAVRIL=build/release/bin/kavril KAVRIL_DATA=../shared/data python3 planner_test.py
"""
import collections
import json
import os
import pathlib
import pty
import re
import subprocess
import tempfile
import unittest

from books import SLACK, Books

ROOT = pathlib.Path(__file__).resolve().parents[3]
PROGRAM = os.environ.get("KAVRIL", ROOT / "build/release/bin/kavril")
DATA = pathlib.Path(os.environ.get("KAVRIL_DATA", ROOT.parent / "shared/data"))
ABILENE = [ROOT / "examples/data/abilene.json", ROOT / "examples/data/abilene-demands.json"]
# Network, demands and a scale at which protection finds room for most and not for all.
NETWORKS = [(*ABILENE, "--scale", 1), (*ABILENE, "--scale", 2.5)] + [
    entry for entry in (
        (DATA / "sndlib-xml/germany50.xml", "--scale", 0.3),
        (DATA / "repetita/Abilene.graph", DATA / "repetita/Abilene.0000.demands"),
        (DATA / "sndlib-native/janos-us-ca.txt", "--scale", 0.02, "--max-demands", 300),
    ) if entry[0].exists()]
FOREIGN = [ROOT / "tests/workbench/formats/samples" / file for file in ("net.graphml", "net.txt")] + [
    file for file in (DATA / "topologyzoo/Abilene.graphml",) if file.exists()]
CLASSES = "--class", "voice:0:0.2,data:3:0.5,data:5:0.3"
FOLDER = tempfile.TemporaryDirectory()


def name(file):
    return pathlib.Path(FOLDER.name) / file


def kavril(*words, status=0):
    """What it prints on both streams, as JSON where that is asked for."""
    done = subprocess.run([PROGRAM, *map(str, words)], capture_output=True, text=True, check=False)
    if status not in (done.returncode, None):
        raise AssertionError(f"{words}: exit status {done.returncode}\n{done.stderr}{done.stdout}")
    return json.loads(done.stdout) if "--json" in words else done.stdout + done.stderr


def placed(file, *words):
    kavril("place", *words, "-o", name(file), "--quiet")
    return Books(name(file))


class Planner(unittest.TestCase):
    maxDiff = 2000

    def promises_hold(self, file):
        self.assertEqual([], Books(name(file)).broken_promises()[:5])
        kavril("audit", name(file), "--failures", "links,cables,nodes,groups", "--quiet")

    def test_every_plan_keeps_what_it_claims(self):
        for network in NETWORKS:
            for protection in ("none", "local", "global"):
                for classes in ((), CLASSES):
                    with self.subTest(network=network, protection=protection, classes=classes):
                        before = placed("p.json", *network, "--protection", protection, *classes)
                        self.promises_hold("p.json")
                        kavril("improve", name("p.json"), "-o", name("better.json"), "--rounds", 2)
                        self.promises_hold("better.json")
                        after = Books(name("better.json"))
                        self.assertEqual(*[[b.key(lsp) for lsp in b.primaries]
                                           for b in (before, after)])
                        for old, new in zip(before.demands, after.demands):
                            self.assertLessEqual(bool(new["unprotected"]), bool(old["unprotected"]))

    def test_important_traffic_is_protected_first(self):
        for network in NETWORKS[1:]:
            books = placed("p.json", *network, "--protection", "global",
                           "--class", "data:3:0.5,data:5:0.5")
            protected = [sum(d["bandwidth"] for d in books.demands
                             if d["lsp"] >= 0 and d["level"] == level and not d["unprotected"])
                         for level in (3, 5)]
            self.assertGreater(protected[0], protected[1], network)

    def test_audit_says_what_the_files_say(self):
        for network in NETWORKS:
            with self.subTest(network=network):
                books = placed("p.json", *network, "--protection", "local", *CLASSES)
                said = kavril("audit", name("p.json"), "--json")
                sets = [*books.cables(), *books.nodes()]
                self.assertEqual([s[0] for s in sets], [f["name"] for f in said["failures"]])
                worst, ever = {cell: load for cell, load in books.base.items()}, set()
                for failure, (_, links, nodes) in zip(said["failures"], sets):
                    loads, lost, ends = books.fail(links, nodes)
                    ever |= lost
                    for one in failure["restored"]:
                        down = links | {i for i, ends in enumerate(books.links) if set(ends) & nodes}
                        way = [books.links[i] for i in books.way(books.lsps[one["lsp"]], down)]
                        self.assertAlmostEqual(one["stretch"], books.stretch(
                            [way[0][0], *(hop[1] for hop in way)]), 9)
                    self.assertEqual(sorted(lost | ends), [one["lsp"] for one in failure["lost"]])
                    self.assertAlmostEqual(
                        failure["bandwidthLost"], sum(books.lsps[i]["bandwidth"] for i in lost), 5)
                    for cell, load in loads.items():
                        worst[cell] = max(worst.get(cell, 0), load)
                for load in said["worst"]:
                    own = worst.get((load["link"], load["trafficClass"]), 0)
                    self.assertAlmostEqual(own / SLACK, load["bandwidth"] / SLACK, 5)
                self.assertEqual(len(books.primaries) - len(ever), said["verdict"]["all"]["protected"])
                levels = said["verdict"]["levels"]
                self.assertEqual(len(books.primaries), sum(level["carried"] for level in levels))
                for level in levels:
                    own = [books.stretch(lsp["path"]) for lsp in books.primaries
                           if books.classes[lsp["trafficClass"]]["name"] == level["trafficClass"]
                           and lsp["level"] == level["level"]]
                    self.assertAlmostEqual(sum(own) / len(own), level["stretchMean"], 9)
                    self.assertAlmostEqual(max(own), level["stretchMaximum"], 9)
                spare = sum(sum(map(sum, link["reserved"])) - sum(map(sum, link["primary"]))
                            for link in books.plan["links"])
                self.assertAlmostEqual(1, sum(level["reserved"] for level in levels) / spare, 6)

    def test_a_baseline_is_for_comparing(self):
        for network in NETWORKS[:3]:
            igp = placed("igp.json", *network, "--baseline", "shortest-path")
            self.assertEqual(1, max(igp.stretch(lsp["path"]) for lsp in igp.primaries))
            self.assertEqual(len(igp.demands), len(igp.primaries))
            placed("p.json", *network)
            said = kavril("diff", name("igp.json"), name("p.json"), "--json")
            self.assertEqual(1, said["levels"][0]["before"]["stretchMaximum"])
            full = [load for load in kavril("audit", name("igp.json"), "--json")["worst"]
                    if load["share"] > SLACK]
            self.assertEqual(len(full), len(igp.overloads(igp.base)))
            for command in ("improve", "change", "upgrade"):
                kavril(command, name("igp.json"), status=2)

    def test_failure_sets_and_availability(self):
        books = placed("p.json", *NETWORKS[0], "--protection", "global")
        cables = list(books.cables())
        name("sets.json").write_text(json.dumps({"format": "kavril-failures", "failures": [
            {"name": "duct", "kind": "group", "elements": [cables[0][0], cables[3][0]],
             "mtbf": 990, "mttr": 10},
            {"name": "storm", "elements": [cables[1][0], books.names[4]], "probability": 0.001}]}))
        said = kavril("audit", name("p.json"), "--sets", name("sets.json"), "--json",
                      "--failures", "cables,groups,custom,pairs", "--mtbf", "cable=990",
                      "--mttr", "cable=10")
        down = {}
        singles = [*((*c, 0.01) for c in cables),
                   ("duct", cables[0][1] | cables[3][1], set(), 0.01),
                   ("storm", cables[1][1], {4}, 0.001)]
        for title, links, nodes, part in singles:
            for lsp in set.union(*books.fail(links, nodes)[1:]):
                down.setdefault(lsp, {})[title] = part
        for i, (one, links, nodes, part) in enumerate(singles):
            for two, more_links, more_nodes, more in singles[i + 1:]:
                for lsp in set.union(*books.fail(links | more_links, nodes | more_nodes)[1:]):
                    if not {one, two} & down.setdefault(lsp, {}).keys():
                        down[lsp][f"{one} + {two}"] = part * more
        self.assertEqual(len(singles) * (len(singles) + 1) / 2, len(said["failures"]))
        for one in said["availability"]:
            own = 1.0
            for part in down.get(one["lsp"], {}).values():
                own *= 1 - part
            self.assertAlmostEqual(own, one["availability"], 12)
        case = kavril("audit", name("p.json"), "--fail", f"{cables[0][0]},{books.names[4]}")
        _, lost, ends = books.fail(cables[0][1], {4})
        self.assertEqual(len(lost | ends), case.count(": lost"))

    def test_groups_in_the_network_are_avoided(self):
        network = json.loads(ABILENE[0].read_text())
        books = placed("p.json", *ABILENE, "--protection", "global")
        for i in (0, 1, 8, 9):
            network["links"][i]["groups"] = ["duct"]
        name("net.json").write_text(json.dumps(network))
        words = name("net.json"), ABILENE[1], "--protection", "global", "--survive"
        grouped = placed("q.json", *words, "cables,groups")
        self.promises_hold("q.json")
        lost = [len(b.fail(links, nodes)[1]) for b in (books, grouped)
                for _, links, nodes in grouped.groups()]
        self.assertLessEqual(lost[1], lost[0])
        noted = [d for d in grouped.demands if "duct" in d.get("exposed", [])]
        unprotected = [d for d in grouped.demands if d["unprotected"]]
        self.assertLessEqual(lost[1], len(noted) + len(unprotected))

    def test_a_week_of_changes(self):
        for network in NETWORKS[:3]:
            with self.subTest(network=network):
                before = placed("p.json", *network, "--protection", "local", *CLASSES)
                node = max(range(len(before.names)), key=lambda n: sum(
                    n in lsp["path"][1:-1] for lsp in before.primaries))
                said = kavril("change", name("p.json"), "--drain", before.names[node],
                              "-o", name("q.json"), "--json")
                self.promises_hold("q.json")
                after = Books(name("q.json"))
                self.assertFalse([l for l in after.plan["lsps"] if node in l["path"]])
                paths = [{lsp["id"]: lsp["path"] for lsp in b.primaries} for b in (before, after)]
                for lsp, path in paths[0].items():
                    if node not in path and lsp in paths[1]:
                        self.assertEqual(path, paths[1][lsp], "it did not have to move")
                both = paths[0].keys() & paths[1].keys()
                self.assertEqual({i for i in both if paths[0][i] != paths[1][i]},
                                 {one["lspAfter"] for one in said["moved"]})
                self.assertEqual(paths[0].keys() - both, {one["lspBefore"] for one in said["lost"]})
                self.assertEqual(said, kavril("diff", name("p.json"), name("q.json"), "--json"))
                for link in said["links"]:
                    ends = tuple(before.names.index(end) for end in link["link"].split(" > "))
                    for when, books in (("before", before), ("after", after)):
                        cell = (books.number[ends], [c["name"] for c in books.classes].index(
                            link["trafficClass"]))
                        self.assertAlmostEqual(books.base[cell], link[when], 5)
                kavril("change", name("q.json"), "--back-to", name("p.json"), "-o", name("r.json"))
                self.promises_hold("r.json")
                back = Books(name("r.json"))
                self.assertNotIn("drained", back.plan)
                was, now = ({lsp["demand"]: lsp["path"] for lsp in b.primaries}
                            for b in (before, back))
                same = sum(was[demand] == now.get(demand) for demand in was)
                self.assertGreater(same, 0.8 * len(was))  # a full network may keep some away
                lsp = before.primaries[0]
                kavril("change", name("p.json"), "--lock", lsp["id"], "-o", name("s.json"))
                for _ in range(2):
                    kavril("improve", name("s.json"), "-o", name("s.json"), "--rounds", 1)
                kept = Books(name("s.json"))
                self.assertEqual(lsp["path"], kept.lsps[lsp["id"]]["path"])
                self.assertEqual([], kept.broken_promises())

    def test_headroom_and_upgrade(self):
        said = kavril("headroom", *ABILENE, "--protection", "none,global", "--json")
        for room in said["headroom"]:
            books = placed("p.json", *ABILENE, "--scale", room["factor"] * 0.999999,
                           "--protection", room["protection"])
            self.assertEqual(0, sum(d["lsp"] < 0 for d in books.demands))
            self.assertGreater(room["failsAt"], room["factor"])
            if said["optimum"] is None:
                continue
            self.assertLessEqual(room["factor"], said["optimum"] * SLACK)
            for node in range(len(books.names)):  # no more than each node's links can take in
                room_in = sum(books.capacity(books.number[e], 0) for e in books.links if e[1] == node)
                wanted = sum(d["bandwidth"] for d in books.demands if d["dst"] == node)
                scale = room["factor"] * 0.999999
                self.assertLessEqual(said["optimum"] * wanted / scale, room_in * (1 + 1e-6))
        books = placed("p.json", *NETWORKS[1], "--protection", "global")
        said = kavril("upgrade", name("p.json"), "--candidates", 3, "--json")
        links = [i for i, ends in enumerate(books.links) if set(said["cut"]["nodes"]) >= {ends[0]}
                 and ends[1] not in said["cut"]["nodes"]]
        self.assertAlmostEqual(sum(books.capacity(i, 0) for i in links), said["cut"]["capacity"], 5)
        one = said["additions"][0]
        bandwidth = books.plan["network"]["links"][0]["capacity"]
        self.assertGreaterEqual(one["carried"], said["now"]["carried"] - 1e-6)
        kavril("change", name("p.json"), "-o", name("q.json"), "--capacity",
               f"{one['cable']}={one['added'] + self.capacity_of(books, one['cable'])}")
        self.promises_hold("q.json")
        carried = sum(lsp["bandwidth"] for lsp in Books(name("q.json")).primaries)
        self.assertAlmostEqual(one["carried"] / bandwidth, carried / bandwidth, 6)

    @staticmethod
    def capacity_of(books, cable):
        return next(books.capacity(min(links), 0) for title, links, _ in books.cables()
                    if title == cable)

    def test_requirements_decide_the_exit_status(self):
        placed("p.json", *NETWORKS[0], "--protection", "global", *CLASSES)
        for wanted, status in (("overload=0", 0), ("protected=100.1%", 1), ("carried=1", 0),
                               ("lost:voice:0=100%", 0), ("load=1%", 1), ("nonsense=1", 2),
                               ("protected:video=1", 2), ("availability=99%", 1)):
            kavril("audit", name("p.json"), "--quiet", "--require", wanted, status=status)

    def test_a_foreign_file_from_start_to_end(self):
        for file in FOREIGN:
            with self.subTest(file=file):
                kavril("gravity", file, "-o", name("m.csv"))
                old = placed("p.json", file, name("m.csv"), "--protection", "global")
                kavril("change", name("p.json"), "--drain", old.names[0], "-o", name("q.json"))
                self.promises_hold("q.json")
                books = Books(name("q.json"))
                self.check_explanation(old)
                page, case = name("page.html"), list(books.cables())[-1]
                asked = f"{books.names[1]}, {case[0]}", case[1], {1}
                if "has no report" in kavril("report", name("q.json"), "--before", name("p.json"),
                                             "--fail", books.names[1], "--fail", case[0],
                                             "-o", page, status=None):
                    continue
                shown = json.loads(re.search(r"<script[^>]*>({.*?)</script>", page.read_text(), re.S)[1])
                self.assertEqual(len(shown["failures"]) - 1, shown["asked"])
                for part, own, more in ((shown, books, [asked]), (shown["before"], old, [])):
                    self.assertEqual([lsp["path"] for lsp in own.primaries],
                                     [lsp["path"] for lsp in part["lsps"]])
                    for failure, (title, links, nodes) in zip(
                            part["failures"], [*own.cables(), *own.nodes(), *more], strict=True):
                        self.assertEqual(title, failure["name"])
                        self.assertEqual(set.union(*own.fail(links, nodes)[1:]),
                                         {own.primaries[at]["id"] for at, *_ in failure["lost"]})

    def check_explanation(self, books):
        """The widest path in what nobody has reserved."""
        src, dst = books.links[-1]
        width = collections.Counter({src: float("inf")})
        for _ in books.names:
            for link, (a, b) in enumerate(books.links):
                free = books.capacity(link, 0) - sum(books.plan["links"][link]["reserved"][0])
                width[b] = max(width[b], min(width[a], free))
        said = kavril("explain", name("p.json"), "--from", books.names[src], "--to",
                      books.names[dst], "--bandwidth", width[dst] * 0.999, "--json")
        self.assertAlmostEqual(width[dst], said["largest"], 5)
        self.assertTrue(books.hops(said["path"]["nodes"]))

    def test_progress_is_for_people(self):
        for word, is_shown in (("--no-preemption", True), ("--quiet", False), ("--json", False)):
            try:
                screen, stream = pty.openpty()
            except OSError as error:  # as where /dev/pts is not mounted
                self.skipTest(str(error))
            subprocess.run([PROGRAM, "place", *ABILENE, "--protection", "local", word],
                           stdout=subprocess.DEVNULL, stderr=stream, check=True)
            os.write(stream, b"end")
            self.assertEqual(is_shown, b"protecting [....................] 0 of 132" in
                             os.read(screen, 4096))

    def test_damage_is_found(self):
        placed("p.json", *NETWORKS[0], "--protection", "local")
        plan = json.loads(name("p.json").read_text())
        full = max(range(len(plan["links"])), key=lambda i: plan["links"][i]["primary"][0][0])
        backup = next(i for i, lsp in enumerate(plan["lsps"]) if lsp["kind"] == "local")
        owner = next(i for i, lsp in enumerate(plan["lsps"])
                     if lsp["id"] == plan["lsps"][backup]["primary"])
        damages = [
            ("in the plan", ["links", full, "primary", 0, 0], 17), ("freed", ["links", full, "freed"], []),
            ("reserved", ["links", full, "reserved", 0, 0], 1), ("capacity", ["links", 0, "capacity", 0], 5),
            ("above its capacity", ["network", "links", full, "capacity"], 1),
            ("is there twice", ["lsps", 1, "id"], plan["lsps"][0]["id"]),
            ("that is not there", ["lsps", 0, "path"], [plan["lsps"][0]["path"][0]] * 2),
            ("bandwidth and level", ["lsps", 0, "bandwidth"], 0.001),
            ("is not the one", ["demands", plan["lsps"][0]["demand"], "lsp"], -1),
            ("links that it protects", ["lsps", backup, "protectedLinks"], []),
            ("fails: backup", ["lsps", backup, "path"], plan["lsps"][owner]["path"]),
            ("expected one of", ["lsps", 0, "kind"], "spare"), ("of lsps", ["lsps", 0, "path", 0], 99),
            ("elements of links", ["links"], []), ("version", ["version"], 2), ("a plan", ["format"], "x"),
            ("number", ["lsps", 0, "bandwidth"], "much"), ("of demands", ["demands", 0, "src"], -1)]
        for words, (*way, last), value in damages:
            with self.subTest(words=words):
                damaged = json.loads(name("p.json").read_text())
                place = damaged
                for step in way:
                    place = place[step]
                place[last] = value
                name("damaged.json").write_text(json.dumps(damaged))
                done = subprocess.run([PROGRAM, "audit", name("damaged.json")], check=False,
                                      capture_output=True, text=True)
                self.assertIn(done.returncode, (1, 2))
                self.assertIn(words, done.stdout + done.stderr)


if __name__ == "__main__":
    unittest.main()
