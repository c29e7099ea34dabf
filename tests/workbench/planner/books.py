"""What a plan's file means, worked out from the file alone: loads, failures, tables.

Shares no code with the program, so that what the program says can be believed.
"""
import collections
import json

SLACK = 1 + 1e-9  # sums round


class Books:
    def __init__(self, file):
        with open(file, encoding="utf-8") as stream:
            self.plan = json.load(stream)
        network = self.plan["network"]
        self.names = [node["name"] for node in network["nodes"]]
        self.links = [(link["src"], link["dst"]) for link in network["links"]]
        self.number = {ends: i for i, ends in enumerate(self.links)}
        self.classes = self.plan["configuration"]["classes"]
        self.demands = self.plan["demands"]
        self.lsps = {lsp["id"]: lsp for lsp in self.plan["lsps"]}
        self.primaries = [lsp for lsp in self.plan["lsps"] if lsp["kind"] == "primary"]
        self.base, self.crossing = collections.Counter(), collections.defaultdict(list)
        for at, lsp in enumerate(self.primaries):
            for link in self.hops(lsp["path"]):
                self.crossing[link].append(at)
                self.base[link, lsp["trafficClass"]] += lsp["bandwidth"]
        self.shortest = {}  # lengths by source
        self.backups = collections.defaultdict(list)
        for lsp in self.plan["lsps"]:
            if lsp["kind"] != "primary":
                self.backups[lsp["primary"]].append(lsp)

    def drained(self, link):
        drained = self.plan.get("drained", {"links": [], "nodes": []})
        return link in drained["links"] or any(
            end in drained["nodes"] for end in self.links[link])

    def capacity(self, link, oa):
        share = self.classes[oa]["capacityShare"]
        return 0 if self.drained(link) else self.plan["network"]["links"][link]["capacity"] * share

    def hops(self, path):
        return [self.number[hop] for hop in zip(path, path[1:])]

    def key(self, lsp):
        """What stays the same of an LSP whatever its route."""
        demand = self.demands[lsp["demand"]]
        return (lsp["id"], demand["name"], demand["src"], demand["dst"], lsp["trafficClass"],
                lsp["level"], lsp["bandwidth"])

    def stretch(self, path):
        """Length of a path by metric against the shortest between its ends."""
        metric = [link.get("metric", 1) for link in self.plan["network"]["links"]]
        best = self.shortest.setdefault(path[0], {path[0]: 0})
        for _ in self.names if len(best) == 1 else ():
            for link, (a, b) in enumerate(self.links):
                if a in best:
                    best[b] = min(best.get(b, float("inf")), best[a] + metric[link])
        return sum(metric[i] for i in self.hops(path)) / best[path[-1]] if best[path[-1]] else 1

    # Failures are (name, links, nodes).

    def cables(self):
        for i, (a, b) in enumerate(self.links):
            back = self.number.get((b, a))
            if back is None:
                yield f"{self.names[a]} > {self.names[b]}", {i}, set()
            elif i < back:
                yield f"{self.names[a]} - {self.names[b]}", {i, back}, set()

    def single_links(self):
        for i, (a, b) in enumerate(self.links):
            yield f"{self.names[a]} > {self.names[b]}", {i}, set()

    def nodes(self):
        for i, name in enumerate(self.names):
            yield name, set(), {i}

    def groups(self):
        groups = collections.defaultdict(set)
        for i, link in enumerate(self.plan["network"]["links"]):
            for name in link.get("groups", []):
                groups[name].add(i)
        for name, links in groups.items():
            yield name, links, set()
        for one in self.plan.get("failureSets", []):
            if one["kind"] == "group":
                yield one["name"], set(one["links"]), set(one["nodes"])

    def claimed(self):
        """Failures that the plan says its backups survive."""
        survive = self.plan["configuration"]["survive"]
        yield from self.single_links()
        for kind, sets in (("cable", self.cables), ("node", self.nodes), ("group", self.groups)):
            if kind in survive:
                yield from sets()

    def way(self, lsp, down):
        """Links that the traffic of a primary takes while links are down, None if it has none."""
        taken, at, path = [], 0, lsp["path"]
        used = False
        while at < len(path) - 1:
            link = self.number[path[at], path[at + 1]]
            if link not in down:
                taken.append(link)
                at += 1
                continue
            for backup in self.backups[lsp["id"]]:
                hops = self.hops(backup["path"])
                start = path.index(backup["path"][0])
                if link in backup["protectedLinks"] and not down & set(hops) and (
                        start == at or not used):
                    taken, used = (taken if used else taken[:start]) + hops, True
                    at = path.index(backup["path"][-1])
                    break
            else:
                return None
        return taken

    def fail(self, links, nodes):
        """Loads by (link, class), and the ids of lost primaries and of those that end there."""
        down = set(links) | {i for i, ends in enumerate(self.links) if set(ends) & nodes}
        loads, lost, ends = self.base.copy(), set(), set()
        for at in {at for link in down for at in self.crossing[link]}:
            lsp = self.primaries[at]
            for link in self.hops(lsp["path"]):
                loads[link, lsp["trafficClass"]] -= lsp["bandwidth"]
            if {lsp["path"][0], lsp["path"][-1]} & nodes:
                ends.add(lsp["id"])
                continue
            way = self.way(lsp, down)
            if way is None:
                lost.add(lsp["id"])
            for link in way or []:
                loads[link, lsp["trafficClass"]] += lsp["bandwidth"]
        return loads, lost, ends

    def overloads(self, loads):
        return [cell for cell, load in loads.items() if load > self.capacity(*cell) * SLACK]

    def broken_promises(self):
        """All that the plan claims and does not keep, in words; empty if it is good."""
        broken = [f"{cell} is too full" for cell in self.overloads(self.fail(set(), set())[0])]
        for name, links, nodes in self.claimed():
            loads, lost, _ = self.fail(links, nodes)
            broken += [f"{cell} is too full when {name} fails" for cell in self.overloads(loads)]
            for lsp in lost:
                demand = self.demands[self.lsps[lsp]["demand"]]
                promised = self.plan["configuration"]["protection"] != "none"
                if promised and not demand["unprotected"] and name not in demand.get("exposed", []):
                    broken.append(f"LSP {lsp} is lost when {name} fails")
        return broken + self.wrong_records() + self.wrong_tables()

    def wrong_records(self):
        wrong = []
        for lsp in self.primaries:
            demand = self.demands[lsp["demand"]]
            if demand["lsp"] != lsp["id"] or (demand["src"], demand["dst"]) != (
                    lsp["path"][0], lsp["path"][-1]):
                wrong.append(f"LSP {lsp['id']} is not its demand's")
            if demand.get("route") and demand["route"] != lsp["path"]:
                wrong.append(f"LSP {lsp['id']} is not on its route")
            limit = demand.get("maxHops", len(self.links))
            ways = [self.way(lsp, {link}) for link in self.hops(lsp["path"])]
            if len(lsp["path"]) > limit + 1 or ("hops" in demand.get("beyond", [])) != any(
                    way is not None and len(way) > limit for way in ways):
                wrong.append(f"LSP {lsp['id']} or its backups break the limit of {limit} links")
        up = {lsp["id"] for lsp in self.primaries}
        wrong += [f"{d['name']} has no LSP" for d in self.demands
                  if d["lsp"] >= 0 and d["lsp"] not in up]
        carried = sum(lsp["bandwidth"] for lsp in self.primaries)
        if abs(self.plan["summary"]["carried"] - carried) > 1e-9 * carried:
            wrong.append("the summary's bandwidth is not that of the LSPs")
        return wrong

    def wrong_tables(self):
        """Cells of the bandwidth tables that are not what the LSPs give."""
        primary, backup, freed = (collections.Counter() for _ in range(3))
        for lsp in self.primaries:
            hops, cell = self.hops(lsp["path"]), (lsp["trafficClass"], lsp["level"])
            for link in hops:
                primary[(link, *cell)] += lsp["bandwidth"]
                for failed in hops:
                    freed[(link, *cell, failed)] += lsp["bandwidth"]
            for spare in self.backups[lsp["id"]]:
                cell = spare["trafficClass"], spare["level"]
                start = lsp["path"].index(spare["path"][0])
                end = lsp["path"].index(spare["path"][-1])
                guarded = hops[start:start + 1] if spare["kind"] == "local" else hops[start:]
                for link in self.hops(spare["path"]):
                    for failed in guarded:
                        backup[(link, *cell, failed)] += spare["bandwidth"]
                if spare["kind"] == "local":
                    for link in hops[:start] + hops[end:]:
                        freed[(link, *cell, guarded[0])] -= spare["bandwidth"]
        wrong = []
        scale = max([link["capacity"] for link in self.plan["network"]["links"]], default=1)
        for name, own in (("backup", backup), ("freed", freed)):
            said = {(i, *cell[:3]): cell[3]
                    for i, link in enumerate(self.plan["links"]) for cell in link[name]}
            wrong += [f"{name} {at}" for at in {*said, *own}
                      if abs(said.get(at, 0) - own[at]) > 1e-9 * scale]
        for i, link in enumerate(self.plan["links"]):
            for oa in range(len(self.classes)):
                reserved = self.reserved(i, oa, primary, backup, freed)
                for level in range(8):
                    if abs(link["primary"][oa][level] - primary[i, oa, level]) > 1e-9 * scale:
                        wrong.append(f"primary {i, oa, level}")
                    if abs(link["reserved"][oa][level] - reserved[level]) > 1e-9 * scale:
                        wrong.append(f"reserved {i, oa, level}")
        return wrong

    def reserved(self, link, oa, primary, backup, freed):
        """Each level: its primaries, and what the worst failure adds when it is counted in."""
        if not hasattr(self, "by_link") or self.by_link[0] is not backup:
            index = collections.defaultdict(set)
            for at in {*backup, *freed}:
                index[at[:2]].add(at[3])
            self.by_link = backup, index
        failures = collections.defaultdict(set)
        for failed in self.by_link[1][link, oa]:
            failures["link", failed].add(failed)
            failures["node", self.links[failed][1]].add(failed)
        worst = [0.0] * 8
        for links in failures.values():
            need = 0.0
            for level in range(8):
                need += sum(backup[link, oa, level, f] - freed[link, oa, level, f] for f in links)
                worst[level] = max(worst[level], need)
        return [primary[link, oa, p] + worst[p] - (worst[p - 1] if p else 0) for p in range(8)]
