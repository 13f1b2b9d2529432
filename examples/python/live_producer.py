#!/usr/bin/env python3
"""A live producer: finds what moves in a video and writes a line of detections for each frame, as soon as it is there.

    live_producer.py VIDEO | segmask render --input VIDEO --detections - --output drawn.mp4

What moves differs from the running mean of the frames before. Needs PyAV (pip install av).
"""

import sys

import av
import numpy as np

import segmask

STEP = 4  # a mask pixel is that many frame pixels wide and high
LEARNING = 0.05  # weight of a frame in the mean
THRESHOLD = 25.0  # of the luma
LEAST = 40  # mask pixels

if len(sys.argv) != 2 or sys.argv[1].startswith("-"):
    sys.exit(__doc__)
mean = None
with av.open(sys.argv[1]) as container:
    writer = segmask.DetectionWriter(sys.stdout)
    for number, frame in enumerate(container.decode(video=0)):
        luma = frame.to_ndarray(format="gray")[::STEP, ::STEP].astype(np.float32)
        mean = luma if mean is None else mean
        moving = np.abs(luma - mean) > THRESHOLD
        mean += LEARNING * (luma - mean)
        found = []
        if moving.sum() >= LEAST:
            found.append(segmask.detection(moving, class_id=5, size=(frame.width, frame.height)))
        writer.write(number, found, producer="mean")
