"""What would be drawn, and why not."""

from __future__ import annotations

from typing import Any, Sequence, TypedDict

from . import _native
from ._masks import frame_size
from ._overlay import settings


class Reasons(TypedDict, total=False):
    """What becomes of one detection: "class_id", "color" (red, green, blue) and "pixels" where it is drawn, else "reason", a
    word for programs, and "why", a sentence."""

    index: int
    drawn: bool
    class_id: int
    color: tuple[int, int, int]
    pixels: int
    reason: str
    why: str


def explain(
    detections: Sequence[Any], size: tuple[int, int], *, min_score: float = 0.0, max_overlay_dets: int = 256
) -> list[Reasons]:
    """Tells of each detection whether an overlay with these settings draws it into a frame of `size`, (width, height), or
    the first rule that drops it. The rules are the plug-in's own code; nothing is drawn."""
    _, least, most = settings(0.0, min_score, max_overlay_dets)
    return _native.explain(detections, *frame_size(size), least, most)
