"""A slip says the same words on every way out: of the Linux program as a PDF file, of the program for Windows through a
printer's driver. The words stand in slip.txt; a rule is as long as its paper is wide, so that of rules only the sign is
compared.

usage: slip_words.py BIN_FOLDER                  a slip as a PDF file
       slip_words.py BIN_FOLDER UNDER_WINE       one through Wine's driver, into a print scheduler of the test's own
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

import host
from scheduler import Scheduler

binaries, under_wine = pathlib.Path(sys.argv[1]), sys.argv[2] if len(sys.argv) > 2 else None
here = pathlib.Path(__file__).resolve().parent
scenario = here.parent / "scenarios/an-empty-mill-serves-its-first-customer.txt"


def words_of(pdf):
    text = subprocess.run(["pdftotext", "-layout", pdf, "-"], check=True, capture_output=True, text=True).stdout
    # Hyphen and soft hyphen, and a semicolon and its Greek twin, are one drawing in the font; the driver names it by the
    # other.
    text = text.replace("\u00ad", "-").replace("\u037e", ";")
    return re.sub(r"([=-])\1+", r"\1", text).split()


def as_file(folder):
    environment = {key: value for key, value in os.environ.items() if key != "LC_ALL"} | {"LANG": "tr_TR.UTF-8"}
    subprocess.run([binaries / "presva-mdb", "create", folder / "Yag.mdb"], check=True)
    subprocess.run([binaries / "presva-scenario", scenario, "--dir", folder, "--print-to", folder / "fis", "--now",
                    "2025-11-20 14:05:00"], check=True, env=environment)
    return next((folder / "fis").glob("*.pdf"))


def through_a_driver(folder):
    # Windows looks for its printers when it starts.
    host.end_windows(under_wine)
    own = folder / "cups"
    own.mkdir()
    with Scheduler(own, "X80MM") as scheduler:
        if host.play(under_wine, binaries / "presva-mdb.exe", "create", folder / "Yag.mdb",
                     environment=scheduler.environment) != 0:
            sys.exit("slip_words: no database could be made")
        if host.run(under_wine, binaries / "presva-scenario.exe", scenario, "--dir", folder, "--now",
                    "2025-11-20 14:05:00", environment=scheduler.environment) != 0:
            sys.exit("slip_words: the scenario was not played to its end")
        return scheduler.printed(1)


with tempfile.TemporaryDirectory(prefix="presva-slip-", dir="/tmp", ignore_cleanup_errors=True) as name:
    folder = pathlib.Path(name)
    folder.chmod(0o755)
    said = words_of(through_a_driver(folder) if under_wine else as_file(folder))
    expected = (here / "slip.txt").read_text().split()
    if said != expected:
        sys.exit("slip_words: the slip says\n" + " ".join(said) + "\ninstead of\n" + " ".join(expected))
    print(f"{len(said)} words")
