"""Makes docs/desktops.md of what `desktops` found.

usage: desktops_report.py DIRECTORY NAME...

DIRECTORY holds list.tsv, what there is, and NAME.tsv of each desktop that was tried; it gets
desktops.md and summary, the closing line. The status is 1 when something is wrong.
"""

import collections
import pathlib
import subprocess
import sys
import textwrap

Kind = collections.namedtuple("Kind", "name system panel packages")
Cell = collections.namedtuple("Cell", "outcome found measured reason")

# What each row of the table asks, by the name that it has in the program.
ROWS = {
    "Typing elsewhere": "Keys that somebody types into another window, Tab and Enter among them, "
                        "stay there while the prompt comes up and afterwards.",
    "Place": "It ends 30 points from the right and from the bottom of the screen without the "
             "panel, to the pixel.",
    "Attention": "After five seconds the desktop knows that the prompt asks for attention.",
    "Above other windows": "It is seen while somebody works in a maximised window.",
    "Every workspace": "It is seen on another workspace too.",
    "Full screen": "It is seen above a full-screen window that somebody works in, or a "
                   "notification tells of it.",
    "Minimised": "Minimised from outside it comes back to its place, three times in a row.",
    "Closing": "The desktop's own request to close it is refused.",
    "Drag": "It follows the pointer while the button is held, and no longer.",
    "Click and type": "A click leads into a field, a name typed there is checked, and a click on "
                      "Postpone sends the answer.",
}
# Those whose figures tell something where all is in order.
MEASURED = ("Typing elsewhere", "Place")
# Lines of a compositor's own settings that put right what it does by itself.
RULES = """## A rule for Sway

Sway's users, or those who manage their machines, add this to its settings (`/etc/sway/config.d/`);
`sway-rule` in the table is Sway with it. The position is that of a screen of 1280 by 900 pixels with
a bar below: the width without 450, the height above the bar without the card's own and 30.

```
no_focus [app_id="velunor-os-update"]
for_window [app_id="velunor-os-update"] floating enable, border none, sticky enable, \\
    move absolute position 830 343
no_focus [class="VelunorOSUpdate"]
for_window [class="VelunorOSUpdate"] floating enable, border none, sticky enable, \\
    move absolute position 830 343
```
"""
NOT_TRIED = Cell("FAIL", "it was not tried", "", "")

HEAD = """# Desktops

What the prompt does on the desktops that people have. `./dev desktops` starts each of them with its
panel on a virtual display, types and clicks there as a person does, and looks at the screen;
`./dev desktops NAME` tries one, `./dev desktops --approve` renews this page and its pictures. A cell
is **ok** where everything is as the prompt promises, and has a number where the desktop does not let
it: the sentence is below. A limit that is gone is found as well, as something wrong. The Wayland
compositors run in a window of the virtual display, with (`-xwayland`) and without an X server inside.
"""


def read_kinds(directory):
    with open(directory / "list.tsv", encoding="utf-8") as file:
        fields = [line.rstrip("\n").split("\t") for line in file]
    return {name: Kind(name, system, panel, packages.split())
            for name, system, panel, packages in fields}


def read_cells(directory, name):
    cells = {}
    with open(directory / f"{name}.tsv", encoding="utf-8") as file:
        for line in file:
            _, row, *cell = line.rstrip("\n").split("\t")
            cells[row] = Cell(*cell)
    return [cells.get(row, NOT_TRIED) for row in ROWS]


def version_of(package):
    found = subprocess.run(["dpkg-query", "-W", "-f", "${Version}\n", package],
                           capture_output=True, text=True, check=False)
    return found.stdout.split("\n")[0] or "not installed"


def release():
    with open("/etc/os-release", encoding="utf-8") as file:
        fields = dict(line.rstrip("\n").split("=", 1) for line in file if "=" in line)
    return fields["PRETTY_NAME"].strip('"')


def wrapped(item):
    return textwrap.fill(item, 100, subsequent_indent="  ", break_long_words=False)


def table(head, rows):
    lines = [head, ["---"] * len(head), *rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines) + "\n"


class Page:
    """The text, and the reasons that its numbers stand for."""

    def __init__(self, kinds, cells):
        self.kinds = kinds
        self.cells = cells
        self.reasons = []

    def cell(self, row, cell):
        if cell.outcome == "limit":
            if cell.reason not in self.reasons:
                self.reasons.append(cell.reason)
            return f"limit [{self.reasons.index(cell.reason) + 1}](#limits): {cell.found}"
        if cell.outcome == "FAIL":
            return f"**wrong**: {cell.found}"
        return f"ok, {cell.measured}" if row in MEASURED else "ok"

    def system(self, system):
        kinds = [kind for kind in self.kinds if kind.system == system]
        if not kinds:
            return ""
        head = [""] + [kind.name + (f" with {kind.panel}" if kind.panel else "")
                       for kind in kinds]
        rows = [[row, *(self.cell(row, self.cells[kind.name][index]) for kind in kinds)]
                for index, row in enumerate(ROWS)]
        return f"## {system}\n\n{table(head, rows)}"

    def limits(self):
        lines = [wrapped(f"{index}. {reason}") for index, reason in enumerate(self.reasons, 1)]
        return "## Limits\n\n" + "\n".join(lines) + "\n" if lines else ""

    def versions(self):
        packages = sorted({package for kind in self.kinds for package in kind.packages})
        qt = version_of("libqt6core6*")
        return (f"## Versions\n\n{release()}, Qt {qt}.\n\n" +
                table(["package", "version"], [[name, version_of(name)] for name in packages]))

    def pictures(self, directory):
        lines = [f"![{kind.name}](desktops/{kind.name}.png)" for kind in self.kinds
                 if (directory / "desktops" / f"{kind.name}.png").exists()]
        return "## Pictures\n\n" + "\n".join(lines) + "\n"

    def text(self, directory):
        rows = "\n".join(wrapped(f"- **{row}**: {question}") for row, question in ROWS.items())
        parts = [HEAD, rows + "\n", self.system("X11"), self.system("Wayland"), self.limits(), RULES,
                 self.versions(), self.pictures(directory)]
        return "\n".join(part for part in parts if part)


def main(directory, names):
    kinds = read_kinds(directory)
    tried = [kind for kind in kinds.values() if kind.name in names]
    cells = {kind.name: read_cells(directory, kind.name) for kind in tried}
    page = Page(tried, cells)
    (directory / "desktops.md").write_text(page.text(directory), encoding="utf-8")
    count = collections.Counter(cell.outcome for row in cells.values() for cell in row)
    for name, row in cells.items():
        for title, cell in zip(ROWS, row):
            if cell.outcome == "FAIL":
                print(f"{name}: {title}: {cell.found} {cell.measured}")
    systems = collections.Counter(kind.system for kind in tried)
    summary = (f"{systems['X11']} X11 and {systems['Wayland']} Wayland desktops: "
               f"{count['ok']} in order, {count['limit']} limits, {count['FAIL']} wrong")
    (directory / "summary").write_text(summary + "\n", encoding="utf-8")
    return 1 if count["FAIL"] else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]), sys.argv[2:]))
