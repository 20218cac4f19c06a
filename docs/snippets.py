"""usage: snippets.py FOLDER: writes every piece of code that a header's comments or a guide show to a
file of its own, FOLDER/heap.h/1, /2, and so on. In a header, empty lines and lines of three dots divide
what stands in one block, so that declarations can be compiled before statements that use them."""

import re
import sys
from pathlib import Path


def of_header(text):
    """Indented by four in a comment, behind an empty line; unlike a picture, with a statement in it."""
    block, blank = [], False
    for line in text.splitlines():
        comment = re.match(r" *(?:///| \*(?!/)) ?(.*)", line)
        content = comment.group(1) if comment else None
        if content is not None and (block or blank) and content.startswith("    "):
            block.append(content[4:])
        elif block and content == "":
            block.append("")
        elif block:
            yield from code(block)
            block = []
        blank = content == ""


def code(block):
    if any(re.search(r"[;{}] *(//.*|/\*.*)?$", line) for line in block):
        yield from (part for part in re.split(r"\n(?:\.\.\.)?\n", "\n".join(block)) if part.strip())


def of_guide(text):
    return re.findall(r"^```(?:c|cpp)\n(.*?)^```", text, flags=re.M | re.S)


folder = Path(sys.argv[1])
sources = [(header, of_header) for header in Path("include/qvds").glob("*.h*")]
sources += [(guide, of_guide) for guide in Path("docs").glob("*.md")]
for source, blocks in sources:
    for number, block in enumerate(blocks(source.read_text()), 1):
        file = folder / source.name / str(number)
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(block + "\n")
