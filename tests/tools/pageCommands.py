"""Runs the commands that the pages show, on small files of the names that they have there."""
import pathlib
import re
import subprocess
import sys

from calling import check, finish, tool, writePly

write, root = sys.argv[2], pathlib.Path(sys.argv[3])
for name, *cube in (("smoke.vdb", -8, -8, -8, 16, "density", "heat"),
                    ("small.vdb", 0, 0, 0, 12, "density"), ("rock.vdb", 0, 0, 0, 12, "distance")):
    subprocess.run([write, name, *map(str, cube)], check=True)

corners = ((0, 0, 0), (4, 0, 0), (0, 4, 0), (0, 0, 4))
vertices = [(x, y, z, 0.2 * (x + y)) for x, y, z in corners]
writePly("points.ply", vertices, more=["float moss"])
writePly("rock.ply", vertices, [[face] for face in ((0, 2, 1), (0, 1, 3), (0, 3, 2), (1, 2, 3))], ["float moss"])
pathlib.Path("hair.obj").write_text("".join(f"v {x} {y} {z}\n" for x, y, z in corners) + "l 1 2 3 4\n")
pathlib.Path("points.csv").write_text("x,y,z\n0.5,1,2\n-3,0,7.25\n")
graphs = re.findall(r"^```json\n(.*?)^```", (root / "docs/graph.md").read_text(), re.S | re.M)
pathlib.Path("graph.json").write_text(graphs[0])


def state(name):
    """Which file has a name, if one does: a new one takes the place of one that is written anew."""
    path = pathlib.Path(name)
    return (path.stat().st_ino, path.stat().st_mtime_ns) if path.exists() else None


def knowsVolumes(python):
    return subprocess.run([python, "-c", "import pyopenvdb"], capture_output=True).returncode == 0


# Debian's own is another than the one that runs this where a newer one was installed beside it.
python = next(filter(knowsVolumes, (sys.executable, "/usr/bin/python3")), None)
check(python, "python3-openvdb is missing")
functions = f'stratum() {{ "{tool}" "$@"; }}; python3() {{ "{python}" "$@"; }}; '

commands = [command.replace("\n    ", "\n") for page in (root / "README.md", *sorted((root / "docs").glob("*.md")))
            for command in re.findall(r"^ {4}(stratum [^\n]*|python3 -c '.*?')$", page.read_text(), re.M | re.S)]
check(len(commands) > 17, "commands")
for command in commands:
    written = re.search(r"(?:-o |--png |> |vdb.write..)([\w.]+)", command)
    before = written and state(written[1])
    done = subprocess.run(["bash", "-o", "pipefail", "-c", functions + command],
                          capture_output=True, text=True, timeout=300)
    check(done.returncode == 0, f"{command}: {done.returncode} {done.stderr}")
    check(state(written[1]) not in (None, before) if written else done.stdout, f"{command}: nothing written")
finish()
