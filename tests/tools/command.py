"""The command line: results, messages, exit statuses."""
import json
import os
import struct

import calling
from calling import check, completions, finish, refuses, run


def answers(*arguments, stdin=b""):
    return calling.answers(*arguments, stdin=stdin).decode()


volume = "formula:sunflower"
with open("text.vdb", "w") as file:
    file.write("these are words, not voxels")
with open("short.vdb", "wb") as file:
    file.write(struct.pack("<qI", 0x56444220, 224))

# Input that cannot be used: status 1. A build without the file format says so for each of them.
readsFiles = "was not found" not in run("info", "text.vdb")[2]
for name, words in [("text.vdb", "is no .vdb file"), ("short.vdb", "cut short"),
                    ("missing.vdb", "No such file"), (".", "is a directory")]:
    refuses(1, words if readsFiles else "cannot read .vdb files", "info", name)
for words, name, *arguments in (
        ("no channel 'heat'; the volume has: density, distance, velocity", "sample", "-c", "heat",
         "--random", "5"),
        ("there is no channel 'heat'", "slice", "-c", "heat", "-o", "no.png"),
        ("cannot read 'none.csv': No such file", "sample", "-p", "none.csv"),
        ("cannot read 'none.ply': No such file", "gradient", "-p", "none.ply"),
        ("standard input: it is no .npy file", "sample", "-p", "-", "--input-format", "npy"),
        ("positions come from .csv, .npy and .ply files", "sample", "-p", "x.json"),
        ("is not uniform", "info", "--tolerance", "0.1"),
        ("--normal must be a direction", "slice", *"--origin 0 0 0 --normal 0 0 0 -o no.png".split()),
        ("the plane does not meet", "slice", *"--origin 9 9 9 --normal 1 1 1 -o no.png".split()),
        ("there is no channel 'heat'", "slice", "--minus-channel", "heat", "-o", "no.png"),
        ("standard input, line 1", "sample", "-p", "-"),
        ("only float and double have a gradient", "sample", "-c", "velocity", "--gradient",
         "--random", "5"),
        ("cannot write 'no/such/folder.csv'", "sample", "--random", "5", "-o", "no/such/folder.csv"),
        ("does not meet the channel's data", "slice", "--at", "5", "-o", "no.png")):
    refuses(1, words, name, volume, *arguments, stdin=b"1;2;3\n")
refuses(1, "there is no formula 'rose'", "info", "formula:rose")
open("keep.csv", "w").write("0,0,0\n")
refuses(1, "is what is read", "sample", volume, "-p", "keep.csv", "-o", "keep.csv")
check(open("keep.csv").read() == "0,0,0\n", "an input stays")
check(answers("sample", volume, "--random", "5", "-o", "/dev/stdout").count("\n") > 4, "/dev/stdout")

# Wrong calls: status 2, and what is allowed.
commands = "the commands are: info, sample, gradient, slice, scatter, property, demo, run"
for words, arguments in [
        ("there is no command 'paint'; " + commands, ["paint"]),
        ("there is no option '--paint'; " + commands, ["--paint"]),
        ("a command is missing; " + commands, []),
        ("not expected: --paint", ["info", volume, "--paint"]),
        ("--grid: a volume by formula has no grids", ["info", volume, "--grid", "density"]),
        ("there is no sampler '' among {linear,cubic-c0,cubic-c1}",
         ["slice", volume, "--sampler", ",", "-o", "no.png"]),
        ("there is no sampler 'cubic' among {linear,cubic-c0,cubic-c1}",
         ["slice", volume, "--sampler", "linear,cubic", "-o", "no.png"])]:
    refuses(2, words, *arguments)
refuses(1, "would be 44170 by 8688 pixels large, and 32767 is the most", "slice", volume, "--size",
        "8192", "--sampler", ",".join(["linear"] * 5), "-o", "no.png")
answers("slice", "--sampler", "linear,cubic-c1", volume, "--size", "32", "-o", "order.png")
for arguments in [("info",), ("sample", volume), ("sample", volume, "--random", "many"),
                  ("sample", volume, "--random", "5", "-p", "keep.csv"),
                  ("sample", volume, "--random", "5", "--format", "xml"),
                  ("sample", volume, "--random", "5", "--format", "csv", "--json"),
                  ("sample", volume, "--random", "5", "--seed", str(2**64)),
                  ("sample", volume, "--random", "5", "--channel", ""),
                  ("info", volume, "--tolerance", "nan"),
                  ("slice", volume, "-o", "no.png", "--fraction", "nan"),
                  ("slice", volume, "-o", "no.png", "--origin", "0", "0", "0"),
                  ("slice", volume, "-o", "-", "--json"),
                  ("slice", volume, "-o", "no.png", "--at", "0", "--fraction", "1"),
                  ("slice", volume, "-o", "no.png", "--range", "2", "1")]:
    refuses(2, "", *arguments)
check(not os.path.exists("no.png"), "a failed call leaves no picture")

# Results. The values are those of the formula in the middle of the first seed, which no other one
# overlaps there by more than a little, and away from all seeds.
check("Example: stratum sample" in answers("sample", "--help"), "help shows an example")
for shape in "2", "5":
    check("float3" in answers("info", volume, "--shape", shape), "info names value types")
    out = answers("sample", volume, "--shape", shape, "-p", "-", stdin=b"0.08761,0,0.057\n5,5,5\n")
    header, seed, away = out.splitlines() or [""] * 3
    check(header == "x,y,z,value" and away == "5,5,5,0", out)
    check(0.97 < float(seed.split(",")[3]) < 1.02, seed)
code, out, err = run("sample", volume, "--random", "9", "-vv", "--timers")
check(code == 0 and out.count(b"\n") == 10 and "load volume" in err, "diagnostics stay off stdout")
answers("slice", volume, "--axis", "x", "--tiles", "--depth", "--size", "64", "-o", "slice.png")
check(open("slice.png", "rb").read(8) == b"\x89PNG\r\n\x1a\n", "slice writes a PNG")
positions = answers("sample", volume, "--random", "9", "--seed", "2", "--provenance")
check(positions.startswith("# stratum ") and "\n# input " + volume + "\n" in positions, positions)
answers("gradient", volume, "--random", "9", "-o", "p.ply")
check(b"\ncomment command stratum gradient" in open("p.ply", "rb").read(), "PLY says its origin")
table = json.loads(answers("sample", volume, "--random", "9", "--seed", "2", "--json"))
check(len(table["rows"]) == 9 and table["inputs"] == [volume], table)
info = json.loads(answers("info", volume, "--json"))
check([c["value_type"] for c in info["channels"]] == ["float", "float", "float3"], info)
check(info["inputs"] == [volume] and info["command"] == f"stratum info {volume} --json", info)
for words in (["--normal", "1", "2", "3"], ["--u", "1", "0", "0", "--v", "1", "1", "0"]):
    panels = json.loads(answers("slice", volume, "--origin", "0", "0", "0", *words, "--tiles",
                                "--sampler", "linear,linear", "--size", "64", "--json",
                                "-o", "slice.png"))["panels"]
    check(len(panels) == 2 and panels[0] == panels[1] and panels[0]["highest"] > 0.3, panels)
zero = json.loads(answers("slice", volume, "--minus", volume, "--json", "-o", "zero.png"))
check(zero["panels"][0]["lowest"] == zero["panels"][0]["highest"] == 0, zero)
check(answers("--version").startswith("stratum ") and "TBB" in answers("--version"), "versions")
manual, script = answers("--help-man"), answers("--help-bash-completion")
check(all(f".SS stratum {name}\n" in manual for name in ("info", "sample", "gradient", "slice",
                                                         "scatter", "property", "run", "demo"))
      and "\\-\\-on\\-reject" in manual, manual)
check(completions(script, "stratum sample x.vdb --shape ", "stratum gr", "stratum slice --fr",
                  "stratum run --th", "stratum slice --sampler cu", "stratum sc",
                  "stratum scatter f --on-reject ", "stratum scatter --se")
      == ["2 5", "gradient", "--fraction", "--threads", "cubic-c0 cubic-c1", "scatter",
          "resample discard", "--seed --seed-array"], "completion")
said = answers("demo")
check("stratum-demo.png" in said and "60000 of them lie inside" in said, said)
for picture in ("stratum-demo.png", "stratum-demo-locations.png"):
    check(os.path.getsize(picture) > 50000, f"demo draws {picture}")

finish()
