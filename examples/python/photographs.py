#!/usr/bin/env python3
"""Draws the annotations of a data set in COCO's form into its photographs, one PNG for each.

    photographs.py FOLDER OUTPUT        FOLDER has instances.json and images/
"""

import json
import pathlib
import sys

import segmask

if len(sys.argv) != 3:
    sys.exit(__doc__)
folder, output = map(pathlib.Path, sys.argv[1:])

coco = json.loads((folder / "instances.json").read_text())
for image in coco["images"]:
    found = segmask.from_coco(coco, image_id=image["id"])
    summary = segmask.render(folder / "images" / image["file_name"], output / f"{image['id']}_%d.png", [found])
    print(f"{image['file_name']}: {summary['drawn']} of {summary['detections']} drawn")
