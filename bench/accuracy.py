#!/usr/bin/env python3
"""Measures how accurate the samplers are: draws the pictures of docs/accuracy.md, and renews
its tables and that of the general path in docs/performance.md.

Usage: accuracy.py ACCURACY_BINARY [DOCS_FOLDER]

Needs matplotlib (Debian: python3-matplotlib). Exits with 1 when something that must hold does not.
"""
import csv
import pathlib
import re
import subprocess
import sys

try:
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    import numpy as np
except ImportError as error:
    sys.exit(f"accuracy.py: {sys.executable} has no module '{error.name}'; "
             "install python3-matplotlib and run with Debian's /usr/bin/python3")

SECTIONS = {"accuracy.md": ["convergence", "levels", "band"], "performance.md": ["general"]}
COLOURS = {"kLinear": "tab:grey", "kCubicC0": "tab:blue", "kCubicC1": "tab:orange",
           "kQuadraticC0Averaged": "tab:green", "kCubicC1Monotonic": "tab:red"}


def run(binary, *arguments):
    result = subprocess.run([binary, *arguments], capture_output=True, text=True)
    if result.returncode not in (0, 1):
        sys.exit(f"accuracy.py: {binary} {' '.join(arguments)} failed: {result.stderr.strip()}")
    return result


def renew_tables(binary, document, sections):
    """Puts each section's tables between the markers of its name; true when all that must hold does."""
    text, holds = document.read_text(), True
    for section in sections:
        result = run(binary, section)
        holds &= result.returncode == 0
        notes = "".join(f"    {line}\n" for line in result.stderr.splitlines())
        body = result.stdout.strip() + "\n" + (f"\n{notes}" if notes else "")
        text, count = re.subn(rf"(<!-- {section} -->\n).*?(<!-- end -->)",
                              lambda match: match[1] + "\n" + body + "\n" + match[2], text,
                              flags=re.DOTALL)
        if count != 1:
            sys.exit(f"accuracy.py: {document} must have one pair of markers for '{section}'")
    document.write_text(text)
    return holds


def draw_convergence(binary, path):
    lines = csv.reader(run(binary, "convergence", "--csv").stdout.splitlines())
    next(lines)
    series = {}
    for row in lines:
        if row and row[0] == "2-4":
            series.setdefault((row[2], row[1]), []).append([float(row[i]) for i in (3, 4, 6)])
    figure, axes = plt.subplots(1, 2, figsize=(10.5, 5.4), sharex=True, sharey=True)
    figure.subplots_adjust(left=0.075, right=0.985, top=0.94, bottom=0.25, wspace=0.05)
    for ax, clamp, title in zip(axes, ("off", "on"), ("clamp off", "clamp on (as operators run)")):
        for (setting, mode), points in series.items():
            if setting not in (clamp, "-"):
                continue
            voxels, largest, rms = np.transpose(points)
            ax.loglog(voxels, largest, "o-", color=COLOURS[mode], label=mode, markersize=4)
            ax.loglog(voxels, rms, "s--", color=COLOURS[mode], markersize=3, linewidth=0.9)
        reference_slopes(ax)
        ax.set(title=title, xlabel="voxels per wave")
        ax.set_xticks([8, 16, 32, 64, 128], ["8", "16", "32", "64", "128"])
        ax.minorticks_off()
        ax.grid(True, linewidth=0.4, alpha=0.6)
    axes[1].annotate("the clamp decides the largest\nerrors of all cubic modes", (12, 2.9e-2),
                     xytext=(7.7, 2e-6), fontsize=8,
                     arrowprops={"arrowstyle": "-", "linewidth": 0.6})
    axes[0].set_ylabel("error, for a field of amplitude 1")
    handles = axes[0].get_legend_handles_labels()[0]
    handles += [plt.Line2D([], [], color="black", marker="o", markersize=4, label="largest error"),
                plt.Line2D([], [], color="black", marker="s", markersize=3, linestyle="--",
                           linewidth=0.9, label="root mean square")]
    figure.legend(handles=handles, loc="lower center", ncols=4, frameon=False)
    figure.savefig(path, dpi=130)


def reference_slopes(ax):
    start, end = 40.0, 128.0
    for order, level in ((2, 2.4e-2), (3, 2.2e-5 * 16), (4, 2.4e-6)):
        values = [level, level * (start / end) ** order]
        ax.loglog([start, end], values, ":", color="black", linewidth=1.2)
        ax.annotate(f"order {order}", (start, values[0]), textcoords="offset points",
                    xytext=(-4, 0), ha="right", va="center", fontsize=8)


def read_plane(binary):
    tiles, pixels, names = [], [], []
    for row in csv.reader(run(binary, "plane").stdout.splitlines()):
        if row[0] == "tile":
            tiles.append([float(value) for value in row[1:]])
        elif row[1] == "x":
            names = row[3:]
        else:
            pixels.append([float(value) for value in row[1:]])
    return tiles, np.array(pixels), names


def draw_plane(binary, path):
    tiles, pixels, names = read_plane(binary)
    shown = ["kLinear", "kCubicC0 (operators)", "kCubicC1 (operators)", "kCubicC1 (general path)"]
    size = int(round(len(pixels) ** 0.5))
    x, y = pixels[:, 0], pixels[:, 1]
    extent = (x.min(), x.max(), y.min(), y.max())
    figure, axes = plt.subplots(1, 4, figsize=(15, 4.2), sharex=True, sharey=True,
                                layout="constrained")
    for ax, name in zip(axes, shown):
        error = np.abs(pixels[:, 2 + names.index(name)]).reshape(size, size)
        image = ax.imshow(np.maximum(error, 1e-12), origin="lower", extent=extent, cmap="magma",
                          norm=matplotlib.colors.LogNorm(1e-8, 3e-2), interpolation="nearest")
        for left, bottom, edge in tiles:
            ax.add_patch(plt.Rectangle((left, bottom), edge, edge, fill=False, edgecolor="white",
                                       linewidth=0.3, alpha=0.45))
        ax.set(title=name, xlim=extent[:2], ylim=extent[2:], xlabel="x, in finest voxels")
    axes[0].set_ylabel("y, in finest voxels")
    figure.colorbar(image, ax=axes, shrink=0.85, label="absolute error (amplitude 1)",
                    extend="both")
    figure.savefig(path, dpi=130)


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__.split("\n\n")[1])
    here = pathlib.Path(__file__).resolve().parent
    docs = pathlib.Path(sys.argv[2]) if len(sys.argv) == 3 else here.parent / "docs"
    (docs / "images").mkdir(exist_ok=True)
    draw_convergence(sys.argv[1], docs / "images" / "convergence.png")
    draw_plane(sys.argv[1], docs / "images" / "level-change-error.png")
    holds = [renew_tables(sys.argv[1], docs / document, sections)
             for document, sections in SECTIONS.items()]
    if not all(holds):
        sys.exit("accuracy.py: something that must hold does not; see the tables")


if __name__ == "__main__":
    main()
