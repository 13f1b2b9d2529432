#!/usr/bin/env python3
"""Writes the figures of a benchmark run into the tables of a document.

    bench/report.py RESULTS_FOLDER DOCUMENT

RESULTS_FOLDER holds Google Benchmark's JSON, one file a program (scripts/bench makes them). In DOCUMENT, what stands between
"<!-- NAME -->" and "<!-- /NAME -->" is replaced by the table of that name. Times are medians of processor time.
"""

import json
import pathlib
import re
import subprocess
import sys

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


def frame_mask_table(results):
    rows = []
    for name, time in results.times.items():
        match = re.fullmatch(r"text_to_mask/(.*?)_(?:to_(.*)|as_it_is)", name)
        if match:
            mask, frame = match[1], match[2] or match[1]
            floor = results[f"memset/{frame}"]
            rows.append([mask, frame, readable(time), readable(floor), f"{time / floor:.1f}"])
    return table(["mask text", "frame", "time", "memset of the frame", "ratio"], sorted(rows))


def machine():
    processor = re.search(r"model name\s*:\s*(.*)", pathlib.Path("/proc/cpuinfo").read_text())
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=True).stdout.splitlines()[0]
    mhz = re.search(r"cpu MHz\s*:\s*(\d+)", pathlib.Path("/proc/cpuinfo").read_text())
    return (f"Measured on: {processor[1] if processor else 'an unnamed processor'}"
            f"{f' at {int(mhz[1]) / 1000:.1f} GHz' if mhz else ''}, one thread; {compiler}; `-O2 -DNDEBUG`.")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__.strip())
    folder, document = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    json_results = Results(folder / "json.json")
    parts = {
        "machine": machine(),
        "json payload": json_table(json_results, "payload"),
        "json small objects": json_table(json_results, "small_objects"),
        "json growth": growth_table(Results(folder / "json_growth.json")),
        "frame mask": frame_mask_table(Results(folder / "frame_mask.json")),
    }
    text = document.read_text()
    for name, body in parts.items():
        text, count = re.subn(rf"(<!-- {name} -->\n).*?(<!-- /{name} -->)", lambda m: m[1] + body + "\n" + m[2], text, flags=re.S)
        if count != 1:
            sys.exit(f"report: {document} has {count} places for '{name}'; it needs one")
    document.write_text(text)


if __name__ == "__main__":
    main()
