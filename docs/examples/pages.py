"""Checks the pages of the documentation: code is part of a program that is built and run, links lead
somewhere, and the README leads to every page."""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
pages = [root / "README.md", *sorted((root / "docs").glob("*.md"))]
failures = []


def chunks(code):
    """The parts between empty lines, without the indentation that they have in common."""
    for part in re.split(r"\n\s*\n", code.strip("\n")):
        lines = part.splitlines()
        margin = min(len(line) - len(line.lstrip()) for line in lines)
        yield "\n".join(line[margin:].rstrip() for line in lines)


def contains(program, chunk):
    """Whether a program has these lines, at any one indentation."""
    lines, wanted = program.splitlines(), chunk.splitlines()
    for first in range(len(lines) - len(wanted) + 1):
        margin = lines[first][: len(lines[first]) - len(lines[first].lstrip())]
        if all(line == (margin + want if want else "")
               for line, want in zip(lines[first:], wanted)):
            return True
    return False


def anchors(page):
    """The anchors of a page's headings, as hosts of repositories make them."""
    headings = re.findall(r"^#+ (.*)", re.sub(r"```.*?```", "", page.read_text(), flags=re.S), re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


programs = [path.read_text() for path in (root / "docs/examples").rglob("*.cpp")]
for page in pages:
    text = page.read_text()
    for code in re.findall(r"^```cpp\n(.*?)^```", text, re.S | re.M):
        for chunk in chunks(code):
            if not any(contains(program, chunk) for program in programs):
                failures.append(f"{page.name}: no example has\n{chunk}")
    for target in re.findall(r"\]\(([^)\s]+)\)", text):
        if "://" in target:
            continue
        path, _, anchor = target.partition("#")
        file = (page.parent / path).resolve() if path else page
        if not file.exists():
            failures.append(f"{page.name}: {target} leads nowhere")
        elif anchor and anchor not in anchors(file):
            failures.append(f"{page.name}: {path} has no heading for #{anchor}")

readme = pages[0].read_text()
failures += [f"README.md has no link to docs/{page.name}" for page in pages[1:]
             if f"](docs/{page.name})" not in readme]
if failures:
    sys.exit("\n".join(failures))
