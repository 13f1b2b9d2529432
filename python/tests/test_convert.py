"""Detections from other libraries' results: the real libraries where pip has them, else objects with the same members."""

import json
from types import SimpleNamespace

import numpy as np
import pytest
import supervision
from pycocotools import mask as coco

import segmask

WIDTH, HEIGHT = 40, 30


def shapes(count=3, height=HEIGHT, width=WIDTH):
    rows, columns = np.ogrid[:height, :width]
    return np.stack([np.hypot(columns - 6 - 9 * i, rows - 10 - 3 * i) < 5 + i for i in range(count)])


def drawn_pixels(detections, size=(WIDTH, HEIGHT)):
    return [one.get("pixels") for one in segmask.explain(detections, size)]


def union(detections, size=(WIDTH, HEIGHT)):
    """The pixels that drawing changes."""
    width, height = size
    y = np.full((height, width), 255, np.uint8)
    uv = np.full(((height + 1) // 2, 2 * ((width + 1) // 2)), 128, np.uint8)
    segmask.Overlay(alpha=1.0).draw(y, uv, detections)
    return y != 255


def test_every_annotation_of_the_photographs_has_the_pixels_of_cocos_own_tools(photographs):
    data = json.loads((photographs / "instances.json").read_text())
    sizes = {image["id"]: (image["width"], image["height"]) for image in data["images"]}
    seen = 0
    for image, (width, height) in sizes.items():
        found = segmask.from_coco(data, image_id=image)
        annotations = [one for one in data["annotations"] if one["image_id"] == image]
        assert len(found) == len(annotations)
        pixels = drawn_pixels(found, (width, height))
        for one, annotation, count in zip(found, annotations, pixels):
            assert one["class_id"] == annotation["category_id"]
            segmentation = annotation["segmentation"]
            runs = coco.frPyObjects(segmentation, height, width)
            assert (count or 0) == coco.area(coco.merge(runs) if isinstance(runs, list) else runs)
            seen += 1
    assert seen == 209


def test_results_with_compressed_run_lengths_as_bytes_and_as_text():
    runs = coco.encode(np.asfortranarray(shapes()[0].astype(np.uint8)))
    results = [
        {"image_id": 1, "category_id": 7, "score": 0.5, "segmentation": runs},
        {"image_id": 2, "category_id": 7, "score": 0.5, "segmentation": {**runs, "counts": runs["counts"].decode()},
         "bbox": [1.2, 5.0, 9.0, 11.0]},
    ]
    found = segmask.from_coco(results)
    assert drawn_pixels(found) == [shapes()[0].sum()] * 2
    assert [found[0][key] for key in "xywh"] == [0, 0, WIDTH, HEIGHT]
    assert [found[1][key] for key in "xywh"] == [0, 4, 12, 13]
    assert segmask.from_coco(iter(results), image_id=2) == found[1:]
    json.dumps(found)


def test_a_polygon_without_a_box_is_drawn_whole():
    square = [3, 2, 9, 2, 9, 8, 3, 8]
    found = segmask.from_coco([{"segmentation": [np.array(square)]}])
    assert drawn_pixels(found) == [36]
    assert (found[0]["class_id"], found[0]["score"]) == (0, 1.0)


GOOD = {"segmentation": [[3, 2, 9, 2, 9, 8]]}


@pytest.mark.parametrize(
    "source, error, words",
    [
        ({"images": []}, ValueError, 'source: an object without "annotations"'),
        ([{"bbox": [1, 2, 3, 4]}], ValueError, r"annotations\[0\]: has no segmentation"),
        ([{"segmentation": {"size": [2, 2]}}], ValueError, r'annotations\[0\]: run lengths need "size" and "counts"'),
        ([3], TypeError, r"annotations\[0\]: a int, not an object"),
        *(([GOOD, {"segmentation": {"size": size, "counts": [4]}}], ValueError,
           r"annotations\[1\]: its size .* is no pair of whole numbers") for size in (5, [], [2], [2, 2, 2], [2, 2.5], "22")),
        *(([GOOD, {"segmentation": [*GOOD["segmentation"], polygon]}], ValueError, r"annotations\[1\]: polygon 1 " + words)
          for polygon, words in (([], "has 0 numbers"), ([1, 2, 3, 4], "has 4 numbers"), ([1, 2, 3, 4, 5, 6, 7], "has 7 numbers"),
                                 ([1, 2, 3, 4, 5, float("nan")], "is not a list of finite numbers"),
                                 ([1, 2, 3, 4, 5, float("inf")], "is not a list of finite numbers"),
                                 (5, "is not a list of finite numbers"), ("123456", "is not a list of finite numbers"))),
    ],
)
def test_what_is_no_annotation_is_named(source, error, words):
    with pytest.raises(error, match=words):
        segmask.from_coco(source)


def of_supervision(mask):
    return supervision.Detections(
        xyxy=supervision.mask_to_xyxy(shapes()).astype(float), mask=mask,
        class_id=np.array([3, 4, 5]), confidence=np.array([0.5, 0.6, 0.7], np.float32))


@pytest.mark.parametrize("compact", [False, True])
def test_supervision(compact):
    masks = shapes()
    boxes = supervision.mask_to_xyxy(masks)
    found = segmask.from_supervision(
        of_supervision(supervision.CompactMask.from_dense(masks, boxes, (HEIGHT, WIDTH)) if compact else masks))
    assert [np.array_equal(segmask.decode_mask(one["class_info"]), mask) for one, mask in zip(found, masks)] == [True] * 3
    assert [one["class_id"] for one in found] == [3, 4, 5]
    assert [round(one["score"], 6) for one in found] == [0.5, 0.6, 0.7]
    assert np.array_equal(union(found), masks.any(axis=0))


def test_supervision_without_classes_scores_and_detections():
    bare = supervision.Detections(xyxy=np.zeros((3, 4)), mask=shapes())
    assert [(one["class_id"], one["score"]) for one in segmask.from_supervision(bare)] == [(0, 1.0)] * 3
    assert segmask.from_supervision(supervision.Detections.empty()) == []
    with pytest.raises(ValueError, match="detections: they have no masks"):
        segmask.from_supervision(supervision.Detections(xyxy=np.zeros((1, 4))))
    with pytest.raises(TypeError, match="detections: a list has no xyxy"):
        segmask.from_supervision([])


@pytest.mark.parametrize(
    "network, shape, part",
    [
        ((8, 8), (8, 8), (0, 8, 0, 8)),
        ((8, 8), (30, 40), (1, 7, 0, 8)),  # 6 rows between bars of 1
        ((8, 8), (20, 40), (2, 6, 0, 8)),
        ((8, 8), (40, 30), (0, 8, 1, 7)),
        ((8, 8), (25, 40), (1, 6, 0, 8)),  # 5 rows; the bars have 1 and 2
        ((160, 160), (1080, 1920), (35, 125, 0, 160)),
        ((30, 40), (30, 40), (0, 30, 0, 40)),
        ((8, 8), (1, 10000), (3, 4, 0, 8)),  # at least one row is left
    ],
)
def test_the_bars_of_a_letterbox_by_hand(network, shape, part):
    mask = np.arange(network[0] * network[1]).reshape(network)
    top, bottom, left, right = part
    assert np.array_equal(segmask.undo_letterbox(mask, shape), mask[top:bottom, left:right])
    assert np.array_equal(segmask.undo_letterbox(mask[None], shape)[0], mask[top:bottom, left:right])


@pytest.mark.parametrize(
    "mask, shape, error, words",
    [
        (np.zeros(4), (2, 2), ValueError, r"mask: its shape \(4,\)"),
        (np.zeros((4, 4)), 3, TypeError, "shape: 3 is not"),
        (np.zeros((4, 4)), (0, 3), ValueError, "has no pixel"),
    ],
)
def test_errors_of_a_letterbox_name_the_argument(mask, shape, error, words):
    with pytest.raises(error, match=words):
        segmask.undo_letterbox(mask, shape)


class Tensor:
    """As much of a tensor as is asked for: on a device, until it is told to come."""

    def __init__(self, values):
        self.values = values

    def detach(self):
        return self

    def cpu(self):
        return SimpleNamespace(numpy=lambda: self.values)

    def __len__(self):
        return len(self.values)


def of_ultralytics():
    """Three shapes in a network of 40x40 that saw a picture of 80x60: bars of 5 rows."""
    letterboxed = np.zeros((3, 40, 40), np.float32)
    letterboxed[:, 5:35] = shapes()
    boxes = SimpleNamespace(cls=Tensor(np.array([1.0, 2.0, 3.0])), conf=Tensor(np.array([0.5, 0.75, 1.0])))
    return SimpleNamespace(masks=SimpleNamespace(data=Tensor(letterboxed)), boxes=boxes, orig_shape=(60, 80))


def test_ultralytics_by_its_members():
    found = segmask.from_ultralytics(of_ultralytics())
    assert [(one["class_id"], one["score"]) for one in found] == [(1, 0.5), (2, 0.75), (3, 1.0)]
    doubled = shapes().any(axis=0).repeat(2, axis=0).repeat(2, axis=1)
    assert np.array_equal(union(found, (80, 60)), doubled)


def test_ultralytics_without_masks():
    empty = SimpleNamespace(masks=None, boxes=[], orig_shape=(60, 80))
    assert segmask.from_ultralytics(empty) == []
    with pytest.raises(ValueError, match="the model has to be one that segments"):
        segmask.from_ultralytics(SimpleNamespace(masks=None, boxes=[1], orig_shape=(60, 80)))
    with pytest.raises(TypeError, match="results: a list has no masks"):
        segmask.from_ultralytics([])


def of_torchvision(make):
    probabilities = np.where(shapes(), 0.75, 0.25)[:, None].astype(np.float32)
    return {"masks": make(probabilities), "labels": make(np.array([1, 2, 3])), "scores": make(np.array([0.5, 0.75, 1.0]))}


def test_torchvision_by_its_members():
    found = segmask.from_torchvision(of_torchvision(Tensor))
    assert [(one["class_id"], one["score"]) for one in found] == [(1, 0.5), (2, 0.75), (3, 1.0)]
    assert np.array_equal(union(found), shapes().any(axis=0))
    assert drawn_pixels(segmask.from_torchvision(of_torchvision(Tensor), threshold=0.8)) == [None] * 3
    with pytest.raises(ValueError, match='prediction: it has no "labels"'):
        segmask.from_torchvision({"masks": []})


def test_ultralytics_itself():
    pytest.importorskip("ultralytics", reason="ultralytics is not installed: only its members are tested")
    from ultralytics.engine.results import Results
    import torch

    stand_in = of_ultralytics()
    boxes = torch.tensor([[0.0, 0, 9, 9, score, kind] for score, kind in ((0.5, 1), (0.75, 2), (1.0, 3))])
    results = Results(np.zeros((60, 80, 3), np.uint8), "", {}, boxes=boxes, masks=torch.tensor(stand_in.masks.data.values))
    assert segmask.from_ultralytics(results) == segmask.from_ultralytics(stand_in)


def test_torchvision_itself():
    torch = pytest.importorskip("torch", reason="torch is not installed: only the members of its results are tested")
    assert segmask.from_torchvision(of_torchvision(torch.tensor)) == segmask.from_torchvision(of_torchvision(Tensor))


def test_none_of_the_libraries_is_imported(python):
    ended = python("import sys, segmask; print([name for name in sys.modules if name in "
                   "('supervision', 'pycocotools', 'ultralytics', 'torch', 'torchvision', 'cv2', 'av')])")
    assert ended.stdout == "[]\n"
