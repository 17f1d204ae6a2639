"""Scattering in volumes and sampling at locations on the command line, and both in one pipe."""
import json
import math
import os
import struct
import subprocess

import calling
from calling import check, finish, refuses, rows, run, tool

volume = "formula:tube"


def answers(*arguments, stdin=b""):
    return calling.answers(*arguments, "--quiet", stdin=stdin)


def toKnot(p):
    """The distance from the curve that the tube is around."""
    def knot(t):
        r = 2 + math.cos(3 * t)
        return r * math.cos(2 * t), r * math.sin(2 * t), -math.sin(3 * t)
    if not toKnot.points:
        toKnot.points = [knot(2 * math.pi * i / 3000) for i in range(3000)]
    return min(math.dist(p, q) for q in toKnot.points)


toKnot.points = []
radius, voxel = 0.42, 1 / 24

# Locations are inside the tube, to a voxel: the fog is above 0 and the distance below 0 there.
scattered = answers("scatter", volume, "--count", "200", "--seed", "4")
inFog = rows(scattered)
check(len(inFog) == 200 and list(inFog[0]) == ["x", "y", "z", "element"], inFog[:1])
inside = rows(answers("scatter", volume, "--kind", "levelset", "--count", "200", "--shape", "5"))
for where in inFog, inside:
    distances = [toKnot((row["x"], row["y"], row["z"])) for row in where]
    check(max(distances) < radius + voxel, max(distances))
    # Uniform in a disc, the mean distance from its middle is two thirds of its radius.
    check(abs(sum(distances) / 200 - radius * 2 / 3) < 0.025, sum(distances) / 200)

# The volume of the tube is pi r^2 times the knot's length, 31.9; the box is what the knot spans.
code, out, err = run("scatter", volume, "--density", "2", "--max", "3", "--json")
report = json.loads(out)
toKnot((0, 0, 0))
length = sum(math.dist(p, q) for p, q in zip(toKnot.points, toKnot.points[1:] + toKnot.points[:1]))
check(abs(report["total"] / (math.pi * radius**2 * length) - 1) < 0.02, (report["total"], length))
box = math.prod(max(p[i] for p in toKnot.points) - min(p[i] for p in toKnot.points) + 2 * radius
                for i in range(3))
check(abs(report["box"] / box - 1) < 0.03, (report["box"], box))
check(abs(report["made"] - 2 * report["box"]) <= 1 and report["asked_density"] == 2
      and abs(report["density"] - report["made"] / report["total"]) < 1e-9, report)
check(code == 0 and err.count("\n") == 1 and "--max has no effect" in err, err)
check((report["on"], report["channel"]) == ("fog", "density") and report["measure"] == "volume"
      and report["warnings"] and report["given_up"] == 0, report)
code, out, err = run("scatter", volume, "--density", "2", "-o", "x.csv")
check(code == 0 and b"in fog 'density'" in out and b"density asked for      2, in the bounding box\ndensity reached" in out, out)

# A mask as dense as the fog, (1 - s^2)^2 at the share s of the radius: there the mean density is
# 3/5 and not 1/3. What lies outside of the mask is left out.
masked = ("scatter", volume, "--count", "2000", "--mask", "density", "--on-reject", "discard")
code, out, err = run(*masked, "-o", "masked.ply")
check(code == 0 and "--on-reject has no effect on volumes" in err and b"2000 locations in" in out, err)
for file, expected in ("masked.ply", 0.6), ("x.csv", 1 / 3):
    values = [row["value"] for row in rows(answers("property", volume, "--at", file))]
    check(abs(sum(values) / len(values) - expected) < 0.04, (file, sum(values) / len(values)))
both = ("scatter", volume, "--count", "500", "--mask", "voxel_fog_density", "-c", "distance", "--invert-mask")
thin = rows(answers("property", volume, "--at", "-", stdin=answers(*both)))
check(len(thin) == 500 and sum(row["value"] for row in thin) / 500 < 0.3, "a mask by its host's name")
check(answers(*masked, "--threads", "1") == answers(*masked, "--threads", "2"), "threads")
check(answers(*masked, "--seed", "5", "--seed-array", "3") == answers(*masked, "--seed", "33"), "seeds")

# The chain, through every format; the same numbers as of stratum sample.
expected = answers("property", volume, "--at", "-", "--channel", "velocity", stdin=scattered)
table = rows(expected)
check(list(table[0]) == ["x", "y", "z", "value.x", "value.y", "value.z", "valid", "inside", "depth"], table[0])
check(all(row["valid"] == row["inside"] == 1 and row["depth"] in (27, 28) for row in table), "inside")
check([row["x"] for row in table] == [row["x"] for row in inFog], "the same places")
sampled = rows(answers("sample", volume, "-p", "-", "--channel", "velocity", stdin=scattered))
check([row["value.y"] for row in sampled] == [row["value.y"] for row in table], "as sample has it")
for name in ("npy", "ply", "ply-big", "ply-ascii"):
    piped = answers("scatter", volume, "--count", "200", "--seed", "4", "--format", name)
    check(answers("property", volume, "--at", "-", "--channel", "velocity", stdin=piped) == expected, name)
    open("at." + name[:3], "wb").write(piped)
    check(answers("property", volume, "--at", "at." + name[:3], "-c", "velocity") == expected, name)
# Its own tables are locations again, in any order of columns.
answers("property", volume, "--at", "-", "-c", "velocity", "-o", "out.ply", stdin=scattered)
answers("property", volume, "--at", "-", "-c", "velocity", "-o", "out.npy", stdin=scattered)
for file in "out.ply", "out.npy":
    check(answers("property", volume, "--at", file, "-c", "velocity") == expected, file)
code, out, err = run("property", volume, "--at", "-", stdin=b"name,pz,PY,px\n\"a,b\",0,0,3\nb,0,0,0\nc,1e9,nan,2\n")
table = rows(out)
check((code, [(row["x"], row["valid"], row["inside"]) for row in table]) == (0, [(3, 1, 1), (0, 1, 0), (2, 1, 0)]), out)
check(table[0]["value"] > 0.95 and table[1]["value"] == table[2]["value"] == 0 and table[2]["depth"] == -1, table)
check(err == "3 locations, 1 inside the data of channel 'density'\nat depth 28            1\n", err)
places = rows(answers("property", volume, "--at", "-", "-c", "voxel_position", stdin=scattered))
check(all(row["value." + a] == row[a] for row in places for a in "xyz") and places[0]["valid"] == 1, places[:1])
document = json.loads(answers("property", volume, "--at", "at.npy", "--json"))
check(document["columns"][-3:] == ["valid", "inside", "depth"] and document["rows"][0][-3:-1] == [True, True]
      and document["inputs"] == [volume, "at.npy"], document["columns"])
header = open("out.npy", "rb").read(300)
check(b"('valid', '|b1'), ('inside', '|b1'), ('depth', '<i4')" in header, header)
code, out, err = run("property", volume, "--at", "at.npy", "--default", "7", "-o", "y.csv")
check(code == 0 and "--default has no effect here" in err, err)

# Pictures, coloured by a channel; a reader that goes away ends both programs of a pipe.
answers("scatter", volume, "--count", "300", "--png", "p.png", "--colour", "velocity", "--size", "100")
check(open("p.png", "rb").read(4) == b"\x89PNG", "a picture")
pipe = f'"{tool}" scatter {volume} --count 100000 -q | "{tool}" property {volume} --at - -q | head -1'
done = subprocess.run(["bash", "-c", pipe + '; echo ${PIPESTATUS[@]}'], capture_output=True, text=True)
check(done.stdout == "x,y,z,value,valid,inside,depth\n0 1 0\n" and done.stderr.count("\n") == 1, done)

# Wrong calls.
for words, *arguments in (
        ("there is no channel 'moss'; the volume has: density, distance, velocity", "--channel", "moss"),
        ("there is no channel 'moss'", "--mask", "moss"),
        ("there is no channel 'moss'", "--png", "q.png", "--colour", "moss"),
        ("nothing says what channel 'velocity' holds", "--channel", "velocity"),
        ("'velocity' is no channel of float", "--channel", "velocity", "--kind", "fog"),
        ("--kind points is for meshes", "--kind", "points"),
        ("out of memory: 1e+12 locations take", "--count", "1e12")):
    refuses(1, words, "scatter", volume, *(arguments if "--count" in arguments else ("--count", "1", *arguments)))
refuses(1, "there are: knot, sunflower, tube", "scatter", "formula:cube", "--count", "1")
refuses(1, "No such file", "scatter", "none.vdb", "--count", "1")
refuses(1, "no channel 'moss'", "property", volume, "--at", "at.npy", "--channel", "moss")
refuses(1, "names no columns x, y, z", "property", volume, "--at", "-", stdin=b"a,b,c,d\n1,2,3,4\n")
refuses(1, "has 4 columns, and this line has 3 fields", "property", volume, "--at", "-", stdin=b"x,y,z,w\n1,2,3\n")
refuses(1, "is what is read", "property", volume, "--at", "at.npy", "-o", "at.npy")
refuses(2, "--at is required", "property", volume)
head, body = b"\x93NUMPY\1\0", struct.pack("<3f", 1, 2, 3)
for words, descr in (("no fields x, y and z", "[('x','<f4'),('y','<f4'),('w','<f4')]"),
                     ("more than one number", "[('x','<f4',(3,))]"), ("cannot be read", "[('x','<U9')]"),
                     ("does not fit its 12 bytes", "[('x','<f4'),('y','<f4'),('z','<f8')]"),
                     ("no fields", "[]")):
    text = ("{'descr': %s, 'fortran_order': False, 'shape': (1,)}\n" % descr).encode()
    refuses(1, words, "property", volume, "--at", "-", stdin=head + struct.pack("<H", len(text)) + text + body)
check(not os.path.exists("q.png"), "nothing half-made")

finish()
