"""What would be drawn, and why not."""

import json
import subprocess

import numpy as np
import pytest

import segmask

MASK = "SEG1|1|1|AQ=="
GOOD = {"x": 4, "y": 2, "w": 3, "h": 2, "class_id": -5, "score": 0.9, "class_info": MASK}
DETECTIONS = [
    GOOD,
    {**GOOD, "score": 0.2},
    7,
    {**GOOD, "class_info": "SEG1|4|2|"},
    {**GOOD, "x": 5000},
    {**GOOD, "class_info": "SEG1|1|1|AA=="},
    GOOD,
    GOOD,
]


def test_each_rule_by_hand():
    found = segmask.explain(DETECTIONS, (64, 48), min_score=0.5, max_overlay_dets=6)
    assert found[0] == {"index": 0, "drawn": True, "class_id": -5, "color": (72, 249, 10), "pixels": 6}
    assert [one.get("reason") for one in found] == [
        None, "low_score", "not_an_object", "invalid_mask", "box_outside", "no_pixel_in_box", None, "over_cap"]
    assert found[1]["why"] == "score 0.2 is below min_score 0.5"


def test_the_same_as_the_tool(tool, tmp_path):
    with segmask.DetectionWriter(tmp_path / "d.jsonl") as writer:
        writer.write(0, DETECTIONS)
    lines = subprocess.run(
        [tool, "explain", "--detections", tmp_path / "d.jsonl", "--size", "64x48", "--json", "--config",
         '{"min_score": 0.5, "max_overlay_dets": 6}'], capture_output=True, text=True, check=True).stdout.splitlines()
    others = ("line", "frame", "producer")
    expected = [{key: value for key, value in json.loads(line).items() if key not in others} for line in lines]
    found = segmask.explain(DETECTIONS, (64, 48), min_score=0.5, max_overlay_dets=6)
    assert [{key: list(value) if key == "color" else value for key, value in one.items()} for one in found] == expected


def test_what_is_drawn_is_what_an_overlay_draws():
    y, uv = np.full((48, 64), 100, np.uint8), np.full((24, 64), 128, np.uint8)
    segmask.Overlay(min_score=0.5).draw(y, uv, DETECTIONS[:6])
    drawn = sum(one["pixels"] for one in segmask.explain(DETECTIONS[:6], (64, 48), min_score=0.5) if one["drawn"])
    assert (y != 100).sum() == drawn == 6


@pytest.mark.parametrize(
    "detections, size, error, words",
    [
        (None, (4, 4), TypeError, "detections: a NoneType, where a list"),
        ([], (0, 4), ValueError, "size: 0 and 4 are not from 1 to 65535"),
        ([], 5, TypeError, "size: 5 is not"),
        ([{"mask": {"counts": [3], "size": [2, 2]}}], (4, 4), ValueError, r"detections\[0\]: .*fewer pixels"),
    ],
)
def test_errors_name_the_argument(detections, size, error, words):
    with pytest.raises(error, match=words):
        segmask.explain(detections, size)
