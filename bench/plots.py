#!/usr/bin/env python3
"""Draws what a linear sample costs against the volume's size and the number of positions.

Ours and the peers', one thread. Needs matplotlib (Debian: python3-matplotlib) and some 5 GB.
"""
import argparse
import json
import pathlib
import sys

import measured

try:
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
except ImportError as error:
    sys.exit(f"plots.py: {sys.executable} has no module '{error.name}'; "
             "install python3-matplotlib and run with Debian's /usr/bin/python3")

POSITIONS, SIZE = 4_000_000, 256
SERIES = {"box": ("OpenVDB BoxSampler", "tab:grey", "s-"),
          "nano-1": ("NanoVDB order 1", "tab:orange", "D-"),
          "operator": ("Stratum, whole call", "tab:blue", "o-"),
          "loop-halo": ("Stratum, loop on a filled halo", "tab:blue", "o--")}


def points(figures, kind, access, by_size):
    """Pairs of a size or a number, and nanoseconds a sample."""
    found = []
    for name in figures.names(f"curve/{kind}/{access}/"):
        size, count = (int(part) for part in name.split("/")[3:5])
        cost = figures.nanoseconds(name)
        if cost and (count == POSITIONS if by_size else size == SIZE and count != POSITIONS):
            found.append((size if by_size else count, cost))
    return sorted(found)


def draw(figures, by_size, path):
    figure, axes = plt.subplots(1, 2, figsize=(10, 4.8), sharey=True)
    figure.subplots_adjust(left=0.09, right=0.985, top=0.86, bottom=0.22, wspace=0.05)
    for ax, access in zip(axes, measured.ACCESSES):
        for kind, (label, colour, style) in SERIES.items():
            curve = points(figures, kind, access, by_size)
            if curve:
                ax.loglog(*zip(*curve), style, color=colour, label=label, markersize=5)
        ax.set_title(f"{access} positions")
        ax.set_xlabel("voxels per axis of a dense volume" if by_size else "positions")
        if by_size:
            ax.set_xticks([64, 128, 256, 512], ["64", "128", "256", "512"])
        ax.minorticks_off()
        ax.yaxis.set_major_locator(matplotlib.ticker.LogLocator(subs=(1, 2, 5) if by_size else (1,)))
        ax.yaxis.set_major_formatter(matplotlib.ticker.FuncFormatter(lambda v, _: f"{v:,.10g}"))
        ax.grid(True, linewidth=0.4, alpha=0.6)
    axes[0].set_ylabel("ns a sample, one thread")
    figure.suptitle(f"Trilinear samples of floats, {POSITIONS // 1_000_000} million positions"
                    if by_size else f"Trilinear samples of floats in ${SIZE}^3$ voxels")
    handles, labels = axes[0].get_legend_handles_labels()
    figure.legend(handles, labels, loc="lower center", ncols=4, frameon=False)
    figure.savefig(path, dpi=120)


def main():
    images = pathlib.Path(__file__).resolve().parent.parent / "docs" / "images"
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("binary", help="the benchmark program")
    parser.add_argument("repetitions", nargs="?", type=int, default=5)
    parser.add_argument("--folder", type=pathlib.Path, default=images, help="for the pictures")
    parser.add_argument("--keep", type=pathlib.Path, help="write the figures to this file too")
    parser.add_argument("--again", type=pathlib.Path, help="draw what was kept; measure nothing")
    arguments = parser.parse_args()
    report = (json.loads(arguments.again.read_text()) if arguments.again
              else measured.run(arguments.binary, arguments.repetitions, "^curve/",
                                STRATUM_BENCH_CURVES="1"))
    if arguments.keep:
        arguments.keep.write_text(json.dumps(report))
    figures = measured.Figures(report["benchmarks"])
    draw(figures, True, arguments.folder / "speed-by-volume.png")
    draw(figures, False, arguments.folder / "speed-by-positions.png")


if __name__ == "__main__":
    main()
