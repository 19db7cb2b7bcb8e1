"""Installs the counter under Wine without a question, starts it from its menu entry, installs it again while it runs and
when it is closed, and removes it. What the mill has stored is not touched by any of it.

usage: installed.py UNDER_WINE SETUP.exe PRESVA_MDB.exe
"""
import hashlib
import os
import pathlib
import subprocess
import sys
import tempfile
import time

under_wine, setup, presva_mdb = sys.argv[1:]


def fail(sentence):
    sys.exit(f"installed: {sentence}")


def wine(*arguments):
    return subprocess.run([under_wine, *arguments], env=environment, capture_output=True, text=True, errors="replace")


def wait_until(condition, what, seconds=60):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            fail(f"after {seconds} s still not: {what}")
        time.sleep(0.2)


def digest(file):
    return hashlib.sha256(file.read_bytes()).hexdigest()


def is_held():
    """Whether the counter has the database open: it says so to others by a file beside it."""
    return database.with_suffix(".ldb").exists()


def close_counter():
    wine("taskkill", "/im", "presva.exe")
    wait_until(lambda: not is_held(), "the counter is closed")


with tempfile.TemporaryDirectory(prefix="presva-installed-") as name:
    folder = pathlib.Path(name)
    environment = dict(os.environ, PRESVA_WINE=str(folder / "wine"))
    wine("reg", "query", "HKCU")
    local = next((folder / "wine/drive_c/users").glob("*/AppData/Local"))
    installed = local / "Programs/Mendrik Presva"
    menu = local.parent / "Roaming/Microsoft/Windows/Start Menu/Programs/Mendrik Presva.lnk"
    removal = r"HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Mendrik Presva"
    data = local / "Mendrik Presva"
    data.mkdir()
    database = data / "Yag.mdb"
    if wine(presva_mdb, "create", database).returncode != 0:
        fail("no database could be made")
    before = digest(database)
    theirs = installed / "notlar.txt"

    try:
        # Installed, and told to the system.
        if wine(setup, "/S").returncode != 0 or not (installed / "presva.exe").exists() or not menu.exists():
            fail("the installer has not done its work")
        if "1.0.0" not in wine("reg", "query", removal, "/v", "DisplayVersion").stdout:
            fail("the system does not know what was installed")
        theirs.write_text("of somebody else")

        # Started from its menu entry, on the data that were there.
        # Without pipes: the counter would hold them for as long as it runs.
        subprocess.run([under_wine, "start", "/unix", menu], env=environment, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        wait_until(is_held, "the counter started from its menu entry has opened the database")

        # A copy that runs stays as it is.
        program = digest(installed / "presva.exe")
        if wine(setup, "/S").returncode != 2:
            fail("the installer has not refused to replace a program that runs")
        if digest(installed / "presva.exe") != program or not is_held():
            fail("the running program was disturbed")
        close_counter()
        layout = wine("reg", "query", r"HKCU\Software\VB and VBA Program Settings\Mendrik\ActiveResize").stdout
        if "Maximized" not in layout or "True" not in layout:
            fail(f"the closed counter has not kept its window's place in the registry: {layout}")
        # Its file is let go of a moment after its window; Wine's tasklist says nothing of programs.
        wait_until(lambda: wine(setup, "/S").returncode == 0, "the closed program is replaced", 20)

        # Removed, but for what is not the program's.
        wine(installed / "kaldir.exe", "/S")
        wait_until(lambda: not (installed / "kaldir.exe").exists() and not menu.exists(), "the program is removed")
        wait_until(lambda: wine("reg", "query", removal).returncode != 0, "the system has forgotten it")
        if [file.name for file in installed.iterdir()] != [theirs.name]:
            fail(f"left: {sorted(file.name for file in installed.iterdir())}")
        if digest(database) != before:
            fail("the database has changed")
        print("installed, started, refused while running, replaced, removed; the database unchanged")
    finally:
        subprocess.run(["wineserver", "--kill"], env=dict(environment, WINEPREFIX=environment["PRESVA_WINE"]))
        subprocess.run(["wineserver", "--wait"], env=dict(environment, WINEPREFIX=environment["PRESVA_WINE"]))
