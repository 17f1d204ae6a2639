#!/usr/bin/env python3
"""Draws what a linear sample costs against the volume's size and the number of positions.

Usage: plots.py BENCHMARK_BINARY [REPETITIONS [IMAGE_FOLDER]]

Ours and the peers', one thread. Needs matplotlib (Debian: python3-matplotlib) and some 5 GB.
"""
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
    figure, axes = plt.subplots(1, 2, figsize=(10, 4.8), sharey=True, layout="constrained")
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
        ax.yaxis.set_major_formatter(matplotlib.ticker.FormatStrFormatter("%g"))
        ax.grid(True, which="both", axis="y", linewidth=0.3, alpha=0.5)
        ax.grid(True, axis="x", linewidth=0.4, alpha=0.6)
    axes[0].set_ylabel("ns a sample, one thread")
    figure.suptitle(f"Trilinear samples of floats, {POSITIONS // 1_000_000} million positions"
                    if by_size else f"Trilinear samples of floats in {SIZE}^3 voxels")
    handles, labels = axes[0].get_legend_handles_labels()
    figure.legend(handles, labels, loc="outside lower center", ncols=4, frameon=False)
    figure.savefig(path, dpi=120)


def main():
    if len(sys.argv) not in (2, 3, 4):
        sys.exit(__doc__.split("\n\n")[1])
    repetitions = sys.argv[2] if len(sys.argv) > 2 else "5"
    here = pathlib.Path(__file__).resolve().parent
    folder = pathlib.Path(sys.argv[3]) if len(sys.argv) > 3 else here.parent / "docs" / "images"
    report = measured.run(sys.argv[1], repetitions, "^curve/", STRATUM_BENCH_CURVES="1")
    figures = measured.Figures(report["benchmarks"])
    draw(figures, True, folder / "speed-by-volume.png")
    draw(figures, False, folder / "speed-by-positions.png")


if __name__ == "__main__":
    main()
