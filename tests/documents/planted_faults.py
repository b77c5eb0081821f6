#!/usr/bin/env python3
"""Each check of the documents, on a small tree that is in order and then with a
fault planted: a check that cannot fail says nothing."""
import os
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True  # the tree stays as it is
import checks
import commands

README = """# Things

See [the page](docs/page.md), [its end](docs/page.md#the-end-of-it), [oddities](docs/behaviour.md),
[threads](docs/threads.md) and [measured](docs/performance.md).

![Two tracks](docs/picture.png)

```cpp
int two()
{
  return 2;
}
```

```cmake
add_library(things things.cpp)
```

```sh
tov mix a.wav \\
    -o b.wav     # goes on
```

| Work | Beside | AVX-512 | AVX2 |
|---|---|---|---|
""" + "".join(f"| Mixing: {n} files | peer | 2.1 | 1.9 |\n" for n in range(1, 5)) + """
Measured on 2026-01-02.  `tov mix --rate 48000` mixes.
It is a `TovThing`, made by `TovThing::make()` of `core/things.h`.
"""

PERFORMANCE = """| date | 2026-01-02 |

## Mixing

| work | peer | time | a | b | c | a x | b x | c x |
""" + "".join(f"| {n} files | peer | 9 ns | 4 ns | 5 ns | 8 ns | 2.13 | 1.87 | 1.00 |\n"
              for n in range(1, 5))

FILES = {
    "README.md": README,
    "docs/page.md": "# Page\n\n## The end of it\n\nBack to [the top](#page).\n",
    "docs/behaviour.md": "".join(f"- {words}\n" for words in checks.PINNED),
    "docs/performance.md": PERFORMANCE,
    "docs/picture.png": "",
    "docs/threads.md": "| Operation | Thread |\n|---|---|\n| `spin` | any |\n"
                       "| `TovWheel` | one |\n",
    "graph/TovThing.h": """/** A thing. */
class TOV_API TovThing : public TovBase {
public:
  TovThing();
  virtual ~TovThing();
  void spin(int times); // round
  struct Part {
    int size;
  };

private:
  void stop();
};

/** Parts of it. */
class TovWheel {
public:
  static int count();
};
""",
    "core/things.h": "class TovThing { static int make(); };\n",
    "examples/things.cpp": "int one();\n\n  int two()\n  {\n    return 2;\n  }\n",
    "examples/CMakeLists.txt": "add_library(things things.cpp)\n",
    "tests/documents/ExamplesTest.cpp": 'run("things");\n',
}

# A program that fails as soon as its output is called wrong.wav.
PROGRAM = """#!/bin/sh
case "$*" in *wrong.wav*) echo no such thing; exit 3 ;; esac
case "$*" in spoil*) exit 2 ;; esac
echo "--rate RATE"
"""


class PlantedFaults(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.root = self.folder.name
        for path, text in FILES.items():
            self.write(path, text)
        self.write("program", PROGRAM)
        os.chmod(os.path.join(self.root, "program"), 0o755)
        setup, commands.SETUP = commands.SETUP, ""
        elsewhere, commands.ELSEWHERE = commands.ELSEWHERE, {}
        others, commands.BLOCKS_ELSEWHERE = commands.BLOCKS_ELSEWHERE, {}
        self.addCleanup(setattr, commands, "SETUP", setup)
        self.addCleanup(setattr, commands, "ELSEWHERE", elsewhere)
        self.addCleanup(setattr, commands, "BLOCKS_ELSEWHERE", others)
        self.addCleanup(self.folder.cleanup)

    def write(self, path, text):
        path = os.path.join(self.root, path)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    def replace(self, path, old, new):
        self.assertIn(old, FILES[path])
        self.write(path, FILES[path].replace(old, new, 1))

    def found(self):
        return [s for check in checks.ALL for s in check(self.root)] + self.failed()

    def failed(self):
        program = os.path.join(self.root, "program")
        return list(commands.check_commands(self.root, program, self.root)) + \
            list(commands.check_inline(self.root, program))

    def expect(self, part):
        found = self.found()
        self.assertEqual(len(found), 1, found)
        self.assertIn(part, found[0])

    def test_nothing_is_found_where_nothing_is_wrong(self):
        self.assertEqual(self.found(), [])

    def test_a_link_to_a_file_that_is_not_there(self):
        self.replace("README.md", "docs/page.md#", "docs/pages.md#")
        self.expect("docs/pages.md#the-end-of-it is not there")

    def test_a_link_to_a_heading_that_is_not_there(self):
        self.replace("docs/page.md", "(#page)", "(#pages)")
        self.expect("docs/page.md has no heading #pages")

    def test_a_heading_that_was_renamed(self):
        self.replace("docs/page.md", "The end of it", "Its end")
        self.expect("docs/page.md has no heading #the-end-of-it")

    def test_a_picture_without_words(self):
        self.replace("README.md", "![Two tracks]", "![]")
        self.expect("docs/picture.png has no words")

    def test_a_link_out_of_the_tree(self):
        self.replace("README.md", "(docs/performance.md)", "(docs/performance.md) [x](https://x.y)")
        self.expect("https://x.y lies outside the tree")

    def test_a_page_that_nobody_links_to(self):
        self.write("docs/hidden.md", "# Hidden\n")
        self.expect("does not link to docs/hidden.md")

    def test_an_oddity_that_is_told_no_more(self):
        self.replace("docs/behaviour.md", "The pan law is linear", "The pan law is a law")
        self.expect("does not say: The pan law is linear")

    def test_a_program_that_is_no_excerpt(self):
        self.replace("README.md", "return 2;", "return 3;")
        self.expect("README.md:9: this is no excerpt")

    def test_an_excerpt_with_a_line_left_out(self):
        self.replace("README.md", "{\n  return 2;", "{")
        self.expect("README.md:9: this is no excerpt")

    def test_a_build_file_that_is_no_excerpt(self):
        self.replace("README.md", "add_library(things things.cpp)", "add_library(thing things.cpp)")
        self.expect("README.md:16: this is no excerpt")

    def test_a_block_of_which_no_test_knows(self):
        self.replace("README.md", "```sh", "```")
        self.write("docs/page.md", FILES["docs/page.md"] + "```sh\ntov\n```\n")
        self.expect('a block in the language ""')

    def test_a_block_that_is_only_indented(self):
        self.replace("docs/page.md", "Back to", "Do this:\n\n    tov mix\n\nBack to")
        self.expect("docs/page.md:7: a block without a language")

    def test_a_file_that_is_gone(self):
        self.replace("README.md", "core/things.h", "core/thing.h")
        self.expect("core/thing.h is not there")

    def test_a_class_that_was_renamed(self):
        self.replace("README.md", "a `TovThing`", "a `TovThink`")
        self.expect("nothing in the library is called TovThink")

    def test_a_function_that_was_renamed(self):
        self.replace("README.md", "TovThing::make()", "TovThing::build()")
        self.expect("nothing in the library is called build")

    def test_an_operation_of_which_no_thread_is_told(self):
        self.replace("graph/TovThing.h", "void spin(int times); // round",
                     "void spin(int times); // round\n  virtual int\n  turn() const = 0;")
        self.expect("does not tell of TovThing::turn() in graph/TovThing.h")

    def test_a_class_of_which_no_thread_is_told(self):
        self.replace("docs/threads.md", "TovWheel", "TovThing")
        self.replace("graph/TovThing.h", "void spin(int times);", "void spin(int times); int x();")
        self.expect("does not tell of TovWheel::count()")

    def test_an_example_that_grew(self):
        self.write("examples/things.cpp", FILES["examples/things.cpp"] + "\n" * 80)
        self.expect("examples/things.cpp has 86 lines")

    def test_an_example_that_is_not_run(self):
        self.write("examples/more.cpp", "int main() {}\n")
        self.expect("examples/more.cpp is not run")

    def test_a_figure_that_was_measured_anew(self):
        self.replace("docs/performance.md", "2.13", "2.31")
        self.expect("Mixing: 1 files, peer: measured are 2.31, 1.87")
        checks.write_figures(self.root)
        self.assertEqual(self.found(), [])

    def test_figures_of_another_day(self):
        self.replace("docs/performance.md", "2026-01-02", "2026-02-01")
        self.expect("not those measured on 2026-02-01")
        checks.write_figures(self.root)
        self.assertEqual(self.found(), [])

    def test_a_figure_that_was_never_measured(self):
        self.replace("README.md", "| Mixing: 2 files |", "| Mixing: 5 files |")
        self.expect('no row "Mixing: 5 files"')

    def test_figures_that_are_gone(self):
        self.replace("README.md", "| AVX2 |", "| AVX |")
        self.expect("its table of factors was not found")

    def test_a_command_that_fails(self):
        self.replace("README.md", "b.wav", "wrong.wav")
        self.expect("exit status 3\nno such thing\nfailed: tov mix a.wav -o wrong.wav")

    def test_a_program_that_is_unknown(self):
        self.replace("README.md", "tov mix", "top-of-nothing mix")
        self.expect("exit status 127")

    def test_an_option_that_was_renamed(self):
        self.replace("README.md", "mix --rate", "mix --rat")
        self.expect("`tov mix --rat 48000`: there is no option --rat")

    def test_a_command_that_was_renamed(self):
        self.replace("README.md", "`tov mix --rate", "`tov spoil --rate")
        self.expect("there is no `tov spoil`")

    def test_a_command_before_one_that_succeeds(self):
        self.replace("README.md", "tov mix", "tov mix wrong.wav\ntov mix")
        self.expect("failed: tov mix wrong.wav")

    def test_an_exception_that_is_needed_no_more(self):
        commands.ELSEWHERE = {"tov nothing": "nowhere"}
        self.expect('no document shows "tov nothing" any more')

    def test_a_block_that_is_excused(self):
        self.replace("README.md", "b.wav", "wrong.wav")
        commands.BLOCKS_ELSEWHERE = {"tov mix a.wav -o wrong.wav": "elsewhere"}
        self.write("docs/page.md", FILES["docs/page.md"] + "```sh\ntov\n```\n")
        self.assertEqual(self.found(), [])
        commands.BLOCKS_ELSEWHERE["tov nothing"] = "nowhere"
        self.expect('no document shows "tov nothing" any more')

    def test_no_commands_at_all(self):
        self.replace("README.md", "```sh", "```text")
        self.expect("no command was found")


if __name__ == "__main__":
    unittest.main()
