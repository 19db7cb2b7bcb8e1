"""A program for Windows opens COM1, which is a pseudo-terminal, and hears every byte of it, in order and at once.

usage: bytes_arrive_on_a_port.py UNDER_WINE HEARD_ON_PORT.exe
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import time
import tty

import host

under_wine, program = sys.argv[1:]
prefix = host.prefix_of(under_wine)
link = pathlib.Path(prefix + ".ports/com1")


def heard(write):
    """What the program says after `write` has had the other end of the line."""
    # Into a file: what Windows itself runs has its output, too, and may end later than the program.
    with tempfile.NamedTemporaryFile() as output:
        said = pathlib.Path(output.name).read_bytes
        running = subprocess.Popen([under_wine, program, "COM1", "9600"], stdin=subprocess.DEVNULL, stdout=output)
        while running.poll() is None and b"\n" not in said():
            time.sleep(0.02)
        first, _, _ = said().partition(b"\n")
        if first.strip() != b"open":
            sys.exit(f"COM1 does not open: {said()}")
        write()
        code = running.wait()
        return said().partition(b"\n")[2].replace(b"\r\n", b"\n"), code


def play(sent):
    for piece in sent:
        os.write(ours, piece)
        time.sleep(0.02)


subprocess.run([under_wine, "reg", "query", r"HKLM\Software\Wine\Ports"], check=True, stdout=subprocess.DEVNULL)
ours, theirs = os.openpty()
tty.setraw(theirs)
link.unlink(missing_ok=True)
link.symlink_to(os.ttyname(theirs))
try:
    # Every byte that there is, but for the end of the last line; some alone, some many at a time.
    everything = bytes(byte for byte in range(1, 256))
    lines = [b"%6d,%d kg\r" % (number, number % 10) for number in range(100)]
    sent = lines[:50] + [everything[:7], everything[7:100], everything[100:], b"".join(lines[50:]), b"\rend\r"]
    said, code = heard(lambda: play(sent))
    wanted = b"".join(sent) + b"\n"
    if code != 0 or said.replace(b"\r\n", b"\n") != wanted.replace(b"\r\n", b"\n"):
        sys.exit(f"heard {said!r}\ninstead of {wanted!r}")
    print(f"{len(wanted)} bytes arrived")

    # The plug is pulled: the program is told, and does not wait on.
    said, code = heard(lambda: (play([b"12,5 kg"]), os.close(ours)))
    if code != 1 or not said.startswith(b"12,5 kg: "):
        sys.exit(f"a line that ended said {said!r}")
    print(said.decode().strip())
finally:
    link.unlink(missing_ok=True)
