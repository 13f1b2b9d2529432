#!/usr/bin/env python3
"""Tests what scripts/bench --peers does around the measuring, without the libraries and without a network."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest
from unittest import mock

import report

ROOT = pathlib.Path(__file__).resolve().parent.parent

# `fast` is fastest with 2 threads at 30 masks and with 1 otherwise.
MEASURED = {
    "ours": {"libseg_mask_overlay.so": {"1": 0.5, "30": 10.0}, "libseg_mask_overlay_fused.so": {"1": 0.125, "30": 1.0}},
    "peers": [
        {"name": "slow", "frame-sized": True, "leaves out": "much",
         "milliseconds": {"1": {"1": 5.0, "2": 6.0}, "30": {"1": 1234.0, "2": 2000.0}}},
        {"name": "fast", "frame-sized": True, "leaves out": "more",
         "milliseconds": {"1": {"1": 1.0, "2": 2.0}, "30": {"1": 80.0, "2": 61.0}}},
        {"name": "cut", "frame-sized": False, "leaves out": "most",
         "milliseconds": {"1": {"1": 0.25, "2": 0.5}, "30": {"1": 25.0, "2": 26.0}}},
    ],
    "missing": {"absent": "no such library"},
    "threads": [1, 2],
    "versions": {"Python": "3.11", "torch": "2"},
    "rounds": 9,
}


class PeersTable(unittest.TestCase):
    def setUp(self):
        with mock.patch("report.machine", return_value="On a machine."):
            self.lines = report.peers_table(MEASURED).splitlines()

    def test_has_a_row_each_with_the_best_time_and_its_ratio_to_the_first_of_ours(self):
        self.assertEqual(self.lines[:8], [
            "|  | 1 mask | 30 masks | threads | leaves out |",
            "| --- | --- | --- | --- | --- |",
            "| ours, `libseg_mask_overlay.so` | 0.5 | 10 | 1 | nothing |",
            "| ours, `libseg_mask_overlay_fused.so` | 0.125 (0.25) | 1 (0.10) | 1 | nothing |",
            "| slow | 5 (10.0) | 1234 (123.4) | 1, 1 | much |",
            "| fast | 1 (2.0) | 61 (6.1) | 1, 2 | more |",
            "| cut | 0.25 (0.50) | 25 (2.5) | 1, 1 | most |",
            "| absent |  |  |  | could not be measured: no such library |",
        ])

    def test_states_the_best_at_30_masks_beside_the_targets_of_both_libraries(self):
        self.assertIn("The fastest that is given masks of the frame's size, at 30 masks: fast, "
                      "6.1 times the time of `libseg_mask_overlay.so` (≥ 5) and "
                      "61.0 times the time of `libseg_mask_overlay_fused.so`.", self.lines)
        self.assertIn("The fastest that is given masks cut to their boxes beforehand, at 30 masks: cut, "
                      "2.5 times the time of `libseg_mask_overlay.so` and "
                      "25.0 times the time of `libseg_mask_overlay_fused.so` (≥ 20).", self.lines)

    def test_names_machine_versions_threads_and_rounds(self):
        self.assertEqual(self.lines[-1],
                         "On a machine. The others: Python 3.11, torch 2; with 1 and 2 threads. Medians of 9 rounds.")


class PythonTables(unittest.TestCase):
    def test_have_a_row_each_with_the_time_and_its_ratio_to_the_first(self):
        measured = {"drawing": {"C++": {"1": 2.0, "30": 4.0}, "ours": {"1": 2.1, "30": 4.2}}, "encoding": {"ours": 25.0, "NumPy": 100.0},
                    "versions": {"numpy": "2"}, "rounds": 9}
        with mock.patch("report.machine", return_value="On a machine."):
            lines = report.python_tables(measured).splitlines()
        self.assertEqual(lines, [
            "| drawing | 1 mask | 30 masks |", "| --- | --- | --- |", "| C++ | 2 | 4 |", "| ours | 2.1 (1.05) | 4.2 (1.05) |", "",
            "| encoding | 100 masks of 1920x1080 |", "| --- | --- |", "| ours | 25 |", "| NumPy | 100 (4.00) |", "",
            "On a machine. The others: numpy 2. Medians of 9 rounds."])


class WriteTables(unittest.TestCase):
    def written(self, text):
        with tempfile.TemporaryDirectory() as folder:
            document = pathlib.Path(folder) / "document.md"
            document.write_text(text)
            try:
                report.write_tables(document, {"peers": "new"})
            except SystemExit as error:
                return str(error.code).replace(folder, ""), document.read_text()
            return None, document.read_text()

    def test_replaces_what_stands_between_the_marks_and_nothing_else(self):
        error, text = self.written("a\n<!-- x -->\nb\n<!-- /x -->\n<!-- peers -->\nold\nold\n<!-- /peers -->\nc\n")
        self.assertIsNone(error)
        self.assertEqual(text, "a\n<!-- x -->\nb\n<!-- /x -->\n<!-- peers -->\nnew\n<!-- /peers -->\nc\n")

    def test_leaves_a_document_without_the_marks_as_it_is(self):
        self.assertEqual(self.written("a\n"), ("report: /document.md has 0 places for 'peers'; it needs one", "a\n"))


class Script(unittest.TestCase):
    """scripts/bench in a tree of its own, in which nothing can be built or measured."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for path in ("scripts/bench", "bench/peers-requirements.txt"):
            (self.root / path).parent.mkdir(exist_ok=True)
            shutil.copy(ROOT / path, self.root / path)
        self.program("scripts/bootstrap", "exit 0")
        self.program("scripts/build", "echo built; exit 9")

    def program(self, path, script):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(f"#!/bin/sh\n{script}\n")
        file.chmod(0o755)

    def bench(self, *arguments):
        path = f"{self.root}/bin:{os.environ['PATH']}"
        return subprocess.run([self.root / "scripts/bench", *arguments], env={**os.environ, "PATH": path},
                              capture_output=True, text=True, check=False)

    def test_wrong_arguments_end_it_with_2(self):
        for arguments in (["--peer"], ["--peers", "2"]):
            ended = self.bench(*arguments)
            self.assertEqual((ended.returncode, ended.stdout), (2, ""), arguments)
            self.assertIn("see --help", ended.stderr)

    def test_help_names_the_option_and_what_it_fetches(self):
        ended = self.bench("--help")
        self.assertEqual(ended.returncode, 0)
        self.assertRegex(ended.stdout, r"scripts/bench --peers .*\n.*build/peers/env: 6 GB")

    def test_where_pip_fails_it_says_so_ends_with_2_and_leaves_no_environment(self):
        self.program("bin/python3", 'mkdir -p "$3/bin"; printf "#!/bin/sh\\necho pip: no network; exit 1" >"$3/bin/python"; '
                                    'chmod +x "$3/bin/python"')
        ended = self.bench("--peers")
        self.assertEqual(ended.returncode, 2)
        self.assertNotIn("built", ended.stdout)
        self.assertIn("pip: no network", ended.stderr)
        self.assertIn("bench: pip cannot install", ended.stderr)
        self.assertFalse((self.root / "build/peers/env").exists())

    def test_a_complete_environment_is_used_again(self):
        self.program("bin/python3", "exit 1")
        environment = self.root / "build/peers/env"
        environment.mkdir(parents=True)
        shutil.copy(self.root / "bench/peers-requirements.txt", environment / "requirements.txt")
        ended = self.bench("--peers")
        self.assertEqual((ended.returncode, ended.stdout), (9, "built\n"))

    def test_an_environment_with_other_requirements_is_made_anew(self):
        self.program("bin/python3", 'mkdir -p "$3/bin"; ln -s /bin/true "$3/bin/python"')
        environment = self.root / "build/peers/env"
        environment.mkdir(parents=True)
        (environment / "requirements.txt").write_text("torch==1\n")
        (environment / "old").touch()
        self.assertEqual(self.bench("--peers").returncode, 9)
        self.assertFalse((environment / "old").exists())
        self.assertEqual((environment / "requirements.txt").read_text(),
                         (self.root / "bench/peers-requirements.txt").read_text())


if __name__ == "__main__":
    unittest.main()
