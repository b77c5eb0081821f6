"""The checks of the documents that need no program: each yields what is wrong."""
import glob
import os
import re

from documents import all_documents, dedented, guides
from operations import public_operations

FOLDERS = ("core pcm io graph playback hostcore playout app tests fuzz bench docs cmake scripts "
           "examples").split()
LIBRARY = "core pcm io graph playback hostcore playout".split()
LANGUAGES = {"sh", "cpp", "cmake", "text", "json"}

# What users cannot know from the names, in the words of docs/behaviour.md.
PINNED = (
    "fades in and out over 20 ms",
    "The pan law is linear",
    "32-bit WAV is scaled floats",
    "An edit is heard up to 0.37 s late",
    "Quality and filter are settings of playback",
)


def check_links(root):
    """Links lead to files and headings that are there; pictures say in words
    what they show; what stands elsewhere nobody could check."""
    documents = {d.path: d for d in all_documents(root)}
    for document in documents.values():
        for number, is_image, text, target in document.links():
            where = f"{document.path}:{number}"
            if re.match(r"\w+:", target):
                yield f"{where}: {target} lies outside the tree, where no test looks"
                continue
            path, _, anchor = target.partition("#")
            path = os.path.normpath(os.path.join(os.path.dirname(document.path), path)) \
                if path else document.path
            if not os.path.exists(os.path.join(root, path)):
                yield f"{where}: {target} is not there"
            elif anchor and (path not in documents or anchor not in documents[path].anchors()):
                yield f"{where}: {path} has no heading #{anchor}"
            if is_image and not text.strip():
                yield f"{where}: the picture {target} has no words for who cannot see it"


def check_index(root):
    """Every page in docs/ can be reached from the README, and every pinned
    oddity is told and can be found from there."""
    documents = {d.path: d for d in all_documents(root)}
    linked = {target.partition("#")[0] for _, _, _, target in documents["README.md"].links()}
    for path in documents:
        if path.startswith("docs" + os.sep) and path not in linked:
            yield f"README.md does not link to {path}"
    behaviour = "\n".join(documents["docs/behaviour.md"].lines)
    for words in PINNED:
        if words not in behaviour:
            yield f"docs/behaviour.md does not say: {words}"


def check_excerpts(root):
    """Programs and build files in the documents stand letter by letter in the
    tree, where tests build and run them."""
    sources = {"cpp": [], "cmake": []}
    for folder in FOLDERS:
        for path in glob.glob(os.path.join(root, folder, "**", "*"), recursive=True):
            name = os.path.basename(path)
            language = "cmake" if name == "CMakeLists.txt" else \
                "cpp" if name.endswith((".cpp", ".h")) else None
            if language and os.path.isfile(path):
                with open(path, encoding="utf-8") as file:
                    sources[language].append(file.read().split("\n"))
    for document in guides(root):
        for number in document.indented_blocks():
            yield f"{document.path}:{number}: a block without a language, of which no test knows"
        for number, language, lines in document.fences():
            where = f"{document.path}:{number}"
            if language not in LANGUAGES:
                yield f"{where}: a block in the language \"{language}\", of which no test knows"
            elif language in sources and not any(holds(s, lines) for s in sources[language]):
                yield f"{where}: this is no excerpt of any source in the tree"


def holds(source, excerpt):
    """Whether the source has these lines one after the other, indented or not."""
    wanted = dedented(excerpt)
    first = next((line for line in wanted if line), None)
    if first is None:
        return False
    skip = wanted.index(first)
    return any(line.strip() == first.strip() and
               dedented(source[at - skip:at - skip + len(wanted)]) == wanted
               for at, line in enumerate(source) if at >= skip)


def check_names(root):
    """Files, classes and functions that the documents name are there."""
    words = set()
    for folder in LIBRARY:
        for path in glob.glob(os.path.join(root, folder, "**", "*.*"), recursive=True):
            if path.endswith((".h", ".cpp")):
                with open(path, encoding="utf-8") as file:
                    words.update(re.findall(r"\w+", file.read()))
    for document in all_documents(root):
        for number, code in document.code():
            where = f"{document.path}:{number}"
            path = re.fullmatch(r"((?:%s)/[\w./*+-]+)" % "|".join(FOLDERS), code.split(" ")[0])
            if path and not glob.glob(os.path.join(root, path.group(1))):
                yield f"{where}: {path.group(1)} is not there"
            if re.fullmatch(r"(Tov|Pe)[A-Z]\w*(::\w+)*(\(.*\))?", code):
                for word in code.partition("(")[0].split("::"):
                    if word not in words and not os.path.exists(os.path.join(root, "cmake", word)):
                        yield f"{where}: nothing in the library is called {word}"


def check_examples(root):
    """Example programs stay short, and each is run by the tests."""
    with open(os.path.join(root, "tests/documents/ExamplesTest.cpp"), encoding="utf-8") as file:
        test = file.read()
    paths = glob.glob(os.path.join(root, "examples", "*.cpp"))
    if not paths:
        yield "there are no examples"
    for path in sorted(paths):
        name = os.path.splitext(os.path.basename(path))[0]
        with open(path, encoding="utf-8") as file:
            count = len(file.readlines())
        if count >= 80:
            yield f"examples/{name}.cpp has {count} lines"
        if f'"{name}"' not in test:
            yield f"examples/{name}.cpp is not run by tests/documents/ExamplesTest.cpp"


def check_threads(root):
    """docs/threads.md tells of every public operation: by its name, or by that of
    its class or header at the beginning of a row."""
    document = next(d for d in guides(root) if d.path == "docs/threads.md")
    words = set(re.findall(r"\w+", " ".join(code for _, code in document.code())))
    whole = {name for _, rows in document.tables() for cells in rows
             for name in re.findall(r"`((?:Tov\w+|PlayoutEngine\.h))`(?!:)", cells[0])}
    operations = list(public_operations(root))
    if not operations:
        yield "no public operation was found in the headers"
    for header, owner, name in operations:
        told = name in words or owner in whole or os.path.basename(header) in whole or \
            name.endswith("NoLock")
        if not told:
            yield f"docs/threads.md does not tell of {owner}::{name}() in {header}"


# --- The README's figures ---------------------------------------------------

RENEW = "tests/documents/check --write-figures puts them in"


def measured(performance):
    """(section and work, peer) -> a factor for each set of kernels, of
    docs/performance.md."""
    factors, section = {}, ""
    for line in performance.lines:
        if line.startswith("## "):
            section = line[3:].strip()
        cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
        if line.startswith("|") and len(cells) > 8 and re.fullmatch(r"[\d.]+", cells[6]):
            factors[f"{section}: {cells[0]}", cells[1]] = [cells[6], cells[7]]
    return factors


def figure_rows(readme):
    """(number, work, peer, factors) of the README's table of factors, whose
    last two columns are those of AVX-512 and AVX2."""
    for first, rows in readme.tables():
        if rows[0][-2:] == ["AVX-512", "AVX2"]:
            for offset, cells in enumerate(rows[1:]):
                yield first + 2 + offset, cells[0], cells[1], cells[2:]


def date_of(performance):
    """The day of the measurements."""
    dates = [rows[i][1] for _, rows in performance.tables() for i in range(len(rows))
             if rows[i][0] == "date"]
    return dates[0] if dates else "without a date"


def check_figures(root):
    """The README's factors are those of docs/performance.md, to one digit, and
    bear their date."""
    documents = {d.path: d for d in guides(root)}
    factors = measured(documents["docs/performance.md"])
    date = date_of(documents["docs/performance.md"])
    if date not in "\n".join(documents["README.md"].lines):
        yield f"README.md: its figures are not those measured on {date}; {RENEW}"
    rows = list(figure_rows(documents["README.md"]))
    if len(rows) < 4:
        yield "README.md: its table of factors was not found"
    for number, work, peer, told in rows:
        expected = factors.get((work, peer))
        if not expected:
            yield f"README.md:{number}: docs/performance.md has no row \"{work}\", \"{peer}\""
        elif told != [rounded(factor) for factor in expected]:
            yield f"README.md:{number}: {work}, {peer}: measured are {', '.join(expected)}; {RENEW}"


def rounded(factor):
    return f"{float(factor):.1f}"


def write_figures(root):
    """Puts the measured factors into the README."""
    documents = {d.path: d for d in guides(root)}
    factors = measured(documents["docs/performance.md"])
    readme = documents["README.md"]
    date = date_of(documents["docs/performance.md"])
    readme.lines = [re.sub(r"\d{4}-\d\d-\d\d", date, line) for line in readme.lines]
    for number, work, peer, _ in figure_rows(readme):
        if (work, peer) in factors:
            cells = [work, peer] + [rounded(factor) for factor in factors[work, peer]]
            readme.lines[number - 1] = "| " + " | ".join(cells) + " |"
    with open(os.path.join(root, "README.md"), "w", encoding="utf-8") as file:
        file.write("\n".join(readme.lines))


ALL = (check_links, check_index, check_excerpts, check_names, check_threads, check_examples,
       check_figures)
