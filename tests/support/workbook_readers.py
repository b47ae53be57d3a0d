#!/usr/bin/python3
"""Reads an .xlsx workbook the ways clients do and prints what each one sees as JSON.

Usage: workbook_readers.py WORKBOOK.xlsx SCRATCH_FOLDER

Readers: openpyxl in normal mode, openpyxl in read-only mode (which trusts each sheet's
<dimension>), and LibreOffice (one headless conversion to .xlsx, read back with openpyxl).
Output: {"readers": {name: [{"title", "cells": {"A1": value, ...}}]},
         "sheets": [{"title", "part", "declared", "computed", "ordered"}]}
"declared" is the sheet's <dimension>, "computed" the range openpyxl computes from the cells,
"ordered" whether every row's cell references rise strictly from left to right.
"""
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


def cells_of(book):
    sheets = []
    for ws in book.worksheets:
        cells = {}
        for row in ws.iter_rows():
            for c in row:
                if c.value is not None and c.value != "":
                    value = c.value
                    cells[c.coordinate] = value.isoformat() if hasattr(value, "isoformat") else value
        sheets.append({"title": ws.title, "cells": cells})
    return sheets


def column_number(letters):
    n = 0
    for ch in letters:
        n = n * 26 + ord(ch) - 64
    return n


def raw_sheets(path):
    """Declared dimension and reference order of each sheet, from the XML itself."""
    with zipfile.ZipFile(path) as archive:
        rels = ET.fromstring(archive.read("xl/_rels/workbook.xml.rels"))
        targets = {r.get("Id"): r.get("Target") for r in rels.iter(PKG_REL + "Relationship")}
        workbook = ET.fromstring(archive.read("xl/workbook.xml"))
        result = []
        for s in workbook.iter(MAIN + "sheet"):
            root = ET.fromstring(archive.read("xl/" + targets[s.get(REL + "id")]))
            ordered = True
            for row in root.iter(MAIN + "row"):
                last = 0
                for c in row.iter(MAIN + "c"):
                    letters, digits = re.match(r"([A-Z]+)(\d+)$", c.get("r")).groups()
                    column = column_number(letters)
                    ordered = ordered and digits == row.get("r") and column > last
                    last = column
            result.append({"title": s.get("name"), "part": targets[s.get(REL + "id")], "declared": root.find(MAIN + "dimension").get("ref"),
                           "ordered": ordered})
    return result


def main(path, scratch):
    readers = {}
    normal = openpyxl.load_workbook(path)
    readers["openpyxl"] = cells_of(normal)
    readers["read_only"] = cells_of(openpyxl.load_workbook(path, read_only=True))

    office_out = os.path.join(scratch, "office")
    subprocess.run(["soffice", "-env:UserInstallation=file://" + os.path.join(scratch, "profile"), "--headless",
                    "--convert-to", "xlsx", "--outdir", office_out, path],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=600)
    readers["libreoffice"] = cells_of(openpyxl.load_workbook(os.path.join(office_out, os.path.basename(path))))

    sheets = raw_sheets(path)
    for sheet, ws in zip(sheets, normal.worksheets):
        sheet["computed"] = ws.calculate_dimension()
    json.dump({"readers": readers, "sheets": sheets}, sys.stdout)


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2])
