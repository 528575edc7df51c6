#!/usr/bin/python3
"""syntax_test.py BUILD-FOLDER: has clang read the sources that only macOS compiles, with the flags that their module has
here and with declarations of the few system functions that they call. It keeps typing errors out; it does not show that
the declarations are macOS's."""

import json
import os
import shlex
import subprocess
import sys
import tempfile
import unittest

CHECKOUT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
DECLARATIONS = os.path.join(CHECKOUT, "tests/macos/declarations")
BUILD = sys.argv.pop()
LEFT_OUT = ("build", "packaging", "tests/macos")


def sources():
    for place, folders, names in os.walk(CHECKOUT):
        folders[:] = [name for name in folders
                      if not name.startswith(".") and os.path.relpath(os.path.join(place, name), CHECKOUT) not in LEFT_OUT]
        for name in names:
            is_macos = os.path.basename(place) == "macos" or "Macos." in name or name.endswith(".mm")
            if is_macos and name.endswith((".cpp", ".mm", ".h")):
                yield os.path.join(place, name)


def flags_of(source, commands):
    """Those of a module that is compiled here, the one in the nearest folder."""
    folder = os.path.relpath(os.path.dirname(source), CHECKOUT)
    while folder:
        for entry in commands:
            if f" -o {folder}/CMakeFiles/" in entry["command"]:
                words = shlex.split(entry["command"])
                flags = [word for word in words if word.startswith(("-D", "-I", "-W", "-std"))]
                for index, word in enumerate(words):
                    if word == "-isystem":
                        flags += words[index:index + 2]
                return flags
        folder = os.path.dirname(folder)
    raise LookupError(source)


def complaints(source, text=None):
    """What clang says of a source, or of a text in its place."""
    with open(os.path.join(BUILD, "compile_commands.json"), encoding="utf-8") as file:
        flags = flags_of(source, json.load(file))
    if text is None:
        with open(source, encoding="utf-8") as file:
            text = file.read()
    is_objective = source.endswith(".mm")
    language = ["-x", "objective-c++", "-fobjc-arc", "-fobjc-runtime=macosx-11"] if is_objective else ["-x", "c++"]
    with tempfile.NamedTemporaryFile("w", encoding="utf-8", suffix=os.path.splitext(source)[1]) as copy:
        copy.write(f'#line 1 "{source}"\n{text}')
        copy.flush()
        return subprocess.run(
            ["clang++", "-fsyntax-only", *language, "-isystem", DECLARATIONS, f"-I{os.path.dirname(source)}", *flags,
             "-Wno-unknown-warning-option", "-Wno-pragma-once-outside-header", "-Werror", copy.name],
            capture_output=True, text=True).stderr


class SyntaxTest(unittest.TestCase):
    def test_the_sources_of_macos_are_sound(self):
        files = sorted(sources())
        self.assertGreater(len(files), 10)
        for source in files:
            with self.subTest(source):
                self.assertEqual(complaints(source), "")

    def test_typing_errors_are_found(self):
        for name, right, wrong in (
            ("platform/macos/LaunchChild.cpp", "posix_spawnattr_init", "posix_spawnattr_initt"),
            ("platform/macos/ParentDeathWatch.cpp", "event.ident", "event.identity"),
            ("app/desktop/macos/DesktopReopen.mm", "sharedApplication", "sharedAplication"),
            ("app/desktop/macos/DesktopReopen.mm", "(BOOL)flag {", "(NSString *)flag {"),
        ):
            source = os.path.join(CHECKOUT, name)
            with open(source, encoding="utf-8") as file:
                text = file.read()
            self.assertIn(right, text)
            self.assertIn("error:", complaints(source, text.replace(right, wrong)), f"{name}: {wrong}")


unittest.main()
