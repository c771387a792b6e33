#!/usr/bin/python3
"""From the start of the viewer's process to its first picture in a window.

    viewer_start.py VIEWER [RUNS]

Xvfb keeps its screen in a file, which is looked at each millisecond: no client of its own takes part.
The picture is of one colour that no theme has, 1920 by 1080; it has come when a twentieth of the
screen shows it. Settings and state are new for each run. The first run, whose files the system may
not have in memory, is told apart.
"""
import mmap
import os
import statistics
import struct
import subprocess
import sys
import tempfile
import time
import zlib
from pathlib import Path

WIDTH, HEIGHT = 1920, 1080
COLOUR = bytes((201, 17, 163))  # red, green, blue


def write_picture(file):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = (b"\0" + COLOUR * WIDTH) * HEIGHT
    head = struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 2, 0, 0, 0)
    file.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) +
                     chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


class Screen:
    """An X server whose pixels can be read."""

    def __init__(self, folder):
        read, write = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", f"{WIDTH}x{HEIGHT}x24", "-fbdir", folder],
            pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        self.name = ":" + os.fdopen(read).readline().strip()
        with open(Path(folder) / "Xvfb_screen0", "rb") as file:
            self.memory = mmap.mmap(file.fileno(), 0, prot=mmap.PROT_READ)
        head = struct.unpack(">25I", self.memory[:100])  # of an X window dump
        self.first, self.row = head[0] + 12 * head[19], head[12]

    def share(self, colour):
        """Of the screen's pixels, on a grid; the effect's 8 bits may be one less."""
        blue_first = bytes(reversed(colour))
        grid = [(x, y) for y in range(0, HEIGHT, 30) for x in range(0, WIDTH, 30)]
        hits = 0
        for x, y in grid:
            at = self.first + y * self.row + 4 * x
            hits += all(abs(a - b) < 2 for a, b in zip(self.memory[at:at + 3], blue_first))
        return hits / len(grid)

    def close(self):
        self.server.terminate()
        self.server.wait()


def measured(viewer, picture, screen, folder):
    places = {"HOME": folder, "XDG_CONFIG_HOME": folder, "XDG_STATE_HOME": folder, "XDG_RUNTIME_DIR": folder}
    environment = os.environ | places | {"DISPLAY": screen.name, "QT_QPA_PLATFORM": "xcb"}
    start = time.monotonic()
    with subprocess.Popen([viewer, picture], env=environment, stderr=subprocess.DEVNULL) as process:
        try:
            while screen.share(COLOUR) < 0.05:
                if process.poll() is not None or time.monotonic() - start > 60:
                    sys.exit("viewer_start: no picture came")
                time.sleep(0.001)
            return 1000 * (time.monotonic() - start)
        finally:
            process.kill()


def main():
    viewer, runs = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 10
    with tempfile.TemporaryDirectory() as folder:
        picture = Path(folder) / "picture.png"
        write_picture(picture)
        times = []
        for run in range(runs + 1):
            place = Path(folder) / str(run)
            place.mkdir(mode=0o700)
            screen = Screen(str(place))
            try:
                times.append(measured(viewer, picture, screen, str(place)))
            finally:
                screen.close()
    print(f"start to first picture: {times[0]:.0f} ms, then {statistics.median(times[1:]):.0f} ms, "
          f"at most {max(times[1:]):.0f} ms in {runs} runs")


if __name__ == "__main__":
    main()
