"""Compares what an example prints with what a page says that it prints: the text between the lines
`<!-- prints: NAME -->` and `<!-- end -->`, with or without a fence. With --write, renews the page."""
import pathlib
import re
import subprocess
import sys

arguments = [a for a in sys.argv[1:] if a != "--write"]
page, program = pathlib.Path(arguments[0]), pathlib.Path(arguments[1])
name = program.name.removeprefix("stratum_example_")
block = re.compile(rf"(<!-- prints: {name} -->\n\n(?:```text\n)?)(.*?)((?:```\n)?\n<!-- end -->)", re.S)
printed = subprocess.run([program], capture_output=True, text=True, check=True).stdout
text = page.read_text()
found = block.search(text)
if not found:
    sys.exit(f"{page.name} does not say what {name} prints")
if "--write" in sys.argv:
    page.write_text(text[:found.start(2)] + printed + text[found.end(2):])
elif found[2] != printed:
    sys.exit(f"{page.name} says that {name} prints\n\n{found[2]}\nbut it prints\n\n{printed}")
