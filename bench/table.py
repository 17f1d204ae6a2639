#!/usr/bin/env python3
"""Runs the benchmarks and prints medians and ratios as Markdown tables.

Usage: table.py BENCHMARK_BINARY [REPETITIONS [sampling|locations]]

All figures of a row come from one process and one run; a ratio is the peer's median over ours, so
that more is better for us.
"""
import json
import subprocess
import sys

POSITIONS = 1_000_000


def medians(binary, repetitions, part):
    chosen = {"sampling": "-^(volume-)?locations/", "locations": "^(volume-)?locations/"}.get(part, ".")
    output = subprocess.run(
        [binary, f"--benchmark_filter={chosen}", f"--benchmark_repetitions={repetitions}", "--benchmark_min_time=0.05",
         "--benchmark_report_aggregates_only=true", "--benchmark_enable_random_interleaving=true",
         "--benchmark_format=json"],
        check=True, capture_output=True, text=True).stdout
    runs = json.loads(output)["benchmarks"]
    for run in runs:
        if "error_message" in run:
            print(f"{run['run_name']}: {run['error_message']}", file=sys.stderr)
    return {run["run_name"].removesuffix("/real_time"): run
            for run in runs if run.get("aggregate_name") == "median"}


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


MODES = ("kQuadraticC0Averaged", "kCubicC0", "kCubicC1", "kCubicC1Monotonic")


def cubic_table(runs):
    """Cubic samples beside linear ones on a halo and beside the peer's tricubic ones."""
    def nanoseconds(name):
        return runs[name]["real_time"] * 1e6 / POSITIONS if name in runs else None

    print("\n| volume | positions | threads | shape | values | our linear | peer's tricubic | "
          + " | ".join(mode.removeprefix("k") for mode in MODES) + " |")
    print("|---" * 11 + "|")
    for shape, kind, content in (("2-4", "float", "dense"), ("5-5", "float", "dense"),
                                 ("2-4", "float", "band"), ("2-4", "double", "band"),
                                 ("2-4", "double3", "band"), ("2-4", "float2", "band"),
                                 ("2-4", "float3", "band"), ("2-4", "float4", "band"),
                                 ("2-4", "float3x3", "band"), ("2-4", "float4x2", "band"),
                                 ("2-4", "float4x4", "band")):
        for access in ("random", "coherent"):
            for threads in (1, 2):
                end = f"{access}/{content}/threads/{threads}"
                linear = nanoseconds(f"loop-halo/{shape}/{end}") if kind == "float" else None
                peer = nanoseconds(f"cubic-peer/{end}") if kind == "float" else None
                cells = []
                for mode in MODES:
                    ours = nanoseconds(f"cubic/{mode}/{kind}/{shape}/{end}")
                    ratio = f" ({peer / ours:.1f}x)" if peer else ""
                    cells.append(f"{ours:.0f}{ratio}")
                print(f"| {content} | {access} | {threads} | {shape} | {kind} | "
                      + " | ".join(f"{v:.0f}" if v else "-" for v in (linear, peer)) + " | "
                      + " | ".join(cells) + " |")


def plain_table(runs, prefix, unit):
    print(f"\n| {prefix} | median, {unit} |")
    print("|---|---|")
    for name, run in runs.items():
        if name.startswith(prefix):
            print(f"| {name.removeprefix(prefix + '/')} | {run['real_time']:.1f} |")


def row(*cells):
    print("| " + " | ".join(cells) + " |")


def scattered(runs):
    """What a location costs: nanoseconds of a run, with the peer's time over ours in brackets."""
    def nanoseconds(name):
        return 1e9 / runs[name]["items_per_second"] if name in runs else None

    def cell(name, *peers):
        ours = nanoseconds(name)
        if ours is None:
            return "-"
        ratios = [f"{nanoseconds(peer) / ours:.1f}x" for peer in peers if nanoseconds(peer)]
        return f"{ours:.1f}" + (f" ({', '.join(ratios)})" if ratios else "")

    return cell


def geometry_table(runs):
    cell = scattered(runs)
    row("locations", "on", "threads", "ours", "plain loop", "CGAL", "writing records", "copying records")
    print("|---" * 8 + "|")
    for end in ("1M", "10M"):
        written = cell(f"locations/write-records/{end}")
        for areas in ("equal", "unequal"):
            plain, cgal = f"locations/plain-loop/{areas}/{end}", f"locations/cgal/{areas}/{end}"
            row(end, f"mesh, {areas}, by count", "1", cell(f"locations/mesh-count/{areas}/{end}", plain, cgal),
                cell(plain), cell(cgal), written, "-")
            row(end, f"mesh, {areas}, by density", "1", cell(f"locations/mesh-density/{areas}/{end}"),
                "-", "-", written, "-")
        for kind in ("strands", "points"):
            for threads in (1, 2):
                end_of = f"{end}/threads/{threads}"
                row(end, kind, str(threads), cell(f"locations/{kind}/{end_of}"), "-", "-", written,
                    cell(f"locations/copy-records/{end_of}"))


def volume_table(runs):
    cell = scattered(runs)
    names = sorted({name.split("/")[2] for name in runs if name.startswith("volume-locations/")})
    print()
    row("volume", "samples in voxels at", "threads", "scattering", "uniform peer", "dense peer", "sampling there",
        "sampling peer")
    print("|---" * 8 + "|")
    for volume in names:
        uniform, dense = (f"volume-locations/{peer}/{volume}/centres/threads/1"
                          for peer in ("uniform-scatter", "dense-scatter"))
        for samples in ("centres", "corners"):
            for threads in (1, 2):
                end = f"{volume}/{samples}/threads/{threads}"
                box = f"volume-locations/box-sampler/{end}"
                peers = (uniform, dense) if threads == 1 else ()
                row(volume, samples, str(threads), cell(f"volume-locations/scatter/{end}", *peers), cell(uniform),
                    cell(dense), cell(f"volume-locations/property/{end}", box), cell(box))


def main():
    part = sys.argv[3] if len(sys.argv) > 3 else "sampling"
    runs = medians(sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else "5", part)
    if part == "locations":
        geometry_table(runs)
        return volume_table(runs)
    print("Nanoseconds a sample; in brackets the peer's time over ours.\n")
    sampling_table(runs)
    cubic_table(runs)
    plain_table(runs, "halo", "ms")
    plain_table(runs, "find-tile", "ns")
    plain_table(runs, "build", "ms")


if __name__ == "__main__":
    main()
