#!/usr/bin/python3
"""Puts figures into a page of Markdown, and plots beside it.

usage: report.py PAGE [RESULTS]

Between `<!-- figures: WHAT -->` and `<!-- end -->` the page gets: for `instructions` the table in
instructions.txt, and from RESULTS, which qvds_bench has written, for `run` where they were measured,
and for the names of families a table of their rows. All else on the page stays as it is.
"""
import csv
import pathlib
import re
import sys

CLASSES = {"called": "ours", "inlined": "typed", "packed": "typed", "limit": "typed"}
SIZES = {"S": "#74b3d8", "M": "#2f7fbf", "L": "#0b3c6f"}


def read(path):
    """Where and how it was measured, and the figures."""
    with open(path, newline="") as file:
        machine, command = (file.readline().lstrip("# ").strip() for _ in range(2))
        figures = list(csv.DictReader(file))
    for f in figures:
        f["ns"], f["n"] = float(f["ns"]), int(f["n"])
        f["ratio"] = float(f["ratio"] or 0)
    return machine, command, figures


def grouped(figures, *columns):
    groups = {}
    for f in figures:
        groups.setdefault(tuple(f[c] for c in columns), []).append(f)
    return groups


def best(figures, side):
    return min((f for f in figures if f["class"] == side), key=lambda f: f["ns"], default=None)


def short(ns):
    return f"{ns:.0f}" if ns >= 100 else f"{ns:.3g}"


def family_table(figures, families):
    yield "| operation | size | C | best called | typed | best inlined | best packed | by hand |"
    yield "|---|---|--:|---|--:|---|---|---|"
    for (row, size), group in grouped(figures, "row", "size").items():
        if row.split("/")[0] not in families or size == "growth":
            continue
        cells = {}
        for side in ("ours", "typed"):
            own = best(group, side)
            cells[side] = short(own["ns"]) if own else ""
        for side in CLASSES:
            other = best(group, side)
            cells[side] = ""
            if other:
                name = "" if side == "limit" else other["contender"] + " "
                cells[side] = f"{name}{short(other['ns'])} (**{other['ratio']:.2f}**)"
        order = ("ours", "called", "typed", "inlined", "packed", "limit")
        yield f"| {row} | {size} | " + " | ".join(cells[c] for c in order) + " |"


def instruction_table(path):
    """A line for each function, with what follows it in the table and does the same, typed."""
    yield "| function | instructions | in C++ | instructions |"
    yield "|---|--:|---|--:|"
    waiting = None
    for line in path.read_text().splitlines():
        if line.startswith("#"):
            continue
        name, count = line.split()
        cells = f"`{name}` | {count}"
        if "::" not in name:
            if waiting:
                yield f"| {waiting} | | |"
            waiting = cells
        else:
            yield f"| {waiting or ' | '} | {cells} |"
            waiting = None
    if waiting:
        yield f"| {waiting} | | |"


def pyplot():
    import matplotlib

    matplotlib.use("svg")
    # The same file from the same figures; text that can be searched; dark and light viewers alike
    # show it on white.
    matplotlib.rcParams.update({"svg.hashsalt": "qvds", "svg.fonttype": "none", "font.size": 9,
                                "axes.spines.top": False, "axes.spines.right": False})
    import matplotlib.pyplot

    return matplotlib.pyplot


def save(figure, path):
    figure.savefig(path, facecolor="white", metadata={"Date": None})


def plot_ratios(figures, path):
    plt = pyplot()
    figures = [f for f in figures if f["size"] != "growth"]
    rows = list(dict.fromkeys(f["row"] for f in figures))
    against = {"called": "C functions\nto the best that is called",
               "inlined": "typed classes\nto the best that is inlined",
               "packed": "typed classes\nto the best that is packed"}
    figure, panels = plt.subplots(1, len(against), sharey=True, layout="constrained",
                                  figsize=(11, 1.2 + 0.2 * len(rows)))
    for panel, (side, title) in zip(panels, against.items()):
        for (row, size), group in grouped(figures, "row", "size").items():
            if other := best(group, side):
                panel.plot(other["ratio"], rows.index(row), "o", markersize=5, alpha=0.9,
                           color=SIZES.get(size, SIZES["S"]))
        panel.set(xscale="log", title=title, ylim=(len(rows) - 0.5, -0.5))
        ticks = [2.0**p for p in range(-5, 5)]
        panel.set_xticks(ticks, [f"{t:g}" if t >= 1 else f"1/{1 / t:g}" for t in ticks])
        panel.minorticks_off()
        panel.axvspan(panel.get_xlim()[0], 1, color="#e8f3e8", zorder=-1)
        panel.grid(color="#dddddd", linewidth=0.5)
        panel.tick_params(length=0)
    panels[0].set_yticks(range(len(rows)), rows)
    figure.suptitle("Our time to theirs: left of 1 we are faster. "
                    "Light to dark: in cache (S), last-level cache (M), memory (L)", fontsize=9)
    save(figure, path)


def plot_growth(figures, path):
    plt = pyplot()
    rows = grouped([f for f in figures if f["size"] == "growth"], "row")
    columns = 4
    figure, panels = plt.subplots(-(-len(rows) // columns), columns, layout="constrained",
                                  figsize=(13, 3.2 * -(-len(rows) // columns)))
    for panel, ((row,), group) in zip(panels.flat, rows.items()):
        others = iter(["#999999", "#555555"])
        for (name,), line in grouped(group, "contender").items():
            style = {"ours": {"color": "#1f6fb4", "marker": "o"},
                     "typed": {"color": "#d9661f", "marker": "s"}}.get(line[0]["class"])
            panel.plot([f["n"] for f in line], [f["ns"] for f in line], label=name, markersize=3,
                       linewidth=1.5, **(style or {"color": next(others), "linestyle": "--"}))
        panel.set(xscale="log", yscale="log", title=row, xlabel="elements", ylabel="ns")
        panel.grid(color="#dddddd", linewidth=0.5)
        panel.legend(frameon=False, fontsize=8)
    for panel in panels.flat[len(rows):]:
        panel.remove()
    save(figure, path)


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    page = pathlib.Path(sys.argv[1])
    figures = None
    if len(sys.argv) == 3:
        machine, command, figures = read(sys.argv[2])
        plot_ratios(figures, page.parent / "benchmarks.svg")
        if any(f["size"] == "growth" for f in figures):
            plot_growth(figures, page.parent / "growth.svg")

    def fill(match):
        what = match[2].split()
        if what == ["instructions"]:
            text = "\n".join(instruction_table(pathlib.Path(__file__).with_name("instructions.txt")))
        elif figures is None:
            return match[0]
        elif what == ["run"]:
            text = f"Machine: {machine}.\n\nCommand: `{command.strip()}`."
            if "--quick" in command:
                text += " A quick run: its figures are no more than a first impression."
        else:
            table = list(family_table(figures, what))
            if len(table) == 2:  # the run left these families out
                return match[0]
            text = "\n".join(table)
        return f"{match[1]}\n{text}\n\n{match[4]}"

    sections = re.compile(r"(<!-- figures: (.*?) -->\n)(.*?)(<!-- end -->)", re.DOTALL)
    text, filled = sections.subn(fill, page.read_text())
    if filled == 0:
        sys.exit(f"{page}: has no `<!-- figures: ... -->`")
    page.write_text(text)


main()
