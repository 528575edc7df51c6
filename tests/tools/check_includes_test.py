#!/usr/bin/python3
"""check_includes_test.py BUILD-FOLDER: what tools/check-includes finds in a copy of the sources, and what the compiler
refuses in the build folder."""

import json
import os
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

CHECKOUT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
BUILD = sys.argv.pop()


class CheckIncludesTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.copy = os.path.join(scratch.name, "checkout")
        shutil.copytree(CHECKOUT, self.copy, ignore=shutil.ignore_patterns("build", ".git", "docs"))

    def append(self, file, text):
        with open(os.path.join(self.copy, file), "a", encoding="utf-8") as source:
            source.write(text + "\n")

    def replace(self, file, old, new):
        path = os.path.join(self.copy, file)
        with open(path, encoding="utf-8") as source:
            text = source.read()
        self.assertIn(old, text)
        with open(path, "w", encoding="utf-8") as source:
            source.write(text.replace(old, new))

    def complaints(self):
        result = subprocess.run([os.path.join(self.copy, "tools/check-includes")], capture_output=True, text=True)
        self.assertEqual(result.stderr, "")
        lines = result.stdout.splitlines()
        self.assertEqual(result.returncode, 1 if lines else 0)
        return lines

    def test_what_is_wrong_is_found_and_nothing_else(self):
        self.assertEqual(self.complaints(), [])

        # A module that is not linked, and one that is linked only by what is linked.
        self.append("config/LoadProps.cpp", '#include "Updater.h"')
        self.replace("app/CMakeLists.txt", " ferrolt_updates", "")
        # Qt's modules, by each of their two spellings; one comes by way of platform.
        self.append("updates/Metalink.h", "#include <QtWidgets/QLabel>")
        self.append("supervisor/AppVars.cpp", "#  include <QTcpServer>")
        # What Linux does not compile.
        self.append("platform/install/macos/SystemTools.mm", '#import "LoadProps.h"')
        # A test is handed what its module links, and no more.
        self.append("tests/support/TestTree.h", '#include "MainWindow.h"')
        # A sound include.
        self.append("supervisor/AppVars.cpp", '#include "LoadProps.h"')
        found = self.complaints()
        for line in (
            "config/LoadProps.cpp includes Updater.h of ferrolt_updates, which ferrolt_config does not link",
            "app/ContentView.cpp includes LibreOfficeInstaller.h of ferrolt_updates, which ferrolt_app does not link",
            "updates/Metalink.h includes QtWidgets/QLabel of Qt6::Widgets, which ferrolt_updates does not link",
            "supervisor/AppVars.cpp includes QTcpServer of Qt6::Network, which ferrolt_supervisor does not link",
            "platform/install/macos/SystemTools.mm includes LoadProps.h of ferrolt_config, which ferrolt_install does not link",
            "tests/support/TestTree.h includes MainWindow.h of ferrolt_app, which supervisor-tests does not link",
            "README.md draws app -> updates, which CMake has not",
        ):
            self.assertIn(line, found)
        self.assertFalse([line for line in found if line.startswith("supervisor/AppVars.cpp includes LoadProps.h")])

        self.replace("README.md", "    http       -> platform\n", "")
        self.assertIn("README.md does not draw http -> platform, which CMake has", self.complaints())

    def compiles(self, module, header):
        """Whether a source of a module would compile with this header."""
        with open(os.path.join(BUILD, "compile_commands.json"), encoding="utf-8") as file:
            commands = json.load(file)
        command = next(entry for entry in commands if f" -o {module}/CMakeFiles/ferrolt_" in entry["command"])
        arguments = [word for word in shlex.split(command["command"]) if word != command["file"]]
        arguments = arguments[: arguments.index("-o")] + ["-fsyntax-only", "-x", "c++", "-"]
        if arguments[0].endswith("ccache"):
            del arguments[0]
        result = subprocess.run(arguments, cwd=command["directory"], input=f"#include <{header}>\n", capture_output=True, text=True)
        return result.returncode == 0, result.stderr

    def test_a_module_without_a_user_interface_does_not_compile_with_one(self):
        for module in ("platform", "config", "updates", "supervisor"):
            self.assertTrue(self.compiles(module, "QString")[0], module)
            for header in ("QtWidgets/QWidget", "QtGui/QImage"):
                compiles, message = self.compiles(module, header)
                self.assertFalse(compiles, f"{module}, {header}")
                self.assertIn("no user interface", message)


unittest.main()
