#!/usr/bin/env python3
"""Compares the library in a real JVM with the model, call by call.

    run.py --seeds 0-99 [--calls 300] [--group 20]
           [--java-classpath kavril.jar] [--library-path DIR]
    run.py --replay FILE [--shrink]

Every seed is a random script (see generate.py). The seeds of a group run in
one JVM, one after the other, so process state (session slots, NBOA, NBPL)
goes on from seed to seed; each group starts a fresh JVM and a fresh model.
Every seed ends by printing and killing its sessions, which shows all tables
and the whole error stacks.

Compared are the result, the exception, the fields sessId and lsps, and the
bytes on both standard streams, except line numbers. After the first mismatch
of a group the rest of it is skipped and the script of the whole group up to
the faulty call is written to a file, which --replay takes; --shrink then
leaves out whatever the mismatch does not need.

Without the two paths, kavril.jar and libkavril.so are looked for in
build/release. The exit status is 0 only when no call differs and, over 10000
calls or more, every kind of outcome in WANTED occurred often enough.
"""

import argparse
import collections
import pathlib
import re
import subprocess
import sys
import tempfile

from generate import Call, Generator, GroupEnded, replay
from model import Library, mask_lines

HERE = pathlib.Path(__file__).resolve().parent
WANTED = {  # per 10000 calls
    "AddDBException": 200, "NoRouteToHostException": 200, "RoutingException": 1,
    "preemption": 10, "preemption failing": 1, "path": 500, "local backups": 50,
    "global backups": 30, "backup placed": 20, "backup not placed": 5,
}
MARKER = re.compile(rb"^\x01(\d+)\n", re.M)


class Jvm:
    def __init__(self, classpath, library_path, options, work):
        self.work = pathlib.Path(work)
        subprocess.run(["javac", "-cp", classpath, "-d", work,
                        str(HERE / "Driver.java")], check=True)
        self.command = ["java", *options, "-cp", f"{classpath}:{work}",
                        f"-Djava.library.path={library_path}", "Driver"]

    def run(self, lines, timeout=900):
        """Per call the result line and the bytes on the two streams; shorter
        than the script if the JVM ended early."""
        results, out, err = (self.work / n for n in ("results", "out", "err"))
        results.write_text("")
        with out.open("wb") as o, err.open("wb") as e:
            try:
                subprocess.run([*self.command, str(results)], stdout=o, stderr=e,
                               input="".join(f"{x}\n" for x in lines).encode(),
                               timeout=timeout)
            except subprocess.TimeoutExpired:
                print(f"the JVM did not end within {timeout} s")
        streams = [self.split(out.read_bytes()), self.split(err.read_bytes())]
        return [(line, streams[0].get(i, b""), streams[1].get(i, b""))
                for i, line in enumerate(results.read_text().splitlines())]

    @staticmethod
    def split(data):
        parts = MARKER.split(mask_lines(data))
        return {int(parts[i]): parts[i + 1] for i in range(1, len(parts), 2)}


def show(value):
    if value is None:
        return "null"
    if isinstance(value, list):
        return "[" + ",".join(map(show, value)) + "]"
    return str(value)


def expected(call):
    r = call.result
    line = " ".join([r.exception or "-", str(r.sess_id), show(r.lsps), show(r.value)])
    return line, r.out, r.err


def first_mismatch(calls, got):
    for i, call in enumerate(calls):
        if i >= len(got) or expected(call) != got[i]:
            return i
    return None


def describe(calls, got, at, script):
    call = calls[at]
    seed = "a replay" if call.seed is None else f"seed {call.seed}"
    print(f"MISMATCH in {seed}, call {at} of {script}:\n  {call.line()}")
    want = expected(call)
    have = got[at] if at < len(got) else ("no result: the JVM ended", b"", b"")
    for name, w, h in zip(("result", "stdout", "stderr"), want, have):
        if w == h:
            continue
        if name == "result":
            print(f"  {name} expected {w}\n  {name} got      {h}")
            continue
        w, h = w.split(b"\n"), h.split(b"\n")
        k = next((k for k, (x, y) in enumerate(zip(w, h)) if x != y),
                 min(len(w), len(h)))
        print(f"  {name} differs from its line {k + 1} on (of {len(w)} and {len(h)})")
        for label, x in (("expected", w), ("got     ", h)):
            for text in x[max(0, k - 1):k + 4]:
                print(f"    {label} {text.decode('latin-1')}")


def count(calls, outcomes):
    for call in calls:
        exception = call.result.exception
        kind = exception.rsplit(".", 1)[-1] if exception else "normal return"
        outcomes.update([kind, *call.notes])


def shrink(jvm, lines):
    """Fewer lines that still end in a mismatch, by leaving out ever smaller
    runs of them."""
    def fails(some):
        try:
            calls = replay(some, Library(), [])
        except Exception:  # makes no sense any more without what was left out
            return None
        at = first_mismatch(calls, jvm.run(some, 60))
        return None if at is None else some[:at + 1]

    size = len(lines) // 2
    while size >= 1:
        at = 0
        while at < len(lines):
            shorter = fails(lines[:at] + lines[at + size:])
            if shorter is None:
                at += size
            else:
                lines = shorter
        size = min(size // 2, len(lines) // 2) if size > 1 else 0
    return lines


def run_groups(jvm, args, outcomes):
    """Whether all seeds agree."""
    low, _, high = args.seeds.partition("-")
    seeds = range(int(low), int(high or low) + 1)
    good = True
    for first in range(seeds.start, seeds.stop, args.group):
        generator = Generator(Library(), [])
        calls: list[Call] = []
        group = range(first, min(first + args.group, seeds.stop))
        for seed in group:
            try:
                generator.script(seed, args.calls)
            except GroupEnded:
                calls += generator.calls
                break
            calls += generator.calls
        lines = [call.line() for call in calls]
        got = jvm.run(lines)
        at = first_mismatch(calls, got)
        count(calls[:at], outcomes)
        if at is not None:
            good = False
            script = pathlib.Path(args.keep) / f"mismatch-{calls[at].seed}.txt"
            script.write_text("".join(f"{x}\n" for x in lines[:at + 1]))
            describe(calls, got, at, script)
        print(f"seeds {group[0]}-{group[-1]}: {len(calls)} calls", flush=True)
    return good


def run_replay(jvm, args, outcomes):
    script = pathlib.Path(args.replay)
    lines = script.read_text().splitlines()
    if args.shrink:
        lines = shrink(jvm, lines)
        script = script.with_suffix(".short.txt")
        script.write_text("".join(f"{x}\n" for x in lines))
        print(f"{len(lines)} lines left in {script}")
    calls = replay(lines, Library(), [])
    got = jvm.run(lines)
    at = first_mismatch(calls, got)
    count(calls[:at], outcomes)
    if at is not None:
        describe(calls, got, at, script)
    return at is None


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--seeds", default="0-99", help="first-last")
    parser.add_argument("--calls", type=int, default=300, help="about as many per seed")
    parser.add_argument("--group", type=int, default=20, help="seeds in one JVM")
    parser.add_argument("--java-classpath")
    parser.add_argument("--library-path")
    parser.add_argument("--java-option", action="append", default=[])
    parser.add_argument("--keep", default=tempfile.gettempdir(),
                        help="where scripts of mismatches go")
    parser.add_argument("--replay", metavar="FILE")
    parser.add_argument("--shrink", action="store_true")
    args = parser.parse_args()
    build = HERE.parents[1] / "build" / "release"
    if args.java_classpath is None:
        args.java_classpath = str(next(build.rglob("kavril.jar"), "")) or sys.exit(
            f"no kavril.jar under {build}; build first or give --java-classpath")
    if args.library_path is None:
        library = next(build.rglob("libkavril.so"), None)
        if library is None:
            sys.exit(f"no libkavril.so under {build}; build first or give "
                     "--library-path")
        args.library_path = str(library.parent)

    outcomes = collections.Counter()
    with tempfile.TemporaryDirectory() as work:
        jvm = Jvm(args.java_classpath, args.library_path, args.java_option, work)
        good = (run_replay if args.replay else run_groups)(jvm, args, outcomes)
    compared = sum(n for k, n in outcomes.items()
                   if k == "normal return" or k.endswith("Exception"))
    rare = [] if compared < 10000 else [
        kind for kind, n in WANTED.items() if outcomes[kind] < n * compared / 10000]
    if rare:
        print("FAILED: the scripts did not meet often enough: " + ", ".join(rare))
    print(f"{compared} calls compared, {'all equal' if good else 'NOT ALL EQUAL'}: "
          + ", ".join(f"{k} {n}" for k, n in sorted(outcomes.items())))
    return 0 if good and not rare and compared else 1


if __name__ == "__main__":
    sys.exit(main())
