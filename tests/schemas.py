"""The JSON Schemas in docs/schema/ against what the programs write, the examples in docs/formats.md, and bad examples.

Run by ctest: schemas.py SOURCE_DIR PROGRAMS LIBRARIES, with a Python that has jsonschema.
"""

import copy
import json
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import jsonschema

SOURCE, PROGRAMS, LIBRARIES = map(Path, sys.argv[1:4])
SCHEMAS = {path.name: json.loads(path.read_text()) for path in sorted((SOURCE / "docs/schema").glob("*.schema.json"))}
MISSING = object()

SQUARE = {"x": -1, "y": 0, "w": 8, "h": 6, "class_id": 3, "score": 0.5}
MASKS = [
    {"size": [2, 4], "counts": [3, 2, 1, 2]},
    {"size": [2, 4], "counts": "3210"},
    {"size": [2, 2], "counts": "022", "at": [-2, -1, 4, 4]},
    {"polygon": [[1, 1, 4, 1, 4, 3], [20.5, 10, 30, 25.5, 11, 25.5]]},
    {"size": [1, 1], "counts": "0QPPPPPPPPPP0"},  # 0 and 1, the latter in twelve groups, which is the most
]
TEXT = {**SQUARE, "class_info": "SEG1|4|2|Dw=="}
# By the name of the schema, with what is special behind it.
GOOD = {
    "detection.v1": {"detections": [TEXT]},
    "detection.v1 score": {"detections": [{**TEXT, "score": 99}]},
    "detection-lines": {
        "frame": 0,
        "producer": "p",
        "detections": [TEXT] + [{**SQUARE, "mask": mask} for mask in MASKS],
    },
    "detection-lines image": {"image": "val/a.png", "producer": "p", "detections": []},
    "summary": {
        "frames": 2, "frames_changed": 1, "pixels_changed": 7, "detections": 8, "drawn": 1,
        "dropped": {
            "over_cap": 1, "not_an_object": 2, "low_score": 1, "invalid_mask": 1, "box_outside": 1, "no_pixel_in_box": 1,
        },
        "lookback": 0, "plugin": "a.so", "render_ms": {"median": 0.5, "p99": 1.5},
    },
    "summary of --no-explain": {
        "frames": 2, "detections": 2, "lookback": 0, "plugin": "a.so", "render_ms": {"median": 0.5, "p99": 1.5},
    },
    "explanation": {
        "line": 1, "frame": 0, "producer": "p", "index": 0, "drawn": True, "class_id": -1, "color": [0, 1, 2], "pixels": 1,
    },
    "explanation of one that is not drawn": {
        "line": 1, "frame": 0, "producer": "p", "index": 0, "drawn": False, "reason": "low_score", "why": "w",
    },
    "config empty": {},
    "config": {"alpha": 0.5, "min_score": 0.5, "max_overlay_dets": 256},
}

# A good value with one place changed, or without it, and the rule that it breaks then.
BAD = [
    ("detection.v1", "", [], "type"),
    ("detection.v1", "detections", MISSING, "required"),
    ("detection.v1", "detections", {}, "type"),
    ("detection.v1", "detections/0", 1, "type"),
    ("detection.v1", "detections/0/class_info", 1, "type"),
    ("detection.v1", "detections/0/class_info", "SEG2|4|2|Dw==", "pattern"),
    ("detection.v1", "detections/0/class_info", "SEG1|0|2|Dw==", "pattern"),
    ("detection.v1", "detections/0/class_info", "SEG1|4|2|", "pattern"),
    ("detection.v1", "detections/0/class_info", "SEG1|4|2|Dw", "pattern"),
    ("detection.v1", "detections/0/class_info", "SEG1|4|2|Dw==|", "pattern"),
    ("detection.v1", "detections/0/x", "1", "type"),
    ("detection.v1", "detections/0/x", 0.5, "type"),
    ("detection.v1", "detections/0/y", 2**31, "maximum"),
    ("detection.v1", "detections/0/y", -(2**31) - 1, "minimum"),
    ("detection.v1", "detections/0/y", None, "type"),
    ("detection.v1", "detections/0/w", 0, "minimum"),
    ("detection.v1", "detections/0/w", 1.5, "type"),
    ("detection.v1", "detections/0/h", -5, "minimum"),
    ("detection.v1", "detections/0/h", 2**31, "maximum"),
    ("detection.v1", "detections/0/class_id", "person", "type"),
    ("detection.v1", "detections/0/class_id", -1, "minimum"),
    ("detection.v1", "detections/0/class_id", 2**31, "maximum"),
    ("detection.v1", "detections/0/score", "high", "type"),
    ("detection-lines", "", [], "type"),
    ("detection-lines", "frame", MISSING, "anyOf"),
    ("detection-lines", "frame", "0", "type"),
    ("detection-lines", "frame", 1.5, "type"),
    ("detection-lines", "frame", -1, "minimum"),
    ("detection-lines", "frame", 2**63, "maximum"),
    ("detection-lines", "image", 7, "type"),
    ("detection-lines", "image", "", "pattern"),
    ("detection-lines", "image", "folder/", "pattern"),
    ("detection-lines", "producer", MISSING, "required"),
    ("detection-lines", "producer", "", "minLength"),
    ("detection-lines", "producer", 3, "type"),
    ("detection-lines", "detections", MISSING, "required"),
    ("detection-lines", "detections", {}, "type"),
    ("detection-lines", "detections/0", [], "type"),
    ("detection-lines", "detections/0/h", 0, "minimum"),
    ("detection-lines", "detections/0/class_info", MISSING, "oneOf"),
    ("detection-lines", "detections/0/class_info", "3210", "pattern"),
    ("detection-lines", "detections/0/mask", MASKS[0], "oneOf"),
    ("detection-lines", "detections/1/mask", "SEG1|4|2|Dw==", "type"),
    ("detection-lines", "detections/1/mask", {}, "oneOf"),
    ("detection-lines", "detections/1/mask/size", MISSING, "oneOf"),
    ("detection-lines", "detections/1/mask/counts", MISSING, "oneOf"),
    ("detection-lines", "detections/1/mask/size", 8, "type"),
    ("detection-lines", "detections/1/mask/size", [2], "minItems"),
    ("detection-lines", "detections/1/mask/size", [2, 4, 1], "maxItems"),
    ("detection-lines", "detections/1/mask/size", [0, 4], "minimum"),
    ("detection-lines", "detections/1/mask/counts", 8, "oneOf"),
    ("detection-lines", "detections/1/mask/counts", [], "minItems"),
    ("detection-lines", "detections/1/mask/counts", [3, 5.5], "type"),
    ("detection-lines", "detections/1/mask/counts", [-1, 9], "minimum"),
    ("detection-lines", "detections/1/mask/counts", [2**28 + 1], "maximum"),
    ("detection-lines", "detections/1/mask/polygon", [[0, 0, 4, 0, 4, 2]], "oneOf"),
    ("detection-lines", "detections/2/mask/counts", "", "pattern"),
    ("detection-lines", "detections/2/mask/counts", "321~", "pattern"),
    ("detection-lines", "detections/2/mask/counts", "321P", "pattern"),
    ("detection-lines", "detections/2/mask/counts", "0QPPPPPPPPPPP0", "pattern"),
    ("detection-lines", "detections/3/mask/at", "0", "type"),
    ("detection-lines", "detections/3/mask/at", [0, 0, 4], "minItems"),
    ("detection-lines", "detections/3/mask/at", [0, 0, 4, 4, 4], "maxItems"),
    ("detection-lines", "detections/3/mask/at", [0.5, 0, 4, 4], "type"),
    ("detection-lines", "detections/3/mask/at", [0, 0.5, 4, 4], "type"),
    ("detection-lines", "detections/3/mask/at", [0, 0, 0, 4], "minimum"),
    ("detection-lines", "detections/3/mask/at", [0, 0, 4, 0], "minimum"),
    ("detection-lines", "detections/3/mask/att", [0, 0, 4, 4], "additionalProperties"),
    ("detection-lines", "detections/4/mask/at", [0, 0, 4, 4], "oneOf"),
    ("detection-lines", "detections/4/mask/polygon", "x", "type"),
    ("detection-lines", "detections/4/mask/polygon", [], "minItems"),
    ("detection-lines", "detections/4/mask/polygon", [1, 1, 4, 1, 4, 3], "type"),
    ("detection-lines", "detections/4/mask/polygon/0", [1, 1, 4, 1], "minItems"),
    ("detection-lines", "detections/4/mask/polygon/0/5", "3", "type"),
    ("detection-lines", "detections/4/mask/polygon/0/5", 2**28 + 1, "maximum"),
    ("detection-lines", "detections/4/mask/polygon/0/5", -(2**28) - 1, "minimum"),
    ("summary", "", [], "type"),
    ("summary", "frames", 0, "minimum"),
    ("summary", "frames", "2", "type"),
    ("summary", "frames_changed", -1, "minimum"),
    ("summary", "frames_changed", 0.5, "type"),
    ("summary", "frames_changed", MISSING, "dependentRequired"),
    ("summary", "pixels_changed", MISSING, "dependentRequired"),
    ("summary", "pixels_changed", "all", "type"),
    ("summary", "detections", -1, "minimum"),
    ("summary", "drawn", MISSING, "dependentRequired"),
    ("summary", "drawn", True, "type"),
    ("summary", "dropped", MISSING, "dependentRequired"),
    ("summary", "dropped", 1, "type"),
    ("summary", "dropped/too_small", 1, "enum"),
    ("summary", "dropped/low_score", 0, "minimum"),
    ("summary", "dropped/low_score", "1", "type"),
    ("summary", "lookback", None, "type"),
    ("summary", "damaged", -1, "minimum"),
    ("summary", "plugin", "", "minLength"),
    ("summary", "plugin", 1, "type"),
    ("summary", "render_ms", 0.5, "type"),
    ("summary", "render_ms/median", -1, "minimum"),
    ("summary", "render_ms/median", "1", "type"),
    ("summary", "render_ms/p99", -1, "minimum"),
    ("summary", "render_ms/p99", "1", "type"),
    ("summary", "render_ms/mean", 1, "additionalProperties"),
    ("summary", "pictures", 1, "additionalProperties"),
    ("explanation", "", [], "type"),
    ("explanation", "line", 0, "minimum"),
    ("explanation", "line", "1", "type"),
    ("explanation", "frame", -1, "minimum"),
    ("explanation", "frame", "0", "type"),
    ("explanation", "image", "", "minLength"),
    ("explanation", "image", 1, "type"),
    ("explanation", "producer", "", "minLength"),
    ("explanation", "producer", 1, "type"),
    ("explanation", "index", -1, "minimum"),
    ("explanation", "index", "0", "type"),
    ("explanation", "drawn", 1, "type"),
    ("explanation", "class_id", 0.5, "type"),
    ("explanation", "class_id", 2**31, "maximum"),
    ("explanation", "class_id", -(2**31) - 1, "minimum"),
    ("explanation", "color", "red", "type"),
    ("explanation", "color", [1, 2], "minItems"),
    ("explanation", "color", [1, 2, 3, 4], "maxItems"),
    ("explanation", "color/0", 256, "maximum"),
    ("explanation", "color/0", -1, "minimum"),
    ("explanation", "color/0", "1", "type"),
    ("explanation", "pixels", 0, "minimum"),
    ("explanation", "pixels", "all", "type"),
    ("explanation", "box", [], "additionalProperties"),
    ("explanation of one that is not drawn", "reason", "too_small", "enum"),
    ("explanation of one that is not drawn", "why", "", "minLength"),
    ("explanation of one that is not drawn", "why", 1, "type"),
    ("summary of --no-explain", "frames_changed", 1, "dependentRequired"),
    ("summary of --no-explain", "", {**GOOD["summary of --no-explain"], "drawn": 1, "dropped": {}}, "dependentRequired"),
    ("config", "", [], "type"),
    ("config", "alhpa", 1, "additionalProperties"),
    ("config", "alpha", 1.1, "maximum"),
    ("config", "alpha", -0.1, "minimum"),
    ("config", "alpha", "0.5", "type"),
    ("config", "min_score", 1.1, "maximum"),
    ("config", "min_score", -0.1, "minimum"),
    ("config", "min_score", True, "type"),
    ("config", "max_overlay_dets", 0, "minimum"),
    ("config", "max_overlay_dets", 4097, "maximum"),
    ("config", "max_overlay_dets", 1.5, "type"),
]
BAD += [
    (name, prefix + member, MISSING, "required")
    for name, prefix, members in (
        ("detection.v1", "detections/0/", "x y w h class_id score class_info"),
        ("summary", "", "frames detections lookback plugin render_ms"),
        ("summary", "render_ms/", "median p99"),
        ("explanation", "", "line frame producer index drawn"),
    )
    for member in members.split()
]
# What is told of a detection that is drawn, and of one that is not, exclude each other.
BAD += [
    ("explanation" + other, member, value, "oneOf")
    for other, members in (
        ("", {"class_id": MISSING, "color": MISSING, "pixels": MISSING, "reason": "low_score", "why": "w", "drawn": False}),
        (
            " of one that is not drawn",
            {"reason": MISSING, "why": MISSING, "class_id": 1, "color": [1, 2, 3], "pixels": 1, "drawn": True},
        ),
    )
    for member, value in members.items()
]


def validators():
    """A validator of each schema, in which the schemas find each other by their files' names."""
    kind = jsonschema.Draft202012Validator
    try:
        from referencing import Registry, Resource
    except ImportError:  # before jsonschema 4.18
        folder = "file:///schema/"
        store = {folder + name: contents for name, contents in SCHEMAS.items()}
        return {n: kind(s, resolver=jsonschema.RefResolver(folder, s, store=store)) for n, s in SCHEMAS.items()}
    resources = [(name, Resource.from_contents(contents)) for name, contents in SCHEMAS.items()]
    registry = Registry().with_resources(resources).crawl()
    return {name: kind(schema, registry=registry) for name, schema in SCHEMAS.items()}


VALIDATORS = validators()


def errors_of(name, value):
    """Every rule that is broken, within alternatives too, as pairs of its keyword and the place in the value."""

    def flat(errors):
        for error in errors:
            yield error.validator, "/".join(map(str, error.absolute_path))
            yield from flat(error.context)

    validator = VALIDATORS[name.split()[0] + ".schema.json"]
    # A validator of its own, because one may keep what it has read of the schema.
    return list(flat(validator.evolve(schema=validator.schema).iter_errors(value)))


def changed(value, place, new):
    """A copy of `value` with another value at that place, or without it."""
    if not place:
        return new
    result = copy.deepcopy(value)
    *parents, last = [int(part) if part.isdigit() else part for part in place.split("/")]
    holder = result
    for part in parents:
        holder = holder[part]
    if new is MISSING:
        del holder[last]
    else:
        holder[last] = new
    return result


def rules_of(schema):
    """Each rule of the schema, and each entry of a rule that is a list: what holds it, and its key or index there."""
    for keyword, rule in schema.items():
        if keyword in ("properties", "$defs"):
            for name, part in rule.items():
                yield from rules_of(part) if part else [(rule, name)]
        elif keyword in ("items", "propertyNames"):
            yield from rules_of(rule)
        elif keyword not in ("$schema", "title", "description", "default"):
            yield schema, keyword
            for entries in rule.values() if keyword == "dependentRequired" else [rule]:
                if isinstance(entries, list):
                    yield from ((entries, index) for index in range(len(entries)))
            if keyword in ("anyOf", "oneOf", "prefixItems"):
                for part in rule:
                    yield from rules_of(part)
            if keyword == "additionalProperties" and rule:
                yield from rules_of(rule)


def run(program, *arguments):
    done = subprocess.run([PROGRAMS / program, *map(str, arguments)], capture_output=True, text=True)
    if done.returncode != 0:
        raise AssertionError(f"{program} ends with exit code {done.returncode}: {done.stderr}")
    return done.stdout


def json_lines(text):
    return [json.loads(line) for line in text.splitlines()]


class Schemas(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def assert_valid(self, name, value):
        self.assertEqual(errors_of(name, value), [], f"{value} by {name}")

    def write_text(self, name, text):
        path = self.folder / name
        path.write_text(text)
        return path

    def write(self, name, lines):
        return self.write_text(name, "".join(json.dumps(line) + "\n" for line in lines))

    def write_frames(self):
        """Grey frames of 64 x 48, of which the later ones have a light block that moves."""
        path = self.folder / "in.y4m"
        width, height, frames = 64, 48, 30
        with path.open("wb") as file:
            file.write(b"YUV4MPEG2 W%d H%d F25:1 Ip A1:1 C420jpeg\n" % (width, height))
            for number in range(frames):
                luma = bytearray([90 + (7 * i + 3 * number) % 11 for i in range(width * height)])
                if number >= frames // 2:
                    for row in range(12, 36):
                        luma[row * width + number : row * width + number + 14] = bytes([220]) * 14
                file.write(b"FRAME\n" + luma + bytes([128]) * (width * height // 2))
        return path

    def test_each_is_a_schema_of_draft_2020_12_and_has_examples(self):
        self.assertEqual({name.split()[0] + ".schema.json" for name in GOOD}, set(SCHEMAS))
        for name, schema in SCHEMAS.items():
            self.assertEqual(schema["$schema"], "https://json-schema.org/draft/2020-12/schema", name)
            jsonschema.Draft202012Validator.check_schema(schema)

    def test_good_examples_are_taken(self):
        for name, value in GOOD.items():
            self.assert_valid(name, value)

    def test_good_lines_are_read(self):
        run("segmask", "explain", "--detections", self.write("d.jsonl", [GOOD["detection-lines"]]), "--size", "64x48")

    def test_bad_examples_are_refused_by_the_rule_that_they_break(self):
        for name, place, value, rule in BAD:
            with self.subTest(schema=name, place=place, rule=rule):
                errors = errors_of(name, changed(GOOD[name], place, value))
                where = [at for found, at in errors if found == rule]
                self.assertTrue([at for at in where if at == place.rpartition("/")[0] or at.startswith(place)], errors)

    def test_each_rule_of_each_schema_decides_of_an_example(self):
        for file, schema in SCHEMAS.items():
            good = [(name, value) for name, value in GOOD.items() if file == name.split()[0] + ".schema.json"]
            bad = [(name, changed(GOOD[name], *change[:2])) for name, *change in BAD if name in dict(good)]
            examples = [(example, errors_of(*example)) for example in good + bad]
            for holder, key in list(rules_of(schema)):
                # Where another rule implies a type, the type is there for the message.
                shows = list if key == "type" else bool
                whole = copy.copy(holder)
                rule = holder.pop(key)
                decides = any(shows(errors_of(*example)) != shows(errors) for example, errors in examples)
                holder.clear()
                holder.extend(whole) if isinstance(holder, list) else holder.update(whole)
                with self.subTest(schema=file):
                    self.assertTrue(decides, f"{key}: {rule} of {whole}")

    def test_the_examples_in_the_documentation(self):
        examples = [
            json.loads(line)
            for block in re.findall(r"```json\n(.*?)```", (SOURCE / "docs/formats.md").read_text(), re.S)
            for line in block.splitlines()
        ]
        lines = [e if "detections" in e else {"frame": 0, "producer": "p", "detections": [e]} for e in examples]
        forms = {frozenset(d.get("mask", ["class_info"])) for line in lines for d in line["detections"]}
        self.assertEqual(forms, {frozenset(f.split()) for f in ("class_info", "size counts", "size counts at", "polygon")})
        for line in lines:
            self.assert_valid("detection-lines", line)
        # All of them are drawn.
        lines = [{**line, "frame": 0} for line in lines]
        told = json_lines(run("segmask", "explain", "--detections", self.write("d.jsonl", lines), "--size", "640x480", "--json"))
        self.assertEqual(len(told), sum(len(line["detections"]) for line in lines))
        for explained in told:
            self.assert_valid("explanation", explained)
            self.assertTrue(explained["drawn"], explained)

    def test_what_the_producer_writes_and_the_summaries_of_drawing_it(self):
        video = self.write_frames()
        for form in [], ["--compact"]:
            detections = self.folder / "d.jsonl"
            run("motion_producer", "--input", video, "--output", detections, *form)
            lines = json_lines(detections.read_text())
            self.assertTrue([1 for line in lines if line["detections"]])
            for line in lines:
                self.assert_valid("detection-lines", line)
                if not form:
                    self.assert_valid("detection.v1", line)
        for more, member in (
            ([], "drawn"),
            (["--config", '{"min_score": 1}'], "dropped"),
            (["--no-explain"], "lookback"),
            (["--plugin", LIBRARIES / "libbox_plugin.so"], "pixels_changed"),
        ):
            summary = self.folder / "summary.json"
            run("segmask", "render", "--input", video, "--detections", detections, "--output", self.folder / "out.y4m",
                "--summary-json", summary, *more)
            value = json.loads(summary.read_text())
            self.assert_valid("summary", value)
            self.assertTrue(member == "lookback" or value[member], value)

    def test_what_the_imports_write_and_what_drawing_it_on_pictures_gives(self):
        pictures = self.folder / "pictures"
        pictures.mkdir()
        run("segmask", "mask", "decode", self.write_text("m.txt", "SEG1|4|2|Dw=="), "--output", pictures / "0_1.png")
        rle = {"size": [2, 4], "counts": [0, 8]}
        results = [{"image_id": image, "category_id": 1, "segmentation": rle, "score": 99} for image in (3, 3, 5)]
        annotations = [{**results[0], "id": 1}, {**results[0], "id": 2, "segmentation": [[1, 0, 3, 0, 3, 2]]}]
        instances = {
            "images": [{"id": 3, "file_name": "0_1.png", "width": 4, "height": 2}],
            "annotations": annotations,
            "categories": [{"id": 1, "name": "dog"}],
        }
        for arguments, count in (
            (["coco", self.write_text("results.json", json.dumps(results))], 3),
            (["masks", pictures], 1),
            (["coco", self.write_text("instances.json", json.dumps(instances)), "--images", pictures], 2),
        ):
            detections = self.folder / "d.jsonl"
            run("segmask", "import", *arguments, "--output", detections)
            lines = json_lines(detections.read_text())
            self.assertEqual(sum(len(line["detections"]) for line in lines), count)
            for line in lines:
                self.assert_valid("detection-lines", line)
        told = json_lines(run("segmask", "explain", "--detections", detections, "--images", pictures, "--json"))
        self.assertEqual([explained["image"] for explained in told], ["0_1.png"] * 2)
        for explained in told:
            self.assert_valid("explanation", explained)
        summary = self.folder / "summary.json"
        run("segmask", "render", "--input", pictures, "--detections", detections, "--output", self.folder / "drawn",
            "--summary-json", summary)
        self.assert_valid("summary", json.loads(summary.read_text()))
        self.assertEqual(json.loads(summary.read_text())["drawn"], 2)

    def test_the_summary_in_the_record_of_a_batch(self):
        job = {
            "input": str(self.write_frames()), "output": "out.nv12",
            "detections": str(self.write("d.jsonl", [{"frame": 0, "producer": "p", "detections": [TEXT]}])),
        }
        run("segmask", "batch", self.write("jobs.jsonl", [job]))
        record = json.loads((self.folder / "out.nv12.segmask.json").read_text())
        self.assert_valid("summary", record["summary"])
        self.assertEqual(record["summary"]["drawn"], 1)

    def test_explanations_of_each_reason(self):
        dropped = [
            7,
            {**TEXT, "score": 0.1},
            {**TEXT, "class_info": "SEG1|4|2|"},
            {**TEXT, "x": 5000},
            {**TEXT, "class_info": "SEG1|4|2|AA=="},
            TEXT,
            TEXT,
        ]
        detections = self.write("d.jsonl", [{"frame": 0, "producer": "p", "detections": dropped}])
        told = json_lines(run("segmask", "explain", "--detections", detections, "--size", "64x48", "--json",
                              "--config", '{"min_score": 0.4, "max_overlay_dets": 5}'))
        for explained in told:
            self.assert_valid("explanation", explained)
        self.assertEqual({line.get("reason") for line in told}, {None, *SCHEMAS["summary.schema.json"]["$defs"]["reason"]["enum"]})

    def test_the_configuration_is_the_one_that_the_plug_in_publishes(self):
        published = json.loads(run("segmask", "inspect").partition("\nconfiguration\n")[2])
        jsonschema.Draft7Validator.check_schema(published)
        ours = copy.deepcopy(SCHEMAS["config.schema.json"])
        for rules in ours["properties"].values():
            del rules["description"]
        for member in "type", "properties", "additionalProperties":
            self.assertEqual(ours[member], published[member])


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
