"""Checks of what installs with tavi-export.

manual-page: groff formats the page without a warning, and every option that
`tavi-export --help` names is documented in it.

installed-program: `cmake --install` into a fresh prefix gives a program that exports the
demo recording and the installed example recordings from there (finding its SDK library and
plug-in relative to itself, with no build tree and no library path to help), and the
compressed manual page holds the page.
"""

import gzip
import os
import re
import subprocess
import sys
import tempfile
import zipfile
from pathlib import Path

OPTION = re.compile(r"(?<![\w-])--?[a-z][a-z-]*")


def fail(message):
    print(message, file=sys.stderr)
    sys.exit(1)


def check_manual_page(page, program):
    lint = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-z", page],
                          capture_output=True, text=True)
    if lint.returncode != 0 or lint.stderr:
        fail(f"groff warns about {page}:\n{lint.stderr}")

    # The page as a reader sees it, without roff's escapes.
    shown = subprocess.run(["groff", "-man", "-Tutf8", "-P-cbou", page],
                           capture_output=True, text=True, check=True).stdout.replace("\u2010", "-")
    documented = set(OPTION.findall(shown))
    help_text = subprocess.run([program, "--help"], capture_output=True, text=True, check=True).stdout
    missing = sorted(set(OPTION.findall(help_text)) - documented)
    if missing:
        fail(f"options of --help missing from the manual page: {', '.join(missing)}")


def check_installed_program(cmake, build_dir, page):
    with tempfile.TemporaryDirectory() as scratch:
        prefix = Path(scratch) / "prefix"
        subprocess.run([cmake, "--install", build_dir, "--prefix", prefix],
                       check=True, stdout=subprocess.DEVNULL)

        installed_page = prefix / "share/man/man1/tavi-export.1.gz"
        if not installed_page.exists() or gzip.decompress(installed_page.read_bytes()) != Path(page).read_bytes():
            fail("share/man/man1/tavi-export.1.gz is not installed or not the page of the sources")

        env = {key: value for key, value in os.environ.items() if not key.startswith("LD_")}
        env["XDG_CONFIG_HOME"] = str(Path(scratch) / "config")
        recordings = [["--demo"]] + [[str(example)] for example in prefix.glob("share/doc/*/examples/*.json")]
        for number, recording in enumerate(recordings):
            workbook = Path(scratch) / f"export{number}.xlsx"
            run = subprocess.run([prefix / "bin" / "tavi-export", "--quiet", *recording, workbook],
                                 capture_output=True, text=True, env=env, cwd=scratch)
            if run.returncode != 0:
                fail(f"the installed tavi-export {recording[0]} ended with {run.returncode}:\n{run.stderr}")
            with zipfile.ZipFile(workbook) as archive:
                if archive.testzip() is not None or "xl/workbook.xml" not in archive.namelist():
                    fail(f"the workbook of {recording[0]} has a broken entry or no xl/workbook.xml")


if __name__ == "__main__":
    # manual-page PAGE PROGRAM | installed-program CMAKE BUILD_DIR PAGE
    {"manual-page": check_manual_page, "installed-program": check_installed_program}[sys.argv[1]](*sys.argv[2:])
