"""Plays one scenario with the program for Windows under Wine, as tests/scenarios/play does with the one of this system.

usage: play.py UNDER_WINE BIN_FOLDER SCENARIO.txt
"""
import pathlib
import shutil
import sys
import tempfile

import host

under_wine, binaries, scenario = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])


def tool(*arguments):
    if host.play(under_wine, binaries / "presva-mdb.exe", *arguments) != 0:
        sys.exit(f"presva-mdb {arguments[0]} failed")


with tempfile.TemporaryDirectory(prefix="presva-scenario-") as name:
    folder = pathlib.Path(name)
    database = folder / "Yag.mdb"
    tool("create", database)
    for table in ("Cari", "Hareket"):
        rows = scenario.with_suffix(f".{table.lower()}.csv")
        if rows.exists():
            tool("import", database, table, rows)
    files = scenario.with_suffix(".files")
    if files.exists():
        shutil.copytree(files, folder, dirs_exist_ok=True)
    code = host.run(under_wine, binaries / "presva-scenario.exe", scenario, "--dir", folder, "--print-to",
                    folder / "fis", "--now", "2025-11-20 14:05:00")
    if code != 0:
        sys.exit(code)
    tool("check", database)
