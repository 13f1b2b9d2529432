"""Detection files."""

from __future__ import annotations

import gzip
import json
import os
from types import TracebackType
from typing import IO, Any, Sequence

from . import _native
from ._masks import whole_number


def listed(value: Any) -> Any:
    """What json cannot write by itself: NumPy's scalars and arrays, and what is like them."""
    if not hasattr(value, "tolist"):
        raise TypeError(f"a value of type {type(value).__name__}, which JSON does not have")
    return value.tolist()


class DetectionWriter:
    """Writes detections as the JSON lines that `segmask render` and `segmask explain` read.

    `file` is a path, packed by gzip where it ends in ".gz", or an open file of text. Each line is flushed, so a reader at
    the other end of a pipe has it at once. A `with` closes what was opened here.
    """

    def __init__(self, file: str | os.PathLike[str] | IO[str]) -> None:
        self._last = 0
        self._opened: IO[str] | None = None
        if isinstance(file, (str, os.PathLike)):
            path = os.fspath(file)
            opened: Any = gzip.open if path.endswith(".gz") else open
            self._opened = opened(path, "wt", encoding="utf-8")
        elif not hasattr(file, "write"):
            raise TypeError(f"file: a {type(file).__name__}, neither a path nor an open file")
        self._file: IO[str] = file if self._opened is None else self._opened  # type: ignore[assignment]

    def write(self, frame: int, detections: Sequence[Any], producer: str = "python") -> None:
        """Writes a line: what `producer` has found in that frame, counted from 0. Frames come in order; several lines may
        be for one. ValueError for an earlier frame, an empty name and a NaN."""
        frame = whole_number(frame, "frame")
        if frame < self._last:
            raise ValueError(f"frame: {frame} comes after frame {self._last}")
        if not isinstance(producer, str):
            raise TypeError(f"producer: a {type(producer).__name__}, not a str")
        if not producer:
            raise ValueError("producer: the name is empty")
        _native.check(detections)
        line = {"frame": frame, "producer": producer, "detections": detections}
        self._file.write(json.dumps(line, default=listed, allow_nan=False) + "\n")
        self._file.flush()
        self._last = frame

    def close(self) -> None:
        """Closes the file, if it was opened here."""
        if self._opened is not None:
            self._opened.close()

    def __enter__(self) -> DetectionWriter:
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        self.close()
