"""The wheel, installed. Of another name than the other tests', because making it takes minutes: the ctest python_wheel runs it."""

import os
import pathlib
import shutil
import subprocess
import sys
import sysconfig

import pytest

import segmask

PACKAGE = pathlib.Path(segmask.__file__).parent


def pip(*arguments):
    made = subprocess.run([sys.executable, "-m", "pip", *map(str, arguments)], capture_output=True, text=True)
    assert made.returncode == 0, made.stdout[-3000:] + made.stderr[-3000:]


@pytest.fixture(scope="module")
def installed(tmp_path_factory):
    """A folder with `bin` and another with the packages. Made from the sources, not optimised, which takes half the time."""
    folder = tmp_path_factory.mktemp("wheel")
    sources = pathlib.Path(__file__).resolve().parents[1]
    pip("wheel", "--no-deps", "--no-build-isolation", "--wheel-dir", folder, "--config-settings=cmake.build-type=Debug",
        "--config-settings=cmake.define.CMAKE_CXX_FLAGS_DEBUG=-O0", f"--config-settings=build-dir={folder}/build", sources)
    pip("install", "--no-deps", "--no-index", "--no-compile", "--prefix", folder / "installed", *folder.glob("segmask-*.whl"))
    prefix = {"base": str(folder / "installed"), "platbase": str(folder / "installed")}
    return folder / "installed/bin", pathlib.Path(sysconfig.get_path("platlib", vars=prefix))


def test_the_package_is_whole_and_draws(installed, python):
    _, site = installed
    assert {path.name for path in (site / "segmask").iterdir()} == {
        path.name for path in PACKAGE.iterdir() if path.name != "__pycache__"}
    ended = python("""
import importlib.metadata
import numpy as np, segmask
y, uv = np.full((48, 64), 100, np.uint8), np.full((24, 64), 128, np.uint8)
assert segmask.Overlay().draw(y, uv, [segmask.detection(np.ones((48, 64)), class_id=5)])
assert (y != 100).all()
assert importlib.metadata.version("segmask") == segmask.__version__
print(segmask.__file__)
""", env={**os.environ, "PYTHONPATH": str(site)})
    assert ended.returncode == 0, ended.stderr
    assert ended.stdout.startswith(str(site))


def run_program(folder, site, *arguments):
    return subprocess.run([folder / "segmask", *arguments], capture_output=True, text=True,
                          env={**os.environ, "PYTHONPATH": str(site)})


def test_the_program_runs_by_its_name(installed):
    folder, site = installed
    ended = run_program(folder, site, "inspect")
    assert (ended.returncode, ended.stderr.replace("CALL ONCE NOT TWICE\n", "")) == (0, "")
    assert f"{site}/segmask/libseg_mask_overlay.so" in ended.stdout
    ended = run_program(folder, site, "render", "--no-such-option")
    assert ended.returncode == 2
    assert ended.stderr.startswith("segmask: ")


def test_without_a_library_the_program_says_in_one_sentence_what_installs_it(installed, tmp_path):
    folder, site = installed
    shutil.copytree(site, tmp_path / "site")
    for path in [*tmp_path.glob("site/segmask/_native*.so"), tmp_path / "site/segmask/segmask"]:
        path.write_bytes(path.read_bytes().replace(b"libopencv_core.so", b"libopencv_c0re.so"))
    ended = run_program(folder, tmp_path / "site", "--version")
    assert (ended.returncode, ended.stdout) == (2, "")
    assert ended.stderr.startswith("segmask needs libopencv_c0re.so.")
    assert ended.stderr.count("\n") == 1 and "which is not installed: apt-get install libopencv-core-dev" in ended.stderr
