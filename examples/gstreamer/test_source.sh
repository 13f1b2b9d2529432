#!/usr/bin/env bash
# Draws a diamond that moves over GStreamer's test picture, without any input file.
#
#   examples/gstreamer/test_source.sh               in a window
#   examples/gstreamer/test_source.sh OUTPUT.mp4    into a file
#
# Needs GST_PLUGIN_PATH with the folder of the element (docs/gstreamer.md).
set -euo pipefail

case "${1:-}" in
  -h | --help) sed -n '2,7s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; exit 0 ;;
esac
sink=(autovideosink)
[ $# -eq 0 ] || sink=(x264enc speed-preset=veryfast ! mp4mux ! filesink "location=$1")

lines=$(mktemp)
trap 'rm -f "$lines"' EXIT
for frame in {0..149}; do
  x=$((40 + 3 * frame)) # the middle of the diamond
  echo '{"frame": '$frame', "producer": "diamond", "detections": [{"x": '$((x - 40))', "y": 80, "w": 80, "h": 80,
    "class_id": '$((frame / 30))', "score": 1,
    "mask": {"polygon": [['$x', 80, '$((x + 40))', 120, '$x', 160, '$((x - 40))', 120]]}}]}' | tr -d '\n'
  echo
done >"$lines"

gst-launch-1.0 -q videotestsrc num-buffers=150 ! video/x-raw,format=NV12,width=560,height=240,framerate=30/1 ! \
  segmaskoverlay location="$lines" config='{"alpha": 0.7}' ! videoconvert ! "${sink[@]}"
