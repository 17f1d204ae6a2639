"""What the command makes of its streams, its files' names and signals."""
import json
import os
import re
import signal
import subprocess
import time

from calling import check, finish, run, tool

volume = "formula:sunflower"


def without(streams, *arguments):
    """Runs the command with some of its standard streams closed."""

    def close():
        for stream in streams:
            os.close(stream)

    code, out, err = run(*arguments, stdin=b"", preexec_fn=close)
    return code, out.decode(), err


# A closed stream fails when it is asked for, and nothing else goes there.
sample = "sample", volume, "--random", "3"
check(without([2], "info", "none.vdb") == (1, "", ""), "an error does not end up in the results")
code, out, err = without([2], *sample)
check((code, out.count("\n")) == (0, 4), f"results without an error stream: {code} {out!r}")
check(without([1], *sample)[::2] ==
      (1, "stratum: cannot write 'standard output': Bad file descriptor\n"), "closed output")
check(without([1], *sample, "-o", "file.csv") == (0, "", ""), "a file needs no output stream")
check(len(open("file.csv").readlines()) == 4, "a file without an output stream")
for words in ["--input-format", "csv"], ["--input-format", "npy"], ["--input-format", "ply"]:
    check(without([0], "sample", volume, "-p", "-", *words) ==
          (1, "", "stratum: cannot read standard input: Bad file descriptor\n"), words)
check(without([0], "run", "-")[0] == 1, "a graph from a closed stream")
check(without([0, 1, 2], "slice", volume, "--size", "32", "-o", "all.png") == (0, "", ""),
      "no streams at all")
check(open("all.png", "rb").read(4) == b"\x89PNG", "a picture without any stream")
check(without([0, 2], *sample)[1].count("\n") == 4, "results go to the results alone")

# A graph: one that takes long, and one that pretends to be cancelled.
ones = [[1] * 4] * 4
wave = {"formula": "sine", "amplitude": ones, "wave": [1, 2, 3]}
slow = {"nodes": {"v": {"type": "volume", "trees": [{
    "shape": 2, "tiles": [{"depth": 28, "box": [[0, 0, 0], [127, 127, 127]]}],
    "channels": [{"name": "c", "value_type": "float4x4", "fill": [wave] * 400}]}]},
    "s": {"type": "sample_volume", "object": {"node": "v"}, "positions": [[0, 0, 0]],
          "default_value": ones, "property": "c"}},
    "outputs": {"s": {"node": "s", "file": "never.json"}}}
json.dump(slow, open("slow.json", "w"))
many = {"nodes": {"v": {"type": "volume", "file": volume},
                  "p": {"type": "array", "value_type": "float3", "values": [[0, 0, 0]] * 300000}},
        "outputs": {}}
for n in range(2000):
    many["nodes"][f"s{n}"] = {"type": "sample_volume", "object": {"node": "v"},
                              "positions": {"node": "p"}, "default_value": 0, "property": "density",
                              "sampler": "kCubicC1", "settings": {"cancel_at_question": 2}}
    many["outputs"][f"s{n}"] = {"node": f"s{n}", "file": f"never{n}.json"}
json.dump(many, open("many.json", "w"))


def catches(pid, number):
    """Whether a process has come to handle a signal."""
    status = open(f"/proc/{pid}/status").read()
    return int(re.search("SigCgt:\t(.*)", status).group(1), 16) >> (number - 1) & 1


waiting = "sample", volume, "-p", "-", "-o", "never.csv"  # for positions
for call, wait in ((waiting, 0.3), (("run", "slow.json"), 1.3), (("run", "many.json"), 0.7),
                   (("run", "many.json"), 1.3)):
    running = subprocess.Popen([tool, *call], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, text=True)
    while running.poll() is None and not catches(running.pid, signal.SIGINT):
        time.sleep(0.01)
    time.sleep(wait)
    start = time.monotonic()
    running.send_signal(signal.SIGINT)
    running.wait(timeout=300)  # the stream of positions is still open
    out, err = running.communicate()
    check((running.returncode, out, err) == (130, "", "stratum: interrupted\n"),
          f"{call}: {running.returncode} {out[:80]!r} {err!r}")
    check(time.monotonic() - start < 10, f"{call}: {time.monotonic() - start} s to end")
check(not [name for name in os.listdir(".") if name.startswith("never")], os.listdir("."))

# Common options of run. A graph's inputs and outputs are kept apart.
small = {"nodes": {"v": {"type": "volume", "file": volume},
                   "s": {"type": "sample_volume", "object": {"node": "v"},
                         "positions": [[0, 0, 0]], "default_value": 0, "property": "density"}}}
json.dump(small, open("small.json", "w"))


def ran(*arguments):
    code, out, err = run("run", *arguments)
    return code, out.decode(), err


plain = ran("small.json")
check(plain[0] == 0 and plain[2] == "", plain)
for options in ["--threads", "1"], ["--quiet"], ["--json"], ["-v"]:
    check(ran("small.json", *options) == plain, options)
timed = ran("small.json", "--timers")
check(timed[:2] == plain[:2] and "load volume" in timed[2] and "calls" in timed[2], timed)
check(ran("small.json", "-o", "small.json")[2] ==
      "stratum: 'small.json' is what is read; choose another file to write\n", "the graph itself")
for wishes, words in [
        ({"a": {"node": "s", "file": "x.json"}, "b": {"node": "s", "file": "./x.json"}},
         "/outputs/b/file: this file is written by /outputs/a already"),
        ({"a": {"node": "s", "file": "clash.json"}},
         "/outputs/a/file: this file is another input or output of the run"),
        ({"a": {"node": "s", "file": "p.csv", "positions": [[0, 0, 0]]}},
         "/outputs/a/file: this file is another input or output of the run")]:
    small["nodes"]["p"] = {"type": "array", "file": "p.csv"}
    open("p.csv", "w").write("1,2,3\n")
    json.dump({**small, "outputs": wishes}, open("clash.json", "w"))
    check(ran("clash.json") == (1, "", f"stratum: clash.json: {words}\n"), ran("clash.json"))
check(open("p.csv").read() == "1,2,3\n" and not os.path.exists("x.json"), "nothing is written")

# Names that are no UTF-8 cost neither the picture nor its title.
odd = b"odd\xff\xfe.png"
check(run("slice", volume, "--size", "64", "-o", odd)[0] == 0 and os.path.exists(odd), "a file name of any bytes")

# A sampler that has no gradients: the operator's default, and a warning.
for command in ["gradient"], ["sample", "--gradient"]:
    call = [command[0], volume, *command[1:], "--random", "2", "--sampler", "cubic-c1",
            "--default", "3"]
    code, out, err = run(*call)
    check(code == 0 and out.count(b",3,3,3\n") == 2 and err ==
          "stratum: warning: there are no gradients of the sampler 'cubic-c1': all are the "
          "default, 3\n", (code, out, err))
    check(run(*call, "-q")[2] == "", "quiet")

finish()
