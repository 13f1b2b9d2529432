"""The wheel. Of another name than the other tests', because it takes a minute or two: the ctest python_wheel runs it."""

import os
import pathlib
import subprocess
import sys
import zipfile

import segmask

PACKAGE = pathlib.Path(segmask.__file__).parent


def test_the_wheel(tmp_path, python):
    """pip makes it from the sources, and what is in it works elsewhere. Not optimised, which takes half the time."""
    sources = pathlib.Path(__file__).resolve().parents[1]
    made = subprocess.run(
        [sys.executable, "-m", "pip", "wheel", "--no-deps", "--no-build-isolation", "--wheel-dir", tmp_path,
         "--config-settings=cmake.build-type=Debug", "--config-settings=cmake.define.CMAKE_CXX_FLAGS_DEBUG=-O0",
         f"--config-settings=build-dir={tmp_path}/build", sources], capture_output=True, text=True)
    assert made.returncode == 0, made.stdout[-3000:] + made.stderr[-3000:]
    (wheel,) = tmp_path.glob("segmask-*.whl")
    project = (sources.parent / "CMakeLists.txt").read_text()
    assert f"project(SegMaskOverlay VERSION {wheel.name.split('-')[1]} " in project
    with zipfile.ZipFile(wheel) as archive:
        archive.extractall(tmp_path / "site")
        names = {name.split("/", 1)[1] for name in archive.namelist() if name.startswith("segmask/")}
    expected = {path.name for path in PACKAGE.iterdir() if path.name != "__pycache__"}
    assert names == expected
    ended = python("""
import numpy as np, segmask
y, uv = np.full((48, 64), 100, np.uint8), np.full((24, 64), 128, np.uint8)
assert segmask.Overlay().draw(y, uv, [segmask.detection(np.ones((48, 64)), class_id=5)])
assert (y != 100).all()
print(segmask.__file__)
""", env={**os.environ, "PYTHONPATH": str(tmp_path / "site")})
    assert ended.returncode == 0, ended.stderr
    assert ended.stdout.startswith(str(tmp_path))
