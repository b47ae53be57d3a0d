#!/usr/bin/python3
"""Reads an .xlsx workbook with independent readers and prints what it holds as JSON.

Usage: workbook_dump.py WORKBOOK.xlsx

The archive is read with zipfile (entry order, CRC checks) and the sheets with openpyxl.
Output: {"entries": [...], "shared_strings": {"count", "unique"},
         "sheets": [{"title", "part", "dimension", "hidden_ranges", "rows"}]}
"dimension" is the ref the sheet part declares; rows hold numbers, strings, null for empty
cells and ISO text for dates.
"""
import datetime
import json
import re
import sys
import xml.etree.ElementTree as ET
import zipfile

import openpyxl

MAIN = "{http://schemas.openxmlformats.org/spreadsheetml/2006/main}"
REL = "{http://schemas.openxmlformats.org/officeDocument/2006/relationships}"
PKG_REL = "{http://schemas.openxmlformats.org/package/2006/relationships}"


def cell_value(value):
    if isinstance(value, (datetime.datetime, datetime.date)):
        return value.isoformat()
    return value


def sheet_parts(archive):
    """Part name of each sheet in workbook order, through the workbook relationships."""
    rels = ET.fromstring(archive.read("xl/_rels/workbook.xml.rels"))
    targets = {r.get("Id"): r.get("Target") for r in rels.iter(PKG_REL + "Relationship")}
    workbook = ET.fromstring(archive.read("xl/workbook.xml"))
    return ["xl/" + targets[s.get(REL + "id")] for s in workbook.iter(MAIN + "sheet")]


def main(path):
    with zipfile.ZipFile(path) as archive:
        bad = archive.testzip()
        if bad is not None:
            raise SystemExit("corrupt entry: " + bad)
        entries = archive.namelist()
        sst = archive.read("xl/sharedStrings.xml").decode("utf-8")
        counts = re.search(r'count="(\d+)" uniqueCount="(\d+)"', sst)
        parts = sheet_parts(archive)
        dimensions = [re.search(r'<dimension ref="([^"]*)"', archive.read(p).decode("utf-8")).group(1)
                      for p in parts]

    book = openpyxl.load_workbook(path, data_only=True)
    sheets = []
    for ws, part, dimension in zip(book.worksheets, parts, dimensions):
        hidden = sorted([d.min, d.max] for d in ws.column_dimensions.values() if d.hidden)
        sheets.append({
            "title": ws.title,
            "part": part,
            "dimension": dimension,
            "hidden_ranges": hidden,
            "rows": [[cell_value(c) for c in row] for row in ws.iter_rows(values_only=True)],
        })
    json.dump({
        "entries": entries,
        "shared_strings": {"count": int(counts.group(1)), "unique": int(counts.group(2))},
        "sheets": sheets,
    }, sys.stdout)


if __name__ == "__main__":
    main(sys.argv[1])
