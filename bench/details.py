"""The detailed tables: what a sample, a halo and a location cost, in every case."""
from measured import ACCESSES, CONTENTS, SHAPES, THREADS, per_thread, ratio, table, text
from targets import cost_per_byte, threads_of


def beside(ours, *peers):
    """A figure, and in brackets the peers' times over it."""
    ratios = [text(ratio(peer, ours)) + "x" for peer in peers if peer and ours]
    return text(ours) + (f" ({', '.join(ratios)})" if ratios else "")


def sampling(figures, title, peers, ours):
    """Rows of volume, positions, threads and shape; peers and ours are names by column."""
    print(f"\n{title}")
    rows = []
    for content in CONTENTS:
        for access in ACCESSES:
            for threads in THREADS:
                end = f"{access}/{content}/threads/{threads}"
                costs = [figures.nanoseconds(f"{peer}/{end}") for peer in peers.values()]
                for shape in SHAPES:
                    cells = [beside(figures.nanoseconds(f"{own}/{shape}/{end}"), *costs)
                             for own in ours.values()]
                    rows.append((content, access, str(threads), shape,
                                 *(text(cost) for cost in costs), *cells))
    table(("volume", "positions", "threads", "shape", *peers, *ours), rows)


def other_cubics(figures):
    print("\nCubic modes that the operators do not offer, one thread, dense:")
    modes = ("kQuadraticC0Averaged", "kCubicC1Monotonic")
    rows = [(access, shape, *(text(figures.nanoseconds(f"cubic/{mode}/{shape}/{access}/dense/threads/1"))
                              for mode in modes))
            for access in ACCESSES for shape in SHAPES]
    table(("positions", "shape", *modes), rows)


def value_types(figures):
    print("\nValue types: ns a sample, and ps a byte of the eight corners in brackets; "
          "one / two threads.")
    ends = [f"{access}/{content}" for content in ("band", "dense-96") for access in ACCESSES]
    sizes = {name.split("/")[1]: figures.counter(name, "bytesRead")
             for name in figures.names("types/")}
    kinds = sorted(sizes, key=lambda kind: (sizes[kind], kind))

    def cell(name):
        costs = threads_of(lambda of: cost_per_byte(figures, of), name)
        return (f"{per_thread(threads_of(figures.nanoseconds, name))} "
                f"({per_thread([cost and 1000 * cost for cost in costs])})")

    table(("type", "shape", *ends),
          [(kind, shape, *(cell(f"types/{kind}/{shape}/{end}") for end in ends))
           for kind in kinds for shape in SHAPES])


def halos(figures):
    print("\nBuilding all of a halo channel, beside copying as many bytes; ms, one / two threads.")
    rows = []
    for shape in SHAPES:
        for content in CONTENTS:
            built, copied = (threads_of(figures.milliseconds, f"{what}/{shape}/{content}")
                             for what in ("halo", "halo-copy"))
            rows.append((shape, content, per_thread(built), per_thread(copied),
                         per_thread([ratio(a, b) for a, b in zip(built, copied)])))
    table(("shape", "volume", "halo", "copy", "halo / copy"), rows)


def host(figures):
    print("\nThe in-memory host: finding a tile at a depth, and building a volume of 256^3.")
    rows = [(f"find a tile, {name.removeprefix('find-tile/')}",
             text(figures.milliseconds(name) * 1e6) + " ns")
            for name in sorted(figures.names("find-tile/"))]
    rows += [(f"build, {shape}", text(figures.milliseconds(f"build/{shape}")) + " ms")
             for shape in SHAPES]
    table(("what", "median"), rows)


def locations(figures):
    def cell(name, *peers):
        return beside(figures.nanoseconds(name), *(figures.nanoseconds(peer) for peer in peers))

    print("\nScattering on geometry: ns a location, ten million; in brackets the peers' times over "
          "ours.")
    written, rows = cell("locations/write-records"), []
    for areas in ("equal", "unequal"):
        plain, cgal = (f"locations/{peer}/{areas}" for peer in ("plain-loop", "cgal"))
        rows.append((f"mesh, {areas}, by count", "1",
                     cell(f"locations/mesh-count/{areas}", plain, cgal), cell(plain), cell(cgal),
                     written, "-"))
        rows.append((f"mesh, {areas}, by density", "1", cell(f"locations/mesh-density/{areas}"),
                     "-", "-", written, "-"))
    for kind in ("strands", "points"):
        for threads in THREADS:
            rows.append((kind, str(threads), cell(f"locations/{kind}/threads/{threads}"), "-", "-",
                         written, cell(f"locations/copy-records/threads/{threads}")))
    table(("on", "threads", "ours", "plain loop", "CGAL", "writing records", "copying records"), rows)


def volume_locations(figures):
    def cell(name, *peers):
        return beside(figures.nanoseconds(name), *(figures.nanoseconds(peer) for peer in peers))

    print("\nScattering in volumes and sampling there, the same way:")
    rows, prefix = [], "volume-locations"
    for volume in sorted({name.split("/")[2] for name in figures.names(prefix)}):
        uniform, dense = (f"{prefix}/{peer}/{volume}/centres/threads/1"
                          for peer in ("uniform-scatter", "dense-scatter"))
        for samples in ("centres", "corners"):
            for threads in THREADS:
                end = f"{volume}/{samples}/threads/{threads}"
                peers = (uniform, dense) if threads == 1 else ()
                rows.append((volume, samples, str(threads), cell(f"{prefix}/scatter/{end}", *peers),
                             cell(uniform), cell(dense),
                             cell(f"{prefix}/property/{end}", f"{prefix}/box-sampler/{end}"),
                             cell(f"{prefix}/box-sampler/{end}")))
    table(("volume", "samples in voxels at", "threads", "scattering", "uniform peer", "dense peer",
           "sampling there", "sampling peer"), rows)


def print_sampling(figures):
    sampling(figures, "Linear samples: ns; in brackets the peers' times over ours.",
             {"OpenVDB BoxSampler": "peer/box", "NanoVDB order 1": "peer/nano-1"},
             {"loop on a halo": "loop-halo", "call": "operator", "loop without": "loop-plain"})
    sampling(figures, "Gradients, the same way; the peers' are those of the same interpolation.",
             {"OpenVDB BoxStencil": "peer/stencil", "NanoVDB order 1": "peer/nano-gradient"},
             {"loop on a halo": "gradient-loop", "call": "gradient"})
    sampling(figures, "Cubic samples, the same way; the first peer is trilinear.",
             {"OpenVDB BoxSampler": "peer/box", "NanoVDB order 3": "peer/nano-3"},
             {"kCubicC0 call": "cubic/kCubicC0", "kCubicC1 call": "cubic/kCubicC1"})
    other_cubics(figures)
    value_types(figures)
    halos(figures)
    host(figures)


def print_locations(figures):
    locations(figures)
    volume_locations(figures)
