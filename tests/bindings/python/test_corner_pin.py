"""corner_pin: the command line's bits and sentences, layouts of arrays, threads."""

import concurrent.futures
import os
import re
import subprocess
import sys
import threading
import time
import unittest

import numpy as np
import zelk
from support import QUAD, QUAD_TEXT, Folder, bits, complaint, noise, read_tiff, write_tiff
from support import zelk as program


class SameBits(Folder):
    def rendered(self, layer, plate, premultiplied, options):
        write_tiff(self.path("layer.tif"), layer, premultiplied)
        words = ["render", self.path("layer.tif"), "-o", self.path("out.tif"), "--to", QUAD_TEXT]
        if plate is not None:
            write_tiff(self.path("plate.tif"), plate, premultiplied)
            words += ["--over", self.path("plate.tif")]
        for name, value in options.items():
            words += [f"--{name.replace('_', '-')}"] + ([] if value is True else [value])
        program(*words)
        return read_tiff(self.path("out.tif"))

    def test_as_the_command_line(self):
        types = ("uint8", "uint16", "float16", "float32")
        cases = [(own, None, {}) for own in types]
        cases += [(own, own, {"quality": "best"}) for own in types]
        cases += [("uint8", "float32", {}), ("float32", "uint16", {}), ("uint8", "uint16", {}),
                  ("float32", None, {"quality": "super"}), ("uint16", None, {"depth": "float"}),
                  ("uint8", None, {"size": "70x31", "feather": "3.5"}),
                  ("uint8", None, {"channels": "a"}), ("float32", None, {"channels": "rgb"}),
                  ("uint16", "uint16", {"filter": "lanczos3", "taps": "8", "mode": "screen"}),
                  ("float32", None, {"motion_blur": "3", "transfer": "add"}),
                  ("uint8", None, {"grow": "7", "downsample": "2"})]
        for own, under, options in cases:
            for premultiplied, channels in ((False, 3), (False, 4), (True, 4)):
                with self.subTest(case=(own, under, premultiplied, channels, options)):
                    layer = noise(own, channels=channels)
                    plate = None if under is None else noise(under, 44, 61, channels, 2)
                    expected = self.rendered(layer, plate, premultiplied, options)
                    made = zelk.corner_pin(layer, QUAD, over=plate, premultiplied=premultiplied,
                                           **{"quality": "high", **options})
                    np.testing.assert_array_equal(made, expected.reshape(made.shape))
                    self.assertEqual(bits(made), bits(expected.reshape(made.shape)))

    def test_depth_is_rounded_after_the_conversion(self):
        """Light to fewer bits: what the command line converts in float and keeps, rounded here."""
        light = noise("float32") / 8
        write_tiff(self.path("layer.tif"), light)
        program("render", self.path("layer.tif"), "-o", self.path("out.tif"), "--to", QUAD_TEXT,
                "--output-color", "sRGB")
        exact, own = np.clip(read_tiff(self.path("out.tif")), 0, 1), self.path("own.png")
        scene = zelk.Scene(light, to=QUAD)
        for depth, most in (("8", 255), ("16", 65535)):
            with self.subTest(depth=depth):
                made = scene.edit(depth=depth, output=own).render()
                np.testing.assert_array_equal(made, np.floor(exact * np.float32(most) + np.float32(0.5)))
                scene.write()
                written = zelk.corner_pin(own, view="original", depth="float", color="raw")
                np.testing.assert_array_equal(np.rint(written * most), made)
                streamed = [picture for _, picture in scene.frames([1])]
                np.testing.assert_array_equal(streamed[0], made)

    def test_sentences_of_the_command_line(self):
        layer = self.path("layer.tif")
        write_tiff(layer, noise("uint8"))
        for options in ({"quality": "hgih"}, {"to": "1,2 3,4"}, {"feather": -1}, {"mode": "add"},
                        {"quality": "best", "filter": "mitchell"}, {"over": self.path("none.png")},
                        {"set": "rotat=3"}, {"set": "rotate=x"}, {"taps": 5}, {"depth": "12"},
                        {"channels": "rgba", "road": "module", "over": layer},
                        {"source_opacity": 101}, {"motion_blur": 0}, {"st_map": ""},
                        {"size": "0x4"}, {"layer_color": "no such"}):
            with self.subTest(**options):
                words = ["render", layer, "-o", self.path("out.tif")]
                for name, value in options.items():
                    words += ["--" + name.replace("_", "-"), value]
                text, code = complaint(*words)
                for name in sorted((edit[0] for edit in zelk.edits()), key=len, reverse=True):
                    text = text.replace("--" + name, name.replace("-", "_"))
                with self.assertRaises(zelk.Error) as raised:
                    zelk.corner_pin(noise("uint8"), **options)
                self.assertEqual((str(raised.exception), raised.exception.exit_code), (text, code))

    def test_unknown_keywords(self):
        for name, near in (("qualty", '"quality"'), ("xyzzy", "zelk.edits()"),
                           ("output", "zelk.Scene"), ("motion_blurr", '"motion_blur"')):
            with self.subTest(name=name):
                text = f'corner_pin: unknown option "{name}", expected .*{re.escape(near)}'
                with self.assertRaisesRegex(zelk.UsageError, text):
                    zelk.corner_pin(noise("uint8"), **{name: "1"})


class Arrays(unittest.TestCase):
    def test_layouts(self):
        plain = noise("uint16")
        wide = np.zeros((40, 52, 8), "uint16")
        wide[..., 2:6] = plain
        frozen = plain.copy()
        frozen.flags.writeable = False
        apart = np.zeros((80, 60, 4), "uint16")
        apart[::2, 3:55] = plain
        expected = bits(zelk.corner_pin(plain, QUAD))
        for name, array, shared in (
                ("rows apart", apart[::2, 3:55], True), ("frozen", frozen, True),
                ("upside down", plain[::-1].copy()[::-1], True), ("wide", wide[..., 2:6], False),
                ("fortran", np.asfortranarray(plain), False),
                ("mirrored", plain[:, ::-1].copy()[:, ::-1], False),
                ("other end", plain.astype(">u2"), False)):
            with self.subTest(name=name):
                before = sys.getrefcount(array)
                scene = zelk.Scene(array, to=QUAD)
                self.assertEqual(sys.getrefcount(array) > before, shared)
                self.assertEqual(bits(scene.render()), expected)
                del scene
                self.assertEqual(sys.getrefcount(array), before)

    def test_results_outlive_all(self):
        again = zelk.corner_pin(noise("uint8"), QUAD)[5:, ::2]
        kept = again.copy()
        zelk.corner_pin(noise("uint8", seed=3), QUAD)
        again[0, 0] = kept[0, 0]  # it is writeable
        np.testing.assert_array_equal(again, kept)

    def test_shapes(self):
        grey, grey1, alpha = noise("uint8", channels=1)[..., 0], noise("uint8", channels=1), \
            noise("uint8", channels=2)
        colour, whole = noise("uint8", channels=3), noise("uint8")
        for layer, options, shape in (
                (grey, {}, (40, 52, 2)), (alpha, {}, (40, 52, 2)), (colour, {}, (40, 52, 4)),
                (grey, {"over": grey}, (40, 52)), (grey1, {"over": grey1}, (40, 52, 1)),
                (grey, {"over": colour}, (40, 52, 3)), (whole, {"over": grey}, (40, 52, 3)),
                (grey, {"channels": "a"}, (40, 52)), (grey, {"size": (9, 7)}, (7, 9, 2))):
            with self.subTest(layer=layer.shape, options=options.keys(), expected=shape):
                made = zelk.corner_pin(layer, QUAD, **options)
                self.assertEqual(made.shape, shape)
                if layer is grey and shape == (40, 52, 2):  # one of the three colours
                    three = np.repeat(grey[..., None], 3, 2)
                    np.testing.assert_array_equal(made, zelk.corner_pin(three, QUAD)[..., [0, 3]])

        kept = zelk.Scene(grey1, over=grey).edit(layer=None)  # leaves the layer as it was
        self.assertEqual(kept.render().shape, (40, 52, 1))

    def test_refused(self):
        for array, word in ((noise("uint8").astype("float64"), '"float64"'),
                            (np.zeros((4, 4), bool), '"bool"'), (np.zeros(4, "uint8"), '"(4,)"'),
                            (np.zeros((2, 2, 5), "uint8"), '"(2, 2, 5)"'),
                            (np.zeros((0, 3), "uint8"), '"3x0"'),
                            (np.zeros((1, 40000), "uint8"), "32767")):
            with self.subTest(word=word), self.assertRaises(zelk.InputError) as raised:
                zelk.corner_pin(array)
            self.assertIn(word, str(raised.exception))
            self.assertTrue(str(raised.exception).startswith("layer: "))

    def test_lists_that_make_what_they_give(self):
        told = []

        class Side:
            def __init__(self, pixels):
                self.pixels = pixels

            def __float__(self):
                told.append("read")
                return float(self.pixels)

            def __del__(self):
                told.append("gone")

        class Sides:
            def __len__(self):
                return 2

            def __getitem__(self, i):
                return Side((9, 7)[i])

        self.assertEqual(zelk.corner_pin(noise("uint8"), size=Sides()).shape, (7, 9, 4))
        self.assertEqual(told, ["read", "gone"] * 2)

    def test_mattes(self):
        layer, matte = noise("float32"), noise("float32", channels=1)
        multiplied = layer * np.concatenate((np.ones((40, 52, 3), "float32"), matte), 2)
        np.testing.assert_array_equal(zelk.corner_pin(layer, QUAD, matte=matte),
                                      zelk.corner_pin(multiplied, QUAD))


class Threads(Folder):
    def outcome(self, script, **environment):
        start = "import os, signal, threading, time\nimport numpy as np\nimport zelk\n"
        run = subprocess.run([sys.executable, "-c", start + script], capture_output=True, text=True,
                             timeout=60, cwd=self.folder, env={**os.environ, **environment})
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        return run.stdout

    def test_a_fork_after_a_render(self):
        told = self.outcome("""
image = np.arange(4 * 300 * 400, dtype="uint16").reshape(300, 400, 4)
scene = zelk.Scene(image, to=[(9, 5), (390, 1), (3, 280), (380, 299)], quality="best")
expected, stream = scene.render(), scene.frames("1-9")
next(stream)
exr = zelk.Scene(image, output="out.exr")
exr.write()
if os.fork() == 0:
    signal.alarm(50)  # nobody else ends it
    print((scene.render(threads=4) == expected).all(), len(list(scene.frames("1-3"))))
    for call in (lambda: next(stream), exr.write):
        try:
            call()
        except zelk.Error as error:
            print(error)
    del stream
else:
    os.wait()
    print(len(list(stream)))
""", OMP_NUM_THREADS="4")
        for words in ("^True 3$", "process that this one was forked from", "OpenEXR can't", "^8$"):
            self.assertRegex(told, "(?m)" + words)

    def test_an_end_while_others_render(self):
        self.outcome("""
scene = zelk.Scene(np.zeros((700, 900, 4), "uint8"), quality="best")
threading.Thread(target=lambda: list(scene.frames(range(9999))), daemon=True).start()
time.sleep(.3)
""")

    def test_the_lock_is_released(self):
        picture = noise("uint8", 1500, 1500)
        running, counted = threading.Event(), 0
        interval = sys.getswitchinterval()
        self.addCleanup(sys.setswitchinterval, interval)
        sys.setswitchinterval(100)  # nobody is made to let go of it

        def render():
            running.set()
            zelk.corner_pin(picture, threads=1)
            running.clear()

        thread = threading.Thread(target=render)
        thread.start()
        running.wait()
        while running.is_set():
            counted += 1
            time.sleep(0)
        thread.join()
        self.assertGreater(counted, 10)

    def test_pool_of_two(self):
        picture = noise("uint8", 300, 400)
        quads = [np.asarray(QUAD) * (6, 7) + i for i in range(8)]
        scene = zelk.Scene(picture, to=quads[0])
        expected = [bits(zelk.corner_pin(picture, quad)) for quad in quads]
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            made = pool.map(lambda quad: bits(zelk.corner_pin(picture, quad, threads=1)), quads)
            self.assertEqual(list(made), expected)
            one = pool.map(lambda frame: bits(scene.render(frame, threads=1)), range(8))
            self.assertEqual(list(one), expected[:1] * 8)
