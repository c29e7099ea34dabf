"""Random plans, every command that writes one: they keep what they claim, by the files.

    KAVRIL=build/release/bin/kavril python3 random_plans.py [PLANS [FIRST_SEED]]
"""
import collections
import json
import random
import sys
import unittest

from planner_test import ABILENE, DATA, Books, kavril, name

NETWORKS = [ABILENE] + [
    [DATA / file for file in files if (DATA / files[0]).exists()] for files in (
        ["sndlib-xml/germany50.xml"], ["sndlib-xml/nobel-germany.xml"], ["sndlib-xml/abilene.xml"],
        ["sndlib-xml/janos-us-ca.xml"], ["sndlib-xml/zib54.xml"], ["sndlib-xml/ta2.xml"],
        ["repetita/Abilene.graph", "repetita/Abilene.0001.demands"],
        ["repetita/Geant2012.graph", "repetita/Geant2012.0000.demands"])]
CLASSES = ["", "--class voice:0:0.3,data:3:0.7", "--class a:1:0.2,b:2:0.3,b:6:0.5"]
KINDS = ["none", "local", "global"]
WEIGHTS = ["", "--weights squared-relative-load=1", "--weights fortz=1,load=0.1"]


def changes(books, dice):
    """Some change of a plan, as words of the command."""
    link = dice.randrange(len(books.links))
    a, b = (books.names[end] for end in books.links[link])
    capacity = books.plan["network"]["links"][link]["capacity"]
    if not books.primaries:
        return ["--drain", a]
    lsp = dice.choice(books.primaries)["id"]
    return dice.choice([
        ["--scale", str(dice.choice([dice.uniform(0.7, 1.4), 1e9]))],
        ["--scale", f"{lsp}={dice.choice([dice.uniform(0.5, 5), 1e9])}"],
        ["--level", f"{lsp}={dice.randrange(8)}"], ["--protection", dice.choice(KINDS)],
        ["--drain", f"{a} - {b}"], ["--drain", a], ["--without", f"{a} - {b}"],
        ["--capacity", f"{a} - {b}={capacity * dice.choice([0.3, 0.7, 3])}"],
        ["--remove", str(lsp)],
        ["--add", f"{a} > {dice.choice([n for n in books.names if n != a])}={capacity / 20}"]])


def with_limits(network, dice):
    """The same demands, half of them on paths of a few links only."""
    own = ["--demands"] if len(network) == 1 else ["--network", network[0]]
    kavril("convert", network[-1], *own, "-o", name("limits.json"), "--to", "json", "--quiet")
    matrix = json.loads(name("limits.json").read_text())
    for demand in matrix["demands"][::2]:
        demand["maxHops"] = dice.randint(2, 8)
    name("limits.json").write_text(json.dumps(matrix))
    return name("limits.json")


class RandomPlans(unittest.TestCase):
    def check(self, words):
        self.assertEqual([], Books(name("plan.json")).broken_promises()[:3], words)
        kavril("audit", name("plan.json"), "--quiet", "--failures", "links,cables,nodes")

    def check_wish(self, before, words):
        """Demands are as wanted; who need not move does not, and keeps its id."""
        option, wish = words
        after, (who, value) = Books(name("plan.json")), wish.rpartition("=")[::2]
        for old, new in zip(before.demands, after.demands):
            meant = not who or str(old["lsp"]) == who
            factor = float(value) if option == "--scale" and meant else 1
            level = int(value) if option == "--level" and meant else old["level"]
            self.assertEqual((old["bandwidth"] * factor, level), (new["bandwidth"], new["level"]))
        if option == "--protection":
            self.assertEqual(wish, after.plan["configuration"]["protection"])
            self.assertLessEqual({lsp["kind"] for lsp in after.plan["lsps"]}, {"primary", wish})
        loads = collections.Counter()
        for lsp in before.primaries:
            for link in before.hops(lsp["path"]):
                loads[link, lsp["trafficClass"]] += after.demands[lsp["demand"]]["bandwidth"]
        for lsp in () if before.overloads(loads) else before.primaries:
            self.assertEqual(lsp["path"], after.lsps[lsp["id"]]["path"], words)

    def check_failure(self, dice):
        """Same steps, same bytes; restored LSPs are on their ways, without loops."""
        before = Books(name("plan.json"))
        cases = dice.sample([*before.cables(), *before.nodes()], 2)
        links, nodes = (set.union(*(case[at] for case in cases)) for at in (1, 2))
        words = [word for case in cases for word in ("--fail", case[0])]
        said = kavril("change", name("plan.json"), *words, "-o", name("f.json"), "--json")["failed"]
        kavril("change", name("plan.json"), *words, "-o", name("g.json"))
        self.assertEqual(name("f.json").read_bytes(), name("g.json").read_bytes())
        after = Books(name("f.json"))
        for demand in after.demands:
            demand.pop("maxHops", None)  # the ways of backups may be longer
        self.assertEqual([], after.broken_promises()[:3], words)
        loads, lost, ends = before.fail(links, nodes)
        down = links | {i for i, link in enumerate(before.links) if set(link) & nodes}
        self.assertEqual((len(lost), len(ends)), (said["lost"]["lsps"], said["endsHere"]["lsps"]))
        again = sum(lsp in after.lsps for lsp in lost)
        self.assertEqual(again, said["placedAgain"]["lsps"])
        for lsp in () if lost or before.overloads(loads) else before.primaries:
            if lsp["id"] not in ends:
                way = before.way(lsp, down)
                path = [before.links[way[0]][0]]
                for node in (before.links[link][1] for link in way):
                    path = [*path[:path.index(node)], node] if node in path else [*path, node]
                self.assertEqual(path, after.lsps[lsp["id"]]["path"], words)

    def test_promises_hold(self):
        for seed in range(FIRST, FIRST + PLANS):
            dice = random.Random(seed)
            network = dice.choice([files for files in NETWORKS if files])
            if dice.random() < 0.3:
                network = [network[0], with_limits(network, dice)]
            words = [*network, "--protection", dice.choice(["local", "global"]),
                     "--order", "shuffled", "--seed", seed, "--max-demands", dice.randint(20, 120),
                     "--survive", dice.choice(["cables,nodes", "cables", "links", "nodes"]),
                     *dice.choice(CLASSES).split(), *dice.choice(WEIGHTS).split()]
            total = kavril("place", *words, "--json")["summary"]["primary"]["maximum"]
            scale = dice.uniform(0.4, 2.0) / max(total, 1e-9)
            words += ["--scale", scale]
            kavril("place", *words, "-o", name("plan.json"), "--quiet")
            self.check(words)
            for _ in range(dice.randint(0, 3)):
                if dice.random() < 0.4:
                    step = ["improve", name("plan.json"), "--rounds", 1]
                else:
                    step = ["change", name("plan.json"), *changes(Books(name("plan.json")), dice)]
                before = Books(name("plan.json"))
                kavril(*step, "-o", name("plan.json"), "--quiet")
                words.append(step)
                self.check(words)
                if step[2] in ("--scale", "--level", "--protection"):
                    self.check_wish(before, step[2:])
            self.check_failure(dice)


PLANS, FIRST = [int(word) for word in sys.argv[1:] + ["12", "1"][len(sys.argv) - 1:]]
if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
