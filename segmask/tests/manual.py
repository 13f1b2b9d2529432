"""The manual pages and bash's completion against the program itself.

usage: manual.py PROGRAM FOLDER-OF-PAGES

Every command, option, description and exit code that `--help` prints has to be in segmask(1), and no more options. The
examples of segmask-detections(5) are read by the program. man and mandoc read both pages without a word; where one is not
installed, that is said. bash completes what `--help` lists.
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

PROGRAM, PAGES = sys.argv[1], pathlib.Path(sys.argv[2])


def output_of(*command, **more):
    return subprocess.run(command, check=True, capture_output=True, text=True, **more).stdout


def words(text):
    return " ".join(text.split())


class Help:
    """What `--help` of a command says."""

    def __init__(self, path):
        self.path = path
        text = output_of(PROGRAM, *path, "--help")
        sections = re.split(r"^(Positionals|Options|Subcommands):\n", text, flags=re.M)
        self.description = sections[0].split("\nUsage:")[0]
        self.entries, self.commands, self.footer = [], [], ""
        for title, body in zip(sections[1::2], sections[2::2]):
            body, _, rest = body.partition("\n\n")
            if not rest.startswith(("Positionals", "Options", "Subcommands")):
                self.footer = rest
            # A long name stands in a line of its own, and its description follows.
            lines = re.sub(r"^(  \S.*)\n {10,}", r"\1" + 30 * " ", body, flags=re.M).splitlines()
            for line in filter(None, lines):
                name, description = re.fullmatch(r"  (\S.*?)  +(\S.*)", line).groups()
                if title == "Subcommands":
                    self.commands.append((name, description))
                else:
                    self.entries.append((title, name.split(), description))

    def options(self):
        return [name for title, name_words, _ in self.entries if title == "Options" for name in name_words[0].split(",")]


def all_help(path=()):
    found = [Help(path)]
    for name, _ in found[0].commands:
        found += all_help((*path, name))
    return found


def plain(page):
    """A page as man shows it: in one line a paragraph, and as ASCII."""
    wide = {"PATH": "/usr/bin:/bin", "MANWIDTH": "4000", "LC_ALL": "C"}
    return output_of("man", "--no-hyphenation", "--no-justification", "-E", "ascii", "-l", PAGES / page, env=wide)


class ManualPages(unittest.TestCase):
    def test_segmask_1_says_what_help_says(self):
        if not shutil.which("man"):
            self.skipTest("there is no man")
        text = plain("segmask.1")
        commands = re.split(r"^   (segmask .*)$", text, flags=re.M)
        bodies = dict(zip(commands[1::2], commands[2::2]))
        bodies["segmask"] = commands[0]
        for said in all_help():
            name = " ".join(("segmask", *said.path))
            body = bodies.pop(name)
            self.assertIn(words(said.description), words(body))
            self.assertIn(words(said.footer), words(text))
            at = 0
            for title, name_words, description in said.entries:
                # "-o,--output FILE.jsonl REQUIRED" of help is "-o, --output FILE.jsonl" of the page.
                kind = name_words[1].split("=")[0] if len(name_words) > 1 else ""
                kind = "" if kind == "Excludes:" else kind
                names = "" if title == "Positionals" else ", ".join(name_words[0].split(","))
                tag = words(names + " " + kind)
                found = re.compile(r"^ {7}" + re.escape(tag) + r"\s+" + re.escape(description), re.M).search(body, at)
                self.assertTrue(found, f"{name}: {tag} {description}")
                at = found.end()
                self.assertEqual("REQUIRED" in name_words, "It is required." in body[at:].split("\n\n")[0], tag)
            listed = re.findall(r"^ {7}(-\S+?)(?:, (-\S+))?(?: |$)", body, flags=re.M)
            self.assertEqual([each for pair in listed for each in pair if each], said.options())
        self.assertEqual(bodies, {})

    def test_both_pages_are_clean(self):
        for page in "segmask.1", "segmask-detections.5":
            for command in ["man", "--warnings", "-E", "UTF-8", "-l"], ["mandoc", "-T", "lint"]:
                with self.subTest(page=page, command=command[0]):
                    if not shutil.which(command[0]):
                        self.skipTest("there is no " + command[0])
                    done = subprocess.run([*command, PAGES / page], capture_output=True, text=True, env={
                        "PATH": "/usr/bin:/bin", "MANWIDTH": "80", "LC_ALL": "C"})
                    complaints = done.stderr if command[0] == "man" else done.stdout + done.stderr
                    self.assertEqual((done.returncode, complaints), (0, ""))

    def test_the_examples_of_segmask_detections_5_are_read(self):
        source = (PAGES / "segmask-detections.5").read_text()
        examples = re.findall(r"^\.EX\n(.*?)^\.EE$", source, flags=re.M | re.S)
        objects = [json.loads(each) for each in examples if each.startswith("{")]
        lines = [each for each in objects if "frame" in each]
        masks = [each for each in objects if "size" in each or "polygon" in each]
        jobs = [each for each in objects if "input" in each]
        self.assertEqual((len(lines), len(masks), len(jobs), len(objects)), (1, 4, 1, 6))
        box = {"x": 0, "y": 0, "w": 64, "h": 48, "class_id": 3, "score": 0.9}
        for mask in masks:
            lines.append({"frame": 1, "producer": "page", "detections": [{**box, "mask": mask}]})
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder, "page.jsonl")
            file.write_text("".join(json.dumps(line) + "\n" for line in lines))
            drawn = output_of(PROGRAM, "explain", "--detections", file, "--size", "64x48", "--json").splitlines()
            self.assertEqual([json.loads(each)["drawn"] for each in drawn], [True] * 5)
            for name in "a.mp4", "a.jsonl":
                pathlib.Path(folder, name).touch()
            jobs_file = pathlib.Path(folder, "jobs.jsonl")
            jobs_file.write_text(json.dumps(jobs[0]) + "\n")
            subprocess.run([PROGRAM, "batch", "--check", jobs_file], check=True, capture_output=True)
        text = next(each for each in examples if each.startswith("SEG1|4"))
        self.assertIn("4 of 8 pixels", output_of(PROGRAM, "mask", "info", "-", input=text))


@unittest.skipUnless(shutil.which("bash"), "there is no bash")
class Completion(unittest.TestCase):
    def completed(self, *line, folder="/"):
        """What bash offers for the last word of a line."""
        script = 'source "$1"; shift; cd "$1"; shift; COMP_WORDS=(segmask "$@"); COMP_CWORD=$#; _segmask; ' \
                 '[ ${#COMPREPLY[@]} = 0 ] || printf "%s\\n" "${COMPREPLY[@]}"'
        return output_of("bash", "-u", "-c", script, "bash", PAGES / "segmask.bash", folder, *line).splitlines()

    def test_it_is_registered(self):
        said = output_of("bash", "-c", 'source "$1"; complete -p segmask', "bash", PAGES / "segmask.bash")
        self.assertEqual(said, "complete -F _segmask segmask\n")

    def test_commands_and_options_are_those_of_help(self):
        for said in all_help():
            with self.subTest(command=said.path):
                self.assertEqual(self.completed(*said.path, "-"), said.options())
                if said.commands:
                    self.assertEqual(self.completed(*said.path, ""), [name for name, _ in said.commands])

    def test_a_value_is_completed_where_its_words_are_known(self):
        self.assertEqual(self.completed("render", "--rotate", ""), ["apply", "keep"])
        self.assertEqual(self.completed("render", "--rotate", "k"), ["keep"])
        self.assertEqual(self.completed("render", "--rotate", "="), ["apply", "keep"])
        self.assertEqual(self.completed("import", "coco", "--class-by", "=", "in"), ["instance"])
        self.assertEqual(self.completed("render", "--crf", ""), [])
        self.assertEqual(self.completed("r"), ["render"])

    def test_files_and_folders_are_offered_where_they_are_expected(self):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "a b.mp4").touch()
            pathlib.Path(folder, "import").mkdir()
            both, alone = ["a b.mp4", "import"], ["import"]
            for line, expected in [(("render", "--input", ""), both), (("render", "--input", "=", "a"), both[:1]),
                                   (("render", "--fast", ""), []), (("batch", ""), both), (("batch", "--jobs", ""), []),
                                   (("mask", "info", ""), both), (("import", "masks", ""), alone),
                                   (("render", "--input", "import", "--rotate", "a"), ["apply"]),
                                   (("explain", "--images", ""), alone)]:
                with self.subTest(line=line):
                    self.assertEqual(sorted(self.completed(*line, folder=folder)), expected)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "--verbose"])
