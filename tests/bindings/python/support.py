"""What the tests of the package share: the built program, and TIFF files as arrays, whose samples
and alpha may be of any kind that arrays have."""

import os
import struct
import subprocess

import numpy as np

PROGRAM = os.environ["ZELK_BINARY"]
_KINDS = {"uint8": 1, "uint16": 1, "float16": 3, "float32": 3}


def write_tiff(path, pixels, associated=False):
    height, width, channels = pixels.shape
    tags = [(256, width), (257, height), (258, 8 * pixels.itemsize), (259, 1),
            (262, 2 if channels > 2 else 1), (273, 8), (277, channels), (278, height),
            (279, pixels.nbytes), (339, _KINDS[pixels.dtype.name])]
    if channels % 2 == 0:
        tags.append((338, 1 if associated else 2))
    data, extra, entries = pixels.tobytes(), b"", b""
    end = 8 + len(data) + len(data) % 2
    directory = 2 + 12 * len(tags) + 4
    for tag, value in sorted(tags):
        if tag in (258, 339) and channels > 1:  # one a channel
            values = struct.pack(f"<{channels}H", *[value] * channels)
            field = values.ljust(4, b"\0")
            if len(values) > 4:
                field = struct.pack("<I", end + directory + len(extra))
                extra += values
            entries += struct.pack("<HHI", tag, 3, channels) + field
        else:
            entries += struct.pack("<HHII", tag, 4 if tag in (256, 257, 273, 278, 279) else 3, 1,
                                   value)
    with open(path, "wb") as file:
        file.write(struct.pack("<2sHI", b"II", 42, end) + data + b"\0" * (len(data) % 2) +
                   struct.pack("<H", len(tags)) + entries + bytes(4) + extra)


def read_tiff(path):
    """Of an uncompressed file, without its alpha's kind."""
    with open(path, "rb") as file:
        data = file.read()
    order = "<" if data[:2] == b"II" else ">"
    (at,) = struct.unpack_from(order + "I", data, 4)
    (count,) = struct.unpack_from(order + "H", data, at)
    tags = {}
    for i in range(count):
        entry = at + 2 + 12 * i
        tag, kind, values = struct.unpack_from(order + "HHI", data, entry)
        code = {3: "H", 4: "I"}.get(kind)
        if not code:
            continue
        size = struct.calcsize(code) * values
        place = entry + 8 if size <= 4 else struct.unpack_from(order + "I", data, entry + 8)[0]
        tags[tag] = struct.unpack_from(f"{order}{values}{code}", data, place)
    assert tags[259] == (1,), "compressed"
    kind = "f" if tags.get(339, (1,))[0] == 3 else "u"
    dtype = np.dtype(f"{order}{kind}{tags[258][0] // 8}")
    pixels = b"".join(data[o:o + n] for o, n in zip(tags[273], tags[279]))
    shape = tags[257][0], tags[256][0], tags[277][0]
    return np.frombuffer(pixels, dtype).reshape(shape).astype(dtype.newbyteorder("="))


def zelk(*words):
    """The program's standard output; AssertionError with its complaint."""
    run = subprocess.run([PROGRAM, *map(str, words)], capture_output=True, text=True)
    if run.returncode:
        raise AssertionError(run.stderr)
    return run.stdout


def complaint(*words):
    """The sentence and the exit code of a run that fails."""
    run = subprocess.run([PROGRAM, *map(str, words)], capture_output=True, text=True)
    return run.stderr.strip().removeprefix("zelk: "), run.returncode


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
