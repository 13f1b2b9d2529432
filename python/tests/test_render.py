"""Whole videos."""

import json
import os
import pathlib
import subprocess

import av
import numpy as np
import pytest

import segmask

WIDTH, HEIGHT, FRAMES = 33, 21, 40


def raw_video(path, frames=FRAMES, width=WIDTH, height=HEIGHT):
    dice = np.random.default_rng(7)
    size = width * height + 2 * ((width + 1) // 2) * ((height + 1) // 2)
    with open(path, "wb") as file:
        for _ in range(frames):
            file.write(dice.integers(0, 256, size, np.uint8).tobytes())
    return path


def found_in(frame):
    """Detections that differ from frame to frame; none in every third."""
    rows, columns = np.ogrid[:HEIGHT, :WIDTH]
    if frame % 3 == 2:
        return []
    return [segmask.detection((rows + columns + frame * i) % 7 < 3, class_id=frame + i, score=0.3 * i) for i in range(1, 4)]


def generator(frames=FRAMES):
    for frame in range(frames):
        yield found_in(frame)


def of_tool(tool, folder, detections, *options):
    with segmask.DetectionWriter(folder / "d.jsonl") as writer:
        for frame, found in enumerate(detections):
            writer.write(frame, found)
    subprocess.run(
        [tool, "render", "--input", folder / "in.nv12", "--size", f"{WIDTH}x{HEIGHT}", "--detections", folder / "d.jsonl",
         "--output", folder / "tool.nv12", "--summary-json", folder / "s.json", *options], check=True, stdout=subprocess.DEVNULL)
    return (folder / "tool.nv12").read_bytes(), json.loads((folder / "s.json").read_text())


@pytest.mark.parametrize("source", [generator, lambda: (lambda number, y, uv: found_in(number)), lambda: list(generator())],
                         ids=["generator", "function", "list"])
def test_the_same_bytes_and_numbers_as_the_tool(tool, tmp_path, source):
    raw_video(tmp_path / "in.nv12")
    summary = segmask.render(tmp_path / "in.nv12", tmp_path / "out.nv12", source(), size=(WIDTH, HEIGHT), min_score=0.5,
                             alpha=0.7, max_overlay_dets=2)
    expected, numbers = of_tool(tool, tmp_path, generator(), "--config",
                                '{"min_score": 0.5, "alpha": 0.7, "max_overlay_dets": 2}')
    assert (tmp_path / "out.nv12").read_bytes() == expected
    assert {key: summary[key] for key in ("frames", "detections", "drawn", "dropped")} == {
        key: numbers[key] for key in ("frames", "detections", "drawn", "dropped")}
    assert summary["frames_drawn"] == 27


def test_a_function_gets_the_frames_before_they_are_drawn_on(tmp_path):
    video = raw_video(tmp_path / "in.nv12").read_bytes()
    got = []

    def detections(number, y, uv):
        assert not y.flags.writeable and y.shape == (HEIGHT, WIDTH) and uv.shape == (11, 34)
        got.append((number, y, uv))
        return found_in(number)

    segmask.render(tmp_path / "in.nv12", tmp_path / "out.nv12", detections, size=(WIDTH, HEIGHT))
    assert [number for number, _, _ in got] == list(range(FRAMES))
    assert b"".join(plane.tobytes() for _, *planes in got for plane in planes) == video


def test_a_generator_that_ends_early_or_late(tmp_path):
    raw_video(tmp_path / "in.nv12", frames=5)
    early = segmask.render(tmp_path / "in.nv12", tmp_path / "out.nv12", generator(2), size=(WIDTH, HEIGHT))
    asked = []
    endless = (asked.append(frame) or [] for frame in range(10**9))
    late = segmask.render(tmp_path / "in.nv12", tmp_path / "out.nv12", endless, size=(WIDTH, HEIGHT))
    assert (early["frames"], early["detections"], late["frames"], len(asked)) == (5, 6, 5, 5)


def test_a_video_file(tmp_path):
    with av.open(str(tmp_path / "in.mp4"), "w") as container:
        stream = container.add_stream("mpeg4", rate=10)
        stream.width, stream.height, stream.pix_fmt = 64, 48, "yuv420p"
        for _ in range(12):
            container.mux(stream.encode(av.VideoFrame.from_ndarray(np.full((72, 64), 90, np.uint8), format="yuv420p")))
        container.mux(stream.encode())
    mask = np.zeros((48, 64))
    mask[8:40, 8:56] = 1
    summary = segmask.render(str(tmp_path / "in.mp4"), str(tmp_path / "out.mkv"), [[segmask.detection(mask, class_id=5)]] * 12)
    assert (summary["frames"], summary["drawn"]) == (12, 12)
    with av.open(str(tmp_path / "out.mkv")) as container:
        frames = [frame.to_ndarray(format="gray") for frame in container.decode(video=0)]
    assert len(frames) == 12
    assert all(int(frame[24, 32]) > int(frame[2, 2]) + 15 for frame in frames)


def test_sound_is_copied_as_the_tool_copies_it(tool, tmp_path):
    with av.open(str(tmp_path / "in.mkv"), "w") as container:
        stream, sound = container.add_stream("mpeg4", rate=10), container.add_stream("pcm_s16le", rate=8000)
        stream.width, stream.height, stream.pix_fmt = 64, 48, "yuv420p"
        for number in range(12):
            container.mux(stream.encode(av.VideoFrame.from_ndarray(np.full((72, 64), 90, np.uint8), format="yuv420p")))
            samples = av.AudioFrame.from_ndarray(np.full((1, 800), number, np.int16), format="s16", layout="mono")
            samples.sample_rate, samples.pts = 8000, 800 * number
            container.mux(sound.encode(samples))
        container.mux(stream.encode())
    segmask.render(tmp_path / "in.mkv", tmp_path / "out.mkv", [])
    (tmp_path / "none.jsonl").touch()
    subprocess.run([tool, "render", "--input", tmp_path / "in.mkv", "--detections", tmp_path / "none.jsonl", "--output",
                    tmp_path / "tool.mkv"], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    packets = {}
    for name in ("in", "out", "tool"):
        with av.open(str(tmp_path / f"{name}.mkv")) as container:
            packets[name] = [(packet.pts, bytes(packet)) for packet in container.demux(audio=0) if packet.size]
    assert len(packets["in"]) == 12
    assert packets["out"] == packets["tool"] == packets["in"]


def test_memory_does_not_grow_with_the_video(python, tmp_path):
    """The most memory of a run of 600 frames is that of one of 60, but for less than a quarter of what 540 frames take."""
    # The address sanitizer keeps what is freed.
    environment = {**os.environ, "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":quarantine_size_mb=1"}
    peaks = []
    for frames in (60, 600):
        video = raw_video(tmp_path / f"{frames}.nv12", frames, 320, 240)
        # Not getrusage: a process begins there with the peak of the one that started it.
        ended = python("""
import re, sys
import numpy as np, segmask
detections = ([segmask.detection(np.ones((240, 320)))] * 4 for _ in range(10**9))
segmask.render(sys.argv[1], sys.argv[1] + ".y4m", detections, size=(320, 240), progress=False)
print(re.search(r"VmHWM:\\s*(\\d+) kB", open("/proc/self/status").read())[1])
""", video, env=environment)
        assert ended.returncode == 0, ended.stderr
        peaks.append(int(ended.stdout))
        os.remove(video)
    frame_kilobytes = 320 * 240 * 3 // 2 // 1024
    assert peaks[1] - peaks[0] < 540 * frame_kilobytes // 4


@pytest.mark.parametrize("bad", [[["no dict", {"mask": 5}]], 7, "ab", None])
def test_detections_that_are_none_end_the_run_and_nothing_is_written(tmp_path, bad):
    raw_video(tmp_path / "in.nv12", frames=4)
    with pytest.raises((TypeError, ValueError)):
        segmask.render(tmp_path / "in.nv12", tmp_path / "out.nv12", bad, size=(WIDTH, HEIGHT))
    assert sorted(os.listdir(tmp_path)) == ["in.nv12"]


def test_what_the_generator_raises_comes_out_as_it_is(tmp_path):
    class Own(Exception):
        pass

    def failing():
        yield from generator(20)
        raise Own("20")

    raw_video(tmp_path / "in.nv12")
    with pytest.raises(Own, match="20"):
        segmask.render(tmp_path / "in.nv12", tmp_path / "out.nv12", failing(), size=(WIDTH, HEIGHT))
    assert sorted(os.listdir(tmp_path)) == ["in.nv12"]


def test_ctrl_c_ends_the_run_and_nothing_is_written(python, tmp_path):
    raw_video(tmp_path / "in.nv12", frames=10)
    ended = python("""
import os, signal, sys
import segmask
def detections():
    yield []
    os.kill(os.getpid(), signal.SIGINT)
    while True:
        yield []
try:
    segmask.render(sys.argv[1] + "/in.nv12", sys.argv[1] + "/out.nv12", detections(), size=(33, 21))
except KeyboardInterrupt:
    print("interrupted")
""", tmp_path)
    assert ended.stdout == "interrupted\n", ended.stderr
    assert sorted(os.listdir(tmp_path)) == ["in.nv12"]


@pytest.mark.parametrize(
    "input, output, options, error, words",
    [
        ("absent.mp4", "out.mp4", {}, FileNotFoundError, "absent.mp4"),
        ("in.nv12", "folder/out.nv12", {"size": (WIDTH, HEIGHT)}, FileNotFoundError, "folder"),
        ("in.nv12", "out.nv12", {}, ValueError, r"size: raw frames need their \(width, height\)"),
        ("text.mp4", "out.nv12", {"size": (2, 2)}, ValueError, "says its own size"),
        ("in.nv12", "out.avi", {"size": (WIDTH, HEIGHT)}, ValueError, "unknown output ending '.avi'"),
        ("in.nv12", "in.nv12", {"size": (WIDTH, HEIGHT)}, ValueError, "output would replace input"),
        ("in.nv12", "pipe.mkv", {"size": (WIDTH, HEIGHT)}, ValueError, "pipe.mkv: output is a stream and no file"),
        ("in.nv12", "out.nv12", {"size": (WIDTH, HEIGHT), "alpha": 2}, ValueError, "alpha: 2.0 is not from 0 to 1"),
        ("in.nv12", "out.nv12", {"size": (999, 999)}, RuntimeError, "in.nv12"),
        ("text.mp4", "out.nv12", {}, RuntimeError, "text.mp4"),
    ],
)
def test_paths_and_settings_that_cannot_be_are_named(tmp_path, input, output, options, error, words):
    raw_video(tmp_path / "in.nv12", frames=2)
    (tmp_path / "text.mp4").write_text("no video")
    os.mkfifo(tmp_path / "pipe.mkv")
    with pytest.raises(error, match=words):
        segmask.render(tmp_path / input, tmp_path / output, [], **options)


BYTES = b"z\xff.nv12"


@pytest.mark.parametrize("of", [lambda path: path, os.fsdecode, lambda path: pathlib.Path(os.fsdecode(path))],
                         ids=["bytes", "str", "Path"])
def test_names_that_are_no_utf_8(tmp_path, of):
    folder = os.fsencode(tmp_path) + b"/\xfe"
    os.mkdir(folder)
    raw_video(folder + b"/" + BYTES, frames=2)
    segmask.render(of(folder + b"/" + BYTES), of(folder + b"/out\xfd.nv12"), [], size=(WIDTH, HEIGHT))
    assert sorted(os.listdir(folder)) == [b"out\xfd.nv12", BYTES]
    with pytest.raises(ValueError, match="z\udcff.nv12: output would replace input"):
        segmask.render(of(folder + b"/" + BYTES), of(folder + b"/" + BYTES), [], size=(WIDTH, HEIGHT))
    with pytest.raises(RuntimeError, match="z\udcff.nv12"):
        segmask.render(of(folder + b"/" + BYTES), of(folder + b"/out.nv12"), [], size=(999, 999))


@pytest.mark.parametrize("bad, error, words", [("a\0.nv12", ValueError, "has a NUL"), (b"a\0.nv12", ValueError, "has a NUL"),
                                               (5, TypeError, "a int, not a path"), ("\ud800", ValueError, "cannot be the name")])
def test_names_that_are_none_are_refused_by_the_argument(tmp_path, bad, error, words):
    video = raw_video(tmp_path / "a.nv12", frames=2)
    with pytest.raises(error, match="input: .*" + words):
        segmask.render(bad, tmp_path / "out.nv12", [], size=(WIDTH, HEIGHT))
    with pytest.raises(error, match="output: .*" + words):
        segmask.render(video, bad, [], size=(WIDTH, HEIGHT))


def test_progress_goes_to_pythons_stderr(tmp_path, capsys, monkeypatch):
    raw_video(tmp_path / "in.nv12", frames=3)
    monkeypatch.setattr("segmask._render._LINE_SECONDS", 0.0)
    segmask.render(tmp_path / "in.nv12", tmp_path / "out.nv12", [], size=(WIDTH, HEIGHT))
    assert capsys.readouterr().err == "segmask: 1 of 3 frames\nsegmask: 2 of 3 frames\nsegmask: 3 of 3 frames\n"
    segmask.render(tmp_path / "in.nv12", tmp_path / "out.nv12", [], size=(WIDTH, HEIGHT), progress=False)
    assert capsys.readouterr().err == ""
