#!/usr/bin/env python3
"""Checks the recording format's documentation against the program: the schema is a valid
draft 2020-12 schema, the examples and the demo recording that `tavi-export --write-demo`
writes satisfy it, and files the program refuses are refused by the schema too (the install
check exports each example).

    check_recording_docs.py TAVI_EXPORT DOCS_DIR
"""

import glob
import json
import os
import subprocess
import sys
import tempfile

from jsonschema import Draft202012Validator

program, docs = sys.argv[1:3]
with open(os.path.join(docs, "recording.schema.json"), encoding="utf-8") as f:
    schema = json.load(f)
Draft202012Validator.check_schema(schema)
validator = Draft202012Validator(schema)
failures = []


def errors(document):
    return [f"{'/'.join(map(str, e.absolute_path))}: {e.message}" for e in validator.iter_errors(document)]


with tempfile.TemporaryDirectory() as scratch:
    env = dict(os.environ, XDG_CONFIG_HOME=scratch, QT_QPA_PLATFORM="offscreen")
    demo = os.path.join(scratch, "demo.json")
    subprocess.run([program, "--write-demo", demo], check=True, env=env)
    examples = sorted(glob.glob(os.path.join(docs, "examples", "*.json")))
    if not examples:
        failures.append("no examples in docs/examples")
    for path in examples + [demo]:
        with open(path, encoding="utf-8") as f:
            document = json.load(f)
        if path == demo:
            # The demo's 600 frames come from one writer in one shape; every 50th is enough
            # and keeps this check to seconds rather than a minute.
            document["frames"] = document["frames"][::50] + document["frames"][-1:]
        failures += [f"{os.path.basename(path)}: {e}" for e in errors(document)]

    # Files the program refuses: the schema refuses them too.
    base = {"format": "tavi-recording", "version": 1}
    refused = [
        {"version": 1},
        {"format": "tavi-recording", "version": 2},
        dict(base, frameCount=-1),
        dict(base, externalDataCount=-1),
        dict(base, tPoseSegmentCount=-1),
        dict(base, tPoseSegmentCount=2147483647),
        dict(base, frameRate="fast"),
        dict(base, recordStartTime="2026-03-01T10:20:30"),
        dict(base, frames=[{"frame": 2147483647}]),
        dict(base, frames=[{"pose": None}]),
        dict(base, frames=[{"frame": 0, "pose": {"segments": [{"q": [1, 0, 0]}]}}]),
        dict(base, frames=[{"frame": 0, "pose": {"globalPosition": [1, None]}}]),
        dict(base, externalChannels=[{"name": "EMG", "info": {"frameRate": 2000}}]),
    ]
    for document in refused:
        if not errors(document):
            failures.append(f"the schema accepts {json.dumps(document)}")
        path = os.path.join(scratch, "refused.json")
        with open(path, "w", encoding="utf-8") as f:
            json.dump(document, f)
        run = subprocess.run([program, "--quiet", path, os.path.join(scratch, "refused.xlsx")], env=env,
                             capture_output=True, text=True)
        if run.returncode != 2:
            failures.append(f"tavi-export accepts {json.dumps(document)} (exit {run.returncode})")

for failure in failures:
    print(failure)
sys.exit(1 if failures else 0)
