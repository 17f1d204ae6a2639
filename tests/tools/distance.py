"""stratum info warns of volumes that lie where positions lose their fractions, and of no others."""
import subprocess
import sys

from calling import run

write = sys.argv[2]


def warnings(*index, options=()):
    subprocess.run([write, "far.vdb", *map(str, index), "1", "density"], check=True)
    code, out, err = run("info", "far.vdb", *options)
    assert code == 0 and b"density" in out, (code, out)
    return err


# Data are read in tiles of 4 voxels, and in those that a voxel's value is blended into.
far = 1 << 20
assert warnings(5, far - 5, 0) == "" and warnings(0, 0, 4 - far) == ""
assert warnings(5, far, 0).startswith("stratum: warning: data reach 1048580 voxels from the origin")
assert "1048580 voxels" in warnings(0, 0, -far - 1, options=["--json"])
assert warnings(5, far, 0, options=["--quiet"]) == ""
