#!/usr/bin/env python3
"""scripts/check-includes on trees made here."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts/check-includes"


class IncludesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.room("base/leaf")
        self.room("base/loop", "base/leaf")
        self.write("base/leaf/Leaf.h")
        self.write("base/loop/Loop.h", '#include "base/leaf/Leaf.h"')

    def write(self, path, *lines):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("\n".join(lines) + "\n")

    def room(self, name, *depends):
        self.write(f"{name}/DEPENDS", "# Folders whose headers this folder may include, one a line.", *depends)

    def check(self):
        result = subprocess.run([sys.executable, SCRIPT, self.root], capture_output=True, text=True, check=False)
        return result.returncode, result.stdout + result.stderr

    def assert_problem(self, problem):
        status, text = self.check()
        self.assertEqual((status, text.splitlines()[:-1]), (1, [problem]))

    def test_what_depends_allows_passes(self):
        self.assertEqual(self.check(), (0, "check-includes: 2 files, 0 problems\n"))

    def test_naming_a_folder_allows_the_rooms_in_it(self):
        self.room("top", "base")
        self.write("top/Top.cpp", '#include "base/leaf/Leaf.h"', "#include <vector>", '#include "Beside.h"')
        self.write("top/Beside.h")
        self.assertEqual(self.check()[0], 0)

    def test_include_that_depends_does_not_name_is_refused(self):
        self.write("base/leaf/Up.cpp", "", '#include "base/loop/Loop.h"')
        self.assert_problem("base/leaf/Up.cpp:2: base/leaf may not include base/loop/Loop.h")

    def test_room_in_a_folder_is_named_by_its_own_name(self):
        self.room("top", "base/leaf")
        self.write("top/Top.cpp", '#include "base/leaf/Leaf.h"', '#include "base/loop/Loop.h"')
        self.assert_problem("top/Top.cpp:2: top may not include base/loop/Loop.h")

    def test_edge_that_no_include_needs_is_refused(self):
        self.room("top", "base/leaf", "base/loop")
        self.write("top/Top.cpp", '#include "base/loop/Loop.h"')
        self.assert_problem("top/DEPENDS names 'base/leaf', of which it includes nothing")

    def test_folder_is_needed_when_a_room_in_it_is(self):
        self.room("top", "base")
        self.write("top/Top.cpp")
        self.assert_problem("top/DEPENDS names 'base', of which it includes nothing")

    def test_cycle_is_told_as_a_way(self):
        self.room("base/leaf", "base/loop")
        self.write("base/leaf/Leaf.h", '#include "base/loop/Loop.h"')
        self.assert_problem("cycle: base/leaf -> base/loop -> base/leaf")

    def test_cycle_through_a_folder_is_found(self):
        self.room("top", "base")
        self.write("top/Top.h", '#include "base/leaf/Leaf.h"')
        self.room("base/leaf", "top")
        self.write("base/leaf/Leaf.h", '#include "top/Top.h"')
        self.assert_problem("cycle: base/leaf -> top -> base/leaf")

    def test_unknown_folder_is_refused(self):
        self.room("base/leaf", "bottom")
        self.assertIn("base/leaf/DEPENDS names the unknown folder 'bottom'\n", self.check()[1])

    def test_header_of_no_folder_is_refused(self):
        self.write("base/leaf/Lost.cpp", '#include "nowhere/Lost.h"')
        self.assert_problem("base/leaf/Lost.cpp:1: nowhere/Lost.h is in no folder of this project")

    def test_library_header_belongs_to_its_owners(self):
        self.write("base/leaf/Store.cpp", "#include <sqlite3.h>")
        self.assert_problem("base/leaf/Store.cpp:1: sqlite3.h belongs to durability")

    def test_names_of_the_binding_are_its_folder(self):
        self.room("ddscxx")
        self.write("ddscxx/dds/dds.hpp")
        self.room("top", "ddscxx")
        self.write("top/Top.cpp", '#include "dds/dds.hpp"')
        self.assertEqual(self.check()[0], 0)
        self.room("top")
        self.assert_problem("top/Top.cpp:1: top may not include dds/dds.hpp")

    def test_tree_without_rooms_is_an_error(self):
        for path in self.root.rglob("DEPENDS"):
            path.unlink()
        self.assertEqual(self.check()[0], 1)


if __name__ == "__main__":
    unittest.main()
