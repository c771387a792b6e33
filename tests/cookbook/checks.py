"""What the recipes of docs/cookbook.md promise, checked on the files that they make.

    python3 checks.py BUILD OUT RECIPE

runs the recipe and then its check, which computes positions by itself: a homography by its linear system, the lens by
its formula. Colours are compared where artwork is even for REACH pixels all around, more than any filter here reaches,
so that whatever the filter, the result is the artwork's colour but for rounding.
"""

import os
import pathlib
import subprocess
import sys

import numpy as np

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "examples/cookbook"))
import cookbook

REACH = 12
LABEL = [(209.1, 66.1), (492.8, 36.3), (228.3, 441.6), (488.5, 482.1)]
SIGN = [(247.3, 141), (439.9, 109), (247.3, 343.4), (439.9, 367.7)]
SHADOW = [(256.3, 155), (448.9, 123), (256.3, 357.4), (448.9, 381.7)]
POSTER = [(131.8, 71.1), (547.4, 108), (131.8, 366.9), (547.4, 344.8)]


def stored(name, **edits):
    """Its colours."""
    return zelk.corner_pin(str(name), view="original", channels="rgb", **edits)


def centres(width, height):
    return np.stack(np.meshgrid(np.arange(width) + 0.5, np.arange(height) + 0.5), -1)


def into_layer(quad, size, at):
    """Positions in the layer of positions in the frame."""
    rows = []
    for (x, y), (u, v) in zip(quad, [(0, 0), (size[0], 0), (0, size[1]), size]):
        rows += [(x, y, 1, 0, 0, 0, -u * x, -u * y), (0, 0, 0, x, y, 1, -v * x, -v * y)]
    h = np.linalg.solve(rows, np.ravel([(0, 0), (size[0], 0), (0, size[1]), size]))
    w = h[6] * at[..., 0] + h[7] * at[..., 1] + 1
    return np.stack([h[0] * at[..., 0] + h[1] * at[..., 1] + h[2],
                     h[3] * at[..., 0] + h[4] * at[..., 1] + h[5]], -1) / w[..., None]


def inside(uv, size, margin=0):
    """Margin in layer pixels, less than 0 for outside."""
    return ((uv > margin) & (uv < np.array(size) - margin)).all(-1)


def even(art):
    """Where the artwork has one colour within REACH pixels."""
    same = np.ones(art.shape[:2], bool)
    for axis in (0, 1):
        line = art if axis == 0 else np.swapaxes(art, 0, 1)
        run = np.zeros(line.shape[:2], int)
        for k in range(1, len(line)):
            run[k] = np.where((line[k] == line[k - 1]).all(-1), run[k - 1] + 1, 0)
        ok = np.zeros_like(run, bool)
        ok[REACH:-REACH] = run[2 * REACH:] >= 2 * REACH
        same &= ok if axis == 0 else ok.T
    both = same.copy()  # rows and columns through a pixel; its neighbours' say it of the square
    for k in range(-REACH, REACH + 1):
        both &= np.roll(same, k, 0)
    return both


def looked_up(art, uv):
    """The artwork's colour for each position and whether it is even there."""
    height, width = art.shape[:2]
    x, y = (np.clip(uv[..., i].astype(int), 0, n - 1) for i, n in enumerate((width, height)))
    return art[y, x].astype(float), even(art)[y, x] & inside(uv, (width, height), REACH)


def expect(actual, wanted, where, bound):
    assert where.sum() > 1000, f"only {where.sum()} pixels to look at"
    difference = np.abs(actual.astype(float) - wanted)[where]
    assert (difference <= (bound[where] if np.ndim(bound) else bound)).all(), f"off by {difference.max()}"


def screen():
    track = zelk.Track.load("shot.txt")
    app, to_light = stored("app.png"), stored("app.png", depth="float", output_color="linear")
    for frame in (1001, 1006, 1010):
        plate, comp = stored(f"shot.{frame}.exr"), stored(f"comp.{frame}.exr")
        assert comp.shape == (512, 768, 3) and (comp.astype("float16") == comp).all()
        uv = into_layer(track.corners[frame - 1001], (900, 580), centres(768, 512))
        finger = stored(f"finger.{frame}.png", depth="float", color="raw")[..., 0]
        untouched = ~inside(uv, (900, 580), -6) | (finger == 1)
        assert (comp == plate)[untouched].all() and (comp != plate).any(-1)[~untouched].mean() > 0.9
        is_even = looked_up(app, uv)[1] & (finger == 0)
        light = looked_up(to_light, uv)[0]
        # A half's own rounding: 2^-11 of the sum, and below 2^-14 steps of 2^-24.
        expect(comp, plate + light, is_even, 2.0**-11 * (plate + light) + 2.0**-24)
    # The picture under the paths is shown as a screen does.
    plot, seen = stored("paths.png"), stored("shot.1001.exr", output_color="sRGB")
    top = 100  # above the quads, where the plot has the plate's own size
    expect(plot[:top], 255.0 * np.clip(seen[:top], 0, 1), np.ones((top, 768), bool), 1.1)  # a half's steps are 0.1


def sign():
    wall, comp = stored("wall.exr"), stored("comp.exr")
    at = centres(768, 512)
    mask = zelk.corner_pin("wall.exr", view="original", matte="roto.exr:front.mask", channels="a")
    on_sign, on_shadow = (into_layer(quad, (640, 640), at) for quad in (SIGN, SHADOW))
    far = [np.hypot(*np.moveaxis(uv - 320, -1, 0)) for uv in (on_sign, on_shadow)]
    assert (mask == 1).sum() > 10000
    untouched = (mask == 1) | (far[0] > 330) & (far[1] > 330)
    assert (comp == wall)[untouched].all()
    shadow = (mask == 0) & (far[0] > 330) & (far[1] < 305)  # the alpha is 0 from 320 on
    assert shadow.sum() > 200 and (comp < wall)[shadow].mean() > 0.9
    color, is_even = looked_up(stored("sign.png", depth="float", output_color="linear"), on_sign)
    expect(comp, color, is_even & (mask == 0) & (far[0] < 300), 2.0**-11 * color + 2e-6)


def label():
    flat, printed, box, comp = (stored(f"{name}.png").astype(int)
                                for name in ("flat", "printed", "box", "comp"))
    assert flat.shape == (640, 480, 3)
    # Half a level by the plate's file, more by lobes that weigh it, half a level by this one.
    expect(flat, printed, even(printed), 1)
    # No shift by a pixel fits better.
    errors = {(dx, dy): ((np.roll(flat, (dy, dx), (0, 1)) - printed)[2:-2, 2:-2]**2).mean()
              for dx in (-1, 0, 1) for dy in (-1, 0, 1)}
    assert min(errors, key=errors.get) == (0, 0), errors
    uv = into_layer(LABEL, (480, 640), centres(768, 512))
    patch = inside(uv - (80, 380), (320, 100), -8)  # a plate pixel has up to 2 of the layer, and 3 taps
    assert (comp == box)[~patch].all()
    paper = stored("patch.png")[0, 0]
    # No seam where the patch begins and ends, either: the paper around it is the same.
    blank = inside(uv - (40, 392), (88, 76)) | inside(uv - (352, 392), (88, 76))
    expect(comp, paper, blank, 1)


def lens():
    at = centres(768, 512)
    away = at - (384, 256)
    straight = (384, 256) + away * (1 + 0.32 * (away**2).sum(-1, keepdims=True) / (384**2 + 256**2))
    plate, comp, wrong = (stored(f"{name}.png") for name in ("plate", "comp", "wrong"))
    uv = into_layer(POSTER, (760, 480), straight)
    assert (comp == plate)[~inside(uv, (760, 480), -8)].all()
    assert (wrong != plate).any(-1)[~inside(uv, (760, 480), -8)].sum() > 1000
    color, is_even = looked_up(stored("poster.png"), uv)
    expect(comp, color, is_even, 1)
    # Straightened and looked up through the lens it is the plate, but for what two filters soften: at each place
    # within the plate's range nearby, 3 pixels and a pixel more, and the lobes' part of it.
    flat = stored("straight.png").astype(int)
    x, y = (np.clip(straight[..., i].astype(int), 0, n - 1) for i, n in enumerate((768, 512)))
    seen = inside(straight, (768, 512), 4)
    windows = np.lib.stride_tricks.sliding_window_view(np.pad(plate, ((4, 4), (4, 4), (0, 0)), "edge"), (9, 9), (0, 1))
    low, high = windows.min((-1, -2)).astype(int), windows.max((-1, -2)).astype(int)
    slack = 1 + (high - low) // 4
    assert ((flat[y, x] >= low - slack) & (flat[y, x] <= high + slack))[seen].all()


def farm():
    """Every frame of the tasks is that of one run."""
    subprocess.run(["zelk", "render", "--project", "screen.zelk.json", "-o", "one-run.####.exr"], check=True)
    recipe = ["app.png", "--over", "shot.####.exr", "--track", "shot.txt", "--track-first-frame", "1001", "--mode",
              "add", "--holdout", "finger.####.png", "--quality", "best"]
    subprocess.run(["zelk", "render", *recipe, "--frames", "1004", "-o", "words.1004.exr"], check=True)
    assert (stored("words.1004.exr") == stored("comp/comp.1004.exr")).all()
    for frame in range(1001, 1011):
        assert (stored(f"comp/comp.{frame}.exr") == stored(f"one-run.{frame}.exr")).all(), frame


def batch():
    box = stored("box.png").astype(int)
    uv = into_layer(LABEL, (480, 640), centres(768, 512))
    names = inside(uv - (80, 380), (320, 100), 8)
    seen = []
    for name, color in (("earl-grey", 0x2f4a3c), ("rooibos", 0x8c2f1b), ("assam", 0x5b3a1e), ("jasmine", 0x3d6b8c)):
        pack = stored(f"pack-{name}.png")
        assert (pack == box)[~inside(uv, (480, 640), -8)].all()
        band = inside(uv - (20, 500), (440, 76), 8) & ~inside(uv - (130, 510), (220, 56))
        expect(pack, np.array(list(color.to_bytes(3, "big"))), band, 1)
        seen.append(pack[names].tobytes())
    assert len(set(seen)) == 4


def movie():
    words = ["ffmpeg", "-nostdin", "-v", "error", "-i", "shot.mov", "-map", "0:a", "-f", "md5", "-"]
    sound = [subprocess.run([name if name != "shot.mov" else file for name in words], capture_output=True,
                            check=True).stdout for file in ("shot.mov", "master.mov")]
    assert sound[0] == sound[1]
    # About the banner each picture of master and client is the frame of the same number, and no neighbour of it.
    subprocess.run(["zelk", "render", "banner.png", "--over", "shot.mov", "--first-frame", "1", "--track", "shot.nk",
                    "--quality", "best", "--motion-blur", "8", "--layer-color", "Rec709", "--work-color", "linear",
                    "--frames", "3-6", "-o", "true.##.png"], check=True)
    true = {frame: stored(f"true.{frame:02}.png", depth="8").astype(int) for frame in range(3, 7)}
    corners = zelk.Track.load("shot.nk").corners
    for file in ("master.mov", "client.mp4"):
        scene = zelk.Scene(file, view="original", first_frame=1, color="raw", depth="8")
        for frame in (4, 5):
            (left, top), (right, bottom) = (edge(corners[frame - 1], 0).astype(int) for edge in (np.min, np.max))
            banner = np.s_[top:bottom, left:right, :3]
            picture = scene.render(frame)[banner].astype(int)
            errors = {other: np.abs(picture - true[other][banner]).mean() for other in true}
            assert min(errors, key=errors.get) == frame, (file, errors)
            middle = picture[picture.shape[0] * 3 // 4, ::8]  # below the words
            assert (np.abs(middle - (0x17, 0x32, 0x4d)).max(-1) < 4).mean() > 0.5, (file, middle)


if __name__ == "__main__":
    build, out, name = sys.argv[1:]
    if not (pathlib.Path(build) / "python").is_dir():
        print("skipped: the Python package, by which the shots are made, isn't in this build")
        sys.exit(77)
    os.environ["PATH"] = f"{pathlib.Path(build).resolve() / 'bin'}:{os.environ['PATH']}"
    sys.path.insert(0, str(pathlib.Path(build).resolve() / "python"))
    import zelk
    os.chdir(cookbook.run(build, name, out))
    globals()[name]()
