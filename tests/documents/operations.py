"""The public operations of the library's classes, read from its headers."""
import glob
import os
import re

FOLDERS = ("io", "pcm", "graph", "playback", "playout")
PRIVATE_HEADERS = {"TovBlob.h", "TovByteOrder.h", "TovChunkWalk.h", "TovMixerSettings.h",
                   "TovPlaybackSettings.h", "TovSaturating.h"}


def public_operations(root):
    """(header, class or "", name) of every public function."""
    for folder in FOLDERS:
        for path in sorted(glob.glob(os.path.join(root, folder, "*.h"))):
            name = os.path.basename(path)
            if name in PRIVATE_HEADERS or not name.startswith(("Tov", "PlayoutEngine")):
                continue
            with open(path, encoding="utf-8") as file:
                for owner, operation in operations_of(file.read()):
                    yield f"{folder}/{name}", owner, operation


def operations_of(header):
    """(class or "", name) of the public functions that a header declares."""
    text = re.sub(r"/\*.*?\*/|//[^\n]*|^#.*?$", "", header, flags=re.DOTALL | re.MULTILINE)
    scopes = []  # (class or "", whether what follows is public)
    statement = ""
    text = re.sub(r"\b(public|protected|private):(?!:)", r"@\1@", text)
    for token in re.findall(r"@\w+@|[{};]|[^@{};]+", text):
        if token.startswith("@"):
            scopes[-1] = (scopes[-1][0], token == "@public@")
            statement = ""
        elif token == "{":
            yield from declared(statement, scopes)
            scopes.append(opened(statement))
            statement = ""
        elif token == "}":
            if scopes:
                scopes.pop()
            statement = ""
        elif token == ";":
            yield from declared(statement, scopes)
            statement = ""
        else:
            statement += token


def opened(statement):
    """What a brace opens: a class, a block that is as good as none, or a body."""
    kinds = re.findall(r"\b(class|struct)\s+(?:TOV_\w+\s+)?(\w+)", statement)
    if kinds:
        return kinds[-1][1], kinds[-1][0] == "struct"
    return "", 'extern "C"' in statement


def declared(statement, scopes):
    if any(not is_public for _, is_public in scopes):
        return
    owner = scopes[-1][0] if scopes else ""
    found = re.match(r"[\s\w:<>,*&]*?[\s*&](\w+)\s*\(", " " + " ".join(statement.split()))
    if not found or "typedef" in statement or "template" in statement or "= delete" in statement:
        return
    name = found.group(1)
    if name not in (owner, "operator", "Q_UNUSED") and "~" not in statement:
        yield owner, name
