"""Runs a program for Windows under Wine and answers what it cannot do itself (tools/scenario_host.h): it is the scale on
COM1, and reads PDFs.

usage: host.py UNDER_WINE PROGRAM.exe ARGUMENTS...
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import tty


class Scale:
    """The scale's end of a pseudo-terminal, which is COM1."""

    def __init__(self, under_wine):
        prefix = os.environ.get("PRESVA_WINE", str(pathlib.Path(under_wine).resolve().parent.parent / "build/wine"))
        self.link = pathlib.Path(prefix + ".ports/com1")
        self.ends = None

    def unplug(self):
        self.link.unlink(missing_ok=True)
        self.cut()

    def cut(self):
        for end in self.ends or ():
            os.close(end)
        self.ends = None

    def plug(self):
        ours, theirs = os.openpty()
        tty.setraw(theirs)
        name = os.ttyname(theirs)
        os.close(theirs)
        self.link.unlink(missing_ok=True)
        self.link.symlink_to(name)
        self.cut()
        self.ends = (ours,)
        return "laid"

    def send(self, bytes_as_hex):
        if self.ends:
            os.write(self.ends[0], bytes.fromhex(bytes_as_hex))


def said_of(question, pdf_as_hex):
    """What a program of poppler's says of a document, which is FILE among its arguments."""
    with tempfile.NamedTemporaryFile(suffix=".pdf") as file:
        file.write(bytes.fromhex(pdf_as_hex))
        file.flush()
        words = [file.name if word == "FILE" else word for word in question.split(",")]
        return subprocess.run(words, capture_output=True, check=True).stdout.hex()


def run(under_wine, program, *arguments, environment=None):
    """The exit code; what the program says besides its questions is passed on."""
    scale = Scale(under_wine)
    answers = {"plug": scale.plug, "unplug": scale.unplug, "send": scale.send, "pdf": said_of}
    running = subprocess.Popen([under_wine, program, *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                               env=dict(environment or os.environ, PRESVA_SCENARIO_HOST="1"))
    try:
        for raw in running.stdout:
            line = raw.decode("utf-8", "replace").rstrip("\r\n")
            if not line.startswith("host: "):
                print(line, flush=True)
                continue
            question, *given = line.removeprefix("host: ").split(" ")
            answer = answers[question](*given)
            running.stdin.write(("done" if answer is None else answer).encode() + b"\n")
            running.stdin.flush()
        return running.wait()
    finally:
        if scale.ends:
            scale.unplug()


if __name__ == "__main__":
    sys.exit(run(*sys.argv[1:]))
