"""Makes the shots of docs/cookbook.md: plates with their grain, tracks, mattes and artwork.

    python3 examples/cookbook/shots.py screen|sign|label|lens|batch|movie

writes the inputs of one recipe into the folder where it is started. Everything is computed: photographs
come from the folder above, artwork from *.card beside this file, the rest from formulas. Pictures are float
arrays in linear light, light[y, x, channel]; positions are pixels, y down, 0,0 the outer corner of the first
pixel, and corners go upper left, upper right, lower left, lower right.
"""

import pathlib
import struct
import subprocess
import sys
import warnings

import numpy as np

import zelk

HERE = pathlib.Path(__file__).resolve().parent
WIDTH, HEIGHT = 768, 512
SCALE = WIDTH / 720  # places below are those of a frame of 720 x 480
FIRST, FRAMES = 1001, 10
random = np.random.default_rng(7)


# Files and arrays


def light(file):
    """A picture file as linear light."""
    return zelk.corner_pin(str(file), view="original", depth="float", output_color="linear")


def save(name, picture):
    """Floats are linear light: a PNG gets sRGB, OpenEXR halves."""
    kind, depth = ("float16", None) if name.endswith(".exr") else ("float32", "8")
    channels = "rgb" if picture.shape[2] == 3 else "rgba"
    zelk.Scene(np.ascontiguousarray(picture, dtype=kind), view="original", depth=depth, channels=channels,
               output=name).write()


def save_matte(name, matte):
    """Grey of 16 bits: values as they are, no curve."""
    grey = np.round(65535 * np.clip(matte, 0, 1)).astype("uint16")
    zelk.Scene(np.dstack([grey, grey]), view="original", channels="a", output=name).write()


def save_masks(name, masks):
    """OpenEXR without compression whose channels have names of their own, halves."""
    height, width = next(iter(masks.values())).shape
    names = sorted(masks)

    def attribute(key, kind, data):
        return f"{key}\0{kind}\0".encode() + struct.pack("<i", len(data)) + data

    window = struct.pack("<4i", 0, 0, width - 1, height - 1)
    channels = b"".join(each.encode() + b"\0" + struct.pack("<iB3xii", 1, 1, 1, 1) for each in names)
    header = struct.pack("<ii", 20000630, 2) + b"".join([
        attribute("channels", "chlist", channels + b"\0"),
        attribute("compression", "compression", b"\0"),
        attribute("dataWindow", "box2i", window), attribute("displayWindow", "box2i", window),
        attribute("lineOrder", "lineOrder", b"\0"),
        attribute("pixelAspectRatio", "float", struct.pack("<f", 1)),
        attribute("screenWindowCenter", "v2f", struct.pack("<ff", 0, 0)),
        attribute("screenWindowWidth", "float", struct.pack("<f", 1))]) + b"\0"
    rows = np.stack([masks[each] for each in names], 1).astype("<f2")  # [y, channel, x]
    line = 8 + rows[0].nbytes
    first = len(header) + 8 * height
    with open(name, "wb") as file:
        file.write(header + struct.pack(f"<{height}Q", *(first + y * line for y in range(height))))
        for y in range(height):
            file.write(struct.pack("<ii", y, rows[y].nbytes) + rows[y].tobytes())


def card(name, size, paper, to=None, **words):
    """Artwork: NAME.card beside this file, drawn to NAME.png, with these words for those in capitals."""
    text = (HERE / f"{name}.card").read_text()
    for word, own in {"EXAMPLES": str(HERE.parent), **words}.items():
        text = text.replace(word, own)
    subprocess.run(["zelk-card", to or f"{name}.png", f"{size[0]}x{size[1]}", paper], input=text, text=True,
                   check=True)


# Light and optics


def grid(width=WIDTH, height=HEIGHT):
    """x and y of pixel centres."""
    y, x = np.mgrid[:height, :width] + 0.5
    return x, y


def step(low, high, at):
    """0 below low, 1 above high, smooth between."""
    t = np.clip((at - low) / (high - low), 0, 1)
    return t * t * (3 - 2 * t)


def blur(picture, radius):
    """Three boxes: close to a Gaussian. The border is repeated."""
    for axis in (0, 1) * 3:
        pad = [(0, 0)] * picture.ndim
        pad[axis] = (radius + 1, radius)
        sums = np.cumsum(np.pad(picture, pad, "edge"), axis, dtype="float64")
        size = 2 * radius + 1
        picture = (np.take(sums, range(size, sums.shape[axis]), axis)
                   - np.take(sums, range(sums.shape[axis] - size), axis)) / size
    return picture


def cloud(width, height, cell):
    """Smooth noise about 0, a few cells wide."""
    return blur(random.normal(size=(height, width)), cell) * cell * 3


def grain(picture):
    """Shot noise: its variance grows with the light."""
    deviation = 0.003 + 0.016 * np.sqrt(np.clip(picture, 0, None))
    return np.clip(picture + deviation * random.normal(size=picture.shape), 0, None)


def over(plate, color, matte):
    return plate + matte[..., None] * (color - plate)


def pin(plate, layer, to, **edits):
    return zelk.corner_pin(np.ascontiguousarray(layer, "float32"), to=to, quality="best",
                           over=np.ascontiguousarray(plate, "float32"), **edits)


def seen(points, yaw, pitch=0.0, roll=0.0, at=(0, 0, 3), focal=1.1):
    """Points of a plane, (x, y) with y down, turned (degrees) and moved before a camera, in pixels."""
    a, b, c = np.radians([yaw, pitch, roll])
    turn_y = [[np.cos(a), 0, np.sin(a)], [0, 1, 0], [-np.sin(a), 0, np.cos(a)]]
    turn_x = [[1, 0, 0], [0, np.cos(b), -np.sin(b)], [0, np.sin(b), np.cos(b)]]
    turn_z = [[np.cos(c), -np.sin(c), 0], [np.sin(c), np.cos(c), 0], [0, 0, 1]]
    flat = np.c_[np.asarray(points, float), np.zeros(len(points))]
    x, y, z = (flat @ np.transpose(np.matmul(np.matmul(turn_y, turn_x), turn_z)) + at).T
    scale = focal * WIDTH / 2 / z
    return np.stack([WIDTH / 2 + scale * x, HEIGHT / 2 + scale * y], 1)


def corners(left, top, right, bottom):
    return np.array([(left, top), (right, top), (left, bottom), (right, bottom)], float)


def rounded(width, height, radius):
    """Coverage of a rectangle with round corners."""
    x, y = grid(width, height)
    dx = np.maximum(np.abs(x - width / 2) - width / 2 + radius, 0)
    dy = np.maximum(np.abs(y - height / 2) - height / 2 + radius, 0)
    return np.clip(radius + 0.5 - np.hypot(dx, dy), 0, 1)


def finger(base, tip, radius):
    """A finger from base to tip: its matte and its light."""
    base, tip = np.array(base), np.array(tip)
    x, y = grid()
    axis = (tip - base) / np.hypot(*(tip - base))
    along = (x - base[0]) * axis[0] + (y - base[1]) * axis[1]
    length = np.hypot(*(tip - base))
    beyond = np.clip(along - length, 0, None)
    across = (y - base[1]) * axis[0] - (x - base[0]) * axis[1]
    wide = radius * (1.12 - 0.16 * along / length + 0.05 * np.cos(6.3 * (along - length) / radius / 2))
    far = np.hypot(across, beyond) / wide
    matte = step(1.04, 0.96, far)
    normal = np.stack([across, beyond, wide * np.sqrt(np.clip(1 - far**2, 0.02, 1))], -1) / wide[..., None]
    shade = 0.25 + 0.75 * np.clip(normal @ np.array([-0.55, 0.25, 0.8]), 0, 1)
    skin = np.array([0.55, 0.27, 0.16]) * shade[..., None]
    skin += np.array([0.10, 0.02, 0.01]) * step(0.5, 1, far)[..., None]  # light through the rim
    nail = np.hypot(across / 0.62, (along - length + 0.15 * radius) / 0.85) / radius
    skin = over(skin, np.array([0.66, 0.40, 0.32]) * (0.5 + 0.6 * shade[..., None]), step(1.02, 0.93, nail))
    shine = np.exp(-((across + 0.22 * radius) / (0.12 * radius))**2
                   - ((along - length + 0.1 * radius) / (0.4 * radius))**2)
    return matte, skin + 0.25 * shine[..., None]


# The shots


def tablet(turned):
    """A tablet that is switched off: its body with a bezel, and the room in its glass."""
    width, height = 780, 520
    x, y = grid(width, height)
    body = np.full((height, width, 3), 0.02)
    rim = rounded(width, height, 34) - np.pad(rounded(width - 8, height - 8, 30), 4)
    body += rim[..., None] * (0.12 + 0.5 * step(height, 0, y))[..., None] * np.array([1, 0.97, 0.93])
    glass = np.zeros((height, width))
    glass[35:-35, 40:-40] = 1
    at = x + 0.45 * y - 700 + 500 * turned
    window = step(-150, -142, at) * step(60, 52, at) + 0.7 * step(84, 92, at) * step(190, 182, at)
    window *= 0.4 + 0.6 * step(520, 60, y)
    body = over(body, np.array([0.006, 0.007, 0.009]) + window[..., None] * np.array([0.055, 0.075, 0.10]),
                glass)
    return np.dstack([body, rounded(width, height, 34)])


def screen_frame(t):
    """A table, a tablet that turns before it, a finger on its glass: plate, finger's matte, screen."""
    table = blur(light(HERE.parent / "coffee.png")[..., :3], 4)
    plate = pin(np.zeros((HEIGHT, WIDTH, 3)), table, (corners(-40, -60, 860, 540) - [60 * t, 10 * t]) * SCALE)
    move = dict(yaw=-34 + 26 * t, pitch=-14 + 3 * t, roll=-5 + 4 * t, at=(0.10 - 0.14 * t, 0.02, 2.35 - 0.15 * t))
    whole = seen(corners(-1.17, -0.78, 1.17, 0.78), **move)
    shadow = np.dstack([np.zeros((520, 780, 3)), 0.75 * blur(np.pad(rounded(660, 400, 30), 60), 16)])
    plate = pin(plate, shadow, seen(corners(-1.25, -0.66, 1.25, 1.0), **move))
    plate = pin(plate, tablet(t), whole)
    glass = [-1.17 + 0.12, -0.78 + 0.105, 1.17 - 0.12, 0.78 - 0.105]
    base, tip = seen([(1.55, 1.05), (0.66, 0.36)], **move)
    matte, skin = finger(base, tip, (36 + 2 * t) * SCALE)
    return over(plate, skin, matte), matte, seen(corners(*glass), **move)


def screen():
    quads = []
    for frame in range(FIRST, FIRST + FRAMES):
        plate, matte, quad = screen_frame((frame - FIRST) / (FRAMES - 1))
        save(f"shot.{frame}.exr", grain(plate))
        save_matte(f"finger.{frame}.png", matte)
        quads.append(quad)
    zelk.Track(range(FRAMES), quads, (WIDTH, HEIGHT), 24).save("shot.txt")
    card("app", (900, 580), "#10131a")


def bricks(width=1400, height=930):
    """A wall of bricks, each of its own tone."""
    x, y = grid(width, height)
    row = (y // 31).astype(int)
    shifted = x + 35 * (row % 2) + 2 * cloud(width, height, 9)
    number = (shifted // 70).astype(int)
    tone = random.random((64, 64))[row % 64, number % 64]
    left, top = shifted % 70, (y + 1.2 * cloud(width, height, 7)) % 31
    brick = step(2, 5, np.minimum(left, 70 - left)) * step(2, 4.5, np.minimum(top, 31 - top))
    rough = 1 + 0.22 * cloud(width, height, 2) + 0.18 * cloud(width, height, 30)
    color = (np.array([0.19, 0.062, 0.036]) * (0.55 + 0.8 * tone)[..., None]
             + np.array([0.03, 0.02, 0.015]) * (tone > 0.8)[..., None])
    lit = 1 + 0.5 * (step(2, 6, top) - step(25, 30, top)) * brick  # joints lie deeper
    wall = over(np.full((height, width, 3), 1) * [0.20, 0.18, 0.155], color * lit[..., None], brick)
    return np.clip(wall * rough[..., None], 0.005, 1)


def leaves(count, middle, spread):
    """Leaves around a place: their coverage and light, each over the ones before."""
    x, y = grid()
    x, y = x / SCALE, y / SCALE
    cover, color = np.zeros((HEIGHT, WIDTH)), np.zeros((HEIGHT, WIDTH, 3))
    for _ in range(count):
        at = np.array(middle) + random.normal(size=2) * spread
        angle, size = random.uniform(0.2, 1.5), random.uniform(15, 27)
        u = (x - at[0]) * np.cos(angle) + (y - at[1]) * np.sin(angle)
        v = (y - at[1]) * np.cos(angle) - (x - at[0]) * np.sin(angle)
        wide = 0.42 * size * np.clip(1 - (u / size)**2, 0, None) * (1 - 0.3 * u / size)
        leaf = step(-1.0, 1.0, wide - np.abs(v)) * step(size, size - 3, np.abs(u))
        tone = random.uniform(0.35, 1.2) * (1 + 0.35 * np.sign(v) - 0.4 * np.exp(-(v / 0.9)**2))
        color = over(color, np.array([0.055, 0.15, 0.022]) * tone[..., None], leaf)
        cover = cover + leaf * (1 - cover)
    return cover, color


def sign():
    x, y = grid()
    x, y = x / SCALE, y / SCALE
    wall = seen(corners(-6.4, -2.7, 2.4, 2.7), yaw=27, at=(0, 0, 2.3))
    plate = pin(np.zeros((HEIGHT, WIDTH, 3)), bricks(2700, 1660), wall)
    plate *= (0.35 + 1.5 * np.exp(-((x - 250)**2 + (y - 60)**2) / 90000))[..., None] * [1.1, 1, 0.9]
    post_at = (x - 402 - 0.01 * y) / 15
    post = step(1.04, 0.96, np.abs(post_at))
    steel = (0.02 + 0.10 * np.exp(-((post_at + 0.45) / 0.25)**2) + 0.03 * np.exp(-((post_at - 0.7) / 0.2)**2))
    cover, green = leaves(80, (430, 48), (115, 55))
    front = post + cover * (1 - post)
    plate = over(over(plate, green, cover), steel[..., None] * [0.8, 1, 0.95], post)
    save("wall.exr", grain(plate))
    save_masks("roto.exr", {"front.mask": front, "post.mask": post})
    card("sign", (640, 640), "#f4ecd8")
    u, v = grid(640, 640)
    save_matte("disc.png", np.clip(312 - np.hypot(u - 320, v - 320) + 0.5, 0, 1))
    soft = step(320, 260, np.hypot(u - 320, v - 320))
    save("shadow.png", np.dstack([np.zeros((640, 640, 3)), soft]))


def box_plate(front, side):
    """A carton on a table, before a backdrop: the plate and its front's corners."""
    x, y = grid()
    x, y = x / SCALE, y / SCALE
    drop = 0.05 + 0.5 * np.exp(-((x - 420)**2 + (y - 150)**2) / 60000)
    plate = drop[..., None] * [0.62, 0.74, 0.80]
    fibres = blur(random.normal(size=(500, 50)), 1).repeat(20, 1)
    wood = np.array([0.30, 0.17, 0.085]) * (1 + 0.35 * blur(fibres, 2))[..., None]
    wood *= (0.4 + 0.6 * step(0, 5, grid(1000, 500)[1] % 125))[..., None]
    plate = pin(plate, wood, SCALE * np.array([(-60, 348), (780, 348), (-700, 640), (1420, 640)]))
    plate *= (0.5 + 0.5 * step(340, 366, y) + 0.5 * step(350, 346, y))[..., None]
    a, b, c, d, e, f = SCALE * np.array([(196, 62), (462, 34), (574, 60), (214, 414), (458, 452), (560, 394)])
    ground = np.array([d, d + f - e, e, f])
    shadow = np.dstack([np.zeros((200, 200, 3)), 0.85 * blur(np.pad(np.ones((120, 120)), 40), 14)])
    plate = pin(plate, shadow, ground.mean(0) + 1.75 * (ground - ground.mean(0)) + (14, 4))
    plate = pin(plate, 0.42 * side, [b, c, e, f])
    quad = [a, b, d, e]
    return pin(plate, front, quad), quad


PAPER = "#f3ead7"


def words_of_tea(name, tea, kind, ink):
    """The two lines of the label that tell one tea from another."""
    card("patch", (320, 100), PAPER, name, TEA=tea, KIND=kind, INK=ink)


def label():
    card("label", (480, 640), PAPER)
    card("side", (300, 640), "#2f4a3c")
    plate, _ = box_plate(light("label.png")[..., :3], light("side.png")[..., :3])
    save("box.png", plate)
    pathlib.Path("label.png").rename("printed.png")  # what the printer got, for comparison alone
    words_of_tea("patch.png", "Rooibos", "red bush, no caffeine", "#8c2f1b")


def tiles(width, height):
    """A station's wall: white tiles, a dark line of them, a platform with its edge."""
    x, y = grid(width, height)
    y = y - 226  # rows above it are beyond the frame
    row = (y // 40).astype(int)
    left, top = (x + 40 * (row % 2)) % 80, y % 40
    line = row == 5
    tile = step(1.5, 3.5, np.minimum(left, 80 - left)) * step(1.5, 3.5, np.minimum(top, 40 - top))
    tone = 0.9 + 0.1 * random.random((64, 64))[row % 64, ((x + 40 * (row % 2)) // 80).astype(int) % 64]
    gloss = 0.12 * step(32, 6, top) * step(76, 20, left)
    wall = over(np.full((height, width, 3), 0.10), ((0.46 * tone + gloss)[..., None]) * [0.93, 0.98, 1.0], tile)
    wall = np.where(line[..., None], wall * [0.10, 0.22, 0.30], wall)
    wall *= (0.35 + 0.75 * np.exp(-((y - 420) / 700)**2))[..., None]
    floor = np.full((height, width, 3), [0.055, 0.055, 0.06]) * (1 + 0.2 * cloud(width, height, 1))[..., None]
    floor = np.where((np.abs(y - 1070) < 16)[..., None], [0.55, 0.36, 0.03], floor)
    wall = over(wall, floor, step(958, 961, y))
    return np.clip(wall, 0, 1)


def lens():
    subprocess.run(["zelk-lens-map", "distort.exr", f"{WIDTH}x{HEIGHT}", "0.32"], check=True)
    wall = zelk.Scene(tiles(3000, 1646).astype("float32"), size=(WIDTH, HEIGHT), quality="best",
                      to=seen(corners(-2.8, -2.6, 6.5, 2.5), yaw=-13, at=(0, 0, 1.95)), st_map="distort.exr")
    save("plate.png", np.clip(grain(wall.render()[..., :3]), 0, 1))
    # The lens turned round: where a pixel of the straight frame lies in the plate, by Newton's method.
    x, y = grid()
    half = np.hypot(WIDTH, HEIGHT) / 2
    dx, dy = x - WIDTH / 2, y - HEIGHT / 2
    straight = bent = np.hypot(dx, dy) / half
    for _ in range(20):
        bent = bent - (bent * (1 + 0.32 * bent**2) - straight) / (1 + 3 * 0.32 * bent**2)
    s, t = 0.5 + dx * bent / straight / WIDTH, 0.5 - dy * bent / straight / HEIGHT
    zelk.Scene(np.dstack([s, t, np.zeros_like(s)]).astype("float32"), view="original", color="raw",
               output="undistort.exr").write()
    card("poster", (760, 480), "#070a12")


def batch():
    """The box with an empty front, and a list of what is to be on it."""
    card("side", (300, 640), "#2f4a3c")
    plate, quad = box_plate(np.full((640, 480, 3), 0.5), light("side.png")[..., :3])
    save("box.png", plate)
    card("label", (480, 640), PAPER)
    rows = ["name,colour,words"]
    for name, colour, tea, kind in (("earl-grey", "#2f4a3c", "Earl Grey", "black tea with bergamot"),
                                    ("rooibos", "#8c2f1b", "Rooibos", "red bush, no caffeine"),
                                    ("assam", "#5b3a1e", "Assam", "strong black tea"),
                                    ("jasmine", "#3d6b8c", "Jasmine", "green tea with blossoms")):
        words_of_tea(f"words-{name}.png", tea, kind, "#3a2a1a")
        rows.append(f"{name},{colour},words-{name}.png")
    pathlib.Path("teas.csv").write_text("\n".join(rows) + "\n")


def movie():
    """A walk along the wall with a sound, and its track as a node compositor saved it."""
    small, walls, quads = 0.75, {}, {}
    for frame in range(1, 17):
        t = frame / 16
        move = dict(yaw=24 - 44 * t, pitch=3 - 4 * t, at=(0.5 - 1.0 * t, 0.05, 2.2), focal=1.0)
        walls[frame] = small * seen(corners(-5, -2.5, 5, 2.5), **move)
        quads[frame] = small * seen(corners(-0.9, -0.5, 0.9, 0.4), **move)
    size = round(small * WIDTH), round(small * HEIGHT)
    wall = zelk.Scene(bricks(2200, 1160).astype("float32"), size=size, quality="best",
                      motion_blur=8).keys("to", walls)
    for frame, plate in wall.frames():
        save(f"frame.{frame:04d}.png", np.clip(grain(plate[..., :3]), 0, 1))
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-framerate", "24", "-start_number", "1", "-i", "frame.%04d.png", "-f",
                    "lavfi", "-i",
                    "sine=frequency=330:sample_rate=48000:duration=0.66667", "-c:v", "prores_ks", "-pix_fmt",
                    "yuv422p10le", "-color_primaries", "bt709", "-color_trc", "bt709", "-colorspace", "bt709",
                    "-c:a", "pcm_s24le", "shot.mov"], check=True)
    for frame in quads:
        pathlib.Path(f"frame.{frame:04d}.png").unlink()
    zelk.Track(list(quads), list(quads.values()), size, 24).save("shot.nk")
    card("banner", (960, 480), "#17324d")


if __name__ == "__main__":
    shots = dict(screen=screen, sign=sign, label=label, lens=lens, batch=batch, movie=movie)
    if len(sys.argv) != 2 or sys.argv[1] not in shots:
        sys.exit(f"shots.py: usage: shots.py {'|'.join(shots)}")
    warnings.simplefilter("error", zelk.RenderWarning)
    shots[sys.argv[1]]()
