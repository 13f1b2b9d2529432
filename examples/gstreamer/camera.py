#!/usr/bin/env python3
"""Draws what moves before a camera: a producer element in Python, and segmaskoverlay behind it.

    examples/gstreamer/camera.py                        the first camera, in a window
    examples/gstreamer/camera.py SOURCE SINK            any other ends, as gst-launch-1.0 writes them, for example
                                                        "videotestsrc pattern=ball num-buffers=90" "filesink location=ball.nv12"

The producer is MotionProducer. A detector of yours takes its place: what it finds goes to the same buffer in the same way. Needs
Debian's python3-gst-1.0 and python3-numpy, and GST_PLUGIN_PATH with the folder of the element (docs/gstreamer.md).
"""

import base64
import sys

import gi
import numpy as np

gi.require_version("Gst", "1.0")
gi.require_version("GstVideo", "1.0")
from gi.repository import GObject, Gst, GstVideo  # noqa: E402

Gst.init(None)
CAPS = Gst.Caps.from_string("video/x-raw,format=NV12")
ALL = Gst.BufferCopyFlags.FLAGS | Gst.BufferCopyFlags.TIMESTAMPS | Gst.BufferCopyFlags.META | Gst.BufferCopyFlags.MEMORY
SCALE = 4  # frame pixels a mask pixel, each way


def mask_text(mask):
    bits = np.packbits(mask.ravel(), bitorder="little")
    return f"SEG1|{mask.shape[1]}|{mask.shape[0]}|{base64.b64encode(bits.tobytes()).decode()}"


class MotionProducer(Gst.Element):
    """Compares each frame with a slow average of those before it; what differs is one detection."""

    __gstmetadata__ = ("Motion producer", "Filter/Analyzer/Video", "Attaches what moves as a detection", "SegMaskOverlay developers")
    __gsttemplates__ = (
        Gst.PadTemplate.new("sink", Gst.PadDirection.SINK, Gst.PadPresence.ALWAYS, CAPS),
        Gst.PadTemplate.new("src", Gst.PadDirection.SRC, Gst.PadPresence.ALWAYS, CAPS),
    )

    def __init__(self):
        super().__init__()
        self.info, self.background = None, None
        sink, source = self.__gsttemplates__
        self.sink = Gst.Pad.new_from_template(sink, "sink")
        self.source = Gst.Pad.new_from_template(source, "src")
        self.sink.set_chain_function_full(self.chain, None)
        self.sink.set_event_function_full(self.on_event, None)
        self.add_pad(self.sink)
        self.add_pad(self.source)

    def on_event(self, pad, _parent, event):
        if event.type == Gst.EventType.CAPS:
            self.info, self.background = GstVideo.VideoInfo.new_from_caps(event.parse_caps()), None
            return self.source.push_event(event)
        return pad.event_default(self, event)

    def chain(self, _pad, _parent, buffer):
        # A buffer of its own, because metadata may be added to that alone; the picture's memory is shared.
        buffer = buffer.copy_region(ALL, 0, buffer.get_size())
        moving = self.moving(buffer)
        if moving.any():
            self.deliver(buffer, moving)
        return self.source.push(buffer)

    def moving(self, buffer):
        """The mask of what differs from the background."""
        done, mapped = buffer.map(Gst.MapFlags.READ)
        if not done:
            raise RuntimeError("the buffer cannot be read")
        rows = np.frombuffer(mapped.data, np.uint8, self.info.stride[0] * self.info.height, self.info.offset[0])
        luma = rows.reshape(self.info.height, -1)[::SCALE, : self.info.width : SCALE].astype(np.float32)
        buffer.unmap(mapped)
        if self.background is None:
            self.background = luma
        moving = np.abs(luma - self.background) > 25
        self.background = 0.95 * self.background + 0.05 * luma
        return moving

    @staticmethod
    def deliver(buffer, mask):
        """The box is the region's; class, score and mask are a structure's."""
        rows, columns = np.flatnonzero(mask.any(1)), np.flatnonzero(mask.any(0))
        region = GstVideo.buffer_add_video_region_of_interest_meta(
            buffer, "motion", SCALE * columns[0], SCALE * rows[0],
            SCALE * (columns[-1] + 1 - columns[0]), SCALE * (rows[-1] + 1 - rows[0]))
        detection = Gst.Structure.new_empty("detection")
        detection.set_value("class-id", 6)
        detection.set_value("score", 1.0)
        detection.set_value("mask", mask_text(mask))
        region.add_param(detection)


GObject.type_register(MotionProducer)


def main():
    if len(sys.argv) not in (1, 3):
        sys.exit(__doc__.strip())
    source, sink = sys.argv[1:] or ("v4l2src", "autovideosink")
    pipeline = Gst.Pipeline()
    parts = (
        Gst.parse_bin_from_description(f"{source} ! videoconvert ! capsfilter caps=video/x-raw,format=NV12", True),
        MotionProducer(),
        Gst.parse_bin_from_description(f"segmaskoverlay name=overlay ! videoconvert ! {sink}", True),
    )
    for part in parts:
        pipeline.add(part)
    parts[0].link(parts[1])
    parts[1].link(parts[2])
    pipeline.set_state(Gst.State.PLAYING)
    bus = pipeline.get_bus()
    message = bus.timed_pop_filtered(Gst.CLOCK_TIME_NONE, Gst.MessageType.EOS | Gst.MessageType.ERROR)
    drawn = pipeline.get_by_name("overlay").props.frames_drawn
    pipeline.set_state(Gst.State.NULL)
    if message.type == Gst.MessageType.ERROR:
        sys.exit("camera: " + message.parse_error()[0].message)
    print(f"{drawn} frames drawn")


if __name__ == "__main__":
    main()
