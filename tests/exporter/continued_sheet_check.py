#!/usr/bin/python3
"""Reads the External Data sheets of a workbook with openpyxl in read-only mode (the mode that
trusts each sheet's dimension) and prints, as JSON, per sheet its title, header row, number of
data rows and first and last data row, and whether the Sample column runs on without a gap
from the first sheet to the last.

Usage: continued_sheet_check.py WORKBOOK.xlsx
"""
import json
import sys

import openpyxl


def main(path):
    book = openpyxl.load_workbook(path, read_only=True)
    sheets = []
    next_sample = 0
    contiguous = True
    for ws in book.worksheets:
        if not ws.title.startswith("External Data"):
            continue
        rows = ws.iter_rows(values_only=True)
        header = list(next(rows))
        first = last = None
        count = 0
        for row in rows:
            contiguous = contiguous and row[1] == next_sample
            next_sample += 1
            first = first or list(row)
            last = list(row)
            count += 1
        sheets.append({"title": ws.title, "header": header, "rows": count, "first": first, "last": last})
    json.dump({"sheets": sheets, "contiguous": contiguous, "samples": next_sample}, sys.stdout)


if __name__ == "__main__":
    main(sys.argv[1])
