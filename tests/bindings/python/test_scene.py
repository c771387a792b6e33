"""Scenes and tracks: projects, keys, runs over frames, maps; held against the built program."""

import json
import os
import signal
import threading
import unittest

import numpy as np
import zelk
from support import QUAD, Folder, bits, complaint, noise, read_tiff
from support import zelk as program


class Scenes(Folder):
    def moving(self, layer):
        """Keys of every kind of value, over eight frames."""
        scene = zelk.Scene(layer, quality="super", motion_blur=3, set={"grow_bounds": 3})
        scene.keys("to", {11: QUAD, 18: np.asarray(QUAD) * 1.2}, "bezier")
        scene.keys("corner-pin-opacity", [(11, 100), (14.5, 30, "hold"), (17, 80)])
        scene.keys("from-lower-right", [(12, (50, 39), "bezier", (40, 2), (60, 0)), (16, (40, 30))])
        scene.keys("transfer_mode", {11: "None", 15: "Multiply"})
        scene.keys("scale_x", {11: 0.9}).set(crop_to_pins=True, rotate=4)
        return scene

    def test_keys_as_the_project_has_them(self):
        self.picture("layer.tif", "uint16")
        scene = self.moving(self.path("layer.tif")).edit(output=self.path("out.####.tif"))
        scene.save(self.path("move.zelk.json"))
        program("render", "--project", self.path("move.zelk.json"))
        expected = {f: read_tiff(self.path(f"out.{f:04d}.tif")) for f in range(11, 19)}
        self.assertEqual(len({picture.tobytes() for picture in expected.values()}), 8)
        loaded = zelk.load(self.path("move.zelk.json"))
        for made in (scene, loaded, scene.copy()):
            frames = dict(made.frames())
            self.assertEqual(list(frames), list(expected))
            for frame, picture in frames.items():
                self.assertEqual(bits(picture), bits(expected[frame]))
        self.assertEqual(bits(scene.render(15, threads=1)), bits(expected[15]))
        self.assertEqual(bits(scene.render()), bits(expected[11]))
        self.assertEqual(loaded.parameters["corner-pin-opacity"], {11: 100, 14.5: 30, 17: 80})
        self.assertEqual(scene.write("12,14-15"), [12, 14, 15])
        self.assertEqual(bits(read_tiff(self.path("out.0014.tif"))), bits(expected[14]))

    def test_key_faults(self):
        scene = zelk.Scene(noise("uint8"))
        for arguments, word in ((("rotat", {1: 2}), "rotate"), (("rotate", {1: "x"}), "rotate"),
                                (("rotate", {1: 2}, "cubic"), "bezier"),
                                (("rotate", {1: (1, 2, 3)}), "(x, y)"),
                                (("quality", {1: 1}), "a value alone"),
                                (("transfer_mode", {1: "Add", 2: 3}, "linear"), "hold")):
            with self.subTest(arguments=arguments), self.assertRaises(zelk.Error) as raised:
                scene.copy().keys(*arguments).render(1)
            self.assertIn(word, str(raised.exception))
        self.assertEqual(scene.keys("rotate", {3: 1}).keys("rotate", {}).parameters, {})
        for keys in ({1: QUAD, 2: QUAD[:3]}, [(1,)], [(1, QUAD, "linear", 3, 4)], {"1": QUAD}, 5):
            self.assertRaisesRegex(zelk.UsageError, "to: not understood: ", scene.keys, "to", keys)
        self.assertEqual(scene.parameters, {})

    def test_arguments_of_another_kind(self):
        scene, track = zelk.Scene(noise("uint8")), zelk.Track([1], [QUAD], (52, 40))
        for call, told in (
                (lambda: scene.render("3"), 'frame: not understood: "3"'),
                (lambda: scene.render(1 << 40), "frame: out of range: "),
                (lambda: scene.render(threads=1.5), 'threads: not understood: "1.5"'),
                (lambda: scene.comp((1, 2, 3)), r'size: not understood: "\(1, 2, 3\)"'),
                (lambda: zelk.Scene([[1, 2]]), "layer: .*, expected an array or a file's name"),
                (lambda: zelk.Scene("a\0b.png"), "layer: .* without NUL"),
                (lambda: scene.edit(track=np.zeros((2, 4, 2))), "track: .*, expected a Track or"),
                (lambda: scene.edit(to=np.asarray(QUAD) + 1j), "to: .*, expected four"),
                (lambda: scene.set(**{"rotate": None}), "rotate: not understood"),
                (lambda: scene.edit(set={3: 4}), 'set: not understood: "3"'),
                (lambda: track.shift_frames(float("nan")), "shift_frames: not understood"),
                (lambda: track.scaled(None), "size: not understood"),
                (lambda: zelk.Track([1], [QUAD], rate=0), "rate: not understood"),
                (lambda: zelk.load(None), 'path: not understood: "None"')):
            self.assertRaisesRegex(zelk.UsageError, told, call)
        zelk.corner_pin(noise("uint8"), opacity=np.array(30.))
        scene.set(rotate=30, to_upper_left=(1, 2.5), crop_to_pins=True)
        self.assertEqual(scene.parameters, {"rotate": 30, "to-upper-left": (1, 2.5),
                                            "crop-to-pins": "on"})
        self.assertEqual((list(scene.frames([])), scene.matrices(range(0)), scene.write([])),
                         ([], {}, []))

    def test_names_of_any_bytes(self):
        name = self.path(os.fsdecode(b"a b\xff\xc3\xb6.png"))
        with self.assertRaises(zelk.InputError) as raised:
            zelk.corner_pin(name)
        self.assertEqual(str(raised.exception), name + ": no such file")
        layer = noise("uint8")
        zelk.Scene(layer, view="original", output=name).write()
        np.testing.assert_array_equal(zelk.corner_pin(name, view="original")[..., 3], layer[..., 3])

    def test_frames_of_files(self):
        pictures = self.numbered(3, 7)
        scene = zelk.Scene(self.path("shot.####.tif"), to=QUAD)
        expected = {3 + i: bits(zelk.corner_pin(picture, QUAD))
                    for i, picture in enumerate(pictures)}
        for asked, frames, in_flight in ((None, range(3, 8), 3), ("3-7", range(3, 8), 1), (4, [4], 1),
                                         (range(3, 8), range(3, 8), 4), ([7, 3], [7, 3], 2)):
            with self.subTest(asked=asked):
                made = [(frame, bits(picture))
                        for frame, picture in scene.frames(asked, in_flight=in_flight)]
                self.assertEqual(made, [(frame, expected[frame]) for frame in frames])

    def test_a_run_that_ends_early(self):
        self.numbered(1, 5)
        scene = zelk.Scene(self.path("shot.####.tif"), to=QUAD)
        stream = scene.frames("1-5")
        self.assertEqual(next(stream).frame, 1)
        stream.close()
        self.assertEqual(list(stream), [])
        os.remove(self.path("shot.0004.tif"))
        taken = []
        with self.assertRaises(zelk.InputError) as raised:
            for frame, _ in scene.frames("1-5"):
                taken.append(frame)
        self.assertEqual(taken, [1, 2, 3])
        self.assertIn("shot.0004.tif: no such file", str(raised.exception))
        skipped = scene.copy().edit(missing="skip").frames("1-5")
        self.assertEqual([frame for frame, _ in skipped], [1, 2, 3, 5])

    def test_interrupts(self):
        layer = noise("float32", 700, 700)
        scene = zelk.Scene(layer, to=QUAD, quality="super", output=self.path("out.#.tif"))
        for name, run in (("frames", lambda: list(scene.frames("1-5000"))),
                          ("write", lambda: scene.write("1-5000"))):
            timer = threading.Timer(0.3, os.kill, (os.getpid(), signal.SIGINT))
            timer.start()
            with self.subTest(name=name), self.assertRaises(KeyboardInterrupt):
                run()
            timer.join()
        written = os.listdir(self.folder)
        self.assertTrue(0 < len(written) < 5000, written[:3])
        self.assertEqual({name[-4:] for name in written}, {".tif"})

    def test_write_refuses_what_the_program_does(self):
        self.picture("layer.tif", "uint8")
        layer = self.path("layer.tif")
        for edits, options in (({}, {}), ({"output": layer}, {}), ({"output": layer}, {
                "replace": False}), ({"output": self.path("none/out.tif")}, {})):
            with self.subTest(edits=edits, options=options):
                words = ["-o", edits["output"]] if edits else []
                text, code = complaint("render", layer, *words, *["--no-clobber"] * len(options))
                with self.assertRaises(zelk.Error) as raised:
                    zelk.Scene(layer, **edits).write(**options)
                told = str(raised.exception).replace("in_place", "--in-place")
                self.assertEqual((told, raised.exception.exit_code),
                                 (text.replace("--output", "output"), code))

    def test_edits_stand_or_fall_together(self):
        scene = zelk.Scene(noise("uint8"), to=QUAD)
        before = bits(scene.render())
        with self.assertRaises(zelk.UsageError):
            scene.edit(opacity=10, quality="low", feather=-3)
        self.assertEqual(bits(scene.render()), before)
        self.assertNotEqual(bits(scene.edit(opacity=10).render()), before)
        self.assertEqual(bits(scene.edit(opacity=None).set(corner_pin_opacity=100).render()), before)

    def test_maps(self):
        self.picture("layer.tif", "uint8")
        scene = self.moving(self.path("layer.tif"))
        scene.edit(motion_blur="off", set="grow-bounds=0").save(self.path("move.zelk.json"))
        program("map", "--project", self.path("move.zelk.json"), "--matrix", "-o",
                self.path("maps.json"))
        with open(self.path("maps.json"), encoding="utf-8") as file:
            expected = json.load(file)["frames"]
        maps = scene.matrices()
        self.assertEqual(list(maps), [entry["frame"] for entry in expected])
        for entry in expected:
            made = maps[entry["frame"]]
            self.assertEqual(made.to_frame.ravel().tolist(), entry["matrix"])
            self.assertEqual(made.to_layer.ravel().tolist(), entry["inverse"])
            self.assertEqual((made.layer_size, made.frame_size), ((52, 40), (52, 40)))
        st, to_layer = scene.st_map(14), scene.matrix(14).to_layer
        y, x = np.nonzero(st[..., 3] == 1)
        self.assertGreater(len(x), 300)
        u, v, w = to_layer @ (x + .5, y + .5, np.ones(len(x)))
        # Two roundings of a float each.
        np.testing.assert_allclose(st[y, x, 0], u / w / 52, atol=2e-6)
        np.testing.assert_allclose(st[y, x, 1], 1 - v / w / 40, atol=2e-6)
        crossed = zelk.Scene(noise("uint8"), to=[(0, 0), (9, 9), (9, 0), (0, 9)])
        self.assertIsNone(crossed.matrix(0).to_frame)
        with self.assertWarns(zelk.RenderWarning):
            self.assertFalse(crossed.render().any())


class Tracks(Folder):
    def track(self, **options):
        frames = np.arange(5) + 3
        corners = np.asarray(QUAD) + np.arange(5)[:, None, None]
        return zelk.Track(frames, corners, (52, 40), 25, **options)

    def test_arrays_files_and_back(self):
        track = self.track()
        for name in ("t.txt", "t.csv", "t.nk"):
            with self.subTest(name=name):
                track.save(self.path(name))
                read = zelk.Track.load(self.path(name))
                np.testing.assert_allclose(read.frames, track.frames)
                np.testing.assert_allclose(read.corners, track.corners, atol=1e-4)
        for changed, corners in (
                (track.flip_y(), track.corners * (1, -1) + (0, 40)),
                (track.reorder("ul,ll,ur,lr"), track.corners[:, [0, 2, 1, 3]]),
                (track.scaled((104, 120)), track.corners * (2, 3))):
            np.testing.assert_allclose(changed.corners, corners)
        np.testing.assert_array_equal(track.shift_frames(-3).frames, np.arange(5))
        self.assertEqual((track.size, track.rate), ((52, 40), 25))
        holes = track.corners
        holes[2, 1] = np.nan
        lacking = zelk.Track(track.frames, holes)
        np.testing.assert_array_equal(lacking.corners, holes)
        self.assertTrue(any("frame" in issue for issue in lacking.issues()))
        for wrong in (lambda: zelk.Track([1], [[1, 2]]), lacking.flip_y,
                      lambda: track.text("mocca"), lambda: track.save(self.path("t.xyz"))):
            self.assertRaises(zelk.UsageError, wrong)

    def test_in_a_scene(self):
        layer = self.picture("layer.tif", "float32")
        self.track().save(self.path("track.txt"))
        program("render", self.path("layer.tif"), "-o", self.path("out.#.tif"), "--track",
                self.path("track.txt"))
        expected = [bits(read_tiff(self.path(f"out.{frame:04d}.tif"))) for frame in range(3, 8)]
        for track in (self.path("track.txt"), zelk.Track.load(self.path("track.txt")),
                      self.track()):
            with self.subTest(track=track):
                made = list(zelk.Scene(layer, track=track).frames())
                self.assertEqual([frame for frame, _ in made], list(range(3, 8)))
                self.assertEqual([bits(picture) for _, picture in made], expected)
        with self.assertRaises(zelk.UsageError) as raised:
            zelk.corner_pin(layer, QUAD, track=self.track())
        self.assertEqual(str(raised.exception),
                         "track and to set the same pins: give one of them")
