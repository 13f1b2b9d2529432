#!/usr/bin/env python3
"""Draws the detections of a file into a video, from file to file, and shows how far it is.

    examples/gstreamer/file_to_file.py VIDEO DETECTIONS.jsonl OUTPUT.mp4 [CONFIG]

CONFIG is the plug-in's configuration, JSON. Needs Debian's python3-gst-1.0, gstreamer1.0-libav, -plugins-good and -plugins-ugly,
and GST_PLUGIN_PATH with the folder of the element (docs/gstreamer.md).
"""

import sys

import gi

gi.require_version("Gst", "1.0")
from gi.repository import GLib, Gst  # noqa: E402

PIPELINE = """
    filesrc name=source ! decodebin ! videoconvert ! segmaskoverlay name=overlay
    ! videoconvert ! video/x-raw,format=I420 ! x264enc speed-preset=veryfast ! mp4mux ! filesink name=sink
"""


def percent(pipeline):
    known_position, position = pipeline.query_position(Gst.Format.TIME)
    known_duration, duration = pipeline.query_duration(Gst.Format.TIME)
    return 100 * position // duration if known_position and known_duration and duration > 0 else 0


def main():
    if len(sys.argv) not in (4, 5):
        sys.exit(__doc__.strip())
    Gst.init(None)
    pipeline = Gst.parse_launch(PIPELINE)
    overlay = pipeline.get_by_name("overlay")
    pipeline.get_by_name("source").set_property("location", sys.argv[1])
    overlay.set_property("location", sys.argv[2])
    pipeline.get_by_name("sink").set_property("location", sys.argv[3])
    if len(sys.argv) == 5:
        overlay.set_property("config", sys.argv[4])

    loop = GLib.MainLoop()
    errors = []

    def on_message(_bus, message):
        if message.type == Gst.MessageType.ERROR:
            errors.append(message.parse_error()[0].message)
        if message.type in (Gst.MessageType.ERROR, Gst.MessageType.EOS):
            loop.quit()

    def show_progress():
        print(f"\r{percent(pipeline):3} %, {overlay.props.frames_drawn} frames drawn", end="", file=sys.stderr)
        return GLib.SOURCE_CONTINUE

    bus = pipeline.get_bus()
    bus.add_signal_watch()
    bus.connect("message", on_message)
    GLib.timeout_add(200, show_progress)
    pipeline.set_state(Gst.State.PLAYING)
    loop.run()
    print(file=sys.stderr)
    frames, detections = overlay.props.frames_drawn, overlay.props.detections_seen
    pipeline.set_state(Gst.State.NULL)
    if errors:
        sys.exit("file_to_file: " + errors[0])
    print(f"{sys.argv[3]}: {frames} frames drawn, {detections} detections")


if __name__ == "__main__":
    main()
