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


def some_place(value, dice):
    """A dictionary or list somewhere in a document, and what to find one of its values under."""
    while True:
        step = dice.choice(list(value) if isinstance(value, dict) else range(len(value)))
        inner = value[step]
        if not inner or not isinstance(inner, (dict, list)) or dice.randrange(5) == 0:
            return value, step
        value = inner


def damaged(document, dice):
    """A value set, removed, repeated or taken from elsewhere."""
    document = json.loads(json.dumps(document))
    for _ in range(dice.randint(1, 3)):
        if not document:
            break
        parent, step = some_place(document, dice)
        kind = dice.randrange(5)
        if kind == 0:
            parent[step] = dice.choice(ODD)
        elif kind == 1:
            other, place = some_place(document, dice)
            parent[step] = json.loads(json.dumps(other[place]))
        elif kind == 2:
            del parent[step]
        elif isinstance(parent, list):
            parent.insert(step, parent[step])
        else:
            parent[dice.choice(list(parent)) + dice.choice(["", "x", "\x00"])] = parent[step]
    return json.dumps(document).encode()


def limit():
    # The sanitizers reserve more addresses than any machine has memory.
    if "asan" not in os.environ.get("STRATUM_FUZZ", ""):
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))


def fault(case, folder):
    """What is wrong with the tool's answer to a case, or nothing."""
    dice = random.Random(case)
    graph = damaged(dice.choice(GRAPHS), dice)
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
