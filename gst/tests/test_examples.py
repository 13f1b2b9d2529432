"""Runs every command of docs/gstreamer.md and of README's section on GStreamer, as pasted, and looks at what they write.

    test_examples.py SOURCE_FOLDER BUILD_FOLDER

Commands that install or build are left out. Ends with 77, and says why, where a module of Python or of GStreamer is missing.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

ELEMENTS = ("decodebin", "qtdemux", "avdec_h264", "videoconvert", "x264enc", "mp4mux", "videotestsrc")


def sections(source):
    """The texts whose commands are run."""
    readme = (source / "README.md").read_text().split("## Use it in GStreamer")[1].split("\n## ")[0]
    # README's commands draw the detections that the guide's have written.
    return {"docs/gstreamer.md": (source / "docs/gstreamer.md").read_text(), "README.md": readme}


def commands(text):
    blocks = re.findall(r"^```bash\n(.*?)^```", text, re.M | re.S)
    return [line for block in blocks for line in block.replace("\\\n", "").splitlines()
            if not line.startswith(("scripts/bootstrap", "scripts/build"))]


def missing():
    """What the commands need and this machine lacks; empty when nothing is."""
    try:
        import gi
        import numpy  # noqa: F401
        gi.require_version("GstVideo", "1.0")
        from gi.repository import Gst
    except (ImportError, ValueError) as error:
        return str(error)
    Gst.init(None)
    return ", ".join(name for name in ELEMENTS if not Gst.ElementFactory.find(name))


def run(script, folder):
    """Runs the commands as one script in a folder that looks like a checkout."""
    print(script, flush=True)
    ended = subprocess.run(["bash", "-euo", "pipefail", "-c", script], cwd=folder, text=True, timeout=500,
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    print(ended.stdout, flush=True)
    if ended.returncode != 0:
        sys.exit(f"test_examples: exit code {ended.returncode}")
    return ended.stdout


def main():
    source, build = map(pathlib.Path, sys.argv[1:])
    lacking = missing()
    if lacking:
        print("test_examples: passed over, there is no " + lacking)
        sys.exit(77)
    with tempfile.TemporaryDirectory() as folder:
        checkout = pathlib.Path(folder)
        (checkout / "build").mkdir()
        (checkout / "build/cpu").symlink_to(build)
        (checkout / "examples").symlink_to(source / "examples")
        os.environ["GST_REGISTRY"] = str(checkout / "registry.bin")
        texts = {name: run("\n".join(commands(text)), checkout) for name, text in sections(source).items()}
        if not re.search(r"detections-seen +: ", texts["docs/gstreamer.md"]):
            sys.exit("test_examples: gst-inspect-1.0 does not name the properties")
        if "200 frames drawn, 1305 detections" not in texts["docs/gstreamer.md"]:
            sys.exit("test_examples: not the frames that segmask render draws on")
        if "29 frames drawn" not in texts["docs/gstreamer.md"]:
            sys.exit("test_examples: the camera's first of 30 frames is the background, the others have to be drawn")
        for name in ("drawn.mp4", "pedestrians.mp4", "progress.mp4", "diamond.mp4", "ball.nv12"):
            if (checkout / "out" / ("gst_" + name)).stat().st_size < 100000:
                sys.exit(f"test_examples: gst_{name} is too small to be a video")


if __name__ == "__main__":
    main()
