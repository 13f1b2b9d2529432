"""Whole videos."""

from __future__ import annotations

import errno
import os
import sys
import time
import warnings
from typing import Any, Callable, Iterable, Sequence, TypedDict, Union

import numpy as np
import numpy.typing as npt

from . import _native
from ._masks import frame_size
from ._overlay import settings

Plane = npt.NDArray[np.uint8]
Source = Union[Iterable[Sequence[Any]], Callable[[int, Plane, Plane], Sequence[Any]]]
Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

_LINE_SECONDS = 5.0
_BAR_SECONDS = 0.2


class RenderSummary(TypedDict):
    """What a run has done. "drawn" and all of "dropped", by reason, add up to "detections"."""

    frames: int
    frames_drawn: int
    detections: int
    drawn: int
    dropped: dict[str, int]


def render(
    input: Path,
    output: Path,
    detections: Source,
    *,
    alpha: float = 0.45,
    min_score: float = 0.0,
    max_overlay_dets: int = 256,
    fast: bool = True,
    size: tuple[int, int] | None = None,
    progress: bool = True,
) -> RenderSummary:
    """Draws a video's detections into it and writes the result, as `segmask render` does.

    `input` is whatever FFmpeg's libraries read, a picture too, or raw frames, a .nv12 file with their `size` (width, height).
    `output` is a .mp4, .mkv, .y4m or .nv12 file, or pictures by a pattern such as "name_%04d.png". It appears whole, at the
    end, or not at all. Sound, subtitles and data are copied where the output can hold them, and a rotation is applied.

    `detections` gives a list for each frame: an iterable in the order of the frames, a generator say (frames beyond its end have
    none, and what is left of it is not asked for), or a function of the frame's number and its planes `y` and `uv`, which are
    copies that cannot be written. It is asked in the calling thread. Meanwhile earlier frames are drawn and written by two other
    threads, at most seven frames apart: memory does not grow with the video.

    The settings are those of `Overlay`. With `progress`, sys.stderr gets a line now and then. What `detections` raises ends
    the run, Ctrl-C between two frames as well. FileNotFoundError for an input that is not there, ValueError for paths and sizes
    that cannot be, RuntimeError, which names the file, for what cannot be read or written.
    """
    source, target = _name(input, "input"), _name(output, "output")
    alpha, min_score, max_overlay_dets = settings(alpha, min_score, max_overlay_dets)
    _check_paths(source, target, size)
    text = None if size is None else "{}x{}".format(*frame_size(size))
    shown = _Progress() if progress else None
    try:
        found = _native.render(
            os.fsencode(source), os.fsencode(target), text, alpha, min_score, max_overlay_dets, bool(fast), *_caller(detections),
            shown.update if shown else lambda frames, total: None,
        )
    finally:
        if shown:
            shown.end()
    warning = found.pop("warning")
    if warning:
        warnings.warn(warning, RuntimeWarning, stacklevel=2)
    return found  # type: ignore[return-value]


def _name(path: Path, argument: str) -> str:
    """The path as a text, in which bytes that are no UTF-8 stand as os.fsdecode gives them."""
    try:
        name = os.fsdecode(path)
        encoded = os.fsencode(name)
    except TypeError:
        raise TypeError(f"{argument}: a {type(path).__name__}, not a path") from None
    except UnicodeError:
        raise ValueError(f"{argument}: {path!r} cannot be the name of a file") from None
    if b"\0" in encoded:
        raise ValueError(f"{argument}: {name!r} has a NUL, which no name of a file has")
    return name


def _check_paths(source: str, target: str, size: tuple[int, int] | None) -> None:
    raw = source.lower().endswith(".nv12")
    if raw and size is None:
        raise ValueError("size: raw frames need their (width, height)")
    if not raw and size is not None:
        raise ValueError(f"size: {source} says its own size; it is for raw .nv12 input")
    if "://" not in source and not os.path.exists(source):
        raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), source)
    folder = os.path.dirname(target) or "."
    if not os.path.isdir(folder):
        raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), folder)


def _caller(detections: Source) -> tuple[Callable[[int, int, int, bytes | None], Sequence[Any]], bool]:
    """What gives the detections of a frame, and whether it is to be given the frame."""
    if callable(detections):
        function = detections

        def of_frame(number: int, width: int, height: int, frame: bytes | None) -> Sequence[Any]:
            samples = np.frombuffer(frame or b"", np.uint8)
            luma = width * height
            y, uv = samples[:luma].reshape(height, width), samples[luma:].reshape((height + 1) // 2, -1)
            return function(number, y, uv)

        return of_frame, True
    iterator = iter(detections)
    return lambda number, width, height, frame: next(iterator, ()), False


class _Progress:
    """Shows on sys.stderr how many frames have been read: on a terminal in its last line, elsewhere as a line every few
    seconds."""

    def __init__(self) -> None:
        self._bar = sys.stderr is not None and sys.stderr.isatty()
        self._next = time.monotonic() + (_BAR_SECONDS if self._bar else _LINE_SECONDS)
        self._shown = False

    def update(self, frames: int, total: int | None) -> None:
        now = time.monotonic()
        if now < self._next or sys.stderr is None:
            return
        self._next = now + (_BAR_SECONDS if self._bar else _LINE_SECONDS)
        text = f"segmask: {frames} frames" if total is None else f"segmask: {frames} of {total} frames"
        sys.stderr.write(f"\r\x1b[K{text}" if self._bar else f"{text}\n")
        sys.stderr.flush()
        self._shown = True

    def end(self) -> None:
        if self._shown and self._bar:
            sys.stderr.write("\r\x1b[K")
            sys.stderr.flush()
