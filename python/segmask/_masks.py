"""Masks as arrays and as texts."""

from __future__ import annotations

import math
from typing import Any, Sequence, TypedDict

import numpy as np
import numpy.typing as npt

from . import _native

Box = tuple[int, int, int, int]


class Detection(TypedDict):
    """A detection of the payload "detection.v1"."""

    x: int
    y: int
    w: int
    h: int
    class_id: int
    score: float
    class_info: str


def mask_bytes(mask: npt.ArrayLike) -> npt.NDArray[np.uint8]:
    """The mask as bytes, non-zero where it is: itself where it can be, else a copy. Rows have no gaps."""
    array = np.asarray(mask)
    if array.dtype.kind not in "biuf":
        raise TypeError(f"mask: its dtype {array.dtype} is neither boolean, integer nor floating")
    if array.ndim != 2 or 0 in array.shape:
        raise ValueError(f"mask: its shape {array.shape} is not (height, width), both from 1 on")
    if array.dtype.itemsize != 1:
        array = array != 0
    if array.strides[1] != 1:
        array = np.ascontiguousarray(array)
    return array.view(np.uint8)


def encode_mask(mask: npt.ArrayLike) -> str:
    """The mask text "SEG1|width|height|base64" of a mask.

    `mask` is an array of (height, width) of any boolean, integer or floating dtype, contiguous or not; what is not zero is
    inside, a NaN too. TypeError for another dtype, ValueError for another shape.
    """
    return _native.encode(mask_bytes(mask))


def decode_mask(text: str) -> npt.NDArray[np.bool_]:
    """The mask of a mask text, an array of (height, width). ValueError, which says why, for a text that is none."""
    if not isinstance(text, str):
        raise TypeError(f"text: a {type(text).__name__}, not a str")
    width, height, packed = _native.decode(text.encode())
    bits = np.unpackbits(np.frombuffer(packed, np.uint8), count=width * height, bitorder="little")
    return bits.reshape(height, width).view(np.bool_)


def whole_number(value: Any, name: str) -> int:
    """The value as an int; TypeError for what is no whole number."""
    try:
        return int(value.__index__())
    except (AttributeError, TypeError):
        raise TypeError(f"{name}: {value!r} is no whole number") from None


def finite_number(value: Any, name: str) -> float:
    """The value as a float; TypeError for what is no number, ValueError for NaN and infinities."""
    if isinstance(value, (str, bytes)):
        raise TypeError(f"{name}: {value!r} is no number")
    try:
        number = float(value)
    except (TypeError, OverflowError):
        raise TypeError(f"{name}: {value!r} is no number") from None
    if not math.isfinite(number):
        raise ValueError(f"{name}: {value!r} is not finite")
    return number


def frame_size(size: Any) -> tuple[int, int]:
    """(width, height), each from 1 to 65535."""
    try:
        width, height = size
    except (TypeError, ValueError):
        raise TypeError(f"size: {size!r} is not (width, height)") from None
    width, height = whole_number(width, "size"), whole_number(height, "size")
    if not (1 <= width <= 65535 and 1 <= height <= 65535):
        raise ValueError(f"size: {width} and {height} are not from 1 to 65535")
    return width, height


def detection(
    mask: npt.ArrayLike,
    box: Sequence[float] | None = None,
    class_id: int = 0,
    score: float = 1.0,
    *,
    size: tuple[int, int] | None = None,
) -> Detection:
    """A detection with this mask, which spans the whole frame.

    `box` is (x, y, w, h) in frame pixels; fractions are rounded so that the box grows. Without one it is the smallest that
    has all of the mask. `size` is the frame's (width, height) where the mask has another; such a mask is scaled when it is
    drawn. `class_id` chooses the colour.
    """
    plane = mask_bytes(mask)
    x, y, w, h = box_of(plane, size) if box is None else rounded_box(box)
    return {
        "x": x,
        "y": y,
        "w": w,
        "h": h,
        "class_id": whole_number(class_id, "class_id"),
        "score": finite_number(score, "score"),
        "class_info": _native.encode(plane),
    }


def box_of(plane: npt.NDArray[np.uint8], size: tuple[int, int] | None) -> Box:
    """The smallest box in frame pixels that has all of the mask; all 0 for an empty mask."""
    rows = np.flatnonzero(plane.any(axis=1))
    if rows.size == 0:
        return 0, 0, 0, 0
    top, bottom = int(rows[0]), int(rows[-1]) + 1
    columns = np.flatnonzero(plane[top:bottom].any(axis=0))
    left, right = int(columns[0]), int(columns[-1]) + 1
    height, width = plane.shape
    frame_width, frame_height = (width, height) if size is None else frame_size(size)
    left, right = left * frame_width // width, -(-right * frame_width // width)
    top, bottom = top * frame_height // height, -(-bottom * frame_height // height)
    return left, top, right - left, bottom - top


def rounded_box(box: Sequence[float]) -> Box:
    """The box (x, y, w, h), grown to whole pixels."""
    try:
        left, top, width, height = (finite_number(value, "box") for value in box)
    except TypeError:
        raise TypeError(f"box: {box!r} is not (x, y, w, h)") from None
    except ValueError as error:
        raise ValueError(f"box: {box!r} is not (x, y, w, h) of finite numbers") from error
    x, y = math.floor(left), math.floor(top)
    return x, y, math.ceil(left + width) - x, math.ceil(top + height) - y
