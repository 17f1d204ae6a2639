"""Running the benchmarks, and their medians."""
import json
import os
import subprocess
import sys

SHAPES = ("2-4", "5-5")
ACCESSES = ("random", "coherent")
CONTENTS = ("dense", "band")
THREADS = (1, 2)


def run(binary, repetitions, name_filter, **environment):
    """The report of one process, whose benchmarks take turns at random."""
    output = subprocess.run(
        [binary, f"--benchmark_filter={name_filter}", f"--benchmark_repetitions={repetitions}",
         "--benchmark_min_time=0.05", "--benchmark_report_aggregates_only=true",
         "--benchmark_enable_random_interleaving=true", "--benchmark_format=json"],
        check=True, capture_output=True, text=True, env=os.environ | environment).stdout
    report = json.loads(output)
    for row in report["benchmarks"]:
        if "error_message" in row:
            print(f"{row['run_name']}: {row['error_message']}", file=sys.stderr)
    return report


class Figures:
    """Medians by benchmark name. What was not measured, or was wrong, is None."""

    def __init__(self, rows):
        self._medians = self._aggregates(rows, "median")
        self._variations = self._aggregates(rows, "cv")

    @staticmethod
    def _aggregates(rows, which):
        # A single repetition has no aggregates: it is its own median.
        return {row["run_name"].removesuffix("/real_time"): row
                for row in rows if row.get("aggregate_name", "median") == which}

    def milliseconds(self, name):
        scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}
        row = self._medians.get(name)
        return row and row["real_time"] * scale[row["time_unit"]]

    def nanoseconds(self, name):
        """Of one sample or location."""
        row = self._medians.get(name)
        return row and row.get("items_per_second") and 1e9 / row["items_per_second"]

    def counter(self, name, counter):
        return self._medians.get(name, {}).get(counter)

    def names(self, prefix):
        return [name for name in self._medians if name.startswith(prefix)]

    def unsteady(self, limit):
        """The names whose repetitions differ by more than this share."""
        return [name for name, row in self._variations.items() if row["real_time"] > limit]


def ratio(ours, peer):
    return ours / peer if ours is not None and peer else None


def text(value, digits=3):
    """With so many significant digits."""
    if value is None:
        return "-"
    if value == 0 or abs(value) >= 10 ** digits:
        return f"{value:.0f}"
    return f"{value:#.{digits}g}".rstrip(".")


def per_thread(values, digits=3):
    return " / ".join(text(value, digits) for value in values)


def table(columns, rows):
    print("\n| " + " | ".join(columns) + " |")
    print("|---" * len(columns) + "|")
    for row in rows:
        print("| " + " | ".join(row) + " |")
