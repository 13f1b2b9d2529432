"""Detections from what other libraries give. None of them is imported: their objects are asked for their members."""

from __future__ import annotations

from typing import Any, Iterable, Mapping

import numpy as np
import numpy.typing as npt

from ._masks import Box, detection, finite_number, rounded_box, whole_number


def undo_letterbox(mask: npt.ArrayLike, shape: tuple[int, int]) -> npt.NDArray[Any]:
    """The part of a network's mask that shows the picture, without the bars that made it fit: a view where it can be.

    `mask` is an array of (..., height, width), the network's size, `shape` the picture's (height, width). The picture was
    scaled by one factor and put into the middle. The part is not scaled back: a mask that is drawn is.
    """
    array = np.asarray(mask)
    if array.ndim < 2 or 0 in array.shape:
        raise ValueError(f"mask: its shape {array.shape} is not (..., height, width)")
    try:
        sides = [whole_number(side, "shape") for side in shape]
        height, width = sides
    except (TypeError, ValueError):
        raise TypeError(f"shape: {shape!r} is not (height, width)") from None
    if height < 1 or width < 1:
        raise ValueError(f"shape: {shape!r} has no pixel")
    gain = min(array.shape[-2] / height, array.shape[-1] / width)
    # The bars' sizes: where both together are odd, the second is larger by one.
    bars = [max(have - max(round(side * gain), 1), 0) for have, side in zip(array.shape[-2:], (height, width))]
    first = [bar // 2 for bar in bars]
    last = [have - (bar - begin) for have, bar, begin in zip(array.shape[-2:], bars, first)]
    return array[..., first[0] : last[0], first[1] : last[1]]


def from_coco(source: Mapping[str, Any] | Iterable[Mapping[str, Any]], *, image_id: Any = None) -> list[dict[str, Any]]:
    """Detections from annotations or results in COCO's form: a list of them, or the whole data set, an object with
    "annotations".

    `image_id` chooses those of one picture. Polygons and run lengths become compact masks, whose pixels are those of COCO's own
    tools; "category_id" is the class, "score" 1 where there is none. A box is whole pixels, with one more around it. ValueError,
    which names the annotation by its place, for one without a segmentation, run lengths without a size of two whole numbers, and
    a polygon of fewer than three points or with a number that is not finite.
    """
    if isinstance(source, Mapping):
        if "annotations" not in source:
            raise ValueError('source: an object without "annotations"')
        source = source["annotations"]
    return [
        _from_annotation(annotation, f"annotations[{index}]")
        for index, annotation in enumerate(_objects(source))
        if image_id is None or annotation.get("image_id") == image_id
    ]


def _objects(source: Iterable[Any]) -> Iterable[Mapping[str, Any]]:
    for index, annotation in enumerate(source):
        if not isinstance(annotation, Mapping):
            raise TypeError(f"annotations[{index}]: a {type(annotation).__name__}, not an object")
        yield annotation


def _from_annotation(annotation: Mapping[str, Any], place: str) -> dict[str, Any]:
    segmentation = annotation.get("segmentation")
    if not segmentation:
        raise ValueError(f"{place}: has no segmentation")
    mask: dict[str, Any]
    if isinstance(segmentation, Mapping):
        if "size" not in segmentation or "counts" not in segmentation:
            raise ValueError(f'{place}: run lengths need "size" and "counts"')
        counts = segmentation["counts"]
        mask = {
            "size": _size_of_runs(segmentation["size"], place),
            "counts": counts.decode("ascii") if isinstance(counts, bytes) else counts,
        }
        box: Box = (0, 0, mask["size"][1], mask["size"][0])
    else:
        mask = {"polygon": [_corners(polygon, f"{place}: polygon {at}") for at, polygon in enumerate(segmentation)]}
        box = _box_of_polygons(mask["polygon"])
    if "bbox" in annotation:
        box = _grown(rounded_box(annotation["bbox"]))
    return {
        **dict(zip("xywh", box)),
        "class_id": whole_number(annotation.get("category_id", 0), "category_id"),
        "score": finite_number(annotation.get("score", 1.0), "score"),
        "mask": mask,
    }


def _size_of_runs(size: Any, place: str) -> list[int]:
    try:
        height, width = (whole_number(side, "size") for side in size)
    except (TypeError, ValueError):
        raise ValueError(f"{place}: its size {size!r} is no pair of whole numbers") from None
    return [height, width]


def _corners(polygon: Any, place: str) -> list[float]:
    try:
        numbers = [finite_number(number, place) for number in polygon]
    except (TypeError, ValueError):
        raise ValueError(f"{place} is not a list of finite numbers") from None
    if len(numbers) < 6 or len(numbers) % 2:
        raise ValueError(f"{place} has {len(numbers)} numbers, not an even count from 6 on: x and y of three points or more")
    return numbers


def _grown(box: Box) -> Box:
    """With a pixel around it: the pixels of a mask are found in fifths, and some lie beside the box of its outline."""
    x, y, w, h = box
    return x - 1, y - 1, w + 2, h + 2


def _box_of_polygons(polygons: list[list[float]]) -> Box:
    columns = [number for polygon in polygons for number in polygon[::2]]
    rows = [number for polygon in polygons for number in polygon[1::2]]
    left, top = min(columns), min(rows)
    return _grown(rounded_box((left, top, max(columns) - left, max(rows) - top)))


def from_supervision(detections: Any) -> list[dict[str, Any]]:
    """Detections from a `supervision.Detections` with masks, whole or compact. The box is the smallest around the mask."""
    _require(detections, "detections", "xyxy", "mask", "confidence", "class_id")
    count = len(detections.xyxy)
    if count == 0:
        return []
    if detections.mask is None:
        raise ValueError("detections: they have no masks")
    return [
        _made(detections.mask[index], _at(detections.class_id, index, 0), _at(detections.confidence, index, 1.0))
        for index in range(count)
    ]


def from_ultralytics(results: Any) -> list[dict[str, Any]]:
    """Detections from the `Results` of one picture, of a model that segments. The bars around a picture that did not fit
    the network are removed."""
    _require(results, "results", "masks", "boxes", "orig_shape")
    if results.masks is None:
        if results.boxes is not None and len(results.boxes) > 0:
            raise ValueError("results: they have no masks; the model has to be one that segments")
        return []
    height, width = results.orig_shape
    masks = undo_letterbox(_array(results.masks.data), (height, width))
    classes, scores = _array(results.boxes.cls), _array(results.boxes.conf)
    return [_made(mask, classes[index], scores[index], (width, height)) for index, mask in enumerate(masks)]


def from_torchvision(prediction: Mapping[str, Any], *, threshold: float = 0.5) -> list[dict[str, Any]]:
    """Detections from the prediction of one picture, a dict with "masks", "labels" and "scores". A pixel is inside where its
    probability is above `threshold`."""
    if not isinstance(prediction, Mapping):
        raise TypeError(f"prediction: a {type(prediction).__name__}, not a dict")
    for name in ("masks", "labels", "scores"):
        if name not in prediction:
            raise ValueError(f'prediction: it has no "{name}"')
    masks, labels, scores = (_array(prediction[name]) for name in ("masks", "labels", "scores"))
    if masks.ndim == 4 and masks.shape[1] == 1:
        masks = masks[:, 0]
    if masks.ndim != 3:
        raise ValueError(f"prediction: its masks' shape {masks.shape} is not (N, 1, height, width)")
    least = finite_number(threshold, "threshold")
    return [_made(mask > least, labels[index], scores[index]) for index, mask in enumerate(masks)]


def _require(value: Any, name: str, *members: str) -> None:
    for member in members:
        if not hasattr(value, member):
            raise TypeError(f"{name}: a {type(value).__name__} has no {member}")


def _made(mask: Any, class_id: Any, score: Any, size: tuple[int, int] | None = None) -> dict[str, Any]:
    return dict(detection(mask, class_id=int(class_id), score=float(score), size=size))


def _at(values: Any, index: int, default: Any) -> Any:
    return default if values is None else values[index]


def _array(values: Any) -> npt.NDArray[Any]:
    """An array of a tensor, on whatever device it is, or of what NumPy takes."""
    for step in ("detach", "cpu", "numpy"):
        if hasattr(values, step):
            values = getattr(values, step)()
    return np.asarray(values)
