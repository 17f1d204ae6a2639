"""What the tests of the command share: to call it, and to say how a call should end."""
import csv
import io
import os
import subprocess
import sys
import tempfile

tool = os.path.abspath(sys.argv[1])
failures = []
os.chdir(tempfile.mkdtemp())


def check(condition, what):
    if not condition:
        failures.append(str(what))


def run(*arguments, stdin=b"", **options):
    """The status, the results as bytes, and the error stream as text."""
    done = subprocess.run([tool, *arguments], input=stdin, capture_output=True, timeout=300,
                          **options)
    return done.returncode, done.stdout, done.stderr.decode()


def answers(*arguments, stdin=b""):
    code, out, err = run(*arguments, stdin=stdin)
    check((code, err) == (0, ""), f"{arguments}: {code} {err!r}")
    return out


def refuses(status, words, *arguments, stdin=b""):
    """One line on the error stream, nothing on the other."""
    code, out, err = run(*arguments, stdin=stdin)
    check((code, out) == (status, b"") and err.startswith("stratum: ") and err.count("\n") == 1
          and words in err, f"{arguments}: {code} {out!r} {err!r}")


def writePly(name, vertices, faces=(), more=(), faceMore=()):
    """Vertices are x, y, z and more numbers, faces their corners and more numbers; `more` and
    `faceMore` declare those."""
    lines = ["ply", "format ascii 1.0", f"element vertex {len(vertices)}"]
    lines += ["property " + declared for declared in ("float x", "float y", "float z", *more)]
    if faces:
        lines += [f"element face {len(faces)}", "property list uchar int vertex_indices"]
        lines += ["property " + declared for declared in faceMore]
    records = [*vertices, *((len(corners), *corners, *rest) for corners, *rest in faces)]
    with open(name, "w") as file:
        file.writelines(line + "\n" for line in (*lines, "end_header",
                                                 *(" ".join(map(str, record)) for record in records)))


def rows(text):
    """A table as CSV, each row a record of numbers."""
    return [{key: float(value) for key, value in row.items()}
            for row in csv.DictReader(io.StringIO(text.decode()))]


def completions(script, *lines):
    """What a completion script offers for the last word of each line."""
    for line in lines:
        words = line.split(" ")
        script += f"""
COMP_WORDS=({' '.join(word or "''" for word in words)}) COMP_CWORD={len(words) - 1}
_stratum; echo "${{COMPREPLY[*]}}" """
    return subprocess.run(["bash", "-c", script], capture_output=True, text=True).stdout.splitlines()


def finish():
    print(*failures, sep="\n")
    sys.exit(bool(failures))
