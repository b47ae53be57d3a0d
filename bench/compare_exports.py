#!/usr/bin/env python3
"""Whole-export comparison of two bench_export builds, run alternately in one session.

For every frame count and round, each build exports the generated recording into a fresh folder
while its temporary folder (target + "_fldr") is sampled; reported per build: wall time, CPU
time (user + system, all threads), peak resident memory, peak bytes in the temporary folder (all
of it, and the part files alone: newer exports also build the archive there), and the archive's
size against the same parts packed with zlib level 6. The last column is the
second build's median over the first's.

Usage: compare_exports.py [--frames 2000 10000] [--rounds 3] [--rss-frames 20000]
                          NAME=BENCH_EXPORT NAME=BENCH_EXPORT
"""

import argparse
import os
import resource
import shutil
import statistics
import subprocess
import tempfile
import threading
import time
import zipfile


# The archive that newer exports build inside the temporary folder before it replaces the target.
ARCHIVE_IN_FOLDER = "export.xlsx.tmp"


def folder_bytes(path):
    """Bytes in the folder's files: all of them, and the part files alone (without the archive)."""
    total = parts = 0
    try:
        with os.scandir(path) as entries:
            for entry in entries:
                try:
                    size = entry.stat(follow_symlinks=False).st_size
                except FileNotFoundError:
                    continue
                total += size
                if entry.name != ARCHIVE_IN_FOLDER:
                    parts += size
    except (FileNotFoundError, NotADirectoryError):
        pass
    return total, parts


def zlib6_size(archive, scratch):
    """Size of the same entries, in the same order, packed by zipfile with zlib level 6."""
    repacked = os.path.join(scratch, "zlib6.zip")
    with zipfile.ZipFile(archive) as source, zipfile.ZipFile(
        repacked, "w", zipfile.ZIP_DEFLATED, compresslevel=6
    ) as target:
        for info in source.infolist():
            target.writestr(info.filename, source.read(info.filename))
    size = os.path.getsize(repacked)
    os.remove(repacked)
    return size


def run_once(binary, frames, scratch, measure_archive):
    target = os.path.join(scratch, "bench.xlsx")
    folder = target + "_fldr"
    peak_folder = peak_parts = 0
    done = threading.Event()

    def sample():
        nonlocal peak_folder, peak_parts
        while not done.is_set():
            total, parts = folder_bytes(folder)
            peak_folder = max(peak_folder, total)
            peak_parts = max(peak_parts, parts)
            time.sleep(0.01)

    sampler = threading.Thread(target=sample)
    sampler.start()
    start = time.monotonic()
    # GNU time reports the export's own peak memory: a child started straight from this
    # (large) Python process would inherit its high-water mark.
    rss_file = os.path.join(scratch, "rss")
    process = subprocess.Popen(
        ["/usr/bin/time", "-f", "%M", "-o", rss_file, binary, str(frames), target], stdout=subprocess.DEVNULL
    )
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.monotonic() - start
    done.set()
    sampler.join()
    if status != 0:
        raise SystemExit(f"{binary} {frames} failed with status {status}")
    result = {
        "wall s": wall,
        "cpu s": usage.ru_utime + usage.ru_stime,
        "peak RSS MiB": int(open(rss_file).read().split()[-1]) / 1024,
        "peak temp MB": peak_folder / 1e6,
        "peak parts MB": peak_parts / 1e6,
        "archive MB": os.path.getsize(target) / 1e6,
    }
    if measure_archive:
        result["archive / zlib 6"] = os.path.getsize(target) / zlib6_size(target, scratch)
    os.remove(target)
    return result


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--frames", type=int, nargs="+", default=[2000, 10000])
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--rss-frames", type=int, default=20000)
    parser.add_argument("builds", nargs=2, metavar="NAME=BENCH_EXPORT")
    args = parser.parse_args()
    builds = [b.split("=", 1) for b in args.builds]

    scratch = tempfile.mkdtemp(prefix="compare_exports.")
    try:
        for frames in args.frames:
            results = {name: [] for name, _ in builds}
            for round_index in range(args.rounds):
                order = builds if round_index % 2 == 0 else builds[::-1]
                for name, binary in order:
                    # The zlib repack is slow: once per build and frame count.
                    results[name].append(run_once(binary, frames, scratch, round_index == 0))
            print(f"\n{frames} frames, {args.rounds} rounds alternated (median)")
            keys = list(results[builds[0][0]][0].keys())
            print(f"{'':18}" + "".join(f"{name:>14}" for name, _ in builds) + f"{'ratio':>10}")
            for key in keys:
                medians = [statistics.median(r[key] for r in results[name] if key in r) for name, _ in builds]
                print(f"{key:18}" + "".join(f"{m:14.3f}" for m in medians) + f"{medians[1] / medians[0]:10.3f}")

        print(f"\npeak RSS growth from {args.frames[0]} to {args.rss_frames} frames (one run each, alternated)")
        for name, binary in builds:
            low = run_once(binary, args.frames[0], scratch, False)["peak RSS MiB"]
            high = run_once(binary, args.rss_frames, scratch, False)["peak RSS MiB"]
            print(f"{name:18}{low:10.1f} -> {high:10.1f} MiB  growth {high - low:6.1f} MiB")
    finally:
        shutil.rmtree(scratch, ignore_errors=True)


if __name__ == "__main__":
    main()
