#!/usr/bin/env python3
"""Runs the benchmarks and prints medians and ratios as Markdown tables.

Usage: table.py BENCHMARK_BINARY [REPETITIONS]

All figures of a row come from one process and one run; a ratio is the peer's median over ours, so
that more is better for us.
"""
import json
import subprocess
import sys

POSITIONS = 1_000_000


def medians(binary, repetitions):
    output = subprocess.run(
        [binary, f"--benchmark_repetitions={repetitions}", "--benchmark_min_time=0.05",
         "--benchmark_report_aggregates_only=true", "--benchmark_enable_random_interleaving=true",
         "--benchmark_format=json"],
        check=True, capture_output=True, text=True).stdout
    return {run["run_name"].removesuffix("/real_time"): run
            for run in json.loads(output)["benchmarks"] if run["aggregate_name"] == "median"}


def sampling_table(runs):
    def nanoseconds(name):
        return runs[name]["real_time"] * 1e6 / POSITIONS if name in runs else None

    def cell(value, peer):
        if value is None:
            return "-"
        return f"{value:.1f}" + (f" ({peer / value:.2f}x)" if peer else "")

    print("| volume | positions | threads | shape | peer | loop on a halo | with its building | loop without |")
    print("|---|---|---|---|---|---|---|---|")
    for content in ("dense", "band"):
        for access in ("random", "coherent"):
            for threads in (1, 2):
                peer = nanoseconds(f"peer/{access}/{content}/threads/{threads}")
                for shape in ("2-4", "5-5"):
                    row = f"{shape}/{access}/{content}/threads/{threads}"
                    cells = [cell(nanoseconds(f"{kind}/{row}"), peer)
                             for kind in ("loop-halo", "operator", "loop-plain")]
                    print(f"| {content} | {access} | {threads} | {shape} | {cell(peer, None)} | "
                          + " | ".join(cells) + " |")


def plain_table(runs, prefix, unit):
    print(f"\n| {prefix} | median, {unit} |")
    print("|---|---|")
    for name, run in runs.items():
        if name.startswith(prefix):
            print(f"| {name.removeprefix(prefix + '/')} | {run['real_time']:.1f} |")


def main():
    runs = medians(sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else "5")
    print("Nanoseconds a sample; in brackets the peer's time over ours.\n")
    sampling_table(runs)
    plain_table(runs, "halo", "ms")
    plain_table(runs, "find-tile", "ns")
    plain_table(runs, "build", "ms")


if __name__ == "__main__":
    main()
