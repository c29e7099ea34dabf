"""Random plans, every command that writes one: they keep what they claim, by the files.

    KAVRIL=build/release/bin/kavril python3 random_plans.py [PLANS [FIRST_SEED]]
"""
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
WEIGHTS = ["", "--weights squared-relative-load=1", "--weights fortz=1,load=0.1"]


def changes(books, dice):
    """Some change of a plan, as words of the command."""
    link = dice.randrange(len(books.links))
    a, b = (books.names[end] for end in books.links[link])
    capacity = books.plan["network"]["links"][link]["capacity"]
    return dice.choice([
        ["--drain", f"{a} - {b}"], ["--drain", a], ["--without", f"{a} - {b}"],
        ["--capacity", f"{a} - {b}={capacity * dice.choice([0.3, 0.7, 3])}"],
        ["--remove", str(dice.choice(books.primaries or [{"id": 0}])["id"])],
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
                kavril(*step, "-o", name("plan.json"), "--quiet")
                words.append(step)
                self.check(words)


PLANS, FIRST = [int(word) for word in sys.argv[1:] + ["12", "1"][len(sys.argv) - 1:]]
if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
