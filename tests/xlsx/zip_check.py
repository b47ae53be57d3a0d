"""Reads a zip archive with the standard library and compares every entry with the file of
the same name under a folder of expected contents.

Usage: zip_check.py ARCHIVE EXPECTED_DIR
Prints one line per entry: name, compression type, date-time, external attributes (hex).
Exits non-zero when a CRC fails, the names differ or any content differs."""

import pathlib
import sys
import zipfile


def main() -> int:
    archive = sys.argv[1]
    expected_dir = pathlib.Path(sys.argv[2])
    expected_names = sorted(p.relative_to(expected_dir).as_posix()
                            for p in expected_dir.rglob("*") if p.is_file())
    with zipfile.ZipFile(archive) as zf:
        broken = zf.testzip()
        if broken is not None:
            print(f"CRC mismatch in {broken}")
            return 1
        names = sorted(zf.namelist())
        if names != expected_names:
            print(f"entries {names} differ from expected {expected_names}")
            return 1
        for info in zf.infolist():
            if zf.read(info) != (expected_dir / info.filename).read_bytes():
                print(f"content of {info.filename} differs")
                return 1
            stamp = "%04d-%02d-%02dT%02d:%02d:%02d" % info.date_time
            print(f"{info.filename} {info.compress_type} {stamp} {info.external_attr:08x}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
