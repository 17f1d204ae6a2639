"""Runs the graphs of this folder and compares what comes out, number by number as it is written.

A case is a folder: graph.json, what the tool is to print in expected.json, and the files it is to
write as expected.NAME. Graphs that must be refused are changes to one good graph, in errors.json.
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

TOOL = pathlib.Path(sys.argv[1]).resolve()
HERE = pathlib.Path(__file__).resolve().parent
failures = []


def parsed(text):
    """Numbers stay as they are written, so that -0.0 is not 0 and 1 is not 1.0."""
    return json.loads(text, parse_float=str, parse_int=str)


def run(folder, *arguments, **options):
    done = subprocess.run(
        [TOOL, "run", *arguments], cwd=folder, capture_output=True, text=True, timeout=120, **options
    )
    # What a sanitizer says beside an operator that asks for too much.
    done.stdout = re.sub(r"==\d+==WARNING: AddressSanitizer failed to allocate \w+ bytes\\n", "", done.stdout)
    return done


def check(name, holds, *details):
    if not holds:
        failures.append(name)
        print(f"FAILED {name}:", *details, sep="\n")


def differences(expected, actual, path=""):
    if isinstance(expected, dict) and isinstance(actual, dict):
        for key in sorted(expected.keys() | actual.keys()):
            yield from differences(expected.get(key, "absent"), actual.get(key, "absent"), f"{path}/{key}")
    elif expected != actual:
        yield f"  {path}: expected {expected}, got {actual}"


def check_results(name, done, expected):
    check(name, done.returncode == 0 and done.stderr == "", done.returncode, done.stderr)
    if done.returncode == 0:
        found = list(differences(parsed(expected), parsed(done.stdout)))
        check(name, not found, *found)


def run_case(case, scratch):
    folder = scratch / case.name
    shutil.copytree(case, folder)
    check_results(case.name, run(scratch, f"{case.name}/graph.json"), (case / "expected.json").read_text())
    for file in case.glob("expected.*"):
        if file.name != "expected.json":
            written = folder / file.name.removeprefix("expected.")
            text = written.read_text() if written.exists() else "no such file"
            check(f"{case.name}/{written.name}", text == file.read_text(), text)


def run_documented(scratch):
    """The graph of the documentation gives the results beside it."""
    blocks = (HERE / "../../docs/graph.md").read_text().split("```json\n")[1:3]
    graph, expected = (block.split("```")[0] for block in blocks)
    check_results("docs/graph.md", run(scratch, "-", input=graph), expected)


def changed(document, path, value):
    """The document with the value at a path (a JSON pointer) set, or removed for null."""
    document = json.loads(json.dumps(document))
    *steps, last = path.strip("/").split("/")
    place = document
    for step in steps:
        place = place[int(step)] if isinstance(place, list) else place[step]
    if isinstance(place, list):
        place[int(last)] = value
    elif value is None:
        del place[last]
    else:
        place[last] = value
    return document


def run_errors(scratch):
    table = json.loads((HERE / "errors.json").read_text())
    check("good graph", run(scratch, "-", input=json.dumps(table["graph"])).returncode == 0)
    for path, value, message in table["changes"]:
        done = run(scratch, "-", input=json.dumps(changed(table["graph"], path, value)))
        check_refused(f"{path} = {value}", done, f"standard input: {message}")
    for text, message in table["texts"]:
        check_refused(text, run(scratch, "-", input=text), f"standard input: {message}")
    done = run(scratch, "-", input="[" * 1000000)
    check_refused("deep", done, "standard input: more than 64 arrays and objects within each other")
    check_refused("missing", run(scratch, "none.json"), "cannot read 'none.json': No such file or directory")
    check("usage", run(scratch).returncode == 2)
    (scratch / "p.csv").write_text("x,y,z\n1,2,3\n")
    (scratch / "reads.json").write_text('{"nodes": {"p": {"type": "array", "file": "p.csv"}}}')
    check_refused("an input as output", run(scratch, "reads.json", "-o", "p.csv"),
                  "'p.csv' is what is read; choose another file to write")
    alone = (HERE / "../../docs/graph.md").read_text().split("```json\n")[1].split("```")[0]
    graph = json.loads(alone)
    graph["outputs"] = {"all": {"node": list(graph["nodes"])[-1], "file": str(scratch / "all.json")}}
    check_refused("-o for nothing", run(scratch, "-", "-o", "o.json", input=json.dumps(graph)),
                  "'o.json' would stay empty: every output has a file of its own")


def check_refused(name, done, message):
    """One line, nothing on the standard output stream, status 1."""
    result = (done.returncode, done.stdout, done.stderr)
    check(name, result == (1, "", f"stratum: {message}\n"), result, f"expected: {message}")


def check_schema():
    try:
        import jsonschema
    except ImportError:
        print("SKIP: python3-jsonschema is not installed")
        sys.exit(77)
    schema = json.loads((HERE / "../../docs/graph.schema.json").read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    table = json.loads((HERE / "errors.json").read_text())
    for case in sorted(HERE.glob("*/graph.json")):
        for error in validator.iter_errors(json.loads(case.read_text())):
            check(case.parent.name, False, f"{error.json_path}: {error.message}")
    check("good graph", validator.is_valid(table["graph"]))
    for path, value, message in table["changes"]:
        valid = validator.is_valid(changed(table["graph"], path, value))
        beyond = any(word in message for word in table["beyond_schema"])
        check(f"{path} = {value}", valid == beyond, f"valid by the schema: {valid}", message)


if sys.argv[2:] == ["--schema"]:
    check_schema()
else:
    with tempfile.TemporaryDirectory() as scratch:
        for graph in sorted(HERE.glob("*/graph.json")):
            run_case(graph.parent, pathlib.Path(scratch))
        run_documented(pathlib.Path(scratch))
        run_errors(pathlib.Path(scratch))
sys.exit(bool(failures))
