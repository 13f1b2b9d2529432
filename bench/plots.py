#!/usr/bin/env python3
"""Draws the figures of a benchmark run as SVG pictures.

    bench/plots.py RESULTS_FOLDER PICTURES_FOLDER

RESULTS_FOLDER is as in report.py. Writes render.svg (a frame beside its floor and OpenCV), render_detections.svg and
render_sizes.svg (how an item's time grows), one_pass_detections.svg and one_pass_sizes.svg (drawing with frame-sized masks and
in one pass). The same figures give the same bytes.
"""

import pathlib
import sys

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams.update({"svg.hashsalt": "segmask", "font.size": 10, "axes.grid": True, "grid.alpha": 0.3,
                            "axes.spines.top": False, "axes.spines.right": False})
import matplotlib.pyplot as plt  # noqa: E402

from report import COUNTS, DETECTIONS, FRAMES, ITEMS_A_SIZE, SIZES, Results  # noqa: E402

# Told apart without colours too.
OURS = {"color": "#0b6e4f", "marker": "o", "label": "render"}
FLOOR = {"color": "#6c757d", "marker": "s", "linestyle": "--", "label": "floor"}
OPENCV = {"color": "#c1440e", "marker": "^", "linestyle": ":", "label": "OpenCV"}
COMPOSITORS = {"frame_mask": OURS | {"label": "frame masks"},
               "fused": {"color": "#1d5fa6", "marker": "D", "linestyle": "-.", "label": "one pass"},
               "memcpy": FLOOR | {"label": "memcpy of the covered bytes"}}


def figure(title, xlabel, ylabel):
    _, axes = plt.subplots(figsize=(7, 4))
    axes.set_title(title)
    axes.set_xlabel(xlabel)
    axes.set_ylabel(ylabel)
    return axes


def save(axes, path):
    axes.legend(frameon=False)
    axes.figure.tight_layout()
    axes.figure.savefig(path, metadata={"Date": None})
    plt.close(axes.figure)


def plain_numbers(axis, ticks, labels=None):
    axis.set_ticks(ticks, labels or [str(tick) for tick in ticks])
    axis.set_minor_formatter(matplotlib.ticker.NullFormatter())


def pixels(sizes):
    return [int(width) * int(height) for width, height in (size.split("x") for size in sizes)]


def size_ticks(axes, sizes):
    plain_numbers(axes.xaxis, pixels(sizes), sizes)
    axes.tick_params(axis="x", rotation=20)


def plot_render(results, path):
    axes = figure("A frame of 1920x1080", "detections", "milliseconds")
    for name, style in (("OpenCV", OPENCV), ("ours", OURS), ("floor", FLOOR)):
        axes.loglog(COUNTS, [results[f"render/{count}/{name}"] / 1e6 for count in COUNTS], **style)
    plain_numbers(axes.xaxis, COUNTS)
    plain_numbers(axes.yaxis, (0.1, 1, 10, 100))
    save(axes, path)


def plot_detections(results, path):
    axes = figure("An item's time, 1920x1080", "detections in the frame", "microseconds")
    for name, style in (("ours", OURS), ("floor", FLOOR | {"label": "fill and copy"})):
        axes.semilogx(DETECTIONS, [results[f"detections/{count}/{name}"] / count / 1e3 for count in DETECTIONS], **style)
    plain_numbers(axes.xaxis, DETECTIONS)
    axes.set_ylim(bottom=0)
    save(axes, path)


def plot_sizes(results, path):
    axes = figure("An item's time, 10 detections", "frame", "microseconds")
    for name, style in (("ours", OURS), ("floor", FLOOR | {"label": "fill and copy"})):
        axes.loglog(pixels(SIZES), [results[f"size/{size}/{name}"] / ITEMS_A_SIZE / 1e3 for size in SIZES], **style)
    size_ticks(axes, SIZES)
    plain_numbers(axes.yaxis, (10, 100, 1000))
    save(axes, path)


def plot_one_pass_detections(results, path):
    axes = figure("Drawing a frame of 1920x1080, boxes of 200x400", "detections", "milliseconds")
    for name, style in COMPOSITORS.items():
        axes.loglog(COUNTS, [results[f"warm/1920x1080/people{count}/{name}"] / 1e6 for count in COUNTS], **style)
    plain_numbers(axes.xaxis, COUNTS)
    plain_numbers(axes.yaxis, (0.01, 0.1, 1, 10))
    save(axes, path)


def plot_one_pass_sizes(results, path):
    axes = figure("Drawing 30 boxes of 200x400", "frame", "milliseconds")
    for name, style in COMPOSITORS.items():
        axes.loglog(pixels(FRAMES), [results[f"warm/{frame}/people30/{name}"] / 1e6 for frame in FRAMES], **style)
    size_ticks(axes, FRAMES)
    plain_numbers(axes.yaxis, (0.1, 1, 10))
    save(axes, path)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__.strip())
    results, pictures = map(pathlib.Path, sys.argv[1:])
    pictures.mkdir(parents=True, exist_ok=True)
    plot_render(Results(results / "render.json"), pictures / "render.svg")
    growth = Results(results / "render_growth.json")
    plot_detections(growth, pictures / "render_detections.svg")
    plot_sizes(growth, pictures / "render_sizes.svg")
    compositors = Results(results / "compositors.json")
    plot_one_pass_detections(compositors, pictures / "one_pass_detections.svg")
    plot_one_pass_sizes(compositors, pictures / "one_pass_sizes.svg")


if __name__ == "__main__":
    main()
