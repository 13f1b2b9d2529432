#!/usr/bin/env python3
"""Times the plug-in beside the Python libraries that draw masks, on the CPU: one frame, the same masks.

    bench/peers.py PROGRAM RESULTS LIBRARY...

PROGRAM is bench/time_render.cpp's, RESULTS the JSON file to write, and each LIBRARY one of the plug-in (scripts/bench --peers
gives them, the Python that has the others, and the package segmask). People of about 200x400 stand on a dark grey frame of
1920x1080; their masks of 160x160 span the frame. Ours get them as text and draw into NV12; the others get boolean masks of the
frame's size and draw into RGB. Before anything is timed, each must have changed exactly the masks' pixels, and ours the same bytes.
"""

import base64
import importlib.metadata
import json
import os
import pathlib
import platform
import statistics
import subprocess
import sys
import tempfile
import time

WIDTH, HEIGHT, MASK_SIDE, ALPHA = 1920, 1080, 160, 0.45
COUNTS = (1, 10, 30, 100)
PACKAGE = "segmask.Overlay"  # of the Python package, with the library that draws a frame in one pass
ROUNDS = 7
VERSIONS = ("supervision", "torchvision", "torch", "ultralytics", "opencv-python", "numpy")

# The plug-in's colours of the classes 0 to 9.
PALETTE = [(255, 56, 56), (255, 157, 151), (255, 112, 31), (255, 178, 29), (207, 210, 49),
           (72, 249, 10), (146, 204, 23), (61, 219, 134), (26, 147, 52), (0, 212, 187)]


def nearest(mask):
    """A mask scaled to the frame, as cv2.resize with INTER_NEAREST does it."""
    rows, columns = (np.minimum(np.floor(np.arange(to) * (1.0 / (to / MASK_SIDE))).astype(int), MASK_SIDE - 1)
                     for to in (HEIGHT, WIDTH))
    return mask[np.ix_(rows, columns)]


def silhouette(x, y, phase):
    """A mask with an ellipse of wavy outline, as a segmenter draws a person, in the 200x400 pixels from (x, y) on."""
    cells = (np.arange(MASK_SIDE) + 0.5) / MASK_SIDE
    dx, dy = np.meshgrid((cells * WIDTH - x) / 100 - 1, (cells * HEIGHT - y) / 200 - 1)
    return np.hypot(dx, dy) < (0.3 + 0.05 * np.sin(7 * np.arctan2(dy, dx) + phase)) / 0.35


def seg1(mask):
    data = base64.b64encode(np.packbits(mask.ravel(), bitorder="little").tobytes()).decode()
    return f"SEG1|{MASK_SIDE}|{MASK_SIDE}|{data}"


class Crowd:
    """That many people: `masks` of the frame's size, their boxes, classes and colours, and the plug-in's payload."""

    def __init__(self, count):
        small = [silhouette(i * 398 % (WIDTH - 200), i * 212 % (HEIGHT - 400), i) for i in range(count)]
        self.masks = np.stack([nearest(mask) for mask in small])
        self.classes = np.arange(count) % len(PALETTE)
        self.colors = [PALETTE[i] for i in self.classes]
        self.boxes = np.array([self.box(mask) for mask in self.masks])  # with the last column and row
        self.payload = json.dumps({"detections": [
            {"x": int(left), "y": int(top), "w": int(right - left + 1), "h": int(bottom - top + 1),
             "class_id": int(class_id), "score": 0.9, "class_info": seg1(mask)}
            for mask, (left, top, right, bottom), class_id in zip(small, self.boxes, self.classes)]})

    @staticmethod
    def box(mask):
        columns, rows = np.flatnonzero(mask.any(axis=0)), np.flatnonzero(mask.any(axis=1))
        return columns[0], rows[0], columns[-1], rows[-1]


def grey_frame():
    """One grey plane, so dark that every colour of the palette shows on it."""
    return np.random.default_rng(1).integers(16, 32, (HEIGHT, WIDTH), dtype=np.uint8)


def require_drawn(who, crowd, before, after, color):
    """Ends the run unless exactly the masks' pixels changed, one mask's to its colour. Images are H x W x channels."""
    changed = (before != after).any(axis=2)
    union = crowd.masks.any(axis=0)
    if not np.array_equal(changed, union):
        sys.exit(f"peers: {who} changed {changed.sum()} pixels where {len(crowd.masks)} masks have {union.sum()}; "
                 f"{(changed ^ union).sum()} differ")
    if len(crowd.masks) == 1:
        blended = ALPHA * np.array(color) + (1 - ALPHA) * before[union]
        if np.abs(after[union] - blended).max() > 1:
            sys.exit(f"peers: {who} blended another colour or by another weight")


class Ours:
    """The plug-in's libraries, drawing one crowd, a process for each of them and every round; and the Python package in this one,
    whose payload is made of dicts, and which draws into planes of its caller's."""

    def __init__(self, program, libraries, folder, crowd):
        frame, payload, self.drawn = (str(folder / name) for name in ("frame.nv12", "payload.json", "drawn.nv12"))
        self.commands = {
            pathlib.Path(library).name: [program, library, str(WIDTH), str(HEIGHT), frame, payload, "1", self.drawn]
            for library in libraries}
        luma = grey_frame()
        pathlib.Path(frame).write_bytes(luma.tobytes() + bytes([128]) * (luma.size // 2))
        pathlib.Path(payload).write_text(crowd.payload)
        red, green, blue = crowd.colors[0]
        color = [0.299 * red + 0.587 * green + 0.114 * blue]
        self.y, self.uv = luma.copy(), np.full((HEIGHT // 2, WIDTH), 128, np.uint8)
        self.detections, self.overlay = json.loads(crowd.payload)["detections"], segmask.Overlay()
        pictures = {name: self.picture(name) for name in (*self.commands, PACKAGE)}
        for library, picture in pictures.items():
            require_drawn(library, crowd, luma[..., None], picture[: luma.size].reshape(HEIGHT, WIDTH, 1), color)
        if len({picture.tobytes() for picture in pictures.values()}) != 1:
            sys.exit(f"peers: {' and '.join(pictures)} draw differently")

    def picture(self, name):
        self.time(name)
        return np.concatenate([self.y.ravel(), self.uv.ravel()]) if name == PACKAGE else np.fromfile(self.drawn, dtype=np.uint8)

    def time(self, name):
        if name == PACKAGE:
            return milliseconds(lambda: self.overlay.draw(self.y, self.uv, self.detections))
        ended = subprocess.run(self.commands[name], capture_output=True, text=True, check=False)
        if ended.returncode != 0:
            sys.exit(f"peers: {ended.stderr}")
        return json.loads(ended.stdout)[0]


class Supervision:
    name = "supervision, `MaskAnnotator`"
    frame_sized = True  # whether it is given masks of the frame's size
    leaves_out = "decoding, scaling, NV12, box limits; of overlapping masks it shows the smallest alone"

    def __init__(self, crowd, image):
        import supervision

        self.image = image
        masks = self.prepared(supervision, crowd)
        self.detections = supervision.Detections(xyxy=crowd.boxes.astype(float), mask=masks, class_id=crowd.classes)
        colors = supervision.ColorPalette([supervision.Color(*color[::-1]) for color in PALETTE])  # it takes BGR images
        self.annotator = supervision.MaskAnnotator(color=colors, opacity=ALPHA)

    def prepared(self, _, crowd):
        return crowd.masks

    def draw(self):
        self.image = self.annotator.annotate(self.image, self.detections)

    def drawn(self):
        return self.image


class CompactSupervision(Supervision):
    name = "supervision, `MaskAnnotator` of a `CompactMask`"
    frame_sized = False
    leaves_out = ("decoding, scaling, NV12; it is given masks cut to their boxes, as run lengths; "
                  "of overlapping masks it shows the smallest alone")

    def prepared(self, supervision, crowd):
        return supervision.CompactMask.from_dense(crowd.masks, crowd.boxes, (HEIGHT, WIDTH))


class Torchvision:
    name = "torchvision, `draw_segmentation_masks`"
    frame_sized = True
    leaves_out = "decoding, scaling, NV12, box limits; overlaps become black"

    def __init__(self, crowd, image):
        import torch
        from torchvision.utils import draw_segmentation_masks

        self.function = draw_segmentation_masks
        self.image = torch.from_numpy(image).permute(2, 0, 1).contiguous()
        self.masks = torch.from_numpy(crowd.masks)
        self.colors = crowd.colors

    def draw(self):
        self.result = self.function(self.image, self.masks, alpha=ALPHA, colors=self.colors)

    def drawn(self):
        return self.result.permute(1, 2, 0).numpy()


class Ultralytics:
    name = "ultralytics, `Annotator.masks` of arrays"
    frame_sized = True
    leaves_out = "decoding, scaling, NV12, box limits; of overlapping masks it shows the last alone"

    def __init__(self, crowd, image):
        from ultralytics.utils.plotting import Annotator

        self.annotator = Annotator(image)
        self.masks = self.prepared(crowd)
        self.colors = crowd.colors

    def prepared(self, crowd):
        return crowd.masks

    def draw(self):
        self.annotator.masks(self.masks, self.colors, alpha=ALPHA)

    def drawn(self):
        return self.annotator.im


class TensorUltralytics(Ultralytics):
    name = "ultralytics, `Annotator.masks` of tensors"
    leaves_out = "decoding, scaling, NV12, box limits"

    def prepared(self, crowd):
        import torch

        return torch.from_numpy(crowd.masks)


PEERS = (Supervision, Torchvision, Ultralytics, TensorUltralytics, CompactSupervision)


def use_threads(count):
    """Of the libraries that have been imported."""
    if "cv2" in sys.modules:
        sys.modules["cv2"].setNumThreads(count)
    if "torch" in sys.modules:
        sys.modules["torch"].set_num_threads(count)


def milliseconds(action):
    begin = time.perf_counter()
    action()
    return (time.perf_counter() - begin) * 1e3


def without_missing(peers):
    """Those of the peers that can be used here, and for the others why not."""
    usable, missing = [], {}
    crowd = Crowd(1)
    for peer in peers:
        try:
            peer(crowd, np.dstack([grey_frame()] * 3)).draw()
            usable.append(peer)
        except (ImportError, OSError) as error:
            missing[peer.name] = str(error).splitlines()[0]
    return usable, missing


def checked(peer, crowd):
    image = np.dstack([grey_frame()] * 3)
    drawing = peer(crowd, image.copy())
    drawing.draw()
    require_drawn(peer.name, crowd, image, drawing.drawn(), crowd.colors[0])
    return drawing


def measure(program, libraries, peers, count, threads):
    """The median milliseconds, by name of ours, and by peer's name and number of threads of the others. In every round each has
    its turn, draws twice, and the second time counts."""
    crowd = Crowd(count)
    with tempfile.TemporaryDirectory() as folder:
        plugin = Ours(program, libraries, pathlib.Path(folder), crowd)
        ours, theirs = {name: [] for name in (*plugin.commands, PACKAGE)}, {(peer.name, n): [] for peer in peers for n in threads}
        drawings = {peer.name: checked(peer, crowd) for peer in peers}
        for _ in range(ROUNDS):
            for name, times in ours.items():
                if name == PACKAGE:
                    plugin.time(name)  # as the others, it draws twice
                times.append(plugin.time(name))
            for (name, n), times in theirs.items():
                use_threads(n)
                drawings[name].draw()
                times.append(milliseconds(drawings[name].draw))
    return tuple({key: statistics.median(times) for key, times in all_times.items()} for all_times in (ours, theirs))


def installed_versions():
    """Of the peers' libraries that are installed."""
    versions = {}
    for name in VERSIONS:
        try:
            versions[name] = importlib.metadata.version(name)
        except importlib.metadata.PackageNotFoundError:
            pass
    return versions


def main():
    program, results, *libraries = sys.argv[1:]
    threads = sorted({1, len(os.sched_getaffinity(0))})
    peers, missing = without_missing(PEERS)
    rows = {peer.name: {"name": peer.name, "frame-sized": peer.frame_sized, "leaves out": peer.leaves_out, "milliseconds": {}}
            for peer in peers}
    ours = {name: {} for name in (*(pathlib.Path(library).name for library in libraries), PACKAGE)}
    for count in COUNTS:
        print(f"peers: {count} masks", flush=True)
        own, theirs = measure(program, libraries, peers, count, threads)
        for library, times in ours.items():
            times[count] = own[library]
        for name, row in rows.items():
            row["milliseconds"][count] = {n: theirs[name, n] for n in threads}
    pathlib.Path(results).write_text(json.dumps({
        "ours": ours, "peers": list(rows.values()), "missing": missing, "threads": threads,
        "versions": {"Python": platform.python_version(), **installed_versions()}, "rounds": ROUNDS}, indent=1))


if __name__ == "__main__":
    if len(sys.argv) == 2 and sys.argv[1] in ("-h", "--help"):
        print(__doc__, end="")
        sys.exit(0)
    if len(sys.argv) < 4:
        print("peers: needs at least three arguments (see --help)", file=sys.stderr)
        sys.exit(2)
    # Before ultralytics is imported: it looks for updates and keeps settings, in the home folder if not told otherwise.
    os.environ.setdefault("YOLO_OFFLINE", "true")
    os.environ.setdefault("YOLO_VERBOSE", "false")
    os.environ.setdefault("YOLO_CONFIG_DIR", str(pathlib.Path(sys.argv[2]).resolve().parent))
    import numpy as np
    import segmask

    main()
