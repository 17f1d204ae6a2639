#!/usr/bin/env python3
"""Runs the benchmarks and prints their medians as Markdown: the machine, the targets, all figures.

A ratio's two figures come from one process, where all benchmarks take turns at random.
"""
import argparse
import json
import pathlib

import details
import machine
import measured
import targets

PARTS = {"sampling": "-^(curve|locations|volume-locations)/", "locations": "^(volume-)?locations/"}


def measure(binary, repetitions, parts):
    total, stolen = machine.processor_times()
    reports = {part: measured.run(binary, repetitions, PARTS[part]) for part in parts}
    total_after, stolen_after = machine.processor_times()
    return {"repetitions": repetitions, "reports": reports,
            "stolen": (stolen_after - stolen) / max(1, total_after - total)}


def print_tables(run):
    reports = run["reports"]
    figures = measured.Figures([row for report in reports.values() for row in report["benchmarks"]])
    machine.describe(next(iter(reports.values()))["context"], run["repetitions"], run["stolen"])
    unsteady = figures.unsteady(0.1)
    print(f"- Rows whose repetitions vary by more than a tenth (standard deviation over mean): "
          f"{len(unsteady)} of {len(figures.names(''))}\n")
    targets.print_targets(figures)
    if "sampling" in reports:
        details.print_sampling(figures)
    if "locations" in reports:
        details.print_locations(figures)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("binary", help="the benchmark program")
    parser.add_argument("repetitions", nargs="?", type=int, default=5)
    parser.add_argument("parts", nargs="*", choices=[[], *PARTS], help="both without")
    parser.add_argument("--keep", type=pathlib.Path, help="write the figures to this file too")
    parser.add_argument("--again", type=pathlib.Path, help="print what was kept; measure nothing")
    arguments = parser.parse_args()
    run = (json.loads(arguments.again.read_text()) if arguments.again
           else measure(arguments.binary, arguments.repetitions, arguments.parts or list(PARTS)))
    if arguments.keep:
        arguments.keep.write_text(json.dumps(run))
    print_tables(run)


if __name__ == "__main__":
    main()
