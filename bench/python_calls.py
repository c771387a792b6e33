"""What a call of zelk.corner_pin takes, beside OpenCV's warpPerspective of the same quad.

    python_calls.py [RUNS]     of each at 1920 x 1080, 15 if left out; at 64 x 64 fifty times as many

Both draw uint8 with four channels. The runs are interleaved, so that other work of the machine meets both
alike; figures are medians. "scene" is zelk.Scene.render, which keeps its module open from call to call;
"copy" is a copy of the picture, the least that any of them could take. Bilinear stands beside bilinear,
over a plain quad whose inner pixels are held against each other first. Then a pool of two threads renders
what one does, each call on one thread, and its pictures must be the same.
"""

import concurrent.futures
import statistics
import sys
import time
import warnings

import cv2
import numpy as np

import zelk


def picture(width, height):
    y, x = np.mgrid[:height, :width]
    waves = [128 + 100 * np.sin(x / (7 + c) + c) * np.cos(y / 9) for c in range(3)]
    return np.stack([*waves, np.full((height, width), 255)], 2).astype("uint8")


def medians(calls, runs):
    """Seconds of each call, after one that isn't counted."""
    taken = {name: [] for name in calls}
    for run in range(runs + 1):
        for name, call in calls.items():
            start = time.perf_counter()
            call()
            if run:
                taken[name].append(time.perf_counter() - start)
    return {name: statistics.median(times) for name, times in taken.items()}


def compare(width, height, runs):
    image = picture(width, height)
    to = np.array([(.05, .06), (.94, .02), (.02, .93), (.97, .98)]) * (width, height)
    # Row and column numbers of OpenCV are pixel centres, and its corners go around.
    corners = np.array([(0, 0), (width, 0), (0, height), (width, height)], float)
    matrix = cv2.getPerspectiveTransform((corners - .5).astype("float32"),
                                         (to - .5).astype("float32"))
    scenes = {quality: zelk.Scene(image, to=to, quality=quality) for quality in ("medium", "high")}

    def warp(kernel):
        return cv2.warpPerspective(image, matrix, (width, height), flags=kernel)

    ours, theirs = scenes["medium"].render(), warp(cv2.INTER_LINEAR)
    inner = cv2.erode((ours[..., 3] == 255).astype("uint8"), np.ones((5, 5))) > 0
    worst = np.abs(ours.astype(int) - theirs)[inner].max()
    # OpenCV keeps positions to 1/32 pixel, and the waves climb up to 16 steps a pixel.
    assert inner.mean() > .5 and worst <= 8, f"another picture: {worst} steps"
    calls = {"copy": image.copy,
             "OpenCV linear": lambda: warp(cv2.INTER_LINEAR),
             "zelk medium": lambda: zelk.corner_pin(image, to, quality="medium"),
             "scene medium": scenes["medium"].render,
             "OpenCV cubic": lambda: warp(cv2.INTER_CUBIC),
             "zelk high": lambda: zelk.corner_pin(image, to),
             "scene high": scenes["high"].render,
             "zelk over": lambda: zelk.corner_pin(image, to, over=image)}
    for name, seconds in medians(calls, runs).items():
        print(f"{width:5} x {height:<5} {name:14} {1e6 * seconds:10.0f} us")


def pool(width, height, runs):
    image = picture(width, height)
    quads = [np.array([(i, 0), (width, i), (0, height - i), (width - i, height)], float)
             for i in range(1, 5)]

    def render(quad):
        return zelk.corner_pin(image, quad, threads=1)

    expected = [render(quad).tobytes() for quad in quads]
    with concurrent.futures.ThreadPoolExecutor(2) as two:
        made = [result.tobytes() for result in two.map(render, quads)]
        assert made == expected, "other pixels in a pool"
        taken = medians({"one thread": lambda: list(map(render, quads)),
                         "pool of two": lambda: list(two.map(render, quads))}, runs)
    for name, seconds in taken.items():
        print(f"{width:5} x {height:<5} {name:14} {1e6 * seconds / len(quads):10.0f} us a picture")
    print(f"two threads make {taken['one thread'] / taken['pool of two']:.2f} pictures for one")


def main():
    runs = int(sys.argv[1]) if len(sys.argv) > 1 else 15
    warnings.simplefilter("ignore", zelk.RenderWarning)
    print(f"zelk {zelk.__version__}, OpenCV {cv2.__version__}, NumPy {np.__version__}")
    compare(64, 64, 50 * runs)
    compare(1920, 1080, runs)
    pool(1920, 1080, runs)


if __name__ == "__main__":
    main()
