"""Compares the names that the library uses of a host with those that docs/host.md lists: what stands
in backquotes in the first column of its tables. Used is what the smallest host declares and the library's sources
name; that host compiles with the library, so it declares all that the library uses."""

import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
ORDINARY = {"Accessor", "Block", "C", "T", "Vantor", "bool", "find", "operator", "std", "step", "volume"}

def sources(folder, pattern):
    text = "\n".join(path.read_text() for path in sorted((root / folder).glob(pattern)))
    return re.sub(r"//.*|#include.*|\"[^\"\n]*\"", "", text)


library = set()
for folder in ("common", "volume", "locations", "ops"):
    library |= set(re.findall(r"\w+", sources(folder, "*.[hci]*")))
host = sources("tests/tinyHost", "*.h")
# Types, constants, and functions: a name in front of its parameters, behind a type.
declared = set(re.findall(r"\b(?:class|struct|using) (\w+)", host))
declared |= set(re.findall(r"\b([ks][A-Z]\w+|exceptionMessage|kind|element|indices|weights)\b", host))
declared |= set(re.findall(r"(?!return)\b[\w>]+[&*]* [&*]?(\w+)\([^;{}=]*\) ?(?:const )?(?:[{;]|= 0)", host))
used = (declared & library) - ORDINARY
tables = (root / "docs/host.md").read_text().split("# The in-memory host")[0]
listed = set()
headers = set()
for column in re.findall(r"^\| (`.*?) \|", tables, re.M):
    folder = ""
    for name in re.findall(r"`([^`]+)`", column):
        if name.endswith(".h"):
            folder = name.rpartition("/")[0] or folder
            headers.add(f"{folder}/{name.rpartition('/')[2]}")
            continue
        listed |= set(re.sub(r"[<(].*", "", name).split("::"))
included = {header for folder in ("common", "volume", "locations", "ops")
            for path in sorted((root / folder).glob("*.[hci]*"))
            for header in re.findall(r"#include \"((?:Ostrum|Kelvane|KDX|Vantor)/[^\"]+)", path.read_text())}
wrong = [f"header, only on one side: {header}" for header in sorted(included ^ headers)]
wrong += [f"used, but not listed: {name}" for name in sorted((declared & library) - ORDINARY - listed)]
wrong += [f"listed, but not used: {name}" for name in sorted(listed - library)]
print("\n".join(wrong))
sys.exit(bool(wrong))
