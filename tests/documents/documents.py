"""What the checks of the documents know about Markdown: files, fenced blocks,
links, headings, tables."""
import os
import re

SKIPPED_FOLDERS = {"build", "findings", "seeds"}


class Document:
    def __init__(self, root, path):
        self.root = root
        self.path = path  # from the root
        with open(os.path.join(root, path), encoding="utf-8") as file:
            self.lines = file.read().split("\n")

    def fences(self):
        """(line number of the first line inside, language, lines) of each."""
        start = None
        for number, line in enumerate(self.lines, 1):
            mark = re.match(r"^(\s*)```(.*)$", line)
            if not mark:
                continue
            if start is None:
                start, language = number + 1, mark.group(2).strip()
            else:
                yield start, language, self.lines[start - 1:number - 1]
                start = None

    def indented_blocks(self):
        """The first lines of blocks that are set off by four blanks alone."""
        before, inside_list = "", False
        for number, line in self.prose():
            if re.match(r"\s*([-*]|\d+\.)\s", line):
                inside_list = True
            elif line.strip() and not line.startswith(" "):
                inside_list = False
            if line.startswith("    ") and not before.strip() and not inside_list:
                yield number
            before = line if line.strip() or not before.startswith("    ") else before

    def prose(self):
        """(number, line) outside of fenced blocks."""
        inside = False
        for number, line in enumerate(self.lines, 1):
            if re.match(r"^\s*```", line):
                inside = not inside
            elif not inside:
                yield number, line

    def anchors(self):
        """The names that its headings have as targets of links."""
        names = {}
        for _, line in self.prose():
            heading = re.match(r"^#+\s+(.*?)\s*#*$", line)
            if heading:
                name = slug(heading.group(1))
                count = names.get(name, 0)
                names[name] = count + 1
                yield name if count == 0 else f"{name}-{count}"

    def links(self):
        """(number, whether an image, text, target)."""
        for number, line in self.prose():
            bare = re.sub(r"`[^`]*`", lambda code: "`" * len(code.group(0)), line)
            for match in re.finditer(r"(!?)\[([^\]]*)\]\(([^)\s]+)\)", bare):
                text = line[match.start(2):match.end(2)]
                yield number, match.group(1) == "!", text, match.group(3)

    def code(self):
        """(number, text) of what stands between backquotes."""
        for number, line in self.prose():
            for match in re.finditer(r"`([^`]+)`", line):
                yield number, match.group(1)

    def tables(self):
        """Each table as (number of its first row, rows of cells), without the
        line of dashes."""
        rows, first = [], 0
        for number, line in list(self.prose()) + [(0, "")]:
            if line.lstrip().startswith("|"):
                first = first or number
                cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
                if not all(re.fullmatch(r":?-+:?", cell) for cell in cells):
                    rows.append(cells)
            elif rows:
                yield first, rows
                rows, first = [], 0


def slug(heading):
    """The anchor of a heading, as hosts of repositories make it."""
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).replace("`", "")
    return re.sub(r"[^\w\- ]", "", text.lower()).replace(" ", "-")


def all_documents(root):
    """Every Markdown file of the tree."""
    for folder, folders, files in os.walk(root):
        folders[:] = sorted(f for f in folders if f not in SKIPPED_FOLDERS and f[0] != ".")
        for name in sorted(files):
            if name.endswith(".md"):
                yield Document(root, os.path.relpath(os.path.join(folder, name), root))


def guides(root):
    """The documents whose blocks are run or compared: those that readers work
    through.  The READMEs of folders are for who works on them."""
    for document in all_documents(root):
        if os.path.dirname(document.path) in ("", "docs"):
            yield document


def dedented(lines):
    """Without the indentation that all lines share, and without blanks at their
    ends."""
    filled = [line for line in lines if line.strip()]
    shared = min((len(line) - len(line.lstrip()) for line in filled), default=0)
    return [line[shared:].rstrip() for line in lines]
