"""A print scheduler of a test's own, whose printer keeps what it prints, and what it reads of that."""
import html.parser
import os
import pathlib
import re
import socket
import subprocess
import time

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
                  "PageLog": "page_log", "Printcap": "printcap"}
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
        # Its output is no file of the test's: whoever waits for the end of that would wait for this scheduler, too.
        with open(self.own / "output", "wb") as output:
            # A test that is killed must not leave it running.
            self.running = subprocess.Popen(["setpriv", "--pdeathsig", "KILL", "/usr/sbin/cupsd", "-f", "-c",
                                             self.own / "cupsd.conf", "-s", self.own / "cups-files.conf"],
                                            env=self.environment, stdin=subprocess.DEVNULL, stdout=output, stderr=output)
        try:
            self.wait_until_it_listens()
            for command in (["lpadmin", "-p", "slip", "-E", "-v", "keep:/x", "-P", self.own / "driver.ppd"],
                            ["lpadmin", "-d", "slip"]):
                done = subprocess.run(command, env=self.environment, capture_output=True, text=True, timeout=60)
                if done.returncode != 0:
                    self.fail(f"{' '.join(map(str, command))}: {done.stderr}")
        except BaseException:  # whatever it was, nobody else ends the scheduler
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        self.running.kill()
        self.running.wait()

    def fail(self, sentence):
        said = "".join(file.read_text(errors="replace") for file in (self.own / "output", self.own / "error_log")
                       if file.exists())
        raise SystemExit(f"the print scheduler: {sentence}\n{said}")

    def wait_until_it_listens(self):
        """By a connection: lpstat -r says by no exit code whether there is a scheduler."""
        for _ in range(600):
            if self.running.poll() is not None:
                self.fail(f"it has ended with {self.running.returncode}")
            with socket.socket(socket.AF_UNIX) as line:
                if line.connect_ex(self.environment["CUPS_SERVER"]) == 0:
                    return
            time.sleep(0.05)
        self.fail("after 30 s it takes no connection")

    def jobs(self):
        """How many it ever took."""
        listed = subprocess.run(["lpstat", "-W", "all", "-o"], env=self.environment, check=True, capture_output=True)
        return len(listed.stdout.splitlines())

    def printed(self, job):
        """The job as a PDF file."""
        file = self.own / f"out/{job}.ps"
        for _ in range(200):
            if file.exists():
                break
            time.sleep(0.1)
        else:
            self.fail(f"job {job} is not printed after 20 s")
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
