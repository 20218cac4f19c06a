"""The site and the man pages, from the headers (by way of doxygen), the README and the guides."""

import re
from pathlib import Path

from docutils import nodes
from sphinx import addnodes

project = "qvds"
extensions = ["breathe", "myst_parser", "sphinx.ext.graphviz"]
exclude_patterns = ["snippets"]
breathe_projects = {"qvds": "../build/docs/xml"}
breathe_default_project = "qvds"
breathe_domain_by_extension = {"h": "c", "hpp": "cpp"}
myst_heading_anchors = 3
smartquotes = False

html_theme = "furo"
html_title = "qvds"
html_copy_source = False
html_show_copyright = False
html_show_sphinx = False
html_static_path = ["style.css"]
html_css_files = ["style.css"]

docs = Path(__file__).parent
tree = docs.parent
exported = rf"\b({'|'.join((tree / 'tests' / 'exports.txt').read_text().split())})\b"


def man_page(page):
    name, description = re.search(r"(.+): (.+)\n=", page.read_text()).groups()
    return (f"reference/{name}", f"qvds-{name}", description, "", 3)


man_make_section_directory = True
man_pages = [man_page(page) for page in sorted((docs / "reference").glob("*.rst"))]
man_pages += [
    ("qvds", "qvds", "data structures for C and C++", "", 3),
    ("walking", "qvds-walking", "what a callback may do during a walk", "", 7),
]


def site_link(match, page_dir):
    """A link of the README or of a guide, which leads into the tree, as one of the site."""
    text, path, anchor = match.group(1), match.group(2), match.group(3) or ""
    target = (page_dir / path).resolve()
    if ":" in path or not target.exists() or not target.is_relative_to(tree):
        return match.group(0)
    inside = target.relative_to(tree)
    if target == tree / "README.md":
        return f"[{text}](index.md{anchor})"
    if inside.parts[0] == "docs":
        return f"[{text}]({target.relative_to(docs)}{anchor})"
    if inside.parts[:2] == ("include", "qvds") and (docs / "reference" / target.stem).with_suffix(".rst").exists():
        return f"[{text}](reference/{target.stem}.rst)"
    if inside.parts[0] == "examples":
        return f"[{text}](examples.md#{target.name.replace('.', '')})"
    return text  # what has no page


def read(app, docname, source):
    """The README is the main page, and the examples' sources are one."""
    page_dir = docs
    if docname == "index":
        source[0] = (tree / "README.md").read_text() + "\n" + source[0]
        page_dir = tree
    if docname == "qvds":
        readme = (tree / "README.md").read_text()
        source[0] += readme[readme.index("## Which family") : readme.index("## Examples")]
        page_dir = tree
    if docname == "examples":
        for program in sorted((tree / "examples").glob("*.[ch]*")):
            source[0] += f"\n## {program.name}\n\n```{{literalinclude}} ../examples/{program.name}\n```\n"
    source[0] = re.sub(r"\[([^]\n]*)\]\(([^)#\s]+)(#[^)\s]*)?\)", lambda m: site_link(m, page_dir), source[0])


def inline(node):
    return isinstance(node, (nodes.Text, nodes.Inline))


def split_paragraphs(app, doctree):
    """breathe leaves lists and code inside of paragraphs, where the man writer makes a mess of them, and
    wraps what follows the last inline markup of a paragraph in one of its own."""
    for paragraph in list(doctree.findall(nodes.paragraph)):
        if all(map(inline, paragraph.children)):
            continue
        parts, before = [], None
        for child in paragraph.children:
            continues = parts and inline(before) and (inline(child) or isinstance(child, nodes.paragraph))
            before = child
            if continues:
                parts[-1].extend([child] if inline(child) else child.children)
            elif not inline(child):
                parts.append(child)
            elif child.astext().strip():
                start = nodes.Text(child.lstrip()) if isinstance(child, nodes.Text) else child
                parts.append(nodes.paragraph("", "", start))
        paragraph.replace_self(parts)


def link_functions(app, doctree):
    """Names of exported functions lead to them wherever they stand."""
    for text in list(doctree.findall(nodes.Text)):
        inside = text.parent
        if isinstance(inside, nodes.literal) and re.fullmatch(exported, text):
            text, inside = inside, inside.parent
        if not isinstance(inside, (nodes.paragraph, nodes.strong)):
            continue
        parts = []
        for word in filter(None, re.split(exported, text.astext())):
            part = text if len(text.astext()) == len(word) else nodes.Text(word)
            if re.fullmatch(exported, word):
                target = {"refdomain": "c", "reftype": "func", "reftarget": word}
                part = addnodes.pending_xref("", part, refdoc=app.env.docname, **target)
            parts.append(part)
        inside.replace(text, parts)


def untable(app, doctree, docname):
    """In a man page a row of a table is an item of a list: 80 columns are too few for five."""
    if app.builder.name != "man":
        return
    for table in list(doctree.findall(nodes.table)):
        head, *rows = [
            [nodes.inline("", "", *entry.children[0].children) if entry.children else None for entry in row]
            for row in table.findall(nodes.row)
        ]
        items = nodes.definition_list()
        for first, *cells in rows:
            body = nodes.definition()
            for title, cell in zip(head[1:], cells):
                if cell and cell.astext().strip():
                    name = nodes.emphasis("", title.astext() + ": ") if title else nodes.Text("")
                    body += nodes.paragraph("", "", name, cell)
            items += nodes.definition_list_item("", nodes.term("", "", first), body)
        table.replace_self(items)


def finish_man_pages(app, exception):
    """Mends what the man writer gets wrong, and makes a page for each name that leads to its family's."""
    if exception or app.builder.name != "man":
        return
    man = Path(app.outdir)
    for page in man.glob("man*/*"):
        text = page.read_text()
        text = re.sub(r"^\.TH.*\n", r"\g<0>.ad l\n.nh\n", text, flags=re.M)
        text = re.sub(r"^\.ft C$", ".ft CR", text, flags=re.M)
        text = re.sub(r"^(\.S[HS].*\n)\.sp\n", r"\1", text, flags=re.M)
        page.write_text(text)
    for domain in "c", "cpp":
        for name, _, kind, page, _, _ in app.env.get_domain(domain).get_objects():
            name = re.sub(r"^@\d+\.", "", name)  # a constant of an enumeration without a name
            if kind != "macro" and name != "qvds::core" and re.fullmatch(r"\w+" if domain == "c" else r"qvds::\w+", name):
                family = page.removeprefix("reference/")
                (man / "man3" / f"{name}.3").write_text(f".so man3/qvds-{family}.3\n")


def setup(app):
    app.connect("source-read", read)
    app.connect("doctree-read", split_paragraphs)
    app.connect("doctree-read", link_functions)
    app.connect("doctree-resolved", untable)
    app.connect("build-finished", finish_man_pages)
