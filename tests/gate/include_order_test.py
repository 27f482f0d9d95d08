#!/usr/bin/env python3
"""The formatter puts includes into blocks: a source's own header, our others, the system's and libraries', the standard's.

Usage: tests/gate/include_order_test.py CLANG_FORMAT"""

import subprocess
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
CLANG_FORMAT = sys.argv.pop(1)


class IncludeOrderTest(unittest.TestCase):
    def formatted(self, *headers):
        source = "".join(f"#include {header}\n" for header in headers)
        # As if it were a source of this project, whose style holds then.
        return subprocess.run([CLANG_FORMAT, f"--assume-filename={ROOT}/koraserver/Server.cpp", "--style=file"], input=source,
                              capture_output=True, text=True, check=True).stdout

    def test_blocks_stand_in_their_order(self):
        self.assertEqual(
            self.formatted("<vector>", "<log4cxx/logger.h>", '"runtime/util/Log.h"', "<sys/socket.h>", "<CLI/CLI.hpp>",
                           "<condition_variable>", '"koraserver/Server.h"', '"dds/dds.hpp"'),
            '#include "koraserver/Server.h"\n\n'
            '#include "dds/dds.hpp"\n#include "runtime/util/Log.h"\n\n'
            '#include <CLI/CLI.hpp>\n#include <log4cxx/logger.h>\n#include <sys/socket.h>\n\n'
            '#include <condition_variable>\n#include <vector>\n')

    def test_each_block_is_sorted(self):
        self.assertEqual(self.formatted("<b>", "<a>"), "#include <a>\n#include <b>\n")


if __name__ == "__main__":
    unittest.main()
