"""stratum info warns of volumes that lie where positions lose their fractions, and of no others."""
import os
import subprocess
import sys
import tempfile

tool, write = map(os.path.abspath, sys.argv[1:3])
os.chdir(tempfile.mkdtemp())


def warnings(*index, options=()):
    subprocess.run([write, "far.vdb", *map(str, index)], check=True)
    done = subprocess.run([tool, "info", "far.vdb", *options], capture_output=True, text=True)
    assert done.returncode == 0 and "density" in done.stdout, done
    return done.stderr


# Data are read in tiles of 4 voxels, and in those that a voxel's value is blended into.
far = 1 << 20
assert warnings(5, far - 5, 0) == "" and warnings(0, 0, 4 - far) == ""
assert warnings(5, far, 0).startswith("stratum: warning: data reach 1048580 voxels from the origin")
assert "1048580 voxels" in warnings(0, 0, -far - 1, options=["--json"])
assert warnings(5, far, 0, options=["--quiet"]) == ""
