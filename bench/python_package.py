#!/usr/bin/env python3
"""Times the Python package beside C++, NumPy and other Python libraries, on the CPU, with one thread.

    bench/python_package.py PROGRAM LIBRARY RESULTS

PROGRAM is bench/time_host.cpp's, LIBRARY the plug-in's fused file, RESULTS the JSON file to write (scripts/bench --python gives
them, and the Python that has the package). Frames of 1920x1080; people of about 200x400, with masks of a quarter of its width
and height for drawing, of its size for encoding. Before anything is timed, the results are compared.
"""

import base64
import importlib.metadata
import json
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

import cv2
import numpy as np
import supervision
from pycocotools import mask as coco

import segmask

WIDTH, HEIGHT, SCALE = 1920, 1080, 4
COUNTS = (1, 10, 30, 100)
ROUNDS, REPETITIONS = 9, 7


def silhouettes(count, width, height):
    """Masks of that size with an ellipse of wavy outline each, as a segmenter draws a person."""
    columns, rows = np.meshgrid((np.arange(width) + 0.5) / width * WIDTH, (np.arange(height) + 0.5) / height * HEIGHT)
    for i in range(count):
        dx = (columns - i * 398 % (WIDTH - 200)) / 100 - 1
        dy = (rows - i * 212 % (HEIGHT - 400)) / 200 - 1
        yield np.hypot(dx, dy) < (0.3 + 0.05 * np.sin(7 * np.arctan2(dy, dx) + i)) / 0.35


def milliseconds(action):
    """Of processor time of this thread, which does all the work."""
    begin = time.thread_time()
    action()
    return (time.thread_time() - begin) * 1e3


def medians(actions):
    """The median milliseconds of each action; in every round each has its turn, and it gives the times of that turn."""
    times = {name: [] for name in actions}
    for _ in range(ROUNDS):
        for name, action in actions.items():
            times[name] += action()
    return {name: statistics.median(values) for name, values in times.items()}


def repeated(action):
    """A turn of an action in this process."""
    action()
    return [milliseconds(action) for _ in range(REPETITIONS)]


class Drawing:
    """A crowd of that many people, to be drawn in each way."""

    def __init__(self, program, library, folder, count):
        masks = list(silhouettes(count, WIDTH // SCALE, HEIGHT // SCALE))
        self.detections = [segmask.detection(mask, class_id=i, size=(WIDTH, HEIGHT)) for i, mask in enumerate(masks)]
        dice = np.random.default_rng(1)
        self.y = dice.integers(16, 32, (HEIGHT, WIDTH), np.uint8)
        self.uv = np.full((HEIGHT // 2, WIDTH), 128, np.uint8)
        self.overlay = segmask.Overlay()
        frame, lines, drawn = (str(folder / name) for name in ("frame.nv12", "detections.jsonl", "drawn.nv12"))
        pathlib.Path(frame).write_bytes(self.y.tobytes() + self.uv.tobytes())
        with segmask.DetectionWriter(lines) as writer:
            writer.write(0, self.detections)
        self.command = [program, library, str(WIDTH), str(HEIGHT), frame, lines, str(REPETITIONS), drawn]
        self.host()
        self.draw()
        if np.fromfile(drawn, np.uint8).tobytes() != self.y.tobytes() + self.uv.tobytes():
            sys.exit("python_package: Python and C++ draw differently")
        self.image = np.dstack([self.y] * 3)
        self.dense, self.compact = self.of_supervision(masks)
        self.annotator = supervision.MaskAnnotator(opacity=0.45)

    @staticmethod
    def of_supervision(masks):
        """The same for supervision, which takes masks of the frame's size or cut to their boxes."""
        large = np.stack([mask.repeat(SCALE, axis=0).repeat(SCALE, axis=1) for mask in masks])
        boxes, classes = supervision.mask_to_xyxy(large), np.arange(len(masks))
        compact = supervision.CompactMask.from_dense(large, boxes, (HEIGHT, WIDTH))
        return [supervision.Detections(xyxy=boxes.astype(float), mask=mask, class_id=classes) for mask in (large, compact)]

    def host(self):
        ended = subprocess.run(self.command, capture_output=True, text=True, check=False)
        if ended.returncode != 0:
            sys.exit(f"python_package: {ended.stderr}")
        return json.loads(ended.stdout)

    def draw(self):
        self.overlay.draw(self.y, self.uv, self.detections)

    def times(self):
        return medians({
            "C++, `PlanesRenderer`": self.host,
            "`segmask.Overlay`": lambda: repeated(self.draw),
            "supervision, `MaskAnnotator`": lambda: [milliseconds(lambda: self.annotator.annotate(self.image, self.dense))],
            "supervision, `MaskAnnotator` of a `CompactMask`":
                lambda: [milliseconds(lambda: self.annotator.annotate(self.image, self.compact))],
        })


def seg1(mask):
    packed = np.packbits(mask.ravel(), bitorder="little").tobytes()
    return f"SEG1|{mask.shape[1]}|{mask.shape[0]}|{base64.b64encode(packed).decode()}"


def encoding_times(masks):
    """Of all these masks together."""
    boxes = supervision.mask_to_xyxy(masks)
    if [segmask.encode_mask(mask) for mask in masks] != [seg1(mask) for mask in masks]:
        sys.exit("python_package: segmask and NumPy encode differently")
    return medians({
        "`segmask.encode_mask`": lambda: [milliseconds(lambda: [segmask.encode_mask(mask) for mask in masks])],
        "NumPy and base64": lambda: [milliseconds(lambda: [seg1(mask) for mask in masks])],
        "pycocotools, `encode`": lambda: [milliseconds(lambda: [coco.encode(np.asfortranarray(mask, np.uint8)) for mask in masks])],
        "supervision, `CompactMask.from_dense`":
            lambda: [milliseconds(lambda: supervision.CompactMask.from_dense(masks, boxes, (HEIGHT, WIDTH)))],
    })


def main():
    program, library, results = sys.argv[1:]
    cv2.setNumThreads(1)
    drawing = {}
    for count in COUNTS:
        print(f"python_package: {count} masks", flush=True)
        with tempfile.TemporaryDirectory() as folder:
            for name, median in Drawing(program, library, pathlib.Path(folder), count).times().items():
                drawing.setdefault(name, {})[count] = median
    print("python_package: encoding", flush=True)
    encoding = encoding_times(np.stack(list(silhouettes(100, WIDTH, HEIGHT))))
    versions = {name: importlib.metadata.version(name) for name in ("numpy", "supervision", "pycocotools")}
    pathlib.Path(results).write_text(json.dumps(
        {"drawing": drawing, "encoding": encoding, "versions": versions, "rounds": ROUNDS}, indent=1))


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__.strip())
    main()
