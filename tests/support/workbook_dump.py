#!/usr/bin/python3
"""Reads .xlsx workbooks with independent readers and prints what they hold as JSON.

workbook_dump.py WORKBOOK.xlsx...: zipfile (entry order, CRC checks) and openpyxl, one process
for many workbooks: per workbook {"entries", "sheets": [{"title", "part", "dimension" (as the
part declares it), "hidden_ranges", "rows" (null for empty cells, ISO text for dates)}]}.

workbook_dump.py --clients WORKBOOK.xlsx SCRATCH_FOLDER: the ways clients read it, openpyxl
normal, read-only (which trusts each sheet's <dimension>) and LibreOffice (converted headless,
read back with openpyxl): {"readers": {name: [{"title", "cells": {"A1": value}}]}, "sheets":
[{"title", "part", "declared", "computed" (by openpyxl from the cells), "ordered" (whether
each row's cell references rise strictly from left to right)}]}.
"""
import datetime
import json
import os
import re
import subprocess
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
    """(title, part below xl/) of each sheet in workbook order, through the relationships."""
    rels = ET.fromstring(archive.read("xl/_rels/workbook.xml.rels"))
    targets = {r.get("Id"): r.get("Target") for r in rels.iter(PKG_REL + "Relationship")}
    workbook = ET.fromstring(archive.read("xl/workbook.xml"))
    return [(s.get("name"), targets[s.get(REL + "id")]) for s in workbook.iter(MAIN + "sheet")]


def dump(path):
    with zipfile.ZipFile(path) as archive:
        bad = archive.testzip()
        if bad is not None:
            raise SystemExit("corrupt entry: " + bad)
        entries = archive.namelist()
        parts = ["xl/" + part for _, part in sheet_parts(archive)]
        dimensions = [re.search(r'<dimension ref="([^"]*)"', archive.read(p).decode("utf-8")).group(1) for p in parts]

    book = openpyxl.load_workbook(path, data_only=True)
    sheets = []
    for ws, part, dimension in zip(book.worksheets, parts, dimensions):
        sheets.append({
            "title": ws.title,
            "part": part,
            "dimension": dimension,
            "hidden_ranges": sorted([d.min, d.max] for d in ws.column_dimensions.values() if d.hidden),
            "rows": [[cell_value(c) for c in row] for row in ws.iter_rows(values_only=True)],
        })
    return {"entries": entries, "sheets": sheets}


def cells_of(book):
    return [{"title": ws.title,
             "cells": {c.coordinate: cell_value(c.value) for row in ws.iter_rows() for c in row
                       if c.value is not None and c.value != ""}}
            for ws in book.worksheets]


def column_number(letters):
    n = 0
    for ch in letters:
        n = n * 26 + ord(ch) - 64
    return n


def raw_sheets(path):
    """Declared dimension and reference order of each sheet, from the XML itself."""
    result = []
    with zipfile.ZipFile(path) as archive:
        for title, part in sheet_parts(archive):
            root = ET.fromstring(archive.read("xl/" + part))
            ordered = True
            for row in root.iter(MAIN + "row"):
                last = 0
                for c in row.iter(MAIN + "c"):
                    letters, digits = re.match(r"([A-Z]+)(\d+)$", c.get("r")).groups()
                    column = column_number(letters)
                    ordered = ordered and digits == row.get("r") and column > last
                    last = column
            result.append({"title": title, "part": part, "declared": root.find(MAIN + "dimension").get("ref"),
                           "ordered": ordered})
    return result


def clients(path, scratch):
    normal = openpyxl.load_workbook(path)
    readers = {"openpyxl": cells_of(normal), "read_only": cells_of(openpyxl.load_workbook(path, read_only=True))}
    office_out = os.path.join(scratch, "office")
    subprocess.run(["soffice", "-env:UserInstallation=file://" + os.path.join(scratch, "profile"), "--headless",
                    "--convert-to", "xlsx", "--outdir", office_out, path],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=600)
    readers["libreoffice"] = cells_of(openpyxl.load_workbook(os.path.join(office_out, os.path.basename(path))))
    sheets = raw_sheets(path)
    for sheet, ws in zip(sheets, normal.worksheets):
        sheet["computed"] = ws.calculate_dimension()
    return {"readers": readers, "sheets": sheets}


if __name__ == "__main__":
    if sys.argv[1] == "--clients":
        json.dump(clients(sys.argv[2], sys.argv[3]), sys.stdout)
    else:
        json.dump([dump(path) for path in sys.argv[1:]], sys.stdout)
