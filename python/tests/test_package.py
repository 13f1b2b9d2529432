"""The package as a whole: beside other wheels, without its libraries, its types, and its wheel."""

import ast
import itertools
import os
import pathlib
import re
import shutil
import subprocess
import sys

import pytest

import segmask

PACKAGE = pathlib.Path(segmask.__file__).parent
OURS = "segmask.Overlay(fast={}).draw(y, uv, [segmask.detection(np.ones((48, 64)), class_id=5)]); assert (y != 100).all()"
USES = {
    "segmask": "import segmask",
    "cv2": "import cv2",
    "av": "import av",
}


@pytest.mark.parametrize("order", list(itertools.permutations(USES)), ids=" ".join)
@pytest.mark.parametrize("fast", [True, False])
def test_beside_opencv_and_pyav_in_any_order(python, tmp_path, order, fast):
    """All three work after the plug-in was loaded, which makes its libraries' symbols visible to all."""
    ended = python(f"""
import sys
import numpy as np
{"; ".join(USES[name] for name in order)}
def opencv():
    picture = np.arange(64 * 48 * 3, dtype=np.uint8).reshape(48, 64, 3)
    coded = cv2.imencode(".png", picture)[1]
    assert np.array_equal(cv2.imdecode(coded, cv2.IMREAD_COLOR), picture)
    assert cv2.resize(picture, (128, 96), interpolation=cv2.INTER_CUBIC).shape == (96, 128, 3)
    assert len(cv2.findContours(picture[..., 0], cv2.RETR_LIST, cv2.CHAIN_APPROX_SIMPLE)) == 2
    assert cv2.solve(np.eye(3), np.ones((3, 1)))[0]
def pyav(name):
    with av.open(name, "w") as container:
        stream = container.add_stream("libx264", rate=10)
        stream.width, stream.height, stream.pix_fmt = 64, 48, "yuv420p"
        for _ in range(10):
            container.mux(stream.encode(av.VideoFrame.from_ndarray(np.full((48, 64, 3), 90, np.uint8))))
        container.mux(stream.encode())
    with av.open(name) as container:
        assert len(list(container.decode(video=0))) == 10
y, uv = np.full((48, 64), 100, np.uint8), np.full((24, 64), 128, np.uint8)
opencv(); pyav(sys.argv[1])
{OURS.format(fast)}
opencv(); pyav(sys.argv[2])
summary = segmask.render(sys.argv[1], sys.argv[3], [[segmask.detection(np.ones((48, 64)), class_id=5)]] * 10, fast={fast})
assert summary["drawn"] == 10
opencv(); pyav(sys.argv[2])
""", tmp_path / "a.mp4", tmp_path / "b.mp4", tmp_path / "c.mp4")
    assert ended.returncode == 0, ended.stderr


def test_a_missing_library_is_named_in_one_sentence_with_what_installs_it(python, tmp_path):
    """A copy of the module asks for a library of a name that no machine has."""
    copy = tmp_path / "segmask"
    shutil.copytree(PACKAGE, copy)
    (module,) = copy.glob("_native*.so")
    module.write_bytes(module.read_bytes().replace(b"libopencv_core.so", b"libopencv_c0re.so"))
    ended = python("import segmask", env={**os.environ, "PYTHONPATH": str(tmp_path), "LD_PRELOAD": ""})
    *_, last = ended.stderr.strip().splitlines()
    assert last.startswith("ImportError: segmask needs libopencv_c0re.so.")
    assert "which is not installed: apt-get install libopencv-core-dev" in last
    assert "During handling" not in ended.stderr


def test_without_dask_the_batch_says_what_installs_it(python):
    ended = python("import sys; sys.modules['distributed'] = None; import segmask.batch")
    *_, last = ended.stderr.strip().splitlines()
    assert last.startswith("ImportError: ") and last.endswith("segmask.batch needs Dask: pip install distributed fsspec")


def test_the_program_inside_is_of_the_packages_version_and_draws_with_its_plugin(tmp_path):
    def told(*arguments):
        return subprocess.run([PACKAGE / "segmask", *arguments], check=True, capture_output=True, text=True).stdout

    assert told("--version").splitlines()[0].split() == ["segmask", segmask.__version__]
    assert re.search(r"^library +(.*)$", told("inspect"), re.MULTILINE)[1] == str(PACKAGE / "libseg_mask_overlay.so")


def test_the_types_hold(tmp_path):
    """The package's own files, a user's text with each call, and one with errors."""
    (tmp_path / "good.py").write_text("""
import numpy as np
import segmask
mask = np.zeros((2, 2), np.uint8)
text: str = segmask.encode_mask(mask)
inside: np.ndarray = segmask.decode_mask(text)
one: segmask.Detection = segmask.detection(mask, (1, 2, 3, 4), class_id=3)
drawn: bool = segmask.Overlay(alpha=0.5).draw(mask, mask, [one, *segmask.from_coco([])])
for reasons in segmask.explain([one], (2, 2)):
    pixels: int = reasons["pixels"]
summary: segmask.RenderSummary = segmask.render("a.mp4", "b.mp4", ([] for _ in range(3)))
segmask.render("a.mp4", "b.mp4", lambda number, y, uv: [segmask.detection(y > number)])
with segmask.DetectionWriter("d.jsonl") as writer:
    writer.write(0, [one])
""")
    (tmp_path / "bad.py").write_text("import segmask\nsegmask.encode_mask()\nsegmask.Overlay(beta=1)\ntext: int = "
                                     "segmask.encode_mask([[1]])\n")
    # Without the sanitizer's library, which slows it down and is not needed: nothing of ours runs.
    environment = {**os.environ, "LD_PRELOAD": "", "MYPYPATH": str(PACKAGE.parent)}

    def mypy(*arguments):
        return subprocess.run([sys.executable, "-m", "mypy", "--strict", "--cache-dir", tmp_path / "cache", *arguments],
                              capture_output=True, text=True, env=environment, cwd=tmp_path)

    good = mypy(PACKAGE, "good.py")
    assert good.returncode == 0, good.stdout
    assert mypy("bad.py").stdout.count(": error: ") == 3


def test_the_stub_has_the_functions_and_arguments_of_the_module():
    from segmask import _native

    def arguments(function):
        (signature, *_), *more = function.__nb_signature__
        assert not more
        return re.findall(r"(\w+):", signature.split(" -> ")[0])

    def members(place):
        return {name for name, value in vars(place).items() if hasattr(value, "__nb_signature__")}

    stub = ast.parse((PACKAGE / "_native.pyi").read_text())
    (overlay,) = (node for node in stub.body if isinstance(node, ast.ClassDef))
    for place, nodes in ((_native, stub.body), (_native.Overlay, overlay.body)):
        functions = [node for node in nodes if isinstance(node, ast.FunctionDef)]
        assert {node.name for node in functions} == members(place)
        for node in functions:
            names = [argument.arg for argument in node.args.args if argument.arg != "self"]
            assert names == arguments(getattr(place, node.name)), node.name


def test_everything_that_is_offered_has_its_contract():
    for name in segmask.__all__:
        assert getattr(segmask, name).__doc__, name
