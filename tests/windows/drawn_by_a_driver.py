"""A job drawn through a printer driver comes out letter by letter where it was placed, on the paper that was asked for.

The driver is Wine's own, which speaks PostScript; the print scheduler is one of the test's own, with everything in a
temporary folder. What arrives at its printer is measured.
usage: drawn_by_a_driver.py UNDER_WINE DRAWN_JOB.exe
"""
import os
import pathlib
import subprocess
import sys
import tempfile

import host
from scheduler import Scheduler, Words

under_wine, program = sys.argv[1:]


def fail(message):
    sys.exit(f"drawn_by_a_driver: {message}")


def hold_to(page, number, wanted):
    """Each text of `wanted` (letters, x and base line in points) stands there, a letter every six points."""
    words = list(page)
    for letters, x, base in wanted:
        at = 0
        while at < len(letters):
            if not words:
                fail(f"page {number} ends before {letters[at:]}")
            text, left, top, bottom = words.pop(0)
            if not letters.startswith(text, at):
                fail(f"page {number} says {text} instead of {letters[at:]}")
            if abs(left - (x + 6 * at)) > 0.3:
                fail(f"page {number}: {text} begins at {left} instead of {x + 6 * at}")
            if not top < base - 3 < base < bottom + 1:
                fail(f"page {number}: {text} stands between {top} and {bottom}, not on {base}")
            at += len(text)
    if words:
        fail(f"page {number} says {words} besides")


def black_in_row(file, row):
    """From where to where a row of dots (72 to the inch) of the first page is black."""
    picture = file.with_suffix(".pbm")
    subprocess.run(["gs", "-q", "-dBATCH", "-dNOPAUSE", "-dLastPage=1", "-r72", "-sDEVICE=pbm", f"-sOutputFile={picture}",
                    file], check=True)
    numbers = [line for line in picture.read_text().splitlines() if not line.startswith("#")]
    width, _ = map(int, numbers[1].split())
    dots = "".join(numbers[2:]).replace(" ", "")
    row = dots[row * width:(row + 1) * width]
    return row.find("1"), row.rfind("1"), row.count("1")


def play(scheduler, *arguments):
    # Into files: what Windows itself runs has its output, too, and may end later than the program.
    with tempfile.TemporaryFile("w+") as output, tempfile.TemporaryFile("w+") as errors:
        code = subprocess.run([under_wine, program, *arguments], env=scheduler.environment, stdin=subprocess.DEVNULL,
                              stdout=output, stderr=errors).returncode
        output.seek(0)
        errors.seek(0)
        said = output.read()
        print(said, errors.read())
    if code != 0:
        fail(f"the program has ended with {code}")
    return dict(line.split(": ", 1) for line in said.splitlines() if ": " in line)


def printed_on(paper, *arguments):
    """What the program said, and the file of its job, on a printer whose usual paper is that; in a Windows that starts
    anew, for that is when it looks for printers."""
    host.end_windows(under_wine)
    folder = pathlib.Path(tempfile.mkdtemp(dir=all_folders))
    with Scheduler(folder, paper) as scheduler:
        said, file = play(scheduler, *arguments), scheduler.printed(1)
        if scheduler.jobs() != 1:
            fail(f"{scheduler.jobs()} jobs, although all but one were given up")
        return said, file


with tempfile.TemporaryDirectory(prefix="presva-cups-", dir="/tmp", ignore_cleanup_errors=True) as all_folders:
    pathlib.Path(all_folders).chmod(0o755)
    said, file = printed_on("A4")
    if said["before"] != "not taken":
        fail(f"before: {said['before']}, although nothing is drawn")
    # A page may be on paper before the document is whole: neither a yes nor, for certain, a no.
    if said["drawn"] not in ("not taken", "unknown"):
        fail(f"drawn: {said['drawn']}, although the document is not whole")
    if said["finished"] not in ("taken", "unknown"):
        fail(f"finished: {said['finished']}")
    if not said["mark"].startswith("Fis 20"):
        fail(f"the job is called {said['mark']}")
    for moment in ("without mark", "another's"):
        if said[moment] != "unknown":
            fail(f"{moment}: {said[moment]}, although that number may be anybody's job")
    for moment in ("still", "recalled"):
        if said[moment] not in (said["finished"], "unknown"): # a spooler may forget meanwhile
            fail(f"finished: {said['finished']}, but {moment}: {said[moment]}")
    pages = Words(file).pages
    if [page[:2] for page in pages] != [(595, 842)] * 2:
        fail(f"not two pages of A4: {pages}")
    hold_to(pages[0][2], 1, [("Sıkım", 72, 72), ("Şişeğü", 144, 144)])
    hold_to(pages[1][2], 2, [("İkinci", 72, 72)])
    first, last, count = max((black_in_row(file, row) for row in (215, 216)), key=lambda found: found[2])
    if abs(first - 72) > 1 or abs(last - 216) > 1 or count < last - first:
        fail(f"the line goes from {first} to {last}, {count} dots of it black")
    print("every letter and the line stand where they were placed")

    # This driver names the lengths of its shortest and longest form and takes no length in between.
    said, file = printed_on("X80MM")
    if said["lengths"] != "0 to 0":
        fail(f"lengths {said['lengths']} of a driver that has only forms")
    if Words(file).pages[0][:2] != (227, 567):
        fail("the usual paper of the printer is not used")
    said, file = printed_on("X80MM", "form 9")  # the system's number of A4
    if Words(file).pages[0][:2] != (595, 842):
        fail("the form that is asked for is not used")
    print("paper is that of the printer, or the form that is asked for")
