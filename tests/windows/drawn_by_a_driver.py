"""A job drawn through a printer driver comes out letter by letter where it was placed, on the paper that was asked for.

The driver is Wine's own, which speaks PostScript; the print scheduler is one of the test's own, with everything in a
temporary folder. What arrives at its printer is measured.
usage: drawn_by_a_driver.py UNDER_WINE DRAWN_JOB.exe
"""
import html.parser
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

under_wine, program = sys.argv[1:]

driver = '''*PPD-Adobe: "4.3"
*FormatVersion: "4.3"
*FileVersion: "1.0"
*LanguageVersion: English
*LanguageEncoding: ISOLatin1
*PCFileName: "TEST.PPD"
*Manufacturer: "Test"
*Product: "(Test)"
*ModelName: "Test"
*ShortNickName: "Test"
*NickName: "Test"
*PSVersion: "(3010.000) 0"
*LanguageLevel: "3"
*ColorDevice: False
*DefaultColorSpace: Gray
*FileSystem: False
*Throughput: "1"
*TTRasterizer: Type42
*DefaultResolution: 600dpi
*cupsFilter: "application/vnd.cups-postscript 0 -"
*OpenUI *PageSize: PickOne
*OrderDependency: 10 AnySetup *PageSize
*DefaultPageSize: A4
*PageSize A4: "<</PageSize[595 842]>>setpagedevice"
*PageSize X80MM: "<</PageSize[227 567]>>setpagedevice"
*CloseUI: *PageSize
*OpenUI *PageRegion: PickOne
*OrderDependency: 10 AnySetup *PageRegion
*DefaultPageRegion: A4
*PageRegion A4: "<</PageSize[595 842]>>setpagedevice"
*PageRegion X80MM: "<</PageSize[227 567]>>setpagedevice"
*CloseUI: *PageRegion
*DefaultImageableArea: A4
*ImageableArea A4: "12 12 583 830"
*ImageableArea X80MM: "11 0 216 567"
*DefaultPaperDimension: A4
*PaperDimension A4: "595 842"
*PaperDimension X80MM: "227 567"
*DefaultFont: Courier
*Font Courier: Standard "(1.05)" Standard ROM
'''


class Scheduler:
    """A print scheduler whose queue "slip" keeps what it prints as files."""

    def __init__(self, folder, paper):
        self.own = pathlib.Path(folder)
        self.own.chmod(0o755)  # it prints as a user without rights, who has to get through
        for name in "root spool cache state temp home bin bin/backend out".split():
            (self.own / name).mkdir()
        (self.own / "out").chmod(0o777)
        for entry in pathlib.Path("/usr/lib/cups").iterdir():
            if entry.name != "backend":
                (self.own / "bin" / entry.name).symlink_to(entry)
        backend = self.own / "bin/backend/keep"
        backend.write_text(f"""#!/bin/sh
[ $# -eq 0 ] && {{ echo 'direct keep "Keep" "Keep"'; exit 0; }}
cat ${{6:+"$6"}} >{self.own}/out/$1.part && mv {self.own}/out/$1.part {self.own}/out/$1.ps
""")
        backend.chmod(0o700)
        places = {"ServerRoot": "root", "RequestRoot": "spool", "CacheDir": "cache", "StateDir": "state",
                  "TempDir": "temp", "ServerBin": "bin", "ErrorLog": "error_log", "AccessLog": "access_log",
                  "PageLog": "page_log"}
        (self.own / "cups-files.conf").write_text(
            "".join(f"{key} {self.own}/{place}\n" for key, place in places.items()) + "Sandboxing relaxed\n")
        (self.own / "cupsd.conf").write_text(
            f"Listen {self.own}/cups.sock\nLogLevel info\nBrowsing Off\nDefaultAuthType None\nWebInterface No\n"
            "<Location />\n  Order allow,deny\n  Allow all\n</Location>\n"
            "<Policy default>\n  <Limit All>\n    Order allow,deny\n    Allow all\n  </Limit>\n</Policy>\n")
        (self.own / "driver.ppd").write_text(re.sub(r"Default(Page\w+|ImageableArea|PaperDimension): A4",
                                                    rf"Default\1: {paper}", driver))
        self.environment = dict(os.environ, CUPS_SERVER=f"{self.own}/cups.sock", HOME=f"{self.own}/home")

    def __enter__(self):
        self.running = subprocess.Popen(["/usr/sbin/cupsd", "-f", "-c", self.own / "cupsd.conf", "-s",
                                         self.own / "cups-files.conf"], env=self.environment)
        for _ in range(100):
            if subprocess.run(["lpstat", "-r"], env=self.environment, stdout=subprocess.DEVNULL).returncode == 0:
                break
            time.sleep(0.1)
        for command in (["lpadmin", "-p", "slip", "-E", "-v", "keep:/x", "-P", self.own / "driver.ppd"],
                        ["lpadmin", "-d", "slip"]):
            subprocess.run(command, env=self.environment, check=True, stderr=subprocess.DEVNULL)
        return self

    def __exit__(self, *_):
        self.running.kill()
        self.running.wait()

    def printed(self, job):
        """The job as a PDF file."""
        file = self.own / f"out/{job}.ps"
        for _ in range(200):
            if file.exists():
                break
            time.sleep(0.1)
        subprocess.run(["ps2pdf", file, file.with_suffix(".pdf")], check=True)
        return file.with_suffix(".pdf")


class Words(html.parser.HTMLParser):
    """What pdftotext -bbox says: the pages, each with its size and its words and where they stand, in points."""

    def __init__(self, file):
        super().__init__()
        self.pages = []
        self.place = None
        self.feed(subprocess.run(["pdftotext", "-bbox", file, "-"], check=True, capture_output=True, text=True).stdout)

    def handle_starttag(self, tag, attributes):
        numbers = {key: float(value) for key, value in attributes} if tag in ("page", "word") else {}
        if tag == "page":
            self.pages.append((round(numbers["width"]), round(numbers["height"]), []))
        self.place = numbers if tag == "word" else None

    def handle_endtag(self, tag):
        self.place = None

    def handle_data(self, data):
        if self.place:
            self.pages[-1][2].append((data, self.place["xmin"], self.place["ymin"], self.place["ymax"]))


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
    answer = subprocess.run([under_wine, program, *arguments], env=scheduler.environment, capture_output=True, text=True)
    print(answer.stdout)
    if answer.returncode != 0:
        fail(answer.stdout + answer.stderr)
    return dict(line.split(": ") for line in answer.stdout.splitlines() if ": " in line)


def printed_on(paper, *arguments):
    """What the program said, and the file of its job, on a printer whose usual paper is that; in a Windows that starts
    anew, for that is when it looks for printers."""
    prefix = os.environ.get("PRESVA_WINE", str(pathlib.Path(under_wine).resolve().parent.parent / "build/wine"))
    subprocess.run(["wineserver", "--wait"], env=dict(os.environ, WINEPREFIX=prefix), check=True)
    folder = pathlib.Path(tempfile.mkdtemp(dir=all_folders))
    with Scheduler(folder, paper) as scheduler:
        return play(scheduler, *arguments), scheduler.printed(1)


with tempfile.TemporaryDirectory(prefix="presva-cups-", dir="/tmp", ignore_cleanup_errors=True) as all_folders:
    pathlib.Path(all_folders).chmod(0o755)
    said, file = printed_on("A4")
    for moment in ("before", "drawn"):
        if said[moment] != "not taken":
            fail(f"{moment}: {said[moment]}, although the document is not whole")
    if said["finished"] not in ("taken", "unknown"):
        fail(f"finished: {said['finished']}")
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
