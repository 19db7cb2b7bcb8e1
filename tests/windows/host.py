"""Runs a program for Windows under Wine and answers what it cannot do itself (tools/scenario_host.h): it is the scale on
COM1, reads PDFs, and runs programs of this system (tests/support/process_of_host.h).

usage: host.py UNDER_WINE PROGRAM.exe ARGUMENTS...
"""
import os
import pathlib
import re
import select
import subprocess
import sys
import tempfile
import threading
import tty


def prefix_of(under_wine):
    """The folder of the Windows that programs run in."""
    return os.environ.get("PRESVA_WINE", str(pathlib.Path(under_wine).resolve().parent.parent / "build/wine"))


def programs_of_any_windows():
    """Their numbers and command lines."""
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            command = (process / "cmdline").read_bytes().replace(b"\0", b" ").decode("utf-8", "replace")
        except OSError:  # it has ended meanwhile
            continue
        if ".exe" in command:
            yield f"{process.name} {command}"


def end_windows(under_wine):
    """Waits until nothing runs in that Windows; the next program starts it anew. Something that goes on is a failure, and
    ended for those who come after."""
    environment = dict(os.environ, WINEPREFIX=prefix_of(under_wine))
    try:
        subprocess.run(["wineserver", "--wait"], env=environment, check=True, timeout=60)
    except subprocess.TimeoutExpired:
        running = "\n".join(sorted(programs_of_any_windows()))
        subprocess.run(["wineserver", "--kill"], env=environment)
        subprocess.run(["wineserver", "--wait"], env=environment)
        sys.exit(f"after 60 s there is something that still runs in that Windows; programs of any Windows:\n{running}")


class Scale:
    """The scale's end of a pseudo-terminal, which is COM1."""

    def __init__(self, prefix):
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


class Programs:
    """Programs of this system, of which files of that Windows are asked."""

    def __init__(self, prefix):
        self.drives = pathlib.Path(prefix) / "dosdevices"

    def here(self, word):
        """A path of that Windows as one of this system; every other word as it is."""
        if not re.match(r"[A-Za-z]:[\\/]", word):
            return word
        return str(self.drives / word[:2].lower()) + word[2:].replace("\\", "/")

    def run(self, limit, input_as_hex, *words_as_hex):
        """Code, output and errors. The words are NAME=VALUE for the environment, then a "--", program and arguments."""
        words = [bytes.fromhex(word).decode() for word in words_as_hex]
        changes = dict(word.split("=", 1) for word in words[:words.index("--")])
        command = [self.here(word) for word in words[words.index("--") + 1:]]
        try:
            ended = subprocess.run(command, input=bytes.fromhex(input_as_hex), capture_output=True, timeout=int(limit),
                                   env=os.environ | changes)
        except subprocess.TimeoutExpired as late:
            return f"-1 {(late.stdout or b'').hex()} {(late.stderr or b'').hex()}"
        except OSError as absent:
            return f"absent {str(absent).encode().hex()} "
        return f"{max(ended.returncode, -1)} {ended.stdout.hex()} {ended.stderr.hex()}"


class Log:
    """A file that a program writes and whose lines are passed on as they come, so that one that hangs has said how far it
    got."""

    def __enter__(self):
        self.file = tempfile.NamedTemporaryFile(suffix=".log")
        self.ended = threading.Event()
        self.following = threading.Thread(target=self.follow)
        self.following.start()
        return self

    def __exit__(self, *_):
        self.ended.set()
        self.following.join()
        self.file.close()

    def named(self, word):
        """LOG in an argument is the file."""
        return re.sub(r"^LOG\b", "Z:" + self.file.name.replace("/", "\\\\"), str(word))

    def follow(self):
        """Reads by name: Windows may have replaced the file."""
        told = 0
        while True:
            last = self.ended.wait(0.2)
            content = pathlib.Path(self.file.name).read_bytes()
            lines = content[told:] if last else content[told:content.rfind(b"\n") + 1]
            told += len(lines)
            if lines:
                print(lines.decode("utf-8", "replace").replace("\r", ""), end="", flush=True)
            if last:
                return


def lines_of(running):
    """What the program writes, line by line, until it ends. Not until its output is closed: the first program that runs
    brings Windows' own along, which have its output, too, and stay as long as any program runs."""
    output = running.stdout.fileno()
    begun = b""
    while True:
        has_ended = running.poll() is not None
        if select.select([output], [], [], 0 if has_ended else 0.05)[0]:
            read = os.read(output, 65536)
            *whole, begun = (begun + read).split(b"\n")
            yield from whole
            if read:
                continue
            running.wait()
            has_ended = True
        if has_ended:
            if begun:
                yield begun
            return


def run(under_wine, program, *arguments, environment=None):
    """The exit code; what the program says besides its questions is passed on."""
    prefix = prefix_of(under_wine)
    scale = Scale(prefix)
    answers = {"plug": scale.plug, "unplug": scale.unplug, "send": scale.send, "pdf": said_of,
               "run": Programs(prefix).run}
    # What a test of Qt's says goes on Windows not to its output, but, where it is told so, to a file.
    with Log() as log, Log() as errors:
        running = subprocess.Popen([under_wine, program, *(log.named(word) for word in arguments)],
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=errors.file,
                                   env=dict(environment or os.environ, PRESVA_SCENARIO_HOST="1"))
        try:
            for raw in lines_of(running):
                line = raw.decode("utf-8", "replace").rstrip("\r")
                if not line.startswith("host: "):
                    print(line, flush=True)
                    continue
                question, *given = line.removeprefix("host: ").split(" ")
                answer = answers[question](*given)
                running.stdin.write(("done" if answer is None else answer).encode() + b"\n")
                running.stdin.flush()
            return running.returncode
        finally:
            if running.poll() is None:  # what it asked could not be answered
                running.kill()
                running.wait()
            if scale.ends:
                scale.unplug()


def play(under_wine, program, *arguments, environment=None):
    """A program that asks nothing: the exit code. Its output is not left to Windows' own programs, either."""
    with Log() as said:
        return subprocess.run([under_wine, program, *arguments], stdin=subprocess.DEVNULL, stdout=said.file,
                              stderr=said.file, env=environment).returncode


if __name__ == "__main__":
    sys.exit(run(*sys.argv[1:]))
