"""Damaged graphs: whatever they say, the tool answers with results or with one line.

Usage: fuzz.py TOOL CASES. The same number gives the same graphs.
"""

import concurrent.futures
import json
import os
import pathlib
import random
import resource
import subprocess
import sys
import tempfile

TOOL = pathlib.Path(sys.argv[1]).resolve()
HERE = pathlib.Path(__file__).resolve().parent
GRAPHS = [json.loads(path.read_text()) for path in sorted(HERE.glob("*/graph.json"))]
GRAPHS.append(json.loads((HERE / "errors.json").read_text())["graph"])
ODD = [None, True, 0, -1, 1, 3, 28, 29, 2**31, -(2**63), 2**64, 1.5, 1e300, "", "x", "nan", "0x7fc00001",
       "float", "double3", "kCubicC0", "../../x.json", "a\x00b", "\u20ac\n", [], [0, 0, 0], [[0] * 4] * 4, {},
       {"node": "v"}, {"node": ""}, {"node": "values", "output": "out"}]
MEMORY = 4 << 30


def places(value, path=()):
    yield path
    if isinstance(value, dict):
        for key, child in value.items():
            yield from places(child, (*path, key))
    elif isinstance(value, list):
        for index, child in enumerate(value):
            yield from places(child, (*path, index))


def find(document, path):
    for step in path:
        document = document[step]
    return document


def with_other_values(document, dice):
    """A value set, removed, repeated or taken from elsewhere."""
    document = json.loads(json.dumps(document))
    for _ in range(dice.randint(1, 3)):
        paths = [path for path in places(document) if path]
        if not paths:
            break
        path = dice.choice(paths)
        parent, step = find(document, path[:-1]), path[-1]
        kind = dice.randrange(5)
        if kind == 0:
            parent[step] = dice.choice(ODD)
        elif kind == 1:
            parent[step] = json.loads(json.dumps(find(document, dice.choice(paths))))
        elif kind == 2:
            del parent[step]
        elif isinstance(parent, list):
            parent.insert(step, parent[step])
        else:
            parent[dice.choice(list(parent)) + dice.choice(["", "x", "\x00"])] = parent[step]
    return json.dumps(document).encode()


def with_other_bytes(document, dice):
    text = bytearray(json.dumps(document).encode())
    for _ in range(dice.randint(1, 3)):
        at = dice.randrange(len(text))
        kind = dice.randrange(4)
        if kind == 0:
            text[at] = dice.randrange(256)
        elif kind == 1:
            del text[at : at + dice.randint(1, 20)]
        elif kind == 2:
            text[at:at] = text[: dice.randint(1, 20)]
        elif len(text) > 10:
            del text[max(at, 10) :]
    return bytes(text)


def limit():
    # The sanitizers reserve more addresses than any machine has memory.
    if "asan" not in os.environ.get("STRATUM_FUZZ", ""):
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))


def fault(case, folder):
    """What is wrong with the tool's answer to a case, or nothing."""
    dice = random.Random(case)
    damage = dice.choice([with_other_values, with_other_values, with_other_bytes])
    graph = damage(dice.choice(GRAPHS), dice)
    try:
        done = subprocess.run([TOOL, "run", "-", "--threads", "1"], input=graph, cwd=folder,
                              capture_output=True, preexec_fn=limit, timeout=60)
    except subprocess.TimeoutExpired:
        return f"case {case} takes long", graph
    if done.returncode == 0:
        try:
            if done.stdout:
                json.loads(done.stdout)
            return None
        except ValueError as error:
            return f"case {case}: no JSON: {error}", graph
    refused = done.returncode == 1 and done.stdout == b"" and done.stderr.startswith(b"stratum: ") and (
        done.stderr.count(b"\n") == 1 and len(done.stderr) < 2000)
    return None if refused else (f"case {case}: {done.returncode} {done.stderr[-500:]!r}", graph)


with tempfile.TemporaryDirectory() as scratch:
    inner = pathlib.Path(scratch) / "a" / "b"
    inner.mkdir(parents=True)
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        faults = [f for f in pool.map(lambda case: fault(case, inner), range(int(sys.argv[2]))) if f]
    for what, graph in faults[:5]:
        print(what, graph.decode(errors="replace")[:3000], sep="\n")
sys.exit(bool(faults))
