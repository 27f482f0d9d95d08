#!/usr/bin/env python3
"""cmake/KorabridgeDepends.cmake in projects made here: what a folder links follows from its DEPENDS."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

MODULE = Path(__file__).resolve().parents[2] / "cmake/KorabridgeDepends.cmake"
CMAKE = sys.argv.pop(1)


class LinksTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.top = ["cmake_minimum_required(VERSION 3.25)", "project(links LANGUAGES NONE)", f"include({MODULE})"]
        self.folder("base/leaf", "base_leaf", depends=[])
        self.folder("base", "base", sources=["loop/Loop.cpp", "misc/Menu.cpp"])
        self.write("base/loop/DEPENDS", "# comment", "base/leaf")
        self.write("base/misc/DEPENDS", "base/loop", "base/leaf")

    def write(self, path, *lines):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("\n".join(lines) + "\n")

    def folder(self, name, library, sources=(), links=(), depends=None):
        self.write(f"{name}/CMakeLists.txt",
                   f"korabridge_depends_links(out {library} SOURCES {' '.join(sources)} LINKS {' '.join(links)})",
                   f'message(STATUS "{library} links [${{out}}]")')
        if depends is not None:
            self.write(f"{name}/DEPENDS", *depends)
        self.top.append(f"add_subdirectory({name})")

    def configure(self):
        self.write("CMakeLists.txt", *self.top)
        result = subprocess.run([CMAKE, "-G", "Ninja", "-S", self.root, "-B", self.root / "build"], capture_output=True, text=True,
                                check=False)
        return result.returncode, " ".join((result.stdout + result.stderr).split())

    def assert_links(self, expected):
        status, text = self.configure()
        self.assertEqual(status, 0, text)
        self.assertIn(expected, text)

    def assert_refused(self, reason):
        status, text = self.configure()
        self.assertNotEqual(status, 0, text)
        self.assertIn(reason, text)

    def test_named_folders_are_linked_in_their_order(self):
        self.folder("top", "top_library", depends=["# comment", "base/leaf", "base"])
        self.assert_links("top_library links [base_leaf;base]")

    def test_rooms_inside_a_folder_count_for_its_library(self):
        self.assert_links("base links [base_leaf]")

    def test_room_without_a_library_is_in_the_one_around_it(self):
        self.folder("top", "top_library", depends=["base/loop", "base/misc"])
        self.assert_links("top_library links [base]")

    def test_folder_without_depends_follows_links_alone(self):
        self.folder("top", "top_library", links=["base"])
        self.assert_links("top_library links []")

    def test_others_libraries_are_no_matter_of_depends(self):
        self.folder("top", "top_library", links=["sqlite3"], depends=["base"])
        self.assert_links("top_library links [base]")

    def test_folder_of_which_no_library_was_made_is_refused(self):
        self.folder("top", "top_library", depends=["bottom"])
        self.assert_refused("top/DEPENDS names bottom, of which no library has been made yet")

    def test_folders_library_among_the_links_is_refused(self):
        self.folder("top", "top_library", links=["base_leaf"], depends=["base"])
        self.assert_refused("top_library links base_leaf because of top/DEPENDS or not at all")

    def test_changed_depends_configures_anew(self):
        self.folder("top", "top_library", depends=["base"])
        self.assertEqual(self.configure()[0], 0)
        self.assertIn("top/DEPENDS", (self.root / "build/build.ninja").read_text())


if __name__ == "__main__":
    unittest.main()
