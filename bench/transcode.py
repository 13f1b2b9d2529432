#!/usr/bin/env python3
"""Times `segmask render` beside ffmpeg, which transcodes the same file with the same encoder settings, sound copied.

    bench/transcode.py SEGMASK VIDEO [ROUNDS]

SEGMASK is the built program. ROUNDS times (default: 5) each runs once, in turn, and the tables have the medians: of the whole run
and of the processor's time. VIDEO is given a tone as its sound and is repeated to 40 s first; segmask draws nothing, and then one
silhouette on every frame. Then 6 s of it are scaled to 1920x1080, with 30 people on every frame, as polygons and as masks of
160x90, each with the plain plug-in and with --fast, and without finding out for the summary what was drawn (--no-explain).
"""

import base64
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

SECONDS = 40
LARGE_SECONDS = 6
# What segmask sets when nothing else is said (EncoderOptions).
ENCODER = ["-c:v", "libx264", "-preset", "veryfast", "-crf", "18", "-pix_fmt", "yuv420p"]
LINE = ('{"frame": 0, "producer": "p", "detections": [{"x": 100, "y": 50, "w": 200, "h": 400, "class_id": 3, "score": 1, '
        '"mask": {"polygon": [[150, 50, 250, 50, 300, 250, 250, 450, 150, 450, 100, 250]]}}]}\n')


def run(command):
    """Seconds on the clock and of the processors."""
    before = os.times()
    start = time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    whole = time.monotonic() - start
    after = os.times()
    return whole, after.children_user + after.children_system - before.children_user - before.children_system


def people(form):
    """A line of 30 detections for frames of 1920x1080."""
    detections = []
    for i in range(30):
        x, y, w, h = 40 + i % 10 * 185, 60 + i // 10 * 330, 160, 300
        detection = {"x": x, "y": y, "w": w, "h": h, "class_id": i, "score": 0.9}
        if form == "polygons":
            corners = [(0.5, 0), (0.7, 0.15), (1, 0.4), (0.8, 0.6), (0.75, 1), (0.25, 1), (0.2, 0.6), (0, 0.4), (0.3, 0.15)]
            detection["mask"] = {"polygon": [[c for u, v in corners for c in (x + u * w, y + v * h)]]}
        else:
            bits = bytearray(160 * 90 // 8)
            for row in range(y // 12, (y + h) // 12):
                for column in range(x // 12, (x + w) // 12):
                    pixel = row * 160 + column
                    bits[pixel // 8] |= 1 << pixel % 8
            detection["class_info"] = "SEG1|160|90|" + base64.b64encode(bits).decode()
        detections.append(detection)
    return detections


def print_table(title, ways, rounds):
    """The medians of the ways, the first of which is what the others are compared with."""
    times = {way: [] for way in ways}
    for _ in range(rounds):
        for way, command in ways.items():
            times[way].append(run(command))
    base = None
    print(f"| {title} | time | to ffmpeg's | processors | to ffmpeg's |\n| --- | --- | --- | --- | --- |")
    for way, pairs in times.items():
        whole, busy = (statistics.median(values) for values in zip(*pairs))
        base = base or (whole, busy)
        print(f"| {way} | {whole:.2f} s | {whole / base[0]:.2f} | {busy:.2f} s | {busy / base[1]:.2f} |")
    print(flush=True)


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    segmask, video = sys.argv[1:3]
    rounds = int(sys.argv[3]) if len(sys.argv) == 4 else 5
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        sound = ["-f", "lavfi", "-i", "sine=440"]
        repeated = ["ffmpeg", "-y", "-stream_loop", "-1", "-i", video, *sound]
        source, large = str(folder / "source.mp4"), str(folder / "large.mp4")
        run([*repeated, "-t", str(SECONDS), "-c:v", "copy", "-c:a", "aac", source])
        run([*repeated, "-t", str(LARGE_SECONDS), "-vf", "scale=1920:1080", *ENCODER, "-c:a", "aac", large])
        (folder / "nothing.jsonl").write_text('{"frame": 0, "producer": "p"}\n')
        (folder / "one.jsonl").write_text(LINE)

        def transcoded(file):
            return ["ffmpeg", "-y", "-i", file, *ENCODER, "-c:a", "copy", str(folder / "theirs.mp4")]

        def render(file, lines, *options):
            return [segmask, "render", "--input", file, "--output", str(folder / "ours.mp4"), "--no-progress", "--detections",
                    str(folder / lines), *options]

        print_table("768x576, 40 s", {
            "ffmpeg": transcoded(source),
            "segmask, nothing drawn": render(source, "nothing.jsonl"),
            "segmask, drawn on every frame": render(source, "one.jsonl", "--lookback", "1000000"),
        }, rounds)
        ways = {"ffmpeg": transcoded(large), "segmask, nothing drawn": render(large, "nothing.jsonl")}
        for form in ("masks", "polygons"):
            detections = json.dumps(people(form))
            with open(folder / form, "w") as file:
                for frame in range(1000):
                    file.write(f'{{"frame": {frame}, "producer": "p", "detections": {detections}}}\n')
            for options in ((), ("--no-explain",), ("--fast",), ("--fast", "--no-explain")):
                ways[" ".join((f"segmask, 30 {form}", *options))] = render(large, form, *options)
        print_table("1920x1080, 6 s", ways, rounds)


if __name__ == "__main__":
    main()
