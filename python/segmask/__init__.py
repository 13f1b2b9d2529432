"""Segmentation masks of detections: encoded, explained, and drawn into NV12 frames.

    detection(mask) -> dict              a mask as the payload "detection.v1" has it
    Overlay().draw(y, uv, detections)    draws in place
    explain(detections, size)            what would be drawn, and why not
    render(input, output, detections)    draws a whole video
    from_coco, from_supervision, from_ultralytics, from_torchvision

Arrays are NumPy's. Nothing else is imported. The first drawing, explaining or rendering of a process writes the line
"CALL ONCE NOT TWICE" to the standard error stream: the value library says so that its registries are filled.
"""

try:
    from . import _native
except ImportError as error:
    if "cannot open shared object file" not in str(error):
        raise
    _library = str(error).split(":")[0]
    raise ImportError(
        f"segmask needs {_library}, which is not installed: apt-get install libopencv-core-dev libopencv-imgproc-dev "
        "libclass-loader-dev libconsole-bridge-dev libavformat-dev libavcodec-dev libavutil-dev libswscale-dev libssl-dev"
    ) from None

from ._convert import from_coco, from_supervision, from_torchvision, from_ultralytics, undo_letterbox
from ._explain import Reasons, explain
from ._masks import Detection, decode_mask, detection, encode_mask
from ._native import __version__ as __version__
from ._overlay import Overlay
from ._render import RenderSummary, render
from ._writer import DetectionWriter

__all__ = [
    "Detection",
    "DetectionWriter",
    "Overlay",
    "Reasons",
    "RenderSummary",
    "decode_mask",
    "detection",
    "encode_mask",
    "explain",
    "from_coco",
    "from_supervision",
    "from_torchvision",
    "from_ultralytics",
    "render",
    "undo_letterbox",
]
