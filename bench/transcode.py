#!/usr/bin/env python3
"""Times `segmask render` beside ffmpeg, which transcodes the same file with the same encoder settings, sound copied.

    bench/transcode.py SEGMASK VIDEO [ROUNDS]

SEGMASK is the built program. ROUNDS times (default: 5) each runs once, in turn, and the table has the medians: of the whole run
and of the processor's time. segmask draws nothing, and then one silhouette on every frame. VIDEO is given a tone as its sound and
is repeated to 40 s first.
"""

import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

SECONDS = 40
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


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    segmask, video = sys.argv[1:3]
    rounds = int(sys.argv[3]) if len(sys.argv) == 4 else 5
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        source = str(folder / "source.mp4")
        run(["ffmpeg", "-y", "-stream_loop", "-1", "-i", video, "-f", "lavfi", "-i", "sine=440", "-t", str(SECONDS),
             "-c:v", "copy", "-c:a", "aac", source])
        (folder / "nothing.jsonl").write_text('{"frame": 0, "producer": "p"}\n')
        (folder / "one.jsonl").write_text(LINE)
        render = [segmask, "render", "--input", source, "--output", str(folder / "ours.mp4"), "--no-progress", "--detections"]
        ways = {
            "ffmpeg": ["ffmpeg", "-y", "-i", source, *ENCODER, "-c:a", "copy", str(folder / "theirs.mp4")],
            "segmask, nothing drawn": [*render, str(folder / "nothing.jsonl")],
            "segmask, drawn on every frame": [*render, str(folder / "one.jsonl"), "--lookback", "1000000"],
        }
        times = {way: [] for way in ways}
        for _ in range(rounds):
            for way, command in ways.items():
                times[way].append(run(command))
        base = None
        print("| run | time | to ffmpeg's | processors |\n| --- | --- | --- | --- |")
        for way, pairs in times.items():
            whole, busy = (statistics.median(values) for values in zip(*pairs))
            base = base or whole
            print(f"| {way} | {whole:.2f} s | {whole / base:.2f} | {busy:.2f} s |")


if __name__ == "__main__":
    main()
