#!/usr/bin/env python3
"""Checks the structure of the house: floors, folders, circles of includes, friends, sizes, words, lists of tests.

usage: structure.py [ROOT]

ROOT is the project's folder. Prints each fault with the lines that cause it and what to do; ends with 1 if there is one.
docs/architecture.md draws the floors. Nothing is compiled: includes are read from the sources.
"""

import re
import sys
from collections import defaultdict
from pathlib import Path

from prose import SUFFIXES, TOKEN, line_of, prose_reader, written_files

# A unit may include only units of a lower floor, or of its own floor when these do not include it.
FLOORS = {
    "platform/compat": 1, "platform/bedrock": 1, "platform/vecta": 1,
    "platform/facet": 2, "platform/cadence": 2, "platform/http": 2, "platform/qr": 2,
    "platform/storage": 2,
    "platform/cascara": 3, "platform/tactile": 3, "platform/lantern": 3,
    "platform/trellis": 4,
    "platform/tavola": 5,
    "plugin": 6, "host": 6,
}
# Units that stand apart, which nothing of the house includes, and all that they may include of it.
APART = {"mediaserver": {"platform/bedrock", "platform/http", "platform/qr", "platform/storage"}}
# Programs beside the house, which may include any platform library.
BESIDE = {"tools/visit", "bench"}

# Folders that need each other by what the plug-in has to do: one folder for this purpose.
ALLOWED_PAIRS = {"plugin": [("personalspace", "server")]}

MOST_LINES = 350
MOST_FRIENDS = 3  # classes; operators are not counted
WORDS = ("somebody", "nobody", "anybody", "whoever", "whom")

# A test file that names one of these starts threads: threads, classes that have some, and servers of the tests.
STARTS_THREADS = re.compile(r"\b(?:std::thread|BGThread|WorkerPool|HttpServerThread|TwoDoors|OutboxService|TcpDatagramSource"
                            r"|UdpDatagramSource|Tavola::HttpClient|makeNetworkManager|MediaServerService|TestDatabase"
                            r"|PostgresProxy|PeopleRegistry)\b")
# A program that replaces the allocator is built without sanitizers.
REPLACES_ALLOCATOR = re.compile(r"\bvoid\*\s*operator new\(")
THREADS_LIST = re.compile(r"\bTHREADS\s+([^()]*?)(?=\s(?:SOURCES|HELPERS|LINKS|LABELS|ENVIRONMENT)\b|\))")

# What is not in order yet: (kind of fault, unit or file or folder). A line that is not needed any more is a fault, too.
KNOWN = []

ADVICE = {
    "floor": "Move what is needed to the lower floor, or hand it over through an interface that the lower floor declares.",
    "unnamed": "Give it a floor in tests/structure/structure.py and in docs/architecture.md.",
    "apart": "This program stands apart from the table: write what it needs in its own folder.",
    "circle of folders": "Let one of the folders stand without the others: move what both need into the lower one, or pass it as "
                         "a value, a callback or an interface. A public header counts as the folder of its source of the same name.",
    "circle of files": "Forward-declare in one of these headers, or move what both need into a third.",
    "friends": "Split what the friends reach for into records with functions of their own.",
    "lines": f"A file of more than {MOST_LINES} lines hides a second class: give it its own pair of files.",
    "threads": "Name it under THREADS of its house_test, so that it runs under ThreadSanitizer.",
    "words": "Name the subject: which caller, class, thread or person is it?",
    "known": "Take this line out of KNOWN in tests/structure/structure.py: the place is in order.",
}

# Folders whose Python files are counted; tests are not.
SCRIPTS = ("tools", "presentations", "bench", "host", "mediaserver", "platform", "plugin", "cmake")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


class Fault:
    """A fault of `kind` at `place` (a unit, folder or file); `lines` are what causes it."""

    def __init__(self, kind, place, title, lines=()):
        self.kind, self.place, self.title, self.lines = kind, place, title, list(lines)

    def __str__(self):
        return "\n".join([f"{self.place}: {self.title}", *(f"    {line}" for line in self.lines), f"  → {ADVICE[self.kind]}"])


class Include:
    def __init__(self, source, line, text, target):
        self.source, self.line, self.text, self.target = source, line, text, target

    def __str__(self):
        return f"{self.source}:{self.line}: {self.text}"


class House:
    """The C++ files below `root`, by their paths relative to it, and the includes between them."""

    def __init__(self, root):
        self.root = Path(root)
        self.units = sorted(unit for unit in (*FLOORS, *APART, *BESIDE) if (self.root / unit).is_dir())
        self.files = {unit: self._files_below(unit) for unit in self.units}
        self.tests = self._files_below("tests")
        self.unit_of = {path: unit for unit, paths in self.files.items() for path in paths}
        self.texts = {path: (self.root / path).read_text(encoding="utf-8") for path in [*self.unit_of, *self.tests]}
        self.scripts = {path.relative_to(self.root).as_posix(): path.read_text(encoding="utf-8")
                        for folder in SCRIPTS for path in sorted((self.root / folder).rglob("*.py"))}
        self.room_of = {path: room for unit in self.units for path, room in self._rooms(unit).items()}
        self.includes = [include for path in self.unit_of for include in self._includes_of(path)]

    def _files_below(self, folder):
        base = self.root / folder
        return sorted(path.relative_to(self.root).as_posix() for path in base.rglob("*")
                      if path.suffix in SUFFIXES and path.is_file())

    def _rooms(self, unit):
        """The folder that each file counts for; None for a header that belongs to no source."""
        if not unit.startswith("platform/"):
            return {path: Path(path).parent.relative_to(unit).as_posix() for path in self.files[unit]}
        sources = f"{unit}/src/"
        rooms = {path: Path(path[len(sources):]).parent.as_posix() for path in self.files[unit] if path.startswith(sources)}
        of_source = {Path(path).stem: room for path, room in rooms.items() if path.endswith(".cpp")}
        return rooms | {path: of_source.get(Path(path).stem) for path in self.files[unit] if path not in rooms}

    def _includes_of(self, path):
        for number, line in enumerate(self.texts[path].splitlines(), 1):
            match = INCLUDE.match(line)
            target = self._resolve(path, match[2]) if match else None
            if target:
                yield Include(path, number, line.strip(), target)

    def _resolve(self, source, name):
        own = self.unit_of[source]
        others = [unit for unit in self.units if unit != own]
        public = [f"{unit}/include" for unit in self.units if unit.startswith("platform/")]
        private = [f"{unit}/src" if unit.startswith("platform/") else unit for unit in (own, *others)]
        for folder in (str(Path(source).parent), private[0], *public, *private[1:]):
            candidate = Path(folder, name).as_posix()
            if candidate in self.unit_of:
                return candidate
        return None


def shortest_way_back(start, edges):
    """A shortest cycle through `start` in the graph {node: successors}, as a list of nodes; empty when there is none."""
    came_from, queue = {start: None}, [start]
    for node in queue:
        if start in edges.get(node, ()):
            way = [node]
            while came_from[way[-1]] is not None:
                way.append(came_from[way[-1]])
            return way[::-1]
        for successor in sorted(edges.get(node, ())):
            if successor not in came_from:
                came_from[successor] = node
                queue.append(successor)
    return []


def knots(edges):
    """For each set of nodes that reach one another: the set, and a shortest cycle in it."""
    reach = {}
    for start in edges:
        seen, queue = set(), [start]
        while queue:
            for successor in edges.get(queue.pop(), ()):
                if successor not in seen:
                    seen.add(successor)
                    queue.append(successor)
        reach[start] = seen
    sets = {frozenset(node for node in reach[start] if start in reach.get(node, ())) for start in reach if start in reach[start]}
    for nodes in sorted(sets, key=sorted):
        yield nodes, min((shortest_way_back(start, edges) for start in sorted(nodes)), key=len)


def describe_cycle(cycle, includes_between, most=5):
    """Lines that name the includes of each step of `cycle`."""
    for source, target in zip(cycle, [*cycle[1:], cycle[0]]):
        includes = includes_between[source, target]
        yield f"{source} → {target}"
        yield from (f"  {include}" for include in includes[:most])
        if len(includes) > most:
            yield f"  and {len(includes) - most} more"


def successors(pairs):
    edges = defaultdict(set)
    for source, target in pairs:
        edges[source].add(target)
    return edges


def check_floors(house):
    ties = defaultdict(list)
    for include in house.includes:
        source, target = house.unit_of[include.source], house.unit_of[include.target]
        if source == target:
            continue
        if target in APART or source in APART and target not in APART[source]:
            yield Fault("apart", include.source, f"{source} and {target} stand apart", [include])
        elif target in BESIDE:
            yield Fault("floor", include.source, f"a program beside the house is included ({target})", [include])
        elif source not in BESIDE and source not in APART:
            if not target.startswith("platform/") or FLOORS[target] > FLOORS[source]:
                yield Fault("floor", include.source, f"{source} includes {target}, which is not below it", [include])
            ties[source, target].append(include)
        if target.startswith("platform/") and "/src/" in include.target:
            yield Fault("floor", include.source, f"a private header of {target} is included", [include])
    same_floor = {pair: includes for pair, includes in ties.items() if FLOORS[pair[0]] == FLOORS[pair[1]]}
    for _, cycle in knots(successors(same_floor)):
        yield Fault("circle of folders", "platform", "libraries of one floor include each other",
                    describe_cycle(cycle, same_floor))


def includes_between_rooms(house, unit):
    """{(room, room): includes}. A header without a source is seen through: what it includes is included by its includer."""
    targets = defaultdict(list)
    for include in house.includes:
        if house.unit_of[include.source] == unit == house.unit_of[include.target]:
            targets[include.source].append(include)
    joined = {room: "+".join(pair) for pair in ALLOWED_PAIRS.get(unit, []) for room in pair}
    name = {path: joined.get(house.room_of[path], house.room_of[path]) for path in house.files[unit]}

    def reached(path, seen):
        for include in targets[path]:
            if name[include.target] is not None:
                yield include
            elif include.target not in seen:
                seen.add(include.target)
                yield from reached(include.target, seen)

    ties = defaultdict(list)
    for path in house.files[unit]:
        if name[path] is None:
            continue
        for include in reached(path, set()):
            if name[include.target] != name[path]:
                ties[name[path], name[include.target]].append(include)
    return ties


def check_rooms(house):
    for unit in house.units:
        ties = includes_between_rooms(house, unit)
        for rooms, cycle in knots(successors(ties)):
            yield Fault("circle of folders", unit, f"the folders {', '.join(sorted(rooms))} include each other in a circle",
                        describe_cycle(cycle, ties))


def check_files(house):
    for unit in house.units:
        between = defaultdict(list)
        for include in house.includes:
            if house.unit_of[include.source] == unit == house.unit_of[include.target]:
                between[include.source, include.target].append(include)
        for _, cycle in knots(successors(between)):
            yield Fault("circle of files", unit, "these files include each other in a circle",
                        describe_cycle(cycle, between))


def without_comments(text):
    return TOKEN.sub(lambda match: " " if match["comment"] else match[0], text)


def body_of(text, start):
    """The text between the braces that open at or after `start`."""
    depth, begin = 0, text.index("{", start)
    for position in range(begin, len(text)):
        depth += {"{": 1, "}": -1}.get(text[position], 0)
        if depth == 0:
            return text[begin:position]
    return text[begin:]


def check_friends(house):
    definition = re.compile(r"\b(?:class|struct)\s+(?:[A-Z][A-Z_]+\s+)?(\w+)(?:\s+final)?\s*(?::[^;{()]*)?{")
    for path in house.unit_of:
        code = without_comments(house.texts[path])
        if "friend" not in code:
            continue
        for match in definition.finditer(code):
            friends = re.findall(r"\bfriend\s+[^;{(]+(?=;)", body_of(code, match.start()))
            if len(friends) > MOST_FRIENDS:
                yield Fault("friends", path, f"class {match[1]} has {len(friends)} friends, {MOST_FRIENDS} at most",
                            (" ".join(friend.split()) for friend in friends))


def check_lines(house):
    for path in (*house.unit_of, *house.scripts):
        count = len((house.texts.get(path) or house.scripts.get(path, "")).splitlines())
        if count > MOST_LINES:
            yield Fault("lines", path, f"{count} lines")


def check_words(house):
    word = re.compile(rf"\b({'|'.join(WORDS)})\b", re.IGNORECASE)
    for path, text in written_files(house.root):
        reader = prose_reader(path, text)
        lines = [f"{path}:{first + line_of(prose, found.start()) - 1}: \"{found[0]}\" in {kind}"
                 for first, prose, kind in (reader(text) if reader else ()) for found in word.finditer(prose)]
        if lines:
            yield Fault("words", path.as_posix(), "a sentence does not name its subject", lines)


def check_names(house):
    for folder in sorted((house.root / "platform").glob("*/")):
        if f"platform/{folder.name}" not in FLOORS:
            yield Fault("unnamed", f"platform/{folder.name}", "this library has no floor")


def check_threads(house):
    lists = [path.read_text(encoding="utf-8") for path in (house.root / "tests").rglob("CMakeLists.txt")]
    named = {stem for text in lists for match in THREADS_LIST.finditer(text) for stem in match[1].split()}
    for path in house.tests:
        if path.endswith("Test.cpp") and Path(path).stem not in named:
            code = TOKEN.sub(" ", house.texts[path])
            found = STARTS_THREADS.search(code)
            if found and not REPLACES_ALLOCATOR.search(code):
                yield Fault("threads", path, f"its tests start threads ({found[0]}), and no list of THREADS names it")


CHECKS = (check_names, check_floors, check_rooms, check_files, check_friends, check_lines, check_words, check_threads)


def is_known(fault, known):
    kind, place = known
    return fault.kind == kind and (fault.place == place or fault.place.startswith(place + "/"))


def faults_of(root, known=()):
    """All faults below `root` but the known ones, and a fault for each known one that is none any more."""
    house = House(root)
    if not house.units:
        return [Fault("known", str(root), "there is no house here")]
    found = [fault for check in CHECKS for fault in check(house)]
    faults = [fault for fault in found if not any(is_known(fault, one) for one in known)]
    return faults + [Fault("known", place, f"the known \"{kind}\" is not there any more")
                     for kind, place in known if not any(is_known(fault, (kind, place)) for fault in found)]


def main(arguments):
    if len(arguments) > 2 or "--help" in arguments:
        print(__doc__.strip())
        return 0 if "--help" in arguments else 2
    root = Path(arguments[1]) if len(arguments) == 2 else Path(__file__).resolve().parents[2]
    faults = faults_of(root, KNOWN)
    for fault in faults:
        print(fault, end="\n\n")
    print(f"structure: {len(faults)} fault(s), {len(KNOWN)} known place(s) not in order yet")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
