#!/usr/bin/env python3
"""Writes a large recording file (JSON, format version 1) for the reader benchmark.

Every frame carries a full pose: 27 segments with all their vectors and quaternions, joint
angles, ergonomic angles, centre of mass, global position, finger tracking on both hands and
four external channels. Values are pseudo-random doubles printed with 17 significant digits,
as a recording tool writes them. The frame count is chosen to reach the requested size.

    make_recording.py OUTPUT [SIZE_MB]     (default 200 MB; OUTPUT ending in .gz is gzipped)
"""

import gzip
import json
import random
import sys

SEGMENTS = 27
JOINTS = 26
FINGER_SEGMENTS = 20
FINGER_JOINTS = 19
CHANNELS = 4
SAMPLES_PER_FRAME = 8  # 2000 samples/s at 240 frames/s, rounded


def vec(rnd, n=3):
    return [rnd.uniform(-10.0, 10.0) for _ in range(n)]


def quat(rnd):
    return [rnd.uniform(-1.0, 1.0) for _ in range(4)]


def frame(rnd, number):
    pose = {
        "segments": [
            {"q": quat(rnd), "pos": vec(rnd), "vel": vec(rnd), "acc": vec(rnd),
             "angVel": vec(rnd), "angAcc": vec(rnd), "sensorQ": quat(rnd),
             "sensorFreeAcc": vec(rnd), "sensorMag": vec(rnd)}
            for _ in range(SEGMENTS)
        ],
        "jointAngles": [vec(rnd) for _ in range(JOINTS)],
        "jointAnglesXzy": [vec(rnd) for _ in range(JOINTS)],
        "ergoJointAngles": [vec(rnd) for _ in range(6)],
        "ergoJointAnglesXzy": [vec(rnd) for _ in range(6)],
        "centerOfMass": {"pos": vec(rnd), "vel": vec(rnd), "acc": vec(rnd)},
        "globalPosition": vec(rnd),
        "fingerTracking": {
            "hasData": True,
            "segments": [[{"q": quat(rnd), "pos": vec(rnd)} for _ in range(FINGER_SEGMENTS)] for _ in range(2)],
            "jointAngles": [[vec(rnd) for _ in range(FINGER_JOINTS)] for _ in range(2)],
            "jointAnglesXzy": [[vec(rnd) for _ in range(FINGER_JOINTS)] for _ in range(2)],
        },
    }
    return {"frame": number, "pose": pose,
            "externalData": [vec(rnd, SAMPLES_PER_FRAME) for _ in range(CHANNELS)]}


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    output = sys.argv[1]
    target = int(float(sys.argv[2]) * 1e6) if len(sys.argv) == 3 else 200_000_000
    rnd = random.Random(1)
    header = {
        "format": "tavi-recording", "version": 1, "applicationVersion": "2026.4.0",
        "filename": "bench.rec", "subjectName": "Bench", "processingQuality": "HD",
        "recordStartTime": "2026-03-01T10:20:30.250Z", "frameRate": 240,
        "tPoseSegmentCount": SEGMENTS,
        "externalChannels": [{"name": f"EMG {i + 1}", "info": {"frameRate": "2000"}} for i in range(CHANNELS)],
    }
    opener = gzip.open if output.endswith(".gz") else open
    with opener(output, "wt", encoding="utf-8") as out:
        text = json.dumps(header)
        out.write(text[:-1] + ', "frames": [\n')
        written = len(text)
        number = 0
        while written < target:
            line = ("" if number == 0 else ",\n") + json.dumps(frame(rnd, number), separators=(",", ":"))
            out.write(line)
            written += len(line)
            number += 1
        out.write("\n]}\n")
    print(f"{output}: {number} frames, {written / 1e6:.0f} MB of JSON")


if __name__ == "__main__":
    main()
