"""Reads a zip archive as the archive writer lays it out and checks it: entries back to back
from offset 0, each local header repeating its central record's fields and name, no extra
fields or comments, the directory right after the last entry and the end record after it.
Python's zipfile then reads every entry (checking its CRC) and, with EXPECTED_DIR, compares
it with the file of the same name there; `unzip -t` tests any archive with entries too.

Usage: zip_check.py ARCHIVE [EXPECTED_DIR]
Prints a line per entry: name, method, version needed, flags, time (seconds since the epoch), size stored, external
attributes and version made by (hex), SHA-1 of the bytes stored. Exits non-zero on any fault."""

import functools
import hashlib
import pathlib
import struct
import subprocess
import sys
import time
import zipfile


@functools.cache
def stamp(date_time):
    return int(time.mktime(date_time + (0, 0, -1)))


def main() -> int:
    data = pathlib.Path(sys.argv[1]).read_bytes()
    signature, disk, directory_disk, on_disk, count, size, offset, comment = struct.unpack("<IHHHHIIH", data[-22:])
    assert signature == 0x06054B50 and disk == directory_disk == comment == 0 and on_disk == count, "end record"
    assert offset + size == len(data) - 22, "the directory does not end at the end record"
    stored, at, record = [], 0, offset
    for _ in range(count):
        assert data[record:record + 4] == b"PK\x01\x02", "central record signature"
        made_by, = struct.unpack_from("<H", data, record + 4)
        name_length, extra_length, comment_length = struct.unpack_from("<HHH", data, record + 28)
        header_offset, = struct.unpack_from("<I", data, record + 42)
        name = data[record + 46:record + 46 + name_length]
        compressed, = struct.unpack_from("<I", data, record + 20)
        assert header_offset == at, f"{name} does not follow the entry before"
        assert extra_length == comment_length == 0, f"{name} has an extra field or comment"
        assert data[at:at + 4] == b"PK\x03\x04", "local header signature"
        assert data[at + 4:at + 30] == data[record + 6:record + 32], f"{name}: local header differs"
        assert data[at + 30:at + 30 + name_length] == name, f"{name}: local name differs"
        start = at + 30 + name_length
        stored.append((made_by, hashlib.sha1(data[start:start + compressed]).hexdigest()))
        at, record = start + compressed, record + 46 + name_length
    assert at == offset and record == offset + size, "the directory does not follow the entries"

    if count:  # unzip calls an empty archive a fault
        unzip = subprocess.run(["unzip", "-tq", sys.argv[1]], capture_output=True, text=True)
        assert unzip.returncode == 0 and "No errors detected" in unzip.stdout, unzip.stdout + unzip.stderr

    expected = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else None
    lines = []
    with zipfile.ZipFile(sys.argv[1]) as archive:
        names = [info.filename for info in archive.infolist()]
        if expected is not None:
            files = sorted(p.relative_to(expected).as_posix() for p in expected.rglob("*") if p.is_file())
            assert sorted(names) == files, f"entries {names} differ from {files}"
        for info, (made_by, digest) in zip(archive.infolist(), stored):
            # Reading tens of thousands of empty stored entries is slow; their CRC must be 0.
            contents = archive.read(info) if info.file_size or info.compress_size else b""
            assert contents or info.CRC == 0, f"{info.filename}: CRC of nothing"
            assert expected is None or contents == (expected / info.filename).read_bytes(), info.filename
            lines.append(f"{info.filename} {info.compress_type} {info.extract_version} {info.flag_bits} "
                         f"{stamp(info.date_time)} {info.compress_size} {info.external_attr:08x} {made_by:04x} {digest}\n")
    sys.stdout.write("".join(lines))  # one write: tens of thousands of prints are slow unbuffered
    return 0


if __name__ == "__main__":
    sys.exit(main())
