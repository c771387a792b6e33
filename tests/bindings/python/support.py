"""What the tests of the package share: the built program, and TIFF files as arrays, whose samples
and alpha may be of any kind that arrays have."""

import os
import struct
import subprocess
import tempfile
import unittest
import warnings

import numpy as np
import zelk as package

PROGRAM = os.environ["ZELK_BINARY"]


def write_tiff(path, pixels, associated=False):
    height, width, channels = pixels.shape
    kind = 3 if pixels.dtype.kind == "f" else 1
    data = pixels.tobytes() + bytes(pixels.nbytes % 2)
    tags = {256: [width], 257: [height], 258: [8 * pixels.itemsize] * channels, 259: [1],
            262: [2 if channels > 2 else 1], 273: [8], 277: [channels], 278: [height],
            279: [pixels.nbytes], 339: [kind] * channels}
    if channels % 2 == 0:
        tags[338] = [1 if associated else 2]
    entries, extra, at = b"", b"", 8 + len(data) + 2 + 12 * len(tags) + 4
    for tag, values in sorted(tags.items()):
        field = struct.pack(f"<{len(values)}I", *values)  # all as 32 bits
        if len(values) > 1:
            field, extra = struct.pack("<I", at + len(extra)), extra + field
        entries += struct.pack("<HHI", tag, 4, len(values)) + field
    with open(path, "wb") as file:
        file.write(struct.pack("<2sHI", b"II", 42, 8 + len(data)) + data +
                   struct.pack("<H", len(tags)) + entries + bytes(4) + extra)


def read_tiff(path):
    """Of an uncompressed file that begins with its least bytes, without its alpha's kind."""
    with open(path, "rb") as file:
        data = file.read()
    (at,) = struct.unpack_from("<I", data, 4)
    tags = {}
    for entry in range(at + 2, at + 2 + 12 * struct.unpack_from("<H", data, at)[0], 12):
        tag, kind, values = struct.unpack_from("<HHI", data, entry)
        form = f"<{values}" + {3: "H", 4: "I"}.get(kind, "x")
        is_here = struct.calcsize(form) <= 4
        place = entry + 8 if is_here else struct.unpack_from("<I", data, entry + 8)[0]
        tags[tag] = struct.unpack_from(form, data, place)
    assert data[:2] == b"II" and tags[259] == (1,), "compressed"
    kind = "f" if tags.get(339, (1,))[0] == 3 else "u"
    pixels = b"".join(data[o:o + n] for o, n in zip(tags[273], tags[279]))
    shape = tags[257][0], tags[256][0], tags[277][0]
    return np.frombuffer(pixels, f"<{kind}{tags[258][0] // 8}").reshape(shape)


def complaint(*words):
    """The sentence and the exit code of a run."""
    run = subprocess.run([PROGRAM, *map(str, words)], capture_output=True, text=True)
    return run.stderr.strip().removeprefix("zelk: "), run.returncode


def zelk(*words):
    """A run that does what it should."""
    text, code = complaint(*words)
    assert code == 0, text


def noise(dtype, height=40, width=52, channels=4, seed=1):
    """Random straight pixels; floats up to 2, with some alpha at its ends."""
    values = np.random.default_rng(seed).random((height, width, channels))
    if channels % 2 == 0:
        values[..., -1] = np.clip(values[..., -1] * 1.6 - 0.3, 0, 1)
    if np.dtype(dtype).kind == "f":
        values[..., :3] *= 2 if channels > 2 else 1
        return values.astype(dtype)
    return np.round(values * np.iinfo(dtype).max).astype(dtype)


def bits(array):
    """Shape, type and bytes, so that not-a-numbers and zeros with a sign count."""
    return array.shape, array.dtype.name, array.tobytes()


QUAD = [(6.25, 4), (47, -3.5), (3, 33), (49.75, 38)]
QUAD_TEXT = "6.25,4 47,-3.5 3,33 49.75,38"


class Folder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        warnings.simplefilter("ignore", package.RenderWarning)

    def path(self, name):
        return os.path.join(self.folder, name)

    def picture(self, name, *args, **options):
        pixels = noise(*args, **options)
        write_tiff(self.path(name), pixels)
        return pixels

    def numbered(self, first, last, dtype="uint8"):
        return [self.picture(f"shot.{frame:04d}.tif", dtype, seed=frame)
                for frame in range(first, last + 1)]
