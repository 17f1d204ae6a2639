#!/usr/bin/env python3
"""Times reading .vdb files beside OpenVDB itself, and measures what memory that and samples take.

Usage: import.py BINARY [REPETITIONS]

Every step is a process of its own; ours and the peer's take turns. The peer opens a file and reads
all of it. Memory is the peak of a process over the bytes of the values that the volume stores,
the program's own 36 MB included; samples are a million linear ones, anywhere in the data.
"""
import pathlib
import statistics
import subprocess
import sys
import tempfile

# Name, kind, edge of a cube or radius of a sphere. The first two have 17 million active voxels, the
# third has 50 million.
FILES = (("dense", "dense", 257), ("band", "band", 475), ("dense, large", "dense", 368))


def step(binary, name, path, *arguments):
    output = subprocess.run([binary, name, path, *map(str, arguments)], check=True, capture_output=True,
                            text=True).stdout
    return {key: float(value) for key, value in map(str.split, output.splitlines())}


def compare(binary, path, repetitions):
    """Medians of the peer's steps and of ours for both shapes."""
    runs = {"peer": [], 2: [], 5: []}
    for shape in (2, 5):
        step(binary, "check", path, shape)  # the answers
    for _ in range(repetitions):
        runs["peer"].append(step(binary, "peer", path))
        for shape in (2, 5):
            runs[shape].append(step(binary, "sample", path, shape))
    return {who: {key: statistics.median(run[key] for run in each) for key in each[0]}
            for who, each in runs.items()}


def main():
    binary = str(pathlib.Path(sys.argv[1]).resolve())
    repetitions = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    print("| file | shape | OpenVDB, ms | ours, ms | ratio | processor time, ratio | "
          "peak, importing | held | peak, sampling |\n" + "|---" * 9 + "|")
    with tempfile.TemporaryDirectory() as folder:
        path = str(pathlib.Path(folder) / "file.vdb")
        for name, kind, size in FILES:
            for compression in ("plain", "compressed"):
                step(binary, kind, path, size, compression)
                medians = compare(binary, path, repetitions)
                peer = medians["peer"]
                for shape, children in ((2, "2-4"), (5, "5-5")):
                    ours = medians[shape]
                    memory = " | ".join(f"{ours[key] / ours['stored']:.2f}"
                                        for key in ("peak", "held", "sampling-peak"))
                    print(f"| {name}, {compression} | {children} | {peer['ms']:.0f} | {ours['ms']:.0f} | "
                          f"{ours['ms'] / peer['ms']:.2f} | "
                          f"{ours['processor-ms'] / peer['processor-ms']:.2f} | {memory} |", flush=True)


if __name__ == "__main__":
    main()
