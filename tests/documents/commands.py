"""Runs the commands that the documents show, in a folder of their own that
looks like a checkout in which everything is built."""
import os
import re
import subprocess
import tempfile

from documents import guides

# Commands that are not run here, and what runs them instead.  An entry that no
# document shows any more is wrong.
ELSEWHERE = {
    "./test": "runs this test",
    "./test --long": "runs this test",
    "bench/run --write-docs": "takes ten minutes; its own tables say what it measured",
    "tests/documents/check --write-figures":
        "changes the tree; planted_faults.py does it to another",
    "cpack --config build/release/CPackConfig.cmake -G DEB -B packages":
        "the test `package` is this command",
    "scripts/abi-check": "wants a tag; the test `abi_check` runs it on a tree of its own",
}

# The same for whole blocks, by their first command.
BLOCKS_ELSEWHERE = {
    "apt-get install --no-install-recommends pulseaudio pulseaudio-utils pipewire pipewire-pulse "
    "wireplumber jackd2":
        "wants three sound servers and root; tests/soundserver starts PulseAudio as it does",
}

SETUP = """
"$TOV" demo sounds >/dev/null
"$TOV" convert sounds/drums.wav drums.wav --bits 16 >/dev/null
"$TOV" convert sounds/bass.aiff bass.aiff --bits 16 >/dev/null
"$TOV" convert sounds/lead.aif voice.wav --bits 24 >/dev/null
rm -r sounds mix.wav
"""

# What stands for ./run and tov: the built program.  Playing goes on until it is
# interrupted, or takes its time; a second of it is enough to see that it does.
PROGRAM = """#!/bin/sh
[ $# -gt 0 ] || set -- demo
[ "$1" = play ] || exec "$TOV" "$@"
timeout --signal=INT 1 "$TOV" "$@"
status=$?
[ $status -eq 124 ] || exit $status
"""


def commands(lines):
    """The commands of a block, without comments, lines that go on put together."""
    pending = ""
    for line in lines:
        line = re.sub(r"(^|\s)#.*$", "", line).rstrip()
        if line.endswith("\\"):
            pending += line[:-1].strip() + " "
            continue
        line = pending + line.strip()
        pending = ""
        if line:
            yield line


def blocks(root):
    """(document, first line, commands) of each block of commands."""
    for document in guides(root):
        for number, language, lines in document.fences():
            if language == "sh":
                yield document.path, number, list(commands(lines))


def check_commands(root, tov, build):
    """Runs everything; yields what failed."""
    used, count = set(), 0
    by_document = {}
    for path, number, wanted in blocks(root):
        by_document.setdefault(path, []).append((number, wanted))
    for path, its_blocks in by_document.items():
        with tempfile.TemporaryDirectory() as folder:
            scratch = prepare(folder, root, tov, build)
            for number, wanted in its_blocks:
                if wanted and wanted[0] in BLOCKS_ELSEWHERE:
                    used.add(wanted[0])
                    continue
                used.update(command for command in wanted if command in ELSEWHERE)
                here = [command for command in wanted if command not in ELSEWHERE]
                count += len(here)
                said = run(scratch, "\n".join(here))
                if said is not None:
                    yield f"{path}:{number}: {said}"
    for command in list(ELSEWHERE) + list(BLOCKS_ELSEWHERE):
        if command not in used:
            yield f"no document shows \"{command}\" any more"
    if count == 0:
        yield "no command was found"


def check_inline(root, tov):
    """Commands in the running text: their options are those of the program."""
    helps = {}
    for document in guides(root):
        for number, code in document.code():
            words = code.split()
            if words[0] not in ("tov", "./run", "./test"):
                continue
            program = [os.path.join(root, "test")] if words[0] == "./test" else [tov]
            if program == [tov] and len(words) > 1 and words[1].isalpha():
                program.append(words[1])
            key = " ".join(program)
            if key not in helps:
                done = subprocess.run(program + ["--help"], capture_output=True, check=False)
                helps[key] = done.stdout.decode() if done.returncode == 0 else None
            if helps[key] is None:
                yield f"{document.path}:{number}: there is no `{' '.join(words[:2])}`"
                continue
            for word in words[1:]:
                if word.startswith("-") and not re.search(
                        rf"(?<![\w-]){re.escape(word.partition('=')[0])}(?![\w-])", helps[key]):
                    yield f"{document.path}:{number}: `{code}`: there is no option {word}"


def prepare(folder, root, tov, build):
    """Makes the folder; returns it with the environment for commands."""
    programs = os.path.join(folder, "programs")
    checkout = os.path.join(folder, "checkout")
    os.makedirs(programs)
    os.makedirs(os.path.join(checkout, "build"))
    for program in (os.path.join(programs, "tov"), os.path.join(checkout, "run")):
        with open(program, "w", encoding="utf-8") as file:
            file.write(PROGRAM)
        os.chmod(program, 0o755)
    for name in ("run", "release"):
        os.symlink(build, os.path.join(checkout, "build", name))
    for name in ("examples", "scripts", "docs"):
        os.symlink(os.path.join(root, name), os.path.join(checkout, name))
    environment = dict(os.environ, TOV=tov, PLAYOUT_DEVICE="null", HOME=folder,
                       PATH=programs + ":" + os.environ["PATH"])
    environment.pop("GTEST_FILTER", None)
    subprocess.run(["bash", "-euo", "pipefail", "-c", SETUP], cwd=checkout, env=environment,
                   check=True)
    return checkout, environment


def run(scratch, command):
    """None where all of it exits with 0, else what it said."""
    folder, environment = scratch
    script = "trap 'echo \"failed: $BASH_COMMAND\"' ERR\n" + command
    done = subprocess.run(["bash", "-euo", "pipefail", "-c", script], cwd=folder, env=environment,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, timeout=60, check=False)
    if done.returncode == 0:
        return None
    return f"exit status {done.returncode}\n" + done.stdout.decode("utf-8", "replace")
