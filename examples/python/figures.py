"""A walk through the package `zelk`, cell by cell, that draws its figures with it alone.

    PYTHONPATH=build/release/python python3 examples/python/figures.py [FOLDER]

Figures go to out/python if no folder is given. The cells (`# %%`) run one by one in a notebook too.
"""

# %% What is needed: arrays, and pictures of this folder's neighbour.
import os
import pathlib
import sys
import warnings

import numpy as np

import zelk

examples = pathlib.Path(__file__).resolve().parents[1]
folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "out/python")
folder.mkdir(parents=True, exist_ok=True)
warnings.simplefilter("ignore", zelk.RenderWarning)  # that small layers flicker is shown on purpose


def show(name, picture):
    """Writes an array as it is: the view Original draws the layer alone."""
    zelk.Scene(picture, view="original", output=folder / name).write()
    print(f"{folder / name}: {picture.shape}, {picture.dtype}")


def beside(pictures, gap=8):
    """Pictures of one height in a row, on white."""
    height, _, channels = pictures[0].shape
    white = np.full((height, gap, channels), 255, pictures[0].dtype)
    return np.concatenate([each for picture in pictures for each in (picture, white)][:-1], 1)


# %% A picture file as an array, by the package's own reader.
coffee = zelk.corner_pin(os.fspath(examples / "coffee.png"), view="original")
height, width = coffee.shape[:2]
print(f"coffee.png: {width} x {height}, {coffee.dtype}")

# %% The qualities, over a plate of a checkerboard.
y, x = np.mgrid[:300, :400]
board = np.where((x // 25 + y // 25) % 2, 70, 110).astype("uint8")
board = np.repeat(board[..., None], 3, 2)
to = [(90, 30), (370, 80), (30, 210), (340, 280)]
show("qualities.png", beside([zelk.corner_pin(coffee, to, over=board, quality=quality)
                              for quality in ("low", "medium", "high", "best")]))

# %% The outline softened, and what stands before the layer: a disk, as a matte in the frame's pixels.
disk = (255 * np.clip(60.5 - np.hypot(x - 200, y - 150), 0, 1)).astype("uint8")
show("feather.png", beside([zelk.corner_pin(coffee, to, over=board, feather=30),
                            zelk.corner_pin(coffee, to, over=board, holdout=disk)]))

# %% Keyframes: the quad turns and fades over twelve frames; every third is shown.
scene = zelk.Scene(coffee, over=board, quality="best")
scene.keys("to", {1: to, 12: [(150, 60), (330, 20), (120, 270), (390, 200)]}, "bezier")
scene.keys("corner-pin-opacity", {1: 100, 12: 40})
show("keys.png", beside([picture for _, picture in scene.frames("1-12x3")]))

# %% Where the quad lies, for code that draws itself: the layer's middle in each frame.
for frame, (to_frame, *_) in scene.matrices("1-12x3").items():
    u, v, w = to_frame @ (width / 2, height / 2, 1)
    print(f"frame {frame}: the layer's middle lies at {u / w:.1f}, {v / w:.1f}")

# %% An ST map, and the picture sampled by it at the nearest pixel.
st = scene.st_map(1)
at = (np.clip((st[..., 0] * width).astype(int), 0, width - 1),
      np.clip(((1 - st[..., 1]) * height).astype(int), 0, height - 1))
sampled = np.where(st[..., 3:] > 0, coffee[at[1], at[0], :3], board)
coordinates = np.round(255 * np.clip(st[..., :3], 0, 1)).astype("uint8")
show("st-map.png", beside([coordinates, sampled]))

# %% A tracker's file: what is odd about it, and its first quad pinned.
track = zelk.Track.load(examples / "sign-track.txt")
print(f"sign-track.txt: {len(track.frames)} frames of {track.size}")
for issue in track.issues():
    print("  " + issue)
small = track.scaled((400, 300))
show("track.png", zelk.corner_pin(coffee, small.corners[0], over=board))
