"""Drawing in process."""

from __future__ import annotations

from typing import Any, Sequence

import numpy as np
import numpy.typing as npt

from . import _native
from ._masks import finite_number, whole_number


def settings(alpha: float, min_score: float, max_overlay_dets: int) -> tuple[float, float, int]:
    """The plug-in's settings; ValueError for what it would clamp."""
    alpha, min_score = finite_number(alpha, "alpha"), finite_number(min_score, "min_score")
    for name, value in (("alpha", alpha), ("min_score", min_score)):
        if not 0 <= value <= 1:
            raise ValueError(f"{name}: {value} is not from 0 to 1")
    most = whole_number(max_overlay_dets, "max_overlay_dets")
    if not 1 <= most <= 4096:
        raise ValueError(f"max_overlay_dets: {most} is not from 1 to 4096")
    return alpha, min_score, most


class Overlay:
    """Draws detections into NV12 frames, in place: the bytes that `segmask render` gives with the same settings.

    `alpha` is the weight of the masks' colours; detections with a score below `min_score` are not drawn; of a frame's
    detections at most the first `max_overlay_dets` are. `fast` chooses the plug-in's file that draws a frame in one pass,
    else the one that draws mask by mask; both give the same bytes. A process uses one of the two: the first overlay decides,
    and another choice is a RuntimeError.

    Detections are a list of dicts with the members of the payload "detection.v1", as `detection` makes them; a compact "mask"
    may stand in the place of "class_info". They are read as the plug-in reads its JSON: what has no valid mask, say, is not
    drawn and no error. `explain` tells.

    Drawing releases the GIL. Several threads may draw, each best with an overlay of its own: one overlay draws one frame at a
    time. The device buffers are kept from frame to frame of one size.
    """

    def __init__(
        self, alpha: float = 0.45, min_score: float = 0.0, max_overlay_dets: int = 256, fast: bool = True
    ) -> None:
        self._native = _native.Overlay(*settings(alpha, min_score, max_overlay_dets), bool(fast))

    def draw(self, y: npt.NDArray[np.uint8], uv: npt.NDArray[np.uint8], detections: Sequence[Any]) -> bool:
        """Draws on the planes of a frame: `y` of (H, W), `uv` of ((H + 1) // 2, 2 * ((W + 1) // 2)) with its pairs U, V,
        both uint8. Rows may have gaps between them (a pitch), but bytes of a row may not. False when there was nothing to
        draw; the bytes are as they were then.

        TypeError and ValueError name the argument that cannot be drawn on.
        """
        return self._native.draw(y, uv, detections)

    def draw_nv12(self, frame: npt.NDArray[np.uint8], detections: Sequence[Any]) -> bool:
        """The same on one array with both planes, of (H + (H + 1) // 2, W), where W is even."""
        if not isinstance(frame, np.ndarray):
            raise TypeError(f"frame: a {type(frame).__name__}, not a NumPy array")
        if frame.dtype != np.uint8:
            raise TypeError(f"frame: its dtype is {frame.dtype}, not uint8")
        if frame.ndim != 2 or frame.shape[0] % 3 == 1 or frame.shape[1] % 2 or 0 in frame.shape:
            raise ValueError(f"frame: its shape {frame.shape} is not (H + (H + 1) // 2, W) with an even W")
        height = (2 * frame.shape[0] + 1) // 3 if frame.shape[0] % 3 else 2 * frame.shape[0] // 3
        return self.draw(frame[:height], frame[height:], detections)

    def draw_frame(self, frame: Any, detections: Sequence[Any]) -> bool:
        """The same on a frame of PyAV, of the format nv12; `frame.reformat(format="nv12")` makes one. A ValueError says so
        for other formats."""
        if not hasattr(frame, "planes") or not hasattr(frame, "format"):
            raise TypeError(f"frame: a {type(frame).__name__}, not a frame of PyAV")
        if frame.format.name != "nv12":
            raise ValueError(f'frame: its format is {frame.format.name}, not nv12; frame.reformat(format="nv12") converts it')
        if hasattr(frame, "make_writable"):
            frame.make_writable()
        luma, chroma = frame.planes
        columns = 2 * ((frame.width + 1) // 2)
        return self.draw(
            _rows(luma)[: frame.height, : frame.width],
            _rows(chroma)[: (frame.height + 1) // 2, :columns],
            detections,
        )


def _rows(plane: Any) -> npt.NDArray[np.uint8]:
    """A plane of PyAV's, row by row with its padding."""
    return np.frombuffer(plane, np.uint8).reshape(-1, plane.line_size)
