"""Sweeps as they are called: the same results whoever does the cases, whatever is killed.

    KAVRIL=build/release/bin/kavril KAVRIL_KILLS=50 python3 sweep_test.py
"""
import contextlib
import csv
import io
import json
import os
import pathlib
import random
import shutil
import signal
import sqlite3
import subprocess
import tempfile
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
PROGRAM = os.environ.get("KAVRIL", ROOT / "build/release/bin/kavril")
KILLS = int(os.environ.get("KAVRIL_KILLS", 6))
HAS_RANKS = os.environ.get("KAVRIL_RANKS") == "1" and shutil.which("mpirun")
SCALING = os.environ.get("KAVRIL_SCALING")
MPIRUN = ["mpirun", "--allow-run-as-root", "--oversubscribe", "--mca", "plm", "isolated"]
ABILENE = str(ROOT / "examples/data/abilene.json")
DEMANDS = str(ROOT / "examples/data/abilene-demands.json")
STUDY = {
    "format": "kavril-study",
    "networks": [ABILENE, {"file": ABILENE, "name": "wider", "setCapacity": {"Denver - Kansas City": "40G"}}],
    "matrices": [DEMANDS],
    "scales": [0.4, {"from": 0.6, "to": 1.2, "step": 0.2}],
    "classes": ["", "voice:0:0.3,data:3:0.7"],
    "protections": ["none", "local", "global"],
    "failures": ["none", {"of": ["cables", "nodes"]}, {"of": ["cables", "nodes"], "pairs": True, "random": 60}],
}


def dump(file):
    """Every row of every table, in order."""
    with contextlib.closing(sqlite3.connect(file)) as db:
        assert db.execute("PRAGMA integrity_check").fetchall() == [("ok",)]
        tables = [row[0] for row in db.execute("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY 1")]
        return {table: sorted(map(repr, db.execute(f"SELECT * FROM {table}"))) for table in tables}


def rows(file, sql, *values):
    with contextlib.closing(sqlite3.connect(file)) as db:
        db.row_factory = sqlite3.Row
        return [dict(row) for row in db.execute(sql, values)]


class Sweep(unittest.TestCase):
    maxDiff = 2000

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def name(self, file):
        return str(self.folder / file)

    def study(self, **changes):
        file = self.name("study.json")
        pathlib.Path(file).write_text(json.dumps({**STUDY, **changes}))
        return file

    def kavril(self, *words, status=0, before=()):
        done = subprocess.run([*before, PROGRAM, *map(str, words)], capture_output=True, text=True, check=False)
        self.assertEqual(status, done.returncode, done.stderr + done.stdout)
        return json.loads(done.stdout) if "--json" in words else done.stdout + done.stderr

    def test_threads_and_ranks_make_the_same_database(self):
        study = self.study()
        said = self.kavril("sweep", study, "-o", self.name("1.db"), "--jobs", 1, "--json")
        self.assertEqual((said["cases"], said["failed"]), (said["done"], 0))
        self.assertEqual(2 * 5 * 2 * 3 * (1 + 27 + 60), said["cases"])
        first = dump(self.name("1.db"))
        for jobs in (2, 5):
            self.kavril("sweep", study, "-o", self.name("n.db"), "--jobs", jobs)
            self.assertEqual(first, dump(self.name("n.db")), jobs)
            os.remove(self.name("n.db"))
        for ranks in (2, 3) if HAS_RANKS else ():
            self.kavril("sweep", study, "-o", self.name("n.db"), "--jobs", 1, before=[*MPIRUN, "-n", str(ranks)])
            self.assertEqual(first, dump(self.name("n.db")), ranks)
            os.remove(self.name("n.db"))
        self.assertEqual(0, self.kavril("sweep", study, "-o", self.name("1.db"), "--json")["done"])

    def test_killed_at_any_moment_it_goes_on_and_ends_the_same(self):
        study = self.study()
        start = time.monotonic()
        self.kavril("sweep", study, "-o", self.name("whole.db"))
        duration = time.monotonic() - start
        whole = dump(self.name("whole.db"))
        results, kills, moment = self.name("killed.db"), 0, random.Random(os.environ.get("SEED", 7))
        while kills < KILLS:
            running = subprocess.Popen([PROGRAM, "sweep", study, "-o", results, "--quiet"],
                                       stdout=subprocess.DEVNULL)
            try:
                running.wait(timeout=moment.uniform(0, 0.8 * duration))
            except subprocess.TimeoutExpired:
                running.kill()
                kills += 1
            running.wait()
            if os.path.exists(results):
                done = dump(results)
                self.assertLessEqual(set(done.get("cases", [])), set(whole["cases"]))
                if done == whole:
                    os.remove(results)
        self.kavril("sweep", study, "-o", results)
        self.assertEqual(whole, dump(results))

    @unittest.skipUnless(HAS_RANKS, "no MPI")
    def test_a_rank_that_dies_ends_the_run_and_what_is_done_stays(self):
        study = self.study(scales=[{"from": 0.3, "to": 1.5, "step": 0.02}])
        results = self.name("ranks.db")
        running = subprocess.Popen([*MPIRUN, "-n", "3", PROGRAM, "sweep", study, "-o", results, "--jobs", "1"],
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        while not os.path.exists(results) or not rows(
                results, "SELECT 1 FROM sqlite_master WHERE name = 'cases'") or rows(
                results, "SELECT count(*) AS n FROM cases")[0]["n"] < 500:
            time.sleep(0.02)
        ranks = subprocess.run(["pgrep", "-P", str(running.pid)], capture_output=True, text=True).stdout.split()
        os.kill(int(ranks[-1]), signal.SIGKILL)
        self.assertNotEqual(0, running.wait(timeout=30))
        self.assertGreaterEqual(rows(results, "SELECT count(*) AS n FROM cases")[0]["n"], 500)
        self.assertGreater(self.kavril("sweep", study, "-o", results, "--json")["before"], 0)
        self.kavril("sweep", study, "-o", self.name("whole.db"))
        self.assertEqual(dump(self.name("whole.db")), dump(results))

    def test_ctrl_c_ends_cleanly(self):
        study = self.study(scales=[{"from": 0.3, "to": 1.5, "step": 0.01}])
        running = subprocess.Popen([PROGRAM, "sweep", study, "-o", self.name("r.db")], stderr=subprocess.PIPE, text=True)
        time.sleep(1)
        running.send_signal(signal.SIGINT)
        said = running.communicate(timeout=20)[1]
        self.assertEqual(130, running.returncode)
        self.assertRegex(said, r"note: \d+ of \d+ cases are in .*; start again to do the rest")
        dump(self.name("r.db"))
        self.assertFalse(os.path.exists(self.name("r.db.lock")))

    def test_figures_are_those_of_place_and_audit(self):
        study = self.study(networks=[ABILENE], scales=[0.5, 2.5], classes=["voice:0:0.3,data:3:0.7"],
                           failures=["none", {"of": ["cables", "nodes"]}, {"of": ["cables"], "pairs": True}])
        self.kavril("sweep", study, "-o", self.name("r.db"))
        for scale in (0.5, 2.5):
            for protection in STUDY["protections"]:
                self.kavril("place", ABILENE, DEMANDS, "--scale", scale, "--protection", protection,
                            "--class", "voice:0:0.3,data:3:0.7", "-o", self.name("p.json"), "--quiet")
                said = self.kavril("audit", self.name("p.json"), "--failures", "cables,nodes", "--json")
                pairs = self.kavril("audit", self.name("p.json"), "--failures", "cables,pairs", "--json")
                own = {row["failure"]: row for row in rows(
                    self.name("r.db"), "SELECT * FROM all_cases WHERE scale = ? AND protection = ?", scale, protection)}
                levels = rows(self.name("r.db"), "SELECT l.* FROM all_levels l JOIN all_cases c USING (id) "
                              "WHERE scale = ? AND protection = ? AND failure = 'nothing' ORDER BY class, level",
                              scale, protection)
                kinds = {f["name"]: f["kind"] for f in said["failures"]}
                for failure in said["failures"] + [f for f in pairs["failures"] if f["kind"] == "pair"]:
                    name = " + ".join(f"{kinds[part]} {part}" for part in failure["name"].split(" + "))
                    self.assertEqual(failure["bandwidthLost"], own[name]["lost"], name)
                    self.assertEqual(len(failure["restored"]), own[name]["lsps_restored"], name)
                    self.assertEqual(failure["fullest"]["bandwidth"] / failure["fullest"]["capacity"],
                                     own[name]["worst_load"], name)
                    self.assertEqual(len(failure["overloads"]), own[name]["overloads"])
                for fate, level in zip(sorted(said["verdict"]["levels"], key=lambda f: f["trafficClass"]), levels):
                    self.assertAlmostEqual(fate["bandwidthCarried"], level["carried"], 6)

    def test_a_case_can_be_looked_at(self):
        self.kavril("sweep", self.study(replanning=["backups", "place"]), "-o", self.name("r.db"))
        for replanning in ("backups", "place"):
            worst = rows(self.name("r.db"), "SELECT * FROM all_cases WHERE replanning = ? AND failure LIKE '% + %' "
                         "ORDER BY again DESC, lost DESC", replanning)[0]
            self.kavril("sweep", self.name("r.db"), "--case", worst["id"], "-o", self.name("case.json"))
            said = self.kavril("audit", self.name("case.json"), "--json",
                               status=0 if worst["overloads"] == 0 or replanning == "backups" else 1)
            if replanning == "backups":
                own = [f for f in said["failures"] if f["name"] == worst["failure"]]
                self.assertEqual(worst["lost"], own[0]["bandwidthLost"])
            else:
                self.assertGreater(worst["again"], 0)
                self.assertAlmostEqual(worst["carried"], said["verdict"]["all"]["bandwidthCarried"], 5)
        both = rows(self.name("r.db"), """
            SELECT b.lost AS before, p.lost AS after, p.again FROM all_cases b JOIN all_cases p
            USING (network, matrix, scale, classes, weights, protection, failure)
            WHERE b.replanning = 'backups' AND p.replanning = 'place'""")
        self.assertEqual(2 * 5 * 2 * 3 * 88, len(both))
        for row in both:
            self.assertAlmostEqual(row["before"], row["after"] + row["again"], 5)

    def test_what_fails_is_a_row_with_its_reason(self):
        pathlib.Path(self.name("bad.demands")).write_text("DEMANDS 1\nlabel src dst bw\nx 0 99 ten\n")
        study = self.study(matrices=[DEMANDS, "bad.demands", "gone.demands"], networks=[ABILENE], scales=[0.5])
        said = self.kavril("sweep", study, "-o", self.name("r.db"), "--json")
        self.assertEqual(said["cases"], said["done"])
        self.assertEqual(said["cases"] * 2 / 3, said["failed"])
        reasons = {row["matrix"]: row["error"] for row in rows(
            self.name("r.db"), "SELECT DISTINCT matrix, error FROM all_cases")}
        self.assertIsNone(reasons[DEMANDS])
        self.assertRegex(reasons["bad.demands"], "bad.demands:3: expected")
        self.assertRegex(reasons["gone.demands"], "cannot read .*gone.demands")
        pathlib.Path(self.name("gone.demands")).write_text(pathlib.Path(DEMANDS).read_text() + " ")
        said = self.kavril("sweep", study, "-o", self.name("r.db"), "--json")
        self.assertEqual(said["cases"] / 3, said["done"])  # of another content: new cases

    def test_only_what_is_missing_is_done(self):
        few = self.study(scales=[0.5], networks=[ABILENE], failures=[{"of": ["nodes"]}])
        self.kavril("sweep", few, "-o", self.name("r.db"))
        before = {row["id"] for row in rows(self.name("r.db"), "SELECT id FROM cases")}
        more = self.study(scales=[0.4, 0.5], networks=[ABILENE], failures=["none", {"of": ["cables", "nodes"]}])
        said = self.kavril("sweep", more, "-o", self.name("r.db"), "--json")
        self.assertEqual((len(before), said["cases"] - len(before)), (said["before"], said["done"]))
        self.kavril("sweep", more, "-o", self.name("new.db"))
        ids = [sorted(row["id"] for row in rows(self.name(file), "SELECT id FROM cases")) for file in ("r.db", "new.db")]
        self.assertEqual(*ids)
        self.assertLess(before, set(ids[0]))
        self.assertEqual(len(ids[0]), len(set(ids[0])))

    def test_options_say_the_same_as_a_study(self):
        study = self.study(networks=[ABILENE], scales=[0.4, 0.5], classes=["voice:0:0.3,data:3:0.7"],
                           failures=["none", {"of": ["cables"], "pairs": True, "random": 9, "seed": 3}])
        self.kavril("sweep", study, "-o", self.name("s.db"))
        self.kavril("sweep", "--network", ABILENE, "--matrix", DEMANDS, "--scales", "0.4:0.5:0.1", "--classes",
                    "voice:0:0.3,data:3:0.7", "--protections", "none,local,global", "--failures",
                    "none,cables,pairs", "--random", 9, "--seed", 3, "-o", self.name("o.db"))
        own, other = dump(self.name("s.db")), dump(self.name("o.db"))
        del own["sweep"], other["sweep"]
        self.assertEqual(own, other)

    def test_it_says_beforehand_what_it_takes(self):
        said = self.kavril("sweep", self.study(), "--dry-run", "--jobs", 2, "--json")
        self.assertEqual((60, 60 * 88), (said["plans"], said["cases"]))
        self.assertTrue(0 < said["seconds"] < 600 and 1e6 < said["memory"] < 1e9, said)

    @unittest.skipUnless(SCALING, "not built")
    def test_costs_tell_how_far_it_would_scale(self):
        self.kavril("sweep", self.study(), "-o", self.name("r.db"), "--jobs", 1, "--costs", self.name("costs.csv"))
        with open(self.name("costs.csv"), encoding="utf-8") as stream:
            costs = list(csv.DictReader(stream))
        self.assertEqual(60 * 88, sum(int(row["count"]) for row in costs if row["what"] == "failing"))
        work = sum(float(row["seconds"]) for row in costs if row["what"] in ("placing", "failing"))
        said = subprocess.run([SCALING, self.name("costs.csv"), "--repeat", "50", "1", "8"],
                              capture_output=True, text=True, check=True).stdout.splitlines()
        one, eight = ([cell.strip() for cell in line.strip("|").split("|")] for line in said[2:])
        self.assertGreaterEqual(float(one[1].split()[0]) * (60 if "min" in one[1] else 1), 0.95 * 50 * work)
        self.assertEqual(("1", "1.0", "8"), (one[0], one[2], eight[0]))
        self.assertTrue(1 < float(eight[2]) <= 8.01, eight)

    def test_tables_for_a_spreadsheet(self):
        self.kavril("sweep", self.study(scales=[0.5]), "-o", self.name("r.db"))
        for table, view in (("cases", "all_cases"), ("plans", "all_plans"), ("links", "all_links"), ("levels", "all_levels")):
            text = self.kavril("export", self.name("r.db"), "--table", table)
            own = list(csv.DictReader(io.StringIO(text.lstrip("\ufeff"))))
            there = rows(self.name("r.db"), f"SELECT * FROM {view}")
            self.assertEqual(len(there), len(own))
            self.assertEqual(list(there[-1]), list(own[-1]))
            self.assertEqual(str(there[-1].get("failure", "")), own[-1].get("failure", ""))

    def test_a_study_that_makes_no_sense_is_refused(self):
        for changes, words in (
                ({"scales": [0]}, '"scales" are up to 10000 numbers above 0'),
                ({"scales": {"from": 1, "to": 2}}, 'expected "step"'),
                ({"scale": [1]}, '"scale" is no member .did you mean \'scales\''),
                ({"networks": []}, '"networks" is empty'),
                ({"networks": ["gone.graph"]}, "cannot read .*gone.graph"),
                ({"networks": [ABILENE, ABILENE]}, "two networks of the study have the name"),
                ({"matrices": ["no/*.demands"]}, "no file is named like no/"),
                ({"classes": ["voice:9:1"]}, "level from 0 to 7"),
                ({"weights": ["speed=1"]}, "NAME=WEIGHT"),
                ({"protections": ["locl"]}, "did you mean 'local'"),
                ({"failures": [{"of": ["floods"]}]}, "'floods' is no kind of failure"),
                ({"failures": [{"of": ["cables"], "random": 0}]}, '"random" is at least 1'),
                ({"format": "kavril-plan"}, '"format": "kavril-study"')):
            with self.subTest(changes=changes):
                said = self.kavril("sweep", self.study(**changes), "-o", self.name("r.db"), status=2)
                self.assertRegex(said, words)
                self.assertNotIn("r.db", os.listdir(self.folder))
        pathlib.Path(self.name("text.db")).write_text("no database")
        self.assertRegex(self.kavril("sweep", self.study(), "-o", self.name("text.db"), status=2), "no sweep's results")
        with contextlib.closing(sqlite3.connect(self.name("other.db"))) as db:
            db.execute("CREATE TABLE t (x)")
        self.assertRegex(self.kavril("sweep", self.study(), "-o", self.name("other.db"), status=2), "not of a sweep")


if __name__ == "__main__":
    unittest.main(verbosity=2)
