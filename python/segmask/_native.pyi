from typing import Any, Callable, Sequence

import numpy as np
import numpy.typing as npt

from ._explain import Reasons

__version__: str

def encode(mask: npt.NDArray[np.uint8]) -> str: ...
def decode(text: bytes) -> tuple[int, int, bytes]: ...
def check(detections: Sequence[Any]) -> None: ...
def explain(
    detections: Sequence[Any], width: int, height: int, min_score: float, max_overlay_dets: int
) -> list[Reasons]: ...
def render(
    input: bytes,
    output: bytes,
    size: str | None,
    alpha: float,
    min_score: float,
    max_overlay_dets: int,
    fast: bool,
    detections: Callable[[int, int, int, bytes | None], Sequence[Any]],
    wants_frame: bool,
    progress: Callable[[int, int | None], None],
) -> dict[str, Any]: ...

class Overlay:
    def __init__(self, alpha: float, min_score: float, max_overlay_dets: int, fast: bool) -> None: ...
    def draw(self, y: npt.NDArray[np.uint8], uv: npt.NDArray[np.uint8], detections: Sequence[Any]) -> bool: ...
