"""The site and the man pages, from the headers (by way of doxygen), the README and the guides."""

import re
import subprocess
from pathlib import Path

from docutils import nodes
from docutils.parsers.rst import Directive
from sphinx import addnodes

project = "qvds"
extensions = ["breathe", "myst_parser"]
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
html_static_path = ["style.css", "/usr/share/javascript/normalize.css/normalize.css"]
html_css_files = ["style.css"]

docs = Path(__file__).parent
tree = docs.parent
exported = rf"\b(?:{'|'.join((tree / 'tests' / 'exports.txt').read_text().split())})\b"


class Diagram(Directive):
    """A picture from diagrams/, in the page itself, so that it takes the colours of the page. The man
    pages have those in the headers."""

    required_arguments = 1

    def run(self):
        source = docs / "diagrams" / f"{self.arguments[0]}.dot"
        self.state.document.settings.env.note_dependency(str(source))
        look = "-Nfontname=sans-serif -Nfontsize=11 -Nheight=.3 -Earrowsize=.6".split()
        svg = subprocess.check_output(["dot", "-Tsvg", *look, source], text=True)
        svg = re.sub(r"<title>.*?</title>\n", "", svg[svg.index("<svg") :])
        caption = source.read_text().splitlines()[0].removeprefix("// ")
        figure = f'<figure class="diagram">{svg}<figcaption>{caption}</figcaption></figure>'
        return [nodes.raw("", figure, format="html")]


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
    text, path, anchor = match[1], match[2], match[3] or ""
    target = (page_dir / path).resolve()
    if ":" in path or not target.exists() or not target.is_relative_to(tree):
        return match[0]
    inside = target.relative_to(tree)
    if target == tree / "README.md":
        return f"[{text}](index.md{anchor})"
    if inside.parts[0] == "docs":
        return f"[{text}]({target.relative_to(docs)}{anchor})"
    if inside.parts[0] == "examples":
        return f"[{text}](examples.md#{target.name.replace('.', '')})"
    if (docs / "reference" / f"{target.stem}.rst").exists():
        return f"[{text}](reference/{target.stem}.rst)"
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
            name = program.name
            source[0] += f"\n## {name}\n\n```{{literalinclude}} ../examples/{name}\n```\n"
    link = re.compile(r"\[([^]\n]*)\]\(([^)#\s]+)(#[^)\s]*)?\)")
    source[0] = link.sub(lambda match: site_link(match, page_dir), source[0])


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
            follows = inline(child) or isinstance(child, nodes.paragraph)
            continues = parts and inline(before) and follows
            before = child
            if continues:
                parts[-1].extend([child] if inline(child) else child.children)
            elif not inline(child):
                parts.append(child)
            elif child.astext().strip():
                start = nodes.Text(child.lstrip()) if isinstance(child, nodes.Text) else child
                parts.append(nodes.paragraph("", "", start))
        paragraph.replace_self(parts)


def link_to(name, docname):
    """The reference that a name of the library in running text is: that of a function, or of a guide."""
    if re.fullmatch(exported, name):
        target = {"refdomain": "c", "reftype": "func", "reftarget": name}
    else:
        target = {"refdomain": "std", "reftype": "doc", "reftarget": f"/{Path(name).stem}"}
    return addnodes.pending_xref("", refdoc=docname, refexplicit=True, refwarn=True, **target)


def link_names(app, doctree):
    """Names of exported functions, and of guides in the headers, lead to them wherever they stand."""
    names = rf"({exported}|\bdocs/\w+\.md)"
    for text in list(doctree.findall(nodes.Text)):
        inside = text.parent
        if isinstance(inside, nodes.literal) and re.fullmatch(names, text):
            link = link_to(text.astext(), app.env.docname)
            inside.replace_self(link)
            link += inside
        elif isinstance(inside, (nodes.paragraph, nodes.strong)) and re.search(names, text):
            parts = []
            for i, part in enumerate(re.split(names, text)):
                if i % 2 == 1:
                    parts.append(link_to(part, app.env.docname))
                    parts[-1] += nodes.inline(part, part)
                elif part:
                    parts.append(nodes.Text(part))
            inside.replace(text, parts)


def name_languages(app, doctree):
    """Of what is indented, in a header or a guide, pictures have no language."""
    for block in doctree.findall(nodes.literal_block):
        if block.get("language", "default") in ("default", "none"):
            code = re.search(r"[;{}] *(//.*|/\*.*)?$", block.astext(), flags=re.M)
            block["language"] = "cpp" if code else "text"


def untable(app, doctree, docname):
    """In a man page a row of a table is an item of a list: 80 columns are too few for five."""
    if app.builder.name != "man":
        return
    for table in list(doctree.findall(nodes.table)):
        head, *rows = [
            [nodes.inline("", "", *(entry.children[0].children if entry.children else [])) for entry in row]
            for row in table.findall(nodes.row)
        ]
        items = nodes.definition_list()
        for first, *cells in rows:
            body = nodes.definition()
            for title, cell in zip(head[1:], cells):
                if cell.astext().strip():
                    name = nodes.emphasis("", title.astext() + ": ") if title else nodes.Text("")
                    body += nodes.paragraph("", "", name, cell)
            items += nodes.definition_list_item("", nodes.term("", "", first), body)
        table.replace_self(items)


def mend_theme(app, exception):
    """Debian's furo looks for one of its style sheets on a web server of Debian's, and has lost the dark
    colours for readers whose system is dark."""
    if exception or app.builder.name != "html":
        return
    css = Path(app.outdir) / "_static" / "styles" / "furo.css"
    text = css.read_text().replace("/javascript/normalize.css/", "../")
    dark = re.search(r'body\[data-theme="dark"\] (\{.*?\})', text, re.S).group(1)
    if "prefers-color-scheme" not in text:
        text += f'@media (prefers-color-scheme: dark) {{ body[data-theme="auto"] {dark} }}\n'
    css.write_text(text)


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
        page.write_text(text + ".SH SEE ALSO\n.BR qvds (3),\n.BR qvds-walking (7)\n")
    (man / "man7" / "qvds_walking.7").write_text(".so man7/qvds-walking.7\n")
    for domain, own_page in ("c", r"\w+"), ("cpp", r"qvds::(?!core$)\w+"):
        for name, _, kind, page, _, _ in app.env.get_domain(domain).get_objects():
            name = re.sub(r"^@\d+\.", "", name)  # a constant of an enumeration without a name
            if kind != "macro" and re.fullmatch(own_page, name):
                family = page.removeprefix("reference/")
                (man / "man3" / f"{name}.3").write_text(f".so man3/qvds-{family}.3\n")


def setup(app):
    app.add_directive("diagram", Diagram)
    app.connect("source-read", read)
    app.connect("doctree-read", split_paragraphs)
    app.connect("doctree-read", link_names)
    app.connect("doctree-read", name_languages)
    app.connect("doctree-resolved", untable)
    app.connect("build-finished", mend_theme)
    app.connect("build-finished", finish_man_pages)
