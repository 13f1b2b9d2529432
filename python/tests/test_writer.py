"""Detection files."""

import gzip
import io
import json

import numpy as np
import pytest

import segmask

MASK = np.eye(4)


def test_a_line_as_the_tool_reads_it():
    file = io.StringIO()
    segmask.DetectionWriter(file).write(3, [{"x": np.int32(1), "score": np.float32(0.5), "ok": np.bool_(True)}], "camera")
    assert file.getvalue() == '{"frame": 3, "producer": "camera", "detections": [{"x": 1, "score": 0.5, "ok": true}]}\n'


@pytest.mark.parametrize("name, opened", [("d.jsonl", open), ("d.jsonl.gz", gzip.open)])
def test_a_path_is_opened_packed_by_its_ending_and_closed(tmp_path, name, opened):
    with segmask.DetectionWriter(tmp_path / name) as writer:
        writer.write(0, [segmask.detection(MASK)])
        writer.write(0, [])
        writer.write(2, [], producer="b")
    with opened(tmp_path / name, "rt") as file:
        lines = [json.loads(line) for line in file]
    assert [(line["frame"], line["producer"], len(line["detections"])) for line in lines] == [
        (0, "python", 1), (0, "python", 0), (2, "b", 0)]


def test_each_line_is_flushed(tmp_path):
    writer = segmask.DetectionWriter(tmp_path / "d.jsonl")
    writer.write(0, [])
    assert (tmp_path / "d.jsonl").read_text().endswith("\n")
    writer.close()


def test_a_file_that_was_given_stays_open():
    file = io.StringIO()
    with segmask.DetectionWriter(file) as writer:
        writer.write(0, [])
    assert not file.closed


@pytest.mark.parametrize(
    "arguments, error, words",
    [
        ((1, []), ValueError, "frame: 1 comes after frame 2"),
        ((2.5, []), TypeError, "frame: 2.5 is no whole number"),
        ((3, {}), TypeError, "detections: a dict, where a list of dicts has to be"),
        ((3, [{"x": object()}]), TypeError, r'detections\[0\]\["x"\]: a value of type object'),
        ((3, [{1: 2}]), TypeError, r"detections\[0\]: a name of type int, not str"),
        ((3, [{"x": 2**63}]), ValueError, r'detections\[0\]\["x"\]: an integer beyond 64 bits'),
        ((3, [{"x": "\ud800"}]), ValueError, "a text that is no Unicode"),
        ((3, [{"score": float("nan")}]), ValueError, "Out of range float"),
        ((3, [], ""), ValueError, "producer: the name is empty"),
        ((3, [], None), TypeError, "producer: a NoneType, not a str"),
    ],
)
def test_what_no_line_can_be_made_of_is_refused_and_nothing_written(arguments, error, words):
    file = io.StringIO()
    writer = segmask.DetectionWriter(file)
    writer.write(2, [])
    with pytest.raises(error, match=words):
        writer.write(*arguments)
    assert file.getvalue().count("\n") == 1


def test_lists_without_end_are_a_recursion_error():
    endless = []
    endless.append(endless)
    with pytest.raises(RecursionError):
        segmask.DetectionWriter(io.StringIO()).write(0, endless)


def test_what_is_no_file_is_a_type_error():
    with pytest.raises(TypeError, match="file: a int"):
        segmask.DetectionWriter(5)
