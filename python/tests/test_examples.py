"""The examples, and the lines that the README shows."""

import json
import os
import re
import subprocess
import sys

import pytest
from conftest import ROOT

EXAMPLES = ROOT / "examples/python"
VIDEO = ROOT / "examples/pedestrians/pedestrians.mp4"


def run(*command, **options):
    ended = subprocess.run(list(map(str, command)), capture_output=True, text=True, timeout=600, **options)
    assert ended.returncode == 0, ended.stderr
    return ended


def test_the_five_lines_of_the_readme(photographs, tmp_path):
    section = (ROOT / "README.md").read_text().split("## Use it from Python")[1].split("\n## ")[0]
    (lines,) = (text for text in re.findall(r"```python\n(.*?)```", section, re.S) if "from_coco" in text)
    assert lines.count("\n") == 5
    (tmp_path / "coco").symlink_to(photographs)
    run(sys.executable, "-c", lines, cwd=tmp_path)
    assert len(list(tmp_path.glob("drawn_*.png"))) == 12


def test_the_photographs(photographs, tmp_path):
    ended = run(sys.executable, EXAMPLES / "photographs.py", photographs, tmp_path)
    lines = ended.stdout.splitlines()
    assert len(lines) == 12 and sum(int(line.split(": ")[1].split()[0]) for line in lines) > 200
    assert len(list(tmp_path.iterdir())) == 12


def test_the_live_producer(tool, tmp_path):
    producer = subprocess.Popen([sys.executable, EXAMPLES / "live_producer.py", VIDEO], stdout=subprocess.PIPE)
    run(tool, "render", "--input", VIDEO, "--detections", "-", "--output", tmp_path / "drawn.mp4", "--summary-json",
        tmp_path / "summary.json", stdin=producer.stdout)
    assert producer.wait() == 0
    summary = json.loads((tmp_path / "summary.json").read_text())
    assert summary["frames"] == 200 and summary["drawn"] == summary["detections"] > 100


def test_the_notebook(tmp_path):
    pytest.importorskip("matplotlib", reason="matplotlib is not installed")
    ended = run(sys.executable, EXAMPLES / "notebook.py", cwd=tmp_path, env={**os.environ, "MPLBACKEND": "agg"})
    assert ended.stdout.count("'drawn': True") == 4 and ended.stdout.count("low_score") == 1
    assert (tmp_path / "notebook.png").stat().st_size > 10000


BEFORE = """
import itertools, av, numpy as np, segmask
y, uv = np.zeros((1080, 1920), np.uint8), np.zeros((540, 1920), np.uint8)
mask, array, frame = np.ones((54, 96)), np.zeros((1620, 1920), np.uint8), av.VideoFrame(1920, 1080, "nv12")
detections = [segmask.detection(mask, size=(1920, 1080))]
detect = lambda seen: detections
"""


@pytest.mark.parametrize("document", ["README.md", "docs/python.md"])
def test_the_code_that_documents_show(document, tmp_path):
    pytest.importorskip("av", reason="PyAV is not installed")
    (tmp_path / "in.mp4").symlink_to(VIDEO)
    shown = re.findall(r"```python\n(.*?)```", (ROOT / document).read_text(), re.S)
    code = [text for text in shown if "coco" not in text]
    assert code
    run(sys.executable, "-c", BEFORE + "".join(code), cwd=tmp_path)
