"""Drawing in process."""

import json
import threading

import av
import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st
from hypothesis.extra import numpy as arrays

import segmask

WIDTH, HEIGHT = 45, 31  # odd, so that chroma rounds up
GREEN = 5  # a class whose luma is 168


def grey(width=WIDTH, height=HEIGHT):
    """The planes of a grey frame."""
    return np.full((height, width), 100, np.uint8), np.full(((height + 1) // 2, 2 * ((width + 1) // 2)), 128, np.uint8)


def noise(width=WIDTH, height=HEIGHT):
    y, uv = grey(width, height)
    dice = np.random.default_rng(1)
    return dice.integers(0, 256, y.shape, np.uint8), dice.integers(0, 256, uv.shape, np.uint8)


def wave(count=12, side=20):
    """Detections with overlapping masks of another size than the frame."""
    rows, columns = np.ogrid[:side, :side]
    return [
        segmask.detection(np.sin(columns / 3 + i) + np.cos(rows / 4) > 0.5, class_id=i, score=i / count, size=(WIDTH, HEIGHT))
        for i in range(count)
    ]


def box(x, y, w, h, **members):
    return {"x": x, "y": y, "w": w, "h": h, "class_id": GREEN, "score": 0.9, "class_info": "SEG1|1|1|AQ==", **members}


def test_a_pixel_by_hand():
    y, uv = grey()
    assert segmask.Overlay(alpha=1.0).draw(y, uv, [box(4, 2, 3, 2)]) is True
    inside = np.zeros((HEIGHT, WIDTH), bool)
    inside[2:4, 4:7] = True
    assert (y[inside] == 168).all() and (y[~inside] == 100).all()
    assert (uv != 128).any()


@pytest.mark.parametrize("fast", [True, False])
def test_the_same_bytes_as_the_tool(tool, tmp_path, python, fast):
    y, uv = noise()
    (tmp_path / "in.nv12").write_bytes(y.tobytes() + uv.tobytes())
    detections = wave() + [box(-5, 20, 9, 90, mask={"polygon": [[0, 0, 9, 0, 9, 40.5, 0, 31]]}), 7]
    del detections[-2]["class_info"]
    with segmask.DetectionWriter(tmp_path / "d.jsonl") as writer:
        writer.write(0, detections)
    config = {"alpha": 0.3, "min_score": 0.25, "max_overlay_dets": 10}
    text = """
import json, subprocess, sys
import numpy as np, segmask
tool, folder, fast, config, width, height = sys.argv[1:]
width, height, fast, config = int(width), int(height), fast == "True", json.loads(config)
subprocess.run([tool, "render", "--input", folder + "/in.nv12", "--size", f"{width}x{height}", "--config", json.dumps(config),
                "--detections", folder + "/d.jsonl", "--output", folder + "/out.nv12", *["--fast"] * fast],
               check=True, stdout=subprocess.DEVNULL)
frame = np.fromfile(folder + "/in.nv12", np.uint8)
y, uv = frame[:width * height].reshape(height, width), frame[width * height:].reshape((height + 1) // 2, -1)
before = frame.copy()
detections = json.loads(open(folder + "/d.jsonl").read())["detections"]
assert segmask.Overlay(**config, fast=fast).draw(y, uv, detections)
assert not np.array_equal(frame, before)
assert np.array_equal(frame, np.fromfile(folder + "/out.nv12", np.uint8))
"""
    ended = python(text, tool, tmp_path, fast, json.dumps(config), WIDTH, HEIGHT)
    assert ended.returncode == 0, ended.stderr


views = {
    "pitch": lambda plane: np.pad(plane, ((0, 0), (3, 7)))[:, 3:-7],
    "upside down": lambda plane: plane[::-1].copy()[::-1],
    "every second row": lambda plane: np.repeat(plane, 2, axis=0)[::2],
}


@pytest.mark.parametrize("view", views.values(), ids=views)
def test_planes_with_a_pitch_get_the_same_bytes_and_nothing_beside_them_changes(view):
    expected, planes = noise(), [view(plane) for plane in noise()]
    overlay = segmask.Overlay()
    overlay.draw(*expected, wave())
    before = [plane.base.copy() for plane in planes]
    overlay.draw(*planes, wave())
    for plane, base, whole in zip(planes, before, expected):
        assert np.array_equal(plane, whole)
        other = plane.base.copy()
        offset = plane.__array_interface__["data"][0] - plane.base.__array_interface__["data"][0]
        for kept in (base, other):  # the same view of both, made 0, leaves what is beside the plane
            np.lib.stride_tricks.as_strided(kept.reshape(-1)[offset:], plane.shape, plane.strides)[:] = 0
        assert np.array_equal(base, other)


def test_nothing_to_draw_is_false_and_changes_nothing():
    y, uv = noise()
    overlay = segmask.Overlay(min_score=0.5)
    for detections in ([], [{}], [None, 3, "text", []], [box(0, 0, 9, 9, score=0.4)], [box(0, 0, 9, 9, class_info="SEG1|1")]):
        assert overlay.draw(y, uv, detections) is False
    assert all(np.array_equal(*pair) for pair in zip((y, uv), noise()))


def test_members_are_read_as_from_json():
    """Numbers of any kind: cut toward zero, saturated, booleans as 0 and 1, texts as 0."""
    frames = []
    for members in (
        {"x": 1, "y": 0, "w": 5, "h": 4, "class_id": 5},
        {"x": True, "y": "9", "w": 5.9, "h": 4, "class_id": 5},
        {"x": np.int64(1), "y": None, "w": np.float32(5.9), "h": np.array(4), "class_id": np.uint8(5)},
    ):
        y, uv = grey()
        segmask.Overlay().draw(y, uv, ({"score": 1, "class_info": "SEG1|1|1|AQ==", **members},))
        frames.append(y)
    assert (frames[0] != 100).sum() == 20
    assert all(np.array_equal(frame, frames[0]) for frame in frames)


def test_sizes_may_change_from_frame_to_frame():
    overlay = segmask.Overlay()
    for width, height in ((WIDTH, HEIGHT), (1, 1), (64, 48), (WIDTH, HEIGHT)):
        y, uv = grey(width, height)
        assert overlay.draw(y, uv, [box(0, 0, 1, 1)])
        assert (y != 100).sum() == 1


@pytest.mark.parametrize("height", [30, 31])
def test_one_array_with_both_planes(height):
    y, uv = noise(44, height)
    frame = np.concatenate([y, uv])
    segmask.Overlay().draw_nv12(frame, wave())
    segmask.Overlay().draw(y, uv, wave())
    assert np.array_equal(frame, np.concatenate([y, uv]))


def test_one_array_of_another_dtype_is_a_type_error():
    with pytest.raises(TypeError, match="frame: its dtype is int8, not uint8"):
        segmask.Overlay().draw_nv12(np.zeros((30, 20), np.int8), [])


@pytest.mark.parametrize("width, height", [(44, 30), (64, 48)])
def test_a_frame_of_pyav(width, height):
    y, uv = noise(width, height)
    frame = av.VideoFrame.from_ndarray(np.concatenate([y, uv]), format="nv12")
    segmask.Overlay().draw_frame(frame, wave())
    segmask.Overlay().draw(y, uv, wave())
    assert np.array_equal(frame.to_ndarray(), np.concatenate([y, uv]))


def test_a_frame_of_another_format_is_a_value_error():
    frame = av.VideoFrame(16, 16, "yuv420p")
    with pytest.raises(ValueError, match=r'frame: its format is yuv420p, not nv12; frame.reformat\(format="nv12"\)'):
        segmask.Overlay().draw_frame(frame, [])
    with pytest.raises(TypeError, match="frame: a ndarray, not a frame of PyAV"):
        segmask.Overlay().draw_frame(np.zeros((3, 2)), [])


def readonly(plane):
    plane.setflags(write=False)
    return plane


Y, UV = grey()
bad_planes = [
    (Y.astype(np.uint16), UV, TypeError, "y: its dtype is uint16, not uint8"),
    (Y, UV.astype(float), TypeError, "uv: its dtype is float64, not uint8"),
    (Y.astype(np.int8), UV, TypeError, "y: its dtype is int8, not uint8"),
    (Y, UV.astype(bool), TypeError, "uv: its dtype is bool, not uint8"),
    (memoryview(Y.astype(np.int8)), UV, TypeError, "y: its items have the format 'b', not uint8"),
    (Y[0], UV, ValueError, r"y: its shape \(45,\) is not \(rows, columns\)"),
    (Y[:0], UV, ValueError, r"y: its shape \(0, 45\)"),
    (Y.T, UV, ValueError, "y: its columns are 45 bytes apart, not 1"),
    (readonly(Y.copy()), UV, ValueError, "y: .*read-only"),
    (Y, readonly(UV.copy()), ValueError, "uv: .*read-only"),
    (b"bytes", UV, ValueError, "y: Object is not writable"),
    (Y.tolist(), UV, TypeError, "y: a list is no array"),
    (None, UV, TypeError, "y: a NoneType is no array"),
    (Y, Y, ValueError, r"uv: its shape \(31, 45\) is not \(16, 46\), which belongs to y of \(31, 45\)"),
]


@pytest.mark.parametrize("y, uv, error, words", bad_planes)
def test_planes_that_cannot_be_drawn_on_are_named(y, uv, error, words):
    with pytest.raises(error, match=words):
        segmask.Overlay().draw(y, uv, wave())


@given(st.data())
def test_no_array_ends_the_interpreter(data):
    some = arrays.arrays(arrays.scalar_dtypes(), arrays.array_shapes(min_dims=0, max_dims=3, min_side=0, max_side=6))
    y = data.draw(some)
    shape = data.draw(st.sampled_from([None, "fitting"]))
    if shape and y.ndim == 2 and y.size:
        uv = np.zeros(((y.shape[0] + 1) // 2, 2 * ((y.shape[1] + 1) // 2)), data.draw(st.sampled_from(["u1", "i1", "u2"])))
    else:
        uv = data.draw(some)
    step = data.draw(st.sampled_from([1, -1, 2]))
    try:
        segmask.Overlay().draw(y[::step] if y.ndim else y, uv, [box(0, 0, 9, 9)])
    except (TypeError, ValueError) as error:
        assert str(error).startswith(("y: ", "uv: "))


json_like = st.recursive(
    st.none() | st.booleans() | st.integers(-(2**70), 2**70) | st.floats() | st.text(max_size=5) | st.binary(max_size=2),
    lambda inner: st.lists(inner, max_size=4) | st.dictionaries(st.text(max_size=5) | st.integers(), inner, max_size=4),
    max_leaves=10,
)
members = st.sampled_from(["x", "y", "w", "h", "class_id", "score", "class_info", "mask"])


@given(st.lists(st.dictionaries(members, json_like | st.just("SEG1|2|2|Dw=="), max_size=8) | json_like, max_size=4) | json_like)
def test_any_detections_are_drawn_or_refused(detections):
    y, uv = grey()
    try:
        segmask.Overlay().draw(y, uv, detections)
    except (TypeError, ValueError) as error:
        assert str(error).startswith("detections")


def test_a_list_that_changes_while_it_is_read_does_no_harm():
    detections = []

    class Shrinking:
        def tolist(self):
            detections.clear()
            return 1

    detections += [{"x": Shrinking(), "y": Shrinking()}, {"x": 1}]
    segmask.Overlay().draw(*grey(), detections)


@pytest.mark.parametrize(
    "options, error, words",
    [
        ({"alpha": 1.5}, ValueError, "alpha: 1.5 is not from 0 to 1"),
        ({"alpha": "x"}, TypeError, "alpha: 'x' is no number"),
        ({"min_score": float("nan")}, ValueError, "min_score: nan is not finite"),
        ({"max_overlay_dets": 0}, ValueError, "max_overlay_dets: 0 is not from 1 to 4096"),
        ({"max_overlay_dets": 2.0}, TypeError, "max_overlay_dets: 2.0 is no whole number"),
    ],
)
def test_settings_out_of_range_are_named(options, error, words):
    with pytest.raises(error, match=words):
        segmask.Overlay(**options)


def test_a_process_uses_one_of_the_two_files():
    segmask.Overlay()
    with pytest.raises(RuntimeError, match="libseg_mask_overlay_fused.so, and .* libseg_mask_overlay.so"):
        segmask.Overlay(fast=False)


def test_several_overlays_on_several_threads_and_one_on_all():
    expected = noise()
    shared = segmask.Overlay()
    shared.draw(*expected, wave())
    results = []

    def work():
        own = segmask.Overlay()
        for overlay in (own, shared) * 10:
            planes = noise()
            overlay.draw(*planes, wave())
            results.append(all(np.array_equal(*pair) for pair in zip(planes, expected)))

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [True] * 80


def test_other_threads_run_while_one_draws(python):
    """No thread is made to give the GIL up here: the main thread steps only where drawing gives it up, and sees that it does."""
    text = """
import sys, threading, time, numpy as np, segmask
sys.setswitchinterval(1000)
y, uv = np.zeros((1080, 1920), np.uint8), np.zeros((540, 1920), np.uint8)
detections = [segmask.detection(np.ones((270, 480)), class_id=i, size=(1920, 1080)) for i in range(16)]
overlay, steps, during = segmask.Overlay(), 0, 0
def draw():
    global during
    while not during:
        before = steps
        overlay.draw(y, uv, detections)
        during = steps - before
thread = threading.Thread(target=draw)
thread.start()
while not during:
    steps += 1
    time.sleep(0)
thread.join()
"""
    ended = python(text)
    assert ended.returncode == 0, ended.stderr


def test_the_planes_are_held_while_they_are_drawn_on():
    buffer = bytearray(16 * 16)

    class Freeing:
        def tolist(self):
            with pytest.raises(BufferError):
                buffer.clear()
            return 1

    y, uv = memoryview(buffer).cast("B", (16, 16)), np.zeros((8, 16), np.uint8)
    segmask.Overlay().draw(y, uv, [{"x": Freeing()}])


WAITING = """
import tempfile, threading, time
def detections():
    yield d
    yield d
    started.set()
    {wait}
def work():
    with tempfile.TemporaryDirectory() as folder:
        open(folder + "/in.nv12", "wb").write(bytes(640 * 480 * 3 // 2) * 4)
        segmask.render(folder + "/in.nv12", folder + "/out.nv12", detections(), size=(640, 480), progress=False)
started = threading.Event()
threading.Thread(target=work, daemon=True).start()
started.wait()
"""

EXITS = {
    "with an overlay in a global": "overlay = segmask.Overlay(); overlay.draw(y, uv, [])",
    "with an overlay in a cycle": "a = [segmask.Overlay()]; a.append(a); a[0].draw(y, uv, [])",
    "with an overlay that a module keeps": "import builtins; builtins.kept = segmask.Overlay(); builtins.kept.draw(y, uv, [])",
    "while daemon threads draw": """
import threading
def work():
    overlay = segmask.Overlay()
    while True:
        overlay.draw(y.copy(), uv.copy(), d)
        segmask.encode_mask(y)
        started.release()
started = threading.Semaphore(0)
for _ in range(4):
    threading.Thread(target=work, daemon=True).start()
for _ in range(8):
    started.acquire()
""",
    "while a generator of a daemon thread waits": WAITING.format(wait="threading.Event().wait()"),
    "while a generator of a daemon thread waits again and again": WAITING.format(wait="while True: time.sleep(0.001)"),
    "rendering in atexit": """
import tempfile
folder = tempfile.mkdtemp()
open(folder + "/in.nv12", "wb").write(bytes(16 * 16 * 3 // 2) * 20)
def work():
    summary = segmask.render(folder + "/in.nv12", folder + "/out.nv12", [d] * 20, size=(16, 16))
    assert summary["drawn"] == 400
last = work
""",
    "in a child while another thread draws": """
import os, sys, threading
def work():
    overlay = segmask.Overlay()
    while not stop:
        overlay.draw(y, uv, d)
        started.release()
stop, started = False, threading.Semaphore(0)
thread = threading.Thread(target=work)
thread.start()
for _ in range(10):
    started.acquire()
    child = os.fork()
    if child == 0:
        sys.exit(0)
    assert os.waitpid(child, 0) == (child, 0)
stop = True
thread.join()
""",
    "drawing in atexit": "import atexit; overlay = segmask.Overlay(); atexit.register(overlay.draw, y, uv, d)",
    "by sys.exit while another overlay goes": "segmask.Overlay(); import sys; overlay = segmask.Overlay(); sys.exit(0)",
}


@pytest.mark.parametrize("text", EXITS.values(), ids=EXITS)
def test_the_interpreter_ends_well(python, text):
    start = """
import atexit
last = None
atexit.register(lambda: last and last())  # after what segmask does at the end, which is registered later
import numpy as np, segmask
y, uv = np.zeros((480, 640), np.uint8), np.zeros((240, 640), np.uint8)
d = [segmask.detection(np.ones((48, 64)), size=(640, 480))] * 20
"""
    ended = python(start + text, timeout=60)
    assert ended.returncode == 0, ended.stderr
    assert ended.stderr.replace("*", "").strip() in ("CALL ONCE NOT TWICE", "")


def test_the_locales_decimal_comma_changes_nothing(python, tmp_path):
    """Of 100 and the palette's 168, alpha 0.9 makes 161; the configuration's default would make 131."""
    (tmp_path / "in.nv12").write_bytes(bytes([100] * 64 * 48 + [128] * 64 * 24))
    ended = python(f"""
import locale
import numpy as np, segmask
locale.setlocale(locale.LC_ALL, "de_DE.UTF-8")
assert locale.localeconv()["decimal_point"] == ","
y, uv = np.full((48, 64), 100, np.uint8), np.full((24, 64), 128, np.uint8)
d = [segmask.detection(np.ones((48, 64)), class_id={GREEN}, score=0.4)]
segmask.Overlay(alpha=0.9).draw(y, uv, d)
drawn = segmask.render("in.nv12", "out.nv12", [d], alpha=0.9, min_score=0.25, size=(64, 48), progress=False)["drawn"]
below = segmask.render("in.nv12", "low.nv12", [d], alpha=0.9, min_score=0.5, size=(64, 48), progress=False)["drawn"]
print(y[0, 0], open("out.nv12", "rb").read()[0], drawn, open("low.nv12", "rb").read()[0], below)
print(segmask.explain(d, (64, 48), min_score=0.5)[0]["why"])
""", cwd=tmp_path)
    assert ended.returncode == 0, ended.stderr
    assert ended.stdout == "161 161 1 100 0\nscore 0.4 is below min_score 0.5\n"


def test_the_value_librarys_line_comes_once(python):
    ended = python("""
import numpy as np, segmask
assert segmask.decode_mask(segmask.encode_mask(np.ones((2, 2)))).all()
print("before", flush=True)
for _ in range(3):
    segmask.Overlay()
    segmask.explain([], (2, 2))
""")
    assert ended.stderr.count("CALL ONCE NOT TWICE") == 1 and ended.stdout == "before\n"
