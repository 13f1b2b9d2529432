import os
import pathlib
import subprocess
import sys

import pytest
from hypothesis import settings

settings.register_profile("default", deadline=None, max_examples=int(os.environ.get("SEGMASK_EXAMPLES", "100")))
settings.load_profile("default")

ROOT = pathlib.Path(__file__).resolve().parents[2]


@pytest.fixture(scope="session")
def tool():
    """The program `segmask` of the same build."""
    path = os.environ.get("SEGMASK_TOOL")
    if not path:
        pytest.skip("SEGMASK_TOOL does not name the program segmask")
    return path


@pytest.fixture
def python():
    """Runs a text of Python in a process of its own; gives what came of it."""

    def run(text, *arguments, timeout=300, **options):
        return subprocess.run(
            [sys.executable, "-c", text, *map(str, arguments)], capture_output=True, text=True, timeout=timeout, **options
        )

    return run


@pytest.fixture(scope="session")
def photographs():
    """The folder with the photographs and their annotations."""
    data = pathlib.Path(os.environ.get("SEG_MASK_DATA", ROOT / "../shared/data")) / "coco"
    if not (data / "instances.json").exists():
        pytest.skip(f"no photographs in {data}")
    return data
