"""Checks of what installs with tavi-export.

manual-page: groff formats the page without a warning, and every option that
`tavi-export --help` names is documented in it.

installed-program: `cmake --install` into a fresh prefix gives a program that exports the
demo recording and the installed example recordings from there (finding its SDK library and
plug-in relative to itself, with no build tree and no library path to help), and the
compressed manual page holds the page.
"""

import argparse
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


def check_manual_page(args):
    lint = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-z", args.page],
                          capture_output=True, text=True)
    if lint.returncode != 0 or lint.stderr:
        fail(f"groff warns about {args.page}:\n{lint.stderr}")

    # The page as a reader sees it, without roff's escapes.
    shown = subprocess.run(["groff", "-man", "-Tutf8", "-P-cbou", args.page],
                           capture_output=True, text=True, check=True).stdout.replace("\u2010", "-")
    documented = set(OPTION.findall(shown))
    help_text = subprocess.run([args.program, "--help"], capture_output=True, text=True, check=True).stdout
    missing = sorted(set(OPTION.findall(help_text)) - documented)
    if missing:
        fail(f"options of --help missing from the manual page: {', '.join(missing)}")


def check_installed_program(args):
    with tempfile.TemporaryDirectory() as scratch:
        prefix = Path(scratch) / "prefix"
        subprocess.run([args.cmake, "--install", args.build_dir, "--prefix", prefix],
                       check=True, stdout=subprocess.DEVNULL)

        manual_pages = list(prefix.glob("share/man/man1/tavi-export.1.gz"))
        if not manual_pages:
            fail("no share/man/man1/tavi-export.1.gz installed")
        if gzip.decompress(manual_pages[0].read_bytes()) != Path(args.page).read_bytes():
            fail("the installed manual page is not the page of the sources")

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
                broken = archive.testzip()
                if broken is not None:
                    fail(f"the workbook of {recording[0]} has a broken entry {broken}")
                if "xl/workbook.xml" not in archive.namelist():
                    fail(f"the workbook of {recording[0]} has no xl/workbook.xml")


def main():
    parser = argparse.ArgumentParser()
    checks = parser.add_subparsers(dest="check", required=True)
    page = checks.add_parser("manual-page")
    page.add_argument("--page", required=True)
    page.add_argument("--program", required=True)
    installed = checks.add_parser("installed-program")
    installed.add_argument("--cmake", required=True)
    installed.add_argument("--build-dir", required=True)
    installed.add_argument("--page", required=True)
    args = parser.parse_args()
    {"manual-page": check_manual_page, "installed-program": check_installed_program}[args.check](args)


if __name__ == "__main__":
    main()
