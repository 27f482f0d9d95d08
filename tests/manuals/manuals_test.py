#!/usr/bin/env python3
"""Holds the manual pages and completions against what the programs say of themselves.

Usage: tests/manuals/manuals_test.py FOLDER; FOLDER has the programs korabridge, koractl, korasim and korapanel. Every option and
command that a program lists must stand in its manual page and be offered by its completion, and nothing else may.
"""

import re
import subprocess
import sys
import unittest
import xml.etree.ElementTree
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
PROGRAMS = Path()
OPTION = re.compile(r"(?<![\w-])--[a-z][a-z-]*")


def output(*command, **settings):
    return subprocess.run([str(word) for word in command], check=False, capture_output=True, text=True, timeout=60,
                          **settings).stdout


def help_of(program, *command):
    """The options and the commands of a program's --help."""
    text = output(PROGRAMS / program, *command, "--help")
    # Names stand at the margin of their sections; what explains them may name others.
    names = [line for line in text.splitlines() if re.match(r"  \S", line)]
    options = {option for line in names for option in re.findall(r"^  (?:-\w,)?(--[a-z-]+)", line)}
    _, _, below = text.partition("\nSubcommands:\n")
    commands = re.findall(r"^  ([a-z-]+) ", below, re.MULTILINE)
    return options, commands


def page(name):
    return output("mandoc", "-T", "utf8", "-O", "width=500", ROOT / "man" / name).replace("\u2010", "-")


def plain(text):
    """Without the overstriking that a terminal shows as bold and underlined."""
    return re.sub(".\b", "", text)


def complete(program, *words):
    driver = ('. "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); "_$1"; '
              '[ ${#COMPREPLY[@]} = 0 ] || printf "%s\\n" "${COMPREPLY[@]}"')
    return output("bash", "-c", driver, ROOT / "completions" / program, program, *words).splitlines()


class PagesTest(unittest.TestCase):
    def test_each_page_passes_mandocs_lint(self):
        for path in sorted((ROOT / "man").iterdir()):
            found = [line for line in output("mandoc", "-T", "lint", "-W", "style", path).splitlines()
                     if "referenced manual not found" not in line]  # those of this project are not installed here
            self.assertEqual([], found)

    def test_korabridges_arguments_are_those_of_its_usage(self):
        usage = output(PROGRAMS / "korabridge")
        arguments = re.findall(r"<(\w+)>", usage)
        self.assertEqual(4, len(arguments))
        self.assertIn("korabridge " + " ".join(arguments), plain(page("korabridge.8")))

    def test_koractls_page_has_its_options_and_commands(self):
        options, commands = help_of("koractl")
        self.assertGreater(len(commands), 10)
        for command in commands:
            options |= help_of("koractl", command)[0]
            self.assertRegex(plain(page("koractl.1")), rf"(?m)^     {command}\b", f"{command} is not explained")
        self.assertEqual(options, set(OPTION.findall(plain(page("koractl.1")))))

    def test_korasims_page_has_its_options(self):
        options, _ = help_of("korasim")
        self.assertGreater(len(options), 8)
        self.assertEqual(options, set(OPTION.findall(plain(page("korasim.1")))))

    def test_korapanels_page_has_its_options(self):
        options, commands = help_of("korapanel")
        self.assertEqual(["token"], commands)
        options |= help_of("korapanel", "token", "add")[0]
        self.assertEqual(options, set(OPTION.findall(plain(page("korapanel.1")))))

    def test_korasims_page_has_the_commands_of_its_script(self):
        listed = output(ROOT / "tests/support/in-namespace", PROGRAMS / "korasim", "--silent", "--exit-at-eof", input="help\n")
        commands = re.findall(r"^([a-z][a-z-]*)", listed, re.MULTILINE)
        self.assertGreater(len(commands), 15)
        section = plain(page("korasim.1")).partition("\n   Commands\n")[2].partition("\nENVIRONMENT\n")[0]
        explained = re.findall(r"^     ([a-z][a-z-]*)(?= |$)", section.partition("\n\n")[2], re.MULTILINE)
        self.assertEqual(sorted(commands), sorted(explained))

    def test_the_log_configuration_of_the_page_and_of_the_package_are_sound(self):
        text = plain(page("korabridge-log.xml.5"))
        example = re.search(r"<\?xml.*</log4j:configuration>", text, re.DOTALL)[0]
        for configuration in example, (ROOT / "config/korabridge-log.xml").read_text(encoding="utf-8"):
            tree = xml.etree.ElementTree.fromstring(configuration.strip().encode())
            appenders = {appender.get("name") for appender in tree.iter("appender")}
            used = {reference.get("ref") for reference in tree.iter("appender-ref")}
            self.assertTrue(used and used <= appenders)


class CompletionTest(unittest.TestCase):
    def test_koractl_offers_its_commands_and_options_first(self):
        options, commands = help_of("koractl")
        self.assertEqual(sorted(options | set(commands)), sorted(complete("koractl", "")))

    def test_koractl_offers_each_commands_options(self):
        options, commands = help_of("koractl")
        for command in commands:
            with self.subTest(command=command):
                wanted = help_of("koractl", command)[0] | options
                self.assertEqual(sorted(wanted), sorted(complete("koractl", command, "--")))

    def test_koractl_finds_the_command_behind_options_and_their_values(self):
        self.assertIn("--force", complete("koractl", "--host", "take", "--json", "release", "1:7", "--f"))

    def test_koractl_completes_what_has_been_begun(self):
        self.assertEqual(["take", "tally"], complete("koractl", "ta"))
        self.assertEqual(["--lpr-id"], complete("koractl", "take", "1:5:7", "--l")[:1])

    def test_koractl_offers_values(self):
        self.assertEqual(["5194"], complete("koractl", "--port", ""))
        self.assertEqual(["auto", "always"], complete("koractl", "matrix", "1", "--color", "a"))
        self.assertEqual(["0", "2", "4", "6"], complete("koractl", "system", "")[:4])
        self.assertEqual([], complete("koractl", "take", "--lpr-id", ""))

    def test_nothing_is_offered_for_the_numbers_of_an_address(self):
        self.assertEqual([], complete("koractl", "take", "1", ":", ""))
        self.assertEqual([], complete("korasim", "--refuse", "video", ":", ""))

    def test_koractl_offers_files_where_a_file_is_wanted(self):
        for words in ("backup", ""), ("restore", ""), ("--names", ""):
            with self.subTest(words=words):
                self.assertIn(str(ROOT / "VERSION"), complete("koractl", *words[:-1], str(ROOT / "VERS")))

    def test_korasim_offers_its_options(self):
        self.assertEqual(sorted(help_of("korasim")[0]), sorted(complete("korasim", "--")))

    def test_korasim_offers_signals(self):
        self.assertEqual(["video:"], complete("korasim", "--refuse", "v"))


    def test_korapanel_offers_its_options_and_those_of_a_token(self):
        options, commands = help_of("korapanel")
        self.assertEqual(sorted(options | set(commands)), sorted(complete("korapanel", "")))
        of_token, _ = help_of("korapanel", "token", "add")
        self.assertEqual(sorted(of_token | {"--tokens"}), sorted(complete("korapanel", "token", "add", "anna", "--")))


class VersionTest(unittest.TestCase):
    def test_the_programs_tell_the_version_of_the_file(self):
        version = (ROOT / "VERSION").read_text(encoding="utf-8").strip()
        for program in "koractl", "korasim", "korapanel":
            self.assertEqual(f"{program} {version}\n", output(PROGRAMS / program, "--version"))


if __name__ == "__main__":
    PROGRAMS = Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=0)
