"""stratum scatter on the command line: tables, reports, pictures, masks, threads, messages."""
import csv
import io
import json
import math
import os
import struct
from functools import partial

import calling
from calling import check, finish, writePly

run, answers = partial(calling.run, "scatter"), partial(calling.answers, "scatter")


def refuses(status, words, *arguments):
    calling.refuses(status, words, "scatter", *arguments)


def rows(*arguments):
    return calling.rows(answers(*arguments, "--quiet"))


def report(*arguments):
    return json.loads(answers(*arguments, "--json"))


def warned(words, *arguments):
    """The report of a call that warns with these words."""
    code, out, err = run(*arguments, "--json")
    check(code == 0 and words in err, f"{arguments}: {code} {err!r}")
    return json.loads(out)


# A roof: two bent quads and a triangle, with masks for points and faces.
points = [(0, 0, 0), (2, 0, 1), (2, 1, 1), (0, 1, 0), (4, 0, 0), (4, 1, 0), (9, 9, 9)]
faces = [(0, 1, 2, 3), (1, 4, 5, 2), (4, 6, 5)]
writePly("roof.ply", [(*p, int(i in (0, 3))) for i, p in enumerate(points)],
         [(face, i % 2) for i, face in enumerate(faces)], ["float wet"], ["uchar tiled"])
with open("hair.obj", "w") as file:
    file.write("v 0 0 0\nv 3 0 0\nv 3 4 0\nv 0 0 9\nv 0 0 10\nl 1 2 3\nl 4 5\n")
writePly("cloud.ply", [(1, 2, 3, 0), (4, 5, 6, 1), (7, 8, 9, 0)], more=["double heavy"])
readsObj = "tinyobjloader" not in run("hair.obj", "--count", "1")[2]


def minus(a, b):
    return [p - q for p, q in zip(a, b)]


def cross(a, b):
    return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]


def near(a, b):
    return all(abs(p - q) <= 1e-5 for p, q in zip(a, b))


# On a mesh: the position is the weighted mean of the corners, the normal that of the triangle.
onMesh = rows("roof.ply", "--count", "200", "--seed", "5")
check(len(onMesh) == 200, len(onMesh))
for row in onMesh:
    face = faces[int(row["element"])]
    corners = [points[face[int(row[f"corner{i}"])]] for i in range(3)]
    weights = [row[f"weight{i}"] for i in range(3)]
    mean = [sum(w * c[axis] for w, c in zip(weights, corners)) for axis in range(3)]
    normal = cross(minus(corners[1], corners[0]), minus(corners[2], corners[0]))
    normal = [n / math.hypot(*normal) for n in normal]
    check(near(mean, (row["x"], row["y"], row["z"])), row)
    check(near(normal, (row["nx"], row["ny"], row["nz"])), row)
check({row["element"] for row in onMesh} == {0, 1, 2}, "all faces have some")

# Reports: the area of two quads of sqrt(5) and a triangle of half |(5, 9, 9) x (0, 1, 0)|.
area = 2 * math.sqrt(5) + 0.5 * math.hypot(9, 5)
r = report("roof.ply", "--count", "200", "--seed", "3", "--seed-array", "3,1")
check((r["on"], r["asked"], r["made"], r["rejected"], r["given_up"], r["nowhere"], r["seed"])
      == ("faces", 200, 200, 0, 0, 0, 12 * 13 + 1), r)
check(r["measure"] == "area" and abs(r["total"] - area) < 1e-12 and r["seconds"] >= 0, r)
check(abs(r["density"] - 200 / area) < 1e-9, r)
check(rows("roof.ply", "--count", "9", "--seed", "3", "--seed-array", "3,1")
      == rows("roof.ply", "--count", "9", "--seed", "157"), "the folded seed is the seed")
check(rows("roof.ply", "--count", "9", "--seed", "-1")
      == rows("roof.ply", "--count", "9", "--seed", str(2**64 - 1)), "seeds are 64 bits")
made = report("roof.ply", "--density", "1000")["made"]
check(abs(made - 1000 * area) <= 5, made)  # each of five triangles rounds up or down
check(report("roof.ply", "--density", "1000", "--max", "70")["made"] == 70, "--max")
text = answers("roof.ply", "--count", "3", "-o", "three.csv").decode()
check("3 locations on faces, of 3 asked for\n" in text and "total area" in text, text)
code, out, err = run("roof.ply", "--count", "3")
check(code == 0 and out == open("three.csv", "rb").read() and "3 locations on faces" in err,
      "the report gives way to locations")

# Masks: what is 0 never shows, dropping and drawing again count differently.
tiled = ("roof.ply", "--count", "300", "--mask", "tiled")
check({row["element"] for row in rows(*tiled)} == {1}, "a mask of faces")
check({row["element"] for row in rows(*tiled, "--invert-mask")} == {0, 2}, "inverted")
check(report(*tiled)["made"] == 300, "drawn again")
dropped = report(*tiled, "--on-reject", "discard")
check(dropped["asked"] == 300 and dropped["made"] + dropped["rejected"] == 300
      and 30 < dropped["made"] < 150, dropped)
byDensity = report("roof.ply", "--density", "100", "--mask", "tiled")
check(byDensity["rejected"] > 0 and byDensity["given_up"] == 0
      and byDensity["asked"] == byDensity["made"] + byDensity["rejected"], byDensity)
wet = rows("roof.ply", "--count", "300", "--mask", "wet")
check({row["element"] for row in wet} == {0} and sum(row["x"] for row in wet) / 300 < 0.8,
      "a mask of points is interpolated: the mean of x is 2/3 where it falls from 1 to 0")
none = report("cloud.ply", "--count", "5", "--mask", "heavy", "--invert-mask")
check(none["made"] == 5, none)

# On strands and points.
if readsObj:
    strands = report("hair.obj", "--density", "10")
    check((strands["on"], strands["made"], strands["measure"], strands["total"])
          == ("strands", 80, "length", 8), strands)
    for row in rows("hair.obj", "--count", "100"):
        if row["element"] == 1:
            check((row["x"], row["y"]) == (0, 0) and 9 <= row["z"] <= 10, row)
        elif row["point0"] == 0:
            check(abs(row["x"] - 3 * row["weight1"]) < 1e-5 and row["y"] == row["z"] == 0, row)
        else:
            check(row["x"] == 3 and abs(row["y"] - 4 * row["weight1"]) < 1e-5, row)
    check(report("hair.obj", "--count", "7", "--kind", "points")["total"] == 5, "points of strands")
cloud = rows("cloud.ply", "--count", "50", "--mask", "heavy")
check(len(cloud) == 50 and all(list(row.values()) == [4, 5, 6, 1] for row in cloud), cloud[:3])
check(report("cloud.ply", "--count", "4")["on"] == "points", "points are all there is")
code, out, err = run("cloud.ply", "--density", "4", "--channel", "x", "--json")
check(code == 0 and json.loads(out)["made"] == 4 and "--density has no effect" in err
      and "--channel has no effect" in err, err)

# What nothing lies on has the same columns.
for file in ["roof.ply", "cloud.ply"] + ["hair.obj"] * readsObj:
    check(answers(file, "--count", "0", "-q").splitlines()
          == answers(file, "--count", "1", "-q").splitlines()[:1], f"the columns of {file}")

# What has no finite area gets nothing, and takes nothing from the rest.
writePly("far.ply", [(0, 0, 0), (2, 0, 0), (0, 2, 0), (1e30, 0, 0), (0, 1e30, 0), (0, "nan", 0)],
         [[(0, 1, 2)], [(0, 3, 4)], [(0, 3, 5)]])
for amount in ("--density", "4"), ("--count", "8"):
    far = warned("2 triangles get nothing", "far.ply", *amount)
    check((far["made"], far["total"], far["density"]) == (8, 2, 4), far)

# A count may ask for what there can be none of.
writePly("line.ply", [(0, 0, 0), (1, 0, 0), (2, 0, 0)], [((0, 1, 2), 1)], faceMore=["float m"])
for more in [], ["--mask", "m"]:
    flat = warned("nothing was made", "line.ply", "--count", "4.5", *more)
    check((flat["asked"], flat["made"], flat["rejected"], flat["given_up"]) == (4, 0, 0, 0), flat)
    check(warned("nothing was made", "line.ply", "--count", "4", "--max", "3", *more)["asked"] == 3, more)

# Formats: the same numbers in all of them, and where they come from.
knot = ("formula:knot", "--count", "40", "--seed", "-9", "--quiet")
expected = list(csv.reader(io.StringIO(answers(*knot).decode())))
for name in ("a.ply", "b.ply", "c.ply", "a.npy", "a.csv"):
    encoding = {"b.ply": ["--format", "ply-big"], "c.ply": ["--format", "ply-ascii"]}.get(name, [])
    answers(*knot, "-o", name, *encoding)
kinds = "".join("I" if name[:-1] in ("elemen", "corner") else "f" for name in expected[0])
cells = [int(v) if kind == "I" else float(v) for row in expected[1:] for kind, v in zip(kinds, row)]
for name, order in ("a.npy", "<"), ("a.ply", "<"), ("b.ply", ">"):
    check(open(name, "rb").read().endswith(struct.pack(order + 40 * kinds, *cells)), name)
lines = open("c.ply").read().splitlines()
check([line.split() for line in lines[-40:]] == expected[1:], "c.ply")
check("comment command stratum scatter formula:knot" in lines[3], lines[3])
check(open("a.csv").read() == answers(*knot).decode(), "a.csv")
check(b"# command stratum scatter" in answers(*knot, "--provenance"), "--provenance")
# A scattered mesh is a point cloud for the next call, and its columns are properties.
check(report("a.ply", "--count", "6", "--mask", "weight0")["on"] == "points", "used again")
with open("roof.ply", "rb") as file:
    check(answers("-", "--count", "9", "-q", stdin=file.read())
          == answers("roof.ply", "--count", "9", "-q"), "standard input")

# Pictures: all different.
pictures = set()
seen = [["roof.ply", "--count", count, "--view", view, "20"]
        for count, view in (("40", "0"), ("40", "180"), ("0", "0"))]
seen += [["cloud.ply", "--count", "4", "--colour", "heavy"]]
seen += [["hair.obj", "--count", "9", "--up", "y"]] * readsObj
for arguments in seen:
    answers(*arguments, "--png", "p.png", "--size", "100", "-q")
    pictures.add(open("p.png", "rb").read())
check(len(pictures) == len(seen) and all(p.startswith(b"\x89PNG") for p in pictures), len(pictures))

# Wrong calls and files.
# Both outputs appear, or neither.
refuses(1, "cannot write 'no/p.png'", "roof.ply", "--count", "2", "-o", "half.csv", "--png", "no/p.png")
refuses(1, "cannot write 'no/half.csv'", "roof.ply", "--count", "2", "-o", "no/half.csv", "--png",
        "half.png")
check(not os.path.exists("half.csv") and not os.path.exists("half.png"), "half of the outputs")
open("words.obj", "w").write("hello world\n")
count = ("--count", "1")
os.symlink("x", "leadsToX")
for status, words, file, *arguments in (
        (1, "it has no vertices", "words.obj", *count),
        (2, "--count", "roof.ply"),
        (2, "at least 0 is wanted", "roof.ply", "--count", "nan"),
        (2, "at least 0 is wanted", "roof.ply", "--density", "-1"),
        (2, "from -2^63 to 2^64 - 1", "roof.ply", *count, "--seed", str(2**64)),
        (2, "from -2^63 to 2^64 - 1", "roof.ply", *count, "--seed-array", "1,x"),
        (2, "--invert-mask", "roof.ply", *count, "--invert-mask"),
        (2, "the standard output is for", "roof.ply", *count, "--json", "-o", "-"),
        (2, "a picture goes to a file", "roof.ply", *count, "--png", "-"),
        (2, "csv, npy or ply", "roof.ply", *count, "-o", "x.json"),
        (2, "need two files", "roof.ply", *count, "-o", "x", "--png", "x"),
        (2, "need two files", "roof.ply", *count, "-o", "x", "--png", "leadsToX"),
        (1, "is what is read", "roof.ply", *count, "-o", "roof.ply"),
        (1, "is what is read", "roof.ply", *count, "--png", "./roof.ply"),
        (1, "no property 'moss'; there are: tiled, wet", "roof.ply", *count, "--mask", "moss"),
        (1, "no property 'moss'", "roof.ply", *count, "--png", "x.png", "--colour", "moss"),
        (1, "neither faces nor strands", "cloud.ply", *count, "--kind", "surface"),
        (1, "--kind fog is for volumes", "cloud.ply", *count, "--kind", "fog"),
        (1, "No such file", "none.obj", *count),
        (1, "from .obj and .ply files", "three.csv", *count),
        (1, "there is no geometry 'formula:cube'", "formula:cube", *count),
        (1, "out of memory: 1e+12 locations take", "roof.ply", "--count", "1e12"),
        (1, "out of memory", "roof.ply", "--density", "1e30")):
    refuses(status, words, file, *arguments)
check(not os.path.exists("x.png") and not os.path.exists("x"), "nothing half-made")

finish()
