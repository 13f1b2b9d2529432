#!/usr/bin/env python3
"""Runs the commands that the documents show, as they stand there.

usage: document_commands.py SOURCE_DIR BUILD_DIR

A block marked `bash` has commands, one marked `console` has commands after "$ " and what each prints. A folder that looks like the
repository, with this build as build/cpu and files by the names that the documents use, is where they run, one document after the
other. What cannot run there is in ELSEWHERE, with the place where it runs or the reason why it does not. Blocks with a command of
GStreamer are left to the test gst_examples.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

# By the command's beginning: a text of .ci/run or of scripts/test, a test by ctest's name, or why by hand.
CI, TEST, HAND = "in .ci/run", "by the test", "by hand:"
ELSEWHERE = {
    "scripts/demo": (CI, "scripts/demo"),
    "scripts/test_arm64": (CI, "scripts/test_arm64"),
    "scripts/test": (CI, "scripts/test"),
    "scripts/format": (CI, "scripts/format"),
    "scripts/bootstrap": (CI, "scripts/bootstrap"),
    "scripts/build bench": (HAND, "needs the preset bench"),
    "scripts/build cuda": (CI, "scripts/build cuda"),
    "scripts/build": (CI, "scripts/build"),
    "ctest --preset cuda": (CI, "ctest --preset cuda"),
    "scripts/board_check": (TEST, "board_check"),
    "cmake --install": (TEST, "install_and_use"),
    "cmake -S . -B build -DCMAKE_PREFIX_PATH=DIR": (TEST, "install_and_use"),
    "cmake -S . -B build/platform": (TEST, "configure.${_case}"),
    "cmake --build build/platform": (HAND, "needs the platform's picture library"),
    "pip install ./python": (TEST, "python_wheel"),
    "pip install './python[dask]'": (HAND, "fetches Dask"),
    "dask": (TEST, "python_tests"),
    "python -m segmask.batch": (TEST, "python_tests"),
    "scripts/gpu_check": (HAND, "needs a GPU"),
    "scripts/cuda12_check": (HAND, "fetches a compiler"),
    "scripts/fuzz": (HAND, "takes minutes"),
    "build/bench/bin/bench_compositors": (HAND, "needs the preset bench"),
    "scripts/bench": (HAND, "takes minutes"),
    "qemu-aarch64": (HAND, "needs the preset arm64"),
    "scripts/package": (HAND, "compiles everything, and its check fetches a root of Debian's packages"),
    "apt-get install ./build/packages": (HAND, "changes the machine; scripts/package --check does it in a root of its own"),
    "parallel": (HAND, "needs other machines"),
    "sbatch": (HAND, "needs Slurm"),
}
COMMAND = re.compile(r"(\$ |scripts/|build/|segmask |motion_producer |cmake |ctest |pip |python |gst-|sudo |apt)")
GSTREAMER = re.compile(r"\bgst-|/gstreamer/")


class Faults(list):
    def __call__(self, place, text):
        self.append(f"{place}: {text}")


def blocks(path, name):
    """Place, mark and text of each fenced block."""
    text = path.read_text()
    for match in re.finditer(r"^```([a-z+]*)\n(.*?)^```$", text, re.S | re.M):
        yield f"{name}:{text[:match.start()].count(chr(10)) + 2}", match[1], match[2]


def commands(mark, text):
    """The commands of a block, each with the output that the document shows, None where it shows none."""
    if mark == "bash":
        return [(command, None) for command in text.replace("\\\n", " ").splitlines() if command.strip()]
    parts = re.split(r"^\$ ", text, flags=re.M)[1:]
    return [tuple(part.split("\n", 1)) for part in parts]


def elsewhere(command):
    return next((rule for rule in ELSEWHERE if re.match(re.escape(rule) + r"(?![\w-])", command)), None)


def check_elsewhere(source, used, faults):
    ci = "".join((source / name).read_text() for name in (".ci/run", "scripts/test"))
    lists = "".join(path.read_text() for path in [source / "tests/CMakeLists.txt", source / "python/tests/CMakeLists.txt"])
    for rule, (kind, where) in ELSEWHERE.items():
        if rule not in used:
            faults("document_commands.py", f"no document shows '{rule}' any more")
        if kind is CI and where not in ci or kind is TEST and where not in lists:
            faults("document_commands.py", f"'{rule}' is not run {kind} {where}")


def run(place, command, expected, folder, binaries, faults):
    path = f"{binaries}:/usr/local/bin:/usr/bin:/bin"
    ended = subprocess.run(["bash", "-c", command], cwd=folder, env={"PATH": path, "LC_ALL": "C.UTF-8"}, text=True,
                           stdin=subprocess.DEVNULL, capture_output=True, timeout=600)
    if ended.returncode != 0:
        faults(place, f"exit code {ended.returncode} of: {command}\n{ended.stderr}")
    elif expected is not None and ended.stdout != expected:
        faults(place, f"{command}\nprints\n{ended.stdout}and not\n{expected}")


def make_folder(source, build, folder):
    """The repository with this build, after scripts/demo, and the files that the documents' commands name."""
    for entry in source.iterdir():
        if entry.name not in ("build", "out", ".git"):
            (folder / entry.name).symlink_to(entry)
    (folder / "build").mkdir()
    (folder / "build/cpu").symlink_to(build)
    for video in ("video.mp4", "in.mp4"):
        (folder / video).symlink_to(source / "examples/pedestrians/pedestrians.mp4")
    prepare = """
        mkdir out photographs folder
        motion_producer --compact --input video.mp4 --output out/pedestrians.jsonl
        cp out/pedestrians.jsonl detections.jsonl
        segmask render --input video.mp4 --detections detections.jsonl --frames 3 --output photographs/%d.png
        echo 'SEG1|4|2|Dw==' > mask.txt
        segmask mask decode mask.txt --output mask.png
        cp mask.png folder/0.png
        echo '{"images": [{"id": 1, "file_name": "0.png", "width": 768, "height": 576}],
               "categories": [{"id": 7, "name": "person"}], "annotations": [{"id": 1, "image_id": 1, "category_id": 7,
               "iscrowd": 0, "segmentation": [[10, 10, 90, 10, 90, 90]]}]}' > instances.json
        echo '{"input": "video.mp4", "detections": "detections.jsonl", "output": "drawn.avi"}' > jobs.jsonl
        rm mask.txt"""
    faults = Faults()
    run("files for the commands", f"set -e\n{prepare}", None, folder, build / "bin", faults)
    if faults:
        sys.exit("\n".join(faults))


def main():
    source, build = map(pathlib.Path, sys.argv[1:])
    documents = [*source.glob("*.md"), *source.glob("docs/*.md"), *source.glob("examples/*/README.md")]
    faults, used, count = Faults(), set(), 0
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(temporary)
        make_folder(source, build, folder)
        for document in sorted(documents):
            for place, mark, text in blocks(document, document.relative_to(source)):
                if mark == "" and any(map(COMMAND.match, text.splitlines())):
                    faults(place, "commands in a block that is marked neither bash nor console")
                shown = commands(mark, text) if mark in ("bash", "console") and not GSTREAMER.search(text) else []
                for command, expected in shown:
                    rule = elsewhere(command)
                    used.add(rule)
                    if not rule:
                        count += 1
                        run(place, command, expected, folder, build / "bin", faults)
    check_elsewhere(source, used, faults)
    print(f"{count} commands run, {len(ELSEWHERE)} kinds run elsewhere or by hand")
    sys.exit("\n".join(faults) or None)


if __name__ == "__main__":
    main()
