#!/usr/bin/python3
"""Draws docs/demo-workbook.png from a workbook exported with `tavi-export --demo`.

Usage: plot_demo_workbook.py DEMO.xlsx OUTPUT.png
Reads the workbook with openpyxl (an independent reader) and plots a few exported columns
over time, one panel per worksheet, with the list of the workbook's sheets. Needs Debian's
python3-openpyxl and python3-matplotlib.
"""
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import openpyxl  # noqa: E402


def columns(book, sheet, wanted):
    rows = book[sheet].iter_rows(values_only=True)
    header = next(rows)
    index = [header.index(name) for name in wanted]
    data = [[] for _ in index]
    frames = []
    for row in rows:
        frames.append(row[0])
        for series, i in zip(data, index):
            series.append(row[i])
    return frames, data


def main(workbook, output):
    book = openpyxl.load_workbook(workbook, read_only=True)
    rate = dict(book["General Information"].iter_rows(values_only=True))["Frame Rate"]
    panels = [
        ("Joint Angles ZXY", ["Right Knee Flexion/Extension", "Left Knee Flexion/Extension"], "degrees"),
        ("Segment Position", ["Right Foot z", "Left Foot z"], "metres"),
        ("Center of Mass", ["CoM pos z"], "metres"),
        ("External Data", ["EMG Right Vastus Lateralis", "EMG Left Vastus Lateralis"], "mV"),
    ]
    fig, axes = plt.subplots(len(panels), 1, figsize=(9, 8.5), sharex=True)
    for ax, (sheet, names, unit) in zip(axes, panels):
        frames, data = columns(book, sheet, names)
        if sheet == "External Data":
            # Several rows per frame: spread them evenly over the frame.
            per_frame = len(frames) // len(set(frames))
            times = [i / (per_frame * rate) for i in range(len(frames))]
        else:
            times = [f / rate for f in frames]
        for name, series in zip(names, data):
            ax.plot(times, series, linewidth=0.8, label=name)
        ax.set_title(sheet, fontsize=10, loc="left")
        ax.set_ylabel(unit, fontsize=9)
        ax.legend(fontsize=8, loc="upper right")
        ax.grid(alpha=0.3)
    axes[-1].set_xlabel("time (s)")
    fig.suptitle("tavi-export --demo: a few of the exported columns", fontsize=11)
    fig.text(0.01, 0.005, "Sheets: " + ", ".join(book.sheetnames), fontsize=6.5, wrap=True)
    fig.tight_layout(rect=(0, 0.04, 1, 1))
    fig.savefig(output, dpi=90)


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2])
