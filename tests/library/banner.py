"""Loads the operator library with various settings and looks at what it says about itself."""

import os
import re
import subprocess
import sys

LINE = re.compile(
    r"^ {9}Stratum: Vantor version \d+\.\d+\.\d+\.\d+ "
    r"\(.+, build \d+, commit [0-9a-f]{40}, branch .+\)\n$"
)
program = sys.argv[1:]
failures = []


def load(value, closed_stderr=False):
    """What loading prints on (standard output, standard error)."""
    environment = {k: v for k, v in os.environ.items() if k != "MORAINE_DUMP_VERSION_INFO"}
    if value is not None:
        environment["MORAINE_DUMP_VERSION_INFO"] = value
    command = ["sh", "-c", '"$@" 2>&-', "sh"] + program if closed_stderr else program
    done = subprocess.run(command, env=environment, capture_output=True, text=True)
    if done.returncode != 0:
        failures.append(f"{value!r}: status {done.returncode}: {done.stdout}{done.stderr}")
    return done.stdout, done.stderr


for value in (None, "", "0", "abc", "00x"):
    if load(value) != ("", ""):
        failures.append(f"{value!r} printed {load(value)}")
for value in ("1", "2", "-1", "7up"):
    out, err = load(value)
    if out or not LINE.match(err):
        failures.append(f"{value!r} printed {out!r} and {err!r}")
if load("1", closed_stderr=True) != ("", ""):
    failures.append("printed without a standard error stream")
print("\n".join(failures))
sys.exit(bool(failures))
