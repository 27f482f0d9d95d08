#!/usr/bin/env python3
"""scripts/check-commits and the hook, on messages and histories made here."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
GOOD = "Close the port before the slots are freed\n\nA controller got in between and was dropped at once.\n"


class CommitsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name) / "project"
        (self.root / "scripts/hooks").mkdir(parents=True)
        for name in ("check-commits", "hooks/commit-msg"):
            shutil.copy(PROJECT / "scripts" / name, self.root / "scripts" / name)
        # Neither the user's settings nor a repository around this one may decide anything.
        self.environment = {name: value for name, value in os.environ.items() if not name.startswith("GIT_")}
        self.environment |= {"HOME": folder.name, "GIT_CONFIG_NOSYSTEM": "1", "GIT_CEILING_DIRECTORIES": folder.name}
        for role in ("AUTHOR", "COMMITTER"):
            self.environment |= {f"GIT_{role}_NAME": "Test", f"GIT_{role}_EMAIL": "test@example.com"}

    def run_in(self, folder, *command):
        result = subprocess.run(command, cwd=folder, env=self.environment, capture_output=True, text=True, check=False)
        return result.returncode, result.stdout + result.stderr

    def git(self, *arguments):
        status, text = self.run_in(self.root, "git", *arguments)
        self.assertEqual(status, 0, text)
        return text.strip()

    def commit(self, message):
        self.git("commit", "--quiet", "--allow-empty", "--cleanup=verbatim", "-m", message)
        return self.git("rev-parse", "HEAD")

    def begin_history(self):
        self.git("init", "--quiet", "--initial-branch=main")
        return self.commit("before the rule")

    def judge_message(self, message):
        (self.root / "message").write_text(message)
        return self.run_in(self.root, sys.executable, "scripts/check-commits", "--message", "message")

    def judge_history(self, since, root=None):
        return self.run_in(root or self.root, sys.executable, "scripts/check-commits", "--since", since)

    def test_good_message_passes(self):
        self.assertEqual(self.judge_message(GOOD), (0, ""))

    def test_subject_of_72_characters_passes_and_of_73_does_not(self):
        self.assertEqual(self.judge_message("x" * 72 + "\n\nWhy.\n")[0], 0)
        status, text = self.judge_message("x" * 73 + "\n\nWhy.\n")
        self.assertEqual(status, 1)
        self.assertIn("the subject has 73 characters, 72 at most", text)

    def test_body_is_needed(self):
        status, text = self.judge_message("Close the port\n")
        self.assertEqual(status, 1)
        self.assertIn("no body says why", text)

    def test_trailers_are_no_body(self):
        self.assertEqual(self.judge_message("Close the port\n\nSigned-off-by: A <a@example.com>\n")[0], 1)

    def test_comments_of_git_are_no_body(self):
        self.assertEqual(self.judge_message("Close the port\n\n# Please enter the commit message\n")[0], 1)
        self.assertEqual(self.judge_message("Close\n\n# ---- >8 ----\ndiff --git a/x b/x\n")[0], 1)

    def test_second_line_must_be_empty(self):
        status, text = self.judge_message("Close the port\nbefore the slots are freed\n")
        self.assertEqual(status, 1)
        self.assertIn("the line after the subject is not empty", text)

    def test_empty_message_is_refused(self):
        self.assertEqual(self.judge_message("\n")[0], 1)
        self.assertEqual(self.judge_message("  \n\nWhy.\n")[0], 1)

    def test_only_commits_after_the_first_are_checked(self):
        since = self.begin_history()
        self.commit(GOOD)
        self.assertEqual(self.judge_history(since), (0, "check-commits: 1 commits, 0 problems\n"))

    def test_bad_commit_is_named(self):
        since = self.begin_history()
        bad = self.commit("no reason")
        self.commit(GOOD)
        status, text = self.judge_history(since)
        self.assertEqual(status, 1)
        self.assertIn(f"{bad[:7]}: no body says why: no reason", text)
        self.assertIn("2 commits, 1 problems", text)

    def test_revert_needs_no_body(self):
        since = self.begin_history()
        self.commit('Revert "Close the port"')
        self.assertEqual(self.judge_history(since)[0], 0)
        self.commit("Revert to the old port")
        self.assertEqual(self.judge_history(since)[0], 1)

    def test_history_that_does_not_reach_back_is_no_failure(self):
        since = self.begin_history()
        self.commit("no reason")
        self.commit("none either")
        shallow = self.root.parent / "shallow"
        self.git("clone", "--quiet", "--depth=1", f"file://{self.root}", str(shallow))
        shutil.copytree(self.root / "scripts", shallow / "scripts", dirs_exist_ok=True)
        status, text = self.judge_history(since, shallow)
        self.assertEqual(status, 0)
        self.assertIn("no history back", text)

    def test_archive_without_history_is_no_failure(self):
        self.assertEqual(self.judge_history("HEAD")[0], 0)

    def test_hook_refuses_a_commit_without_reason(self):
        self.begin_history()
        self.git("config", "core.hooksPath", "scripts/hooks")
        status, text = self.run_in(self.root, "git", "commit", "--allow-empty", "-m", "no reason")
        self.assertEqual(status, 1)
        self.assertIn("commit-msg: no body says why", text)
        self.git("commit", "--quiet", "--allow-empty", "-m", GOOD)


if __name__ == "__main__":
    unittest.main()
