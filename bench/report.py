#!/usr/bin/env python3
"""Writes the figures of a benchmark run into the tables of a document.

    bench/report.py RESULTS_FOLDER DOCUMENT
    bench/report.py --peers PEERS_FILE DOCUMENT
    bench/report.py --python PACKAGE_FILE DOCUMENT
    bench/report.py --gstreamer PIPELINE_FILE DOCUMENT

RESULTS_FOLDER holds Google Benchmark's JSON, one file a program (scripts/bench makes them). In DOCUMENT, what stands between
"<!-- NAME -->" and "<!-- /NAME -->" is replaced by the table of that name. Times are medians of processor time. With --peers,
only the table of that name is, from what bench/peers.py measured; its times are medians by the clock. With --python, likewise
from what bench/python_package.py measured, in processor time. With --gstreamer, from lines "LIBRARY COUNT JSON" of what
bench/time_pipeline.cpp measured.
"""

import json
import pathlib
import re
import subprocess
import sys

COUNTS = (1, 10, 30, 100)  # of detections in a frame
NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


class Results:
    """The median time of every benchmark of one program, in nanoseconds."""

    def __init__(self, path):
        self.path = path
        self.times = {}
        for entry in json.loads(path.read_text())["benchmarks"]:
            if entry.get("aggregate_name") == "median":
                name = re.sub(r"/(iterations|repeats):\d+", "", entry["run_name"])
                self.times[name] = entry["cpu_time"] * NANOSECONDS[entry["time_unit"]]

    def __getitem__(self, name):
        if name not in self.times:
            sys.exit(f"report: {self.path} has no median of '{name}'")
        return self.times[name]


def readable(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def table(header, rows):
    lines = ["| " + " | ".join(cells) + " |" for cells in [header, ["---"] * len(header), *rows]]
    return "\n".join(lines)


def json_table(results, text):
    peers = {"parse": ["RapidJSON", "nlohmann", "simdjson"], "copy": ["nlohmann"], "generate": ["nlohmann"]}
    columns = peers["parse"]
    rows = []
    for work, names in peers.items():
        ours = results[f"{text}/{work}/ours"]
        cells = [work, readable(ours)]
        for peer in columns:
            if peer in names:
                time = results[f"{text}/{work}/{peer}"]
                cells += [f"{readable(time)} ({time / ours:.2f})"]
            else:
                cells += [""]
        rows.append(cells)
    floor = results[f"{text}/bytes/memcpy"]
    return table(["", "ours", *columns], rows) + f"\n\nCopying the text's bytes once takes {readable(floor)}."


def growth_table(results):
    names = sorted({name.split("/")[1] for name in results.times if name.startswith("growth/")})
    rows = []
    for name in names:
        times = [results[f"growth/{name}/{megabytes}"] for megabytes in (5, 10, 20)]
        rows.append([name.replace("_", " "), *map(readable, times), f"{times[2] / times[0]:.1f}"])
    return table(["the text is", "5 MB", "10 MB", "20 MB", "20 MB : 5 MB"], rows)


# What bench_render_growth draws.
DETECTIONS = (10, 30, 100, 300, 1000, 4096)
SIZES = ("640x360", "1280x720", "1920x1080", "2560x1440", "3840x2160", "7680x4320")
ITEMS_A_SIZE = 10

# By mask and frame: at most this multiple of memset, and at least this multiple of the speed of decoding and cv::resize.
FRAME_MASK_TARGETS = {
    ("160x160", "1920x1080"): (1.7, 10),
    ("640x640", "1920x1080"): (3.0, 8),
    ("1920x1080", "1920x1080"): (3.5, None),
    ("160x160", "3840x2160"): (1.7, None),
    ("1920x1080", "1280x720"): (None, None),
}


def frame_mask_table(results):
    def target(limit, how):
        return f" ({how} {limit})" if limit else ""

    rows = []
    for (mask, frame), (most_floors, least_gain) in FRAME_MASK_TARGETS.items():
        floor = results[f"memset/{frame}"]
        cells = [mask, frame, readable(floor)]
        for kind in ("silhouette", "random"):
            times = [results[f"{kind}/{mask}_to_{frame}/{how}"] for how in ("ours", "decode_and_resize", "resize_alone")]
            ours, decoded_and_resized, resized = times
            limits = (most_floors, least_gain) if kind == "silhouette" else (None, 1)
            cells += [readable(ours), f"{ours / floor:.2f}" + target(limits[0], "≤"),
                      f"{decoded_and_resized / ours:.1f}" + target(limits[1], "≥"), f"{resized / ours:.1f}"]
        rows.append(cells)
    names = ["time", "ours : memset", "decode, resize : ours", "resize alone : ours"]
    return table(["mask", "frame", "memset", *(f"silhouette: {n}" for n in names), *(f"random bits: {n}" for n in names)], rows)


def base64_table(results):
    rows = []
    for name, ours in results.times.items():
        if name.endswith("/ours"):
            text = name.removesuffix("/ours")
            plain = results[f"{text}/plain"]
            least = 4 if text.startswith("clean") else 1
            rows.append([text, readable(ours), readable(plain), f"{plain / ours:.2f} (≥ {least})"])
    return table(["text", "ours", "one look-up a character", "ratio"], sorted(rows))


def blend_table(results):
    rows = []
    for name, time in results.times.items():
        match = re.fullmatch(r"blend/(.*?)/(.*?)/ours", name)
        if match:
            box, mask = match[1], match[2].replace("_", " ")
            floor = results[name.replace("/ours", "/memcpy")]
            plain = results[name.replace("/ours", "/plain")]
            rows.append([box, mask, readable(time), readable(floor), f"{time / floor:.2f} (≤ 2)", f"{readable(plain)} ({plain / time:.0f})"])
    return table(["box", "mask", "time", "memcpy of the touched bytes", "ratio", "sample by sample"], sorted(rows))


def render_table(results):
    rows = []
    for count in COUNTS:
        ours, floor, peer = (results[f"render/{count}/{name}"] for name in ("ours", "floor", "OpenCV"))
        rows.append([str(count), readable(ours), readable(ours / count), readable(floor / count), f"{ours / floor:.2f} (≤ 1.5)",
                     readable(peer), f"{peer / ours:.2f} (≥ 4)"])
    return table(["detections", "render", "an item", "its floor", "ours : floor", "OpenCV", "OpenCV : ours"], rows)


def within(figure, reference, share):
    return f"{100 * (figure / reference - 1):+.0f} % (±{share})"


def detections_table(results):
    items = {count: results[f"detections/{count}/ours"] / count for count in DETECTIONS}
    rows = [[str(count), readable(item), within(item, items[DETECTIONS[0]], 20)] for count, item in items.items()]
    return table(["detections", "an item", f"beside that of {DETECTIONS[0]}"], rows)


def sizes_table(results):
    def multiple(size):
        return results[f"size/{size}/ours"] / results[f"size/{size}/floor"]

    rows = [[size, *(readable(results[f"size/{size}/{name}"] / ITEMS_A_SIZE) for name in ("ours", "floor")),
             f"{multiple(size):.2f}", within(multiple(size), multiple("1920x1080"), 20)] for size in SIZES]
    return table(["frame", "an item", "its fill and copy", "ratio", "beside 1920x1080"], rows)


# What bench_compositors draws: sizes of frames, and the scenes by their names.
FRAMES = ("640x360", "1280x720", "1920x1080", "3840x2160")
SCENES = {**{f"people{count}": f"{count} of 200x400" for count in COUNTS}, "mixed30": "30 as in photographs"}

# By what is timed: the benchmarks, and how many times faster one pass must be in each of FRAMES.
ONE_PASS_TARGETS = {
    "drawing, boxes of 200x400, warm": ("warm/{}/people30", (1.2, 3.5, 7, 18)),
    "drawing, boxes of 200x400, cold": ("cold/{}/people30", (1.2, 3.5, 6, 18)),
    "drawing, boxes as in photographs, warm": ("warm/{}/mixed30", (3, 7, 8, 15)),
    "a whole `render`, boxes of 200x400": ("render/{}/people30", (1.2, 3, 5, 12)),
    "a whole `render`, boxes as in photographs": ("render/{}/mixed30", (2.5, 5, 6, 12)),
}


def both(results, name):
    """The times with frame-sized masks and in one pass."""
    return results[f"{name}/frame_mask"], results[f"{name}/fused"]


def one_pass_table(results):
    """The ratios beside their targets, then the times."""
    ratios, times = [], []
    for what, (name, targets) in ONE_PASS_TARGETS.items():
        pairs = [both(results, name.format(frame)) for frame in FRAMES]
        ratios.append([what, *(f"{masks / fused:.1f} (≥ {target})" for (masks, fused), target in zip(pairs, targets))])
        times.append([what, *(f"{readable(masks)} : {readable(fused)}" for masks, fused in pairs)])
    return "\n\n".join(table(["", *FRAMES], rows) for rows in (ratios, times))


def one_pass_copy_table(results):
    rows = []
    for frame in FRAMES:
        for scene, boxes in SCENES.items():
            cells = [frame, boxes]
            for cache in ("warm", "cold"):
                name = f"{cache}/{frame}/{scene}"
                masks, fused = both(results, name)
                copy = results[f"{name}/memcpy"]
                target = " (≤ 1.5)" if name == "cold/1920x1080/people30" else ""
                cells += [readable(masks), readable(fused), readable(copy), f"{fused / copy:.2f}{target}"]
            rows.append(cells)
    columns = ["frame masks", "one pass", "memcpy", "one pass : memcpy"]
    return table(["frame", "boxes", *(f"{cache}: {column}" for cache in ("warm", "cold") for column in columns)], rows)


def one_pass_decode_table(results):
    rows = []
    for scene, boxes in SCENES.items():
        pairs = [both(results, f"decode/{frame}/{scene}") for frame in FRAMES]
        rows.append([boxes, *(f"{readable(masks)} : {readable(fused)} ({masks / fused:.1f})" for masks, fused in pairs)])
    return table(["boxes", *FRAMES], rows)


def one_pass_masks_table(results):
    rows = []
    for name in results.times:
        match = re.fullmatch(r"mask/(.*)/(.*)/(.*)/fused", name)
        if match:
            masks, fused = both(results, name.removesuffix("/fused"))
            rows.append([*match.groups(), readable(masks), readable(fused), f"{masks / fused:.2f} (≥ 0.97)"])
    return table(["frame", "masks", "boxes", "frame masks", "one pass", "ratio"], sorted(rows))


def machine():
    processor = re.search(r"model name\s*:\s*(.*)", pathlib.Path("/proc/cpuinfo").read_text())
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=True).stdout.splitlines()[0]
    mhz = re.search(r"cpu MHz\s*:\s*(\d+)", pathlib.Path("/proc/cpuinfo").read_text())
    return (f"Measured on: {processor[1] if processor else 'an unnamed processor'}"
            f"{f' at {int(mhz[1]) / 1000:.1f} GHz' if mhz else ''}, one thread; {compiler}; `-O2 -DNDEBUG`.")


# How many times the time of a library the fastest peer must take, by whether that is given masks of the frame's size.
PEERS_TARGETS = {(True, "libseg_mask_overlay.so"): " (≥ 5)", (False, "libseg_mask_overlay_fused.so"): " (≥ 20)"}


def peers_table(measured):
    """Milliseconds a frame; of each peer with the number of threads that was fastest. The multiples are of the first library."""
    def milliseconds(time):
        return f"{time:.0f}" if time >= 1000 else f"{time:.3g}"

    def cell(time, count):
        return f"{milliseconds(time)} ({time / ours[first][count]:.{1 if time >= ours[first][count] else 2}f})"

    ours, count_of_targets = measured["ours"], "30"
    first = next(iter(ours))
    rows = [[f"ours, `{name}`", *(cell(time, count) if name != first else milliseconds(time) for count, time in times.items()),
             "1", "nothing"] for name, times in ours.items()]
    fastest = {}  # by whether it is given masks of the frame's size: time at that count, name
    for peer in measured["peers"]:
        best = {count: min((time, threads) for threads, time in peer["milliseconds"][count].items()) for count in ours[first]}
        rows.append([peer["name"], *(cell(time, count) for count, (time, _) in best.items()),
                     ", ".join(threads for _, threads in best.values()), peer["leaves out"]])
        candidate = best[count_of_targets][0], peer["name"]
        fastest[peer["frame-sized"]] = min(candidate, fastest.get(peer["frame-sized"], candidate))
    for name, reason in measured["missing"].items():
        rows.append([name, *("" for _ in ours[first]), "", f"could not be measured: {reason}"])
    counts = [f"{count} mask{'s' if count != '1' else ''}" for count in ours[first]]
    lines = [table(["", *counts, "threads", "leaves out"], rows)]
    for frame_sized, given in ((True, "masks of the frame's size"), (False, "masks cut to their boxes beforehand")):
        if frame_sized in fastest:
            time, name = fastest[frame_sized]
            multiples = (f"{time / times[count_of_targets]:.1f} times the time of `{library}`"
                         + PEERS_TARGETS.get((frame_sized, library), "") for library, times in ours.items())
            lines.append(f"The fastest that is given {given}, at {count_of_targets} masks: {name}, {' and '.join(multiples)}.")
    versions = ", ".join(f"{name} {version}" for name, version in measured["versions"].items())
    lines.append(f"{machine()} The others: {versions}; with {' and '.join(map(str, measured['threads']))} threads. "
                 f"Medians of {measured['rounds']} rounds.")
    return "\n\n".join(lines)


def python_tables(measured):
    """Milliseconds, and as multiples of the first row; of drawing a frame, and of encoding all masks."""
    def cell(time, least):
        return f"{time:.3g}" if time == least else f"{time:.3g} ({time / least:.2f})"

    drawing, encoding = measured["drawing"], measured["encoding"]
    least = next(iter(drawing.values()))
    header = ["drawing", *(f"{count} mask{'s' if count != '1' else ''}" for count in least)]
    rows = [[name, *(cell(time, least[count]) for count, time in times.items())] for name, times in drawing.items()]
    first = next(iter(encoding.values()))
    versions = ", ".join(f"{name} {version}" for name, version in measured["versions"].items())
    return "\n\n".join([
        table(header, rows),
        table(["encoding", "100 masks of 1920x1080"], [[name, cell(time, first)] for name, time in encoding.items()]),
        f"{machine()} The others: {versions}. Medians of {measured['rounds']} rounds."])


def gstreamer_tables(text):
    """A table a library: milliseconds, and as multiples of the first row, by people."""
    measured = {}
    for line in text.splitlines():
        library, count, times = line.split(" ", 2)
        for name, time in json.loads(times).items():
            measured.setdefault(library, {}).setdefault(name, {})[count] = time
    parts = []
    for library, file in (("plain", "`libseg_mask_overlay.so`"), ("fast", "`libseg_mask_overlay_fused.so`, `fast=true`")):
        least = next(iter(measured[library].values()))
        rows = [[name, *(f"{time:.3g} ({time / least[count]:.2f})" for count, time in times.items())]
                for name, times in measured[library].items()]
        parts.append(table([file, *("1 person" if count == "1" else f"{count} people" for count in least)], rows))
    return "\n\n".join([*parts, machine()])


def write_tables(document, parts):
    text = document.read_text()
    for name, body in parts.items():
        text, count = re.subn(rf"(<!-- {name} -->\n).*?(<!-- /{name} -->)", lambda m: m[1] + body + "\n" + m[2], text, flags=re.S)
        if count != 1:
            sys.exit(f"report: {document} has {count} places for '{name}'; it needs one")
    document.write_text(text)


def main():
    if len(sys.argv) == 4 and sys.argv[1] == "--peers":
        measured = json.loads(pathlib.Path(sys.argv[2]).read_text())
        write_tables(pathlib.Path(sys.argv[3]), {"peers": peers_table(measured)})
        return
    if len(sys.argv) == 4 and sys.argv[1] == "--python":
        measured = json.loads(pathlib.Path(sys.argv[2]).read_text())
        write_tables(pathlib.Path(sys.argv[3]), {"python": python_tables(measured)})
        return
    if len(sys.argv) == 4 and sys.argv[1] == "--gstreamer":
        write_tables(pathlib.Path(sys.argv[3]), {"gstreamer": gstreamer_tables(pathlib.Path(sys.argv[2]).read_text())})
        return
    if len(sys.argv) != 3:
        sys.exit(__doc__.strip())
    folder, document = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    json_results = Results(folder / "json.json")
    compositors = Results(folder / "compositors.json")
    write_tables(document, {
        "machine": machine(),
        "json payload": json_table(json_results, "payload"),
        "json small objects": json_table(json_results, "small_objects"),
        "json growth": growth_table(Results(folder / "json_growth.json")),
        "base64": base64_table(Results(folder / "base64.json")),
        "blend": blend_table(Results(folder / "blend.json")),
        "render": render_table(Results(folder / "render.json")),
        "render detections": detections_table(Results(folder / "render_growth.json")),
        "render sizes": sizes_table(Results(folder / "render_growth.json")),
        "one pass": one_pass_table(compositors),
        "one pass and memcpy": one_pass_copy_table(compositors),
        "one pass and decoding": one_pass_decode_table(compositors),
        "one pass and masks": one_pass_masks_table(compositors),
        "frame mask": frame_mask_table(Results(folder / "frame_mask.json")),
    })


if __name__ == "__main__":
    main()
