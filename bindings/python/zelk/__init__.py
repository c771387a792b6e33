"""A high quality corner pin: pictures into quads, in perspective, for NumPy arrays and for files.

    import numpy as np, zelk
    out = zelk.corner_pin(image, to=[(60, 40), (540, 10), (30, 390), (580, 350)])
    comp = zelk.corner_pin(logo, over=plate, to=corners, quality="best")

    scene = zelk.load("sign.zelk.json")
    for frame, picture in scene.frames("1001-1100"):
        ...

The pixels are those of the command line `zelk`, to the bit.

Pictures are arrays H x W (grey) or H x W x 1..4 (grey; grey, alpha; red, green, blue; red, green,
blue, alpha) of uint8, uint16, float16 or float32. White is 255, 65535 or 1. Row 0 is the top one. Colour
is straight, or times alpha with premultiplied=True. Arrays are read where they stand, without a copy,
when the pixels of a row lie side by side; nobody may change one while a Scene holds it.

Corners go upper left, upper right, lower left, lower right, each (x, y) in pixels, y down; (0, 0) is the
outer corner of the first pixel, so that pixel centres lie at .5. To pins count in the frame, From pins
in the layer. Angles are degrees, opacities percent.

Edits are keywords of corner_pin, Scene and Scene.edit: the options of `zelk render` with `_` for `-`, and
`frm` for --from. zelk.edits() lists all with what they take. Values may be the text that the command
line takes, or what Python has for it: True and False for on and off, (w, h) for a size, four (x, y) for
pins, a range or a list for frames, a dict of parameters for `set`, arrays for layer, over, matte, holdout
and st_map, a Track for track and track_from. None leaves an edit out.

Errors are exceptions below zelk.Error with the sentence of the command line. What it prints as a
warning is a zelk.RenderWarning here.
"""

import collections as _collections
import warnings as _warnings

from . import _zelk
from ._zelk import Error, InputError, Interrupted, OutputError, UsageError, __version__

__all__ = ["corner_pin", "load", "Scene", "Track", "Map", "Frame", "edits", "parameters", "Error",
           "UsageError", "InputError", "OutputError", "Interrupted", "RenderWarning"]


class RenderWarning(UserWarning):
    """What is odd about a render that is made all the same."""


Map = _collections.namedtuple("Map", "to_frame to_layer layer_size frame_size")
Map.__doc__ = """The plane map of a quad at one frame; see Scene.matrix."""
Map.to_frame.__doc__ = """3 x 3 float64: layer pixels (x, y, 1), a column, to frame pixels, after
division by the third; None where nothing is drawn."""
Map.to_layer.__doc__ = """Its inverse."""
Map.layer_size.__doc__ = """(w, h) of the layer, pixels."""
Map.frame_size.__doc__ = """(w, h) of the frame, pixels."""

Frame = _collections.namedtuple("Frame", "frame picture")
Frame.__doc__ = """A frame's number and its picture, an array."""


def _tell(sentences, depth):
    for sentence in sentences:
        _warnings.warn(sentence, RenderWarning, stacklevel=depth + 2)


def edits():
    """All edits, as a list of (name, value, help).

    `name` is that of the command line's option, "motion-blur"; the keyword is motion_blur.
    """
    return _zelk.edits()


def parameters():
    """Names of the effect's parameters, for the edit `set` and for Scene.keys.

    `zelk params` on the command line tells their kinds, units and ranges.
    """
    return _zelk.parameters()


def corner_pin(image, to=None, frm=None, quality="high", over=None, *, premultiplied=False,
               threads=0, **edits):
    """Pin an image into a quad, and lay it over a plate if there is one.

    image    the layer: H x W or H x W x 1..4, uint8, uint16, float16 or float32; or a file's name
    to       where its From quad goes: four (x, y), pixels of the frame (the From pins)
    frm      which quad of the image goes there: four (x, y), pixels of it (its corners)
    quality  "low", "medium", "high", "super" or "best"
    over     the plate, an array or a file's name; its size is the frame's. Without it, and without
             size=(w, h), the frame is as large as the image
    premultiplied
             colour is times alpha, in image, plate and result
    threads  for this call; 0 for as many as there are
    edits    any other; see zelk.edits()

    Gives a new array, H x W x 4 of the deeper type of image and plate, uint8 < uint16 < float16 <
    float32, or of `depth`. Over a plate without alpha it has no alpha: H x W x 3. Of grey pictures it
    has one channel for colour: H x W x 2, or H x W over grey. channels="a", "rgb" or "rgba" asks for
    others; "rgb" is over black. Colours of integers are sRGB and those of floats linear, in as out, unless
    layer_color, plate_color and output_color say otherwise; color="raw" converts nothing.

    Other threads of Python run meanwhile.
    """
    for name in ("layer", "output", "frames"):
        if name in edits:
            raise UsageError(f'corner_pin: unknown option "{name}", expected one of '
                             f'`zelk.Scene`, which has a layer, an output and frames')
    scene = _zelk.SceneObject("zelk.corner_pin", bool(premultiplied))
    scene.edit(dict(edits, layer=image, to=to, frm=frm, quality=quality, over=over))
    picture, told = scene.render(None, threads)
    _tell(told, 1)
    return picture


def load(path, *, premultiplied=False):
    """The Scene of a project file, *.zelk.json, as `zelk project` makes it."""
    scene = Scene.__new__(Scene)
    scene._scene = _zelk.SceneObject.load(path, bool(premultiplied))
    return scene


class Scene:
    """What is rendered: layer, plate, output, parameters with keyframes, tracks.

    Edits change a scene; its renders may run in any number of threads at a time while nobody edits it,
    and keep what they opened for the next frame. An array is the same picture in every frame; a file's
    name may have a frame mark, "shot.####.exr", or be a movie's.
    """

    def __init__(self, layer=None, *, premultiplied=False, **edits):
        """A scene with these edits; premultiplied says how colour is in arrays, in and out."""
        self._scene = _zelk.SceneObject("zelk.Scene", bool(premultiplied))
        self._scene.edit(dict(edits, layer=layer))

    def __copy__(self):
        other = Scene.__new__(Scene)
        other._scene = self._scene.copy()
        return other

    copy = __copy__

    def edit(self, **edits):
        """Make edits, in the order of zelk.edits(); all or, with an error, none. Gives the scene."""
        self._scene.edit(edits)
        return self

    def set(self, **parameters):
        """Set parameters by name with `_` for `-`, at all times: set(rotate=30). Gives the scene.

        Values are numbers, True and False, (x, y), the entry of a popup, or "#rrggbb".
        """
        return self.edit(set=parameters)

    def keys(self, parameter, keys, interpolation=None):
        """Keyframes of a parameter, instead of what it had; none remove them. Gives the scene.

        parameter      "rotate", or "to" and "from" for the four pins, whose values are 4 x 2
        keys           {frame: value}, or a list of (frame, value), (frame, value, interpolation) or
                       (frame, value, interpolation, ease in, ease out). Frames are numbers of the
                       composition, fractions allowed. An ease is (influence in percent, speed in
                       units a second)
        interpolation  "hold", "linear" or "bezier" from each key to the next, where a key has none
                       of its own (linear; hold for popups)

        A scene without a composition gets one that lasts from its first key to its last one.
        """
        self._scene.keys(parameter, keys, interpolation)
        return self

    def comp(self, size=None, start=None, duration=None):
        """The composition: (w, h) pixels, the number of its first frame, its length in frames.

        Its size is what a project file keeps; pictures are as large as the plate, the edit `size` or
        the layer. What is left out stays. `rate`, `shutter` and `motion_blur` are edits. Gives the scene.
        """
        self._scene.comp(size, start, duration)
        return self

    @property
    def parameters(self):
        """A dict of the parameters that are set: a value, or {frame: value} of its keys.

        Numbers are floats and points (x, y); what edits set by other words is their text.
        """
        return self._scene.parameters()

    def render(self, frame=None, *, threads=0):
        """One frame as an array; see corner_pin for its type and shape.

        frame    its number; the first one by default
        threads  for this call; 0 for as many as there are. In a pool of threads, 1
        """
        picture, told = self._scene.render(frame, threads)
        _tell(told, 1)
        return picture

    def frames(self, frames=None, *, threads=0, in_flight=3):
        """An iterator over (frame, array), made ahead by threads of its own, in their order.

        frames     "1001-1100", "1-10,20-30x2", a range or a list; all of the scene by default
        threads    that render a frame; 0 for as many as there are
        in_flight  how many frames are held at a time, besides the one that waits to be taken

        The run ends at the first frame that fails, after those before it. Frames that
        missing="skip" leaves out don't come; of an empty range nothing comes.
        """
        if _is_empty(frames):
            return iter(())
        return _frames(self._scene.stream(frames, threads, in_flight))

    def write(self, frames=None, *, replace=True, in_place=False, metadata=True, png_level=1,
              threads=0, in_flight=3):
        """Render frames to the scene's output and give the list of their numbers.

        replace    False: an output that is there is an error
        in_place   the output may be the own file of one of the inputs
        metadata   of the inputs, in the output
        png_level  compression of PNG, 0 to 9

        Ends at the first frame that fails; files that were written before stay.
        """
        if _is_empty(frames):
            return []
        done, told = self._scene.write(frames, bool(replace), bool(in_place), bool(metadata),
                                       png_level, threads, in_flight)
        _tell(told, 1)
        return done

    def matrix(self, frame=None):
        """The plane map of a frame, a Map of 3 x 3 matrices, between pixels of layer and frame.

        Both count y down, with 0, 0 at the outer corner of the first pixel. Of the inputs only their
        sizes are read.
        """
        return next(iter(self.matrices(None if frame is None else [frame]).values()))

    def matrices(self, frames=None):
        """The same of many frames, a dict {frame: Map}."""
        if _is_empty(frames):
            return {}
        return {frame: Map(*rest) for frame, *rest in self._scene.maps(frames)}

    def st_map(self, frame=None):
        """Where in the layer each pixel of a frame, or of the first one, looks: H x W x 4, float32.

        Channel 0 is x in parts of the layer's width from the left, 1 is y in parts of its height from
        the bottom, 2 is 0, 3 the coverage from 0 to 1; where that is 0, all are. The edit st_map
        takes such a map, H x W x 3 or 4, as the frame's lens distortion.
        """
        return self._scene.st_map(frame)

    def check(self):
        """Raise an error for what does not fit together, before any file is opened."""
        self._scene.check()

    def save(self, path, *, replace=True):
        """Write the scene as a project file. Pictures in memory can't be saved."""
        self._scene.save(path, bool(replace))


def _is_empty(frames):
    return hasattr(frames, "__len__") and not isinstance(frames, str) and len(frames) == 0


def _frames(stream):
    try:
        while True:
            frame, picture, told = stream.next()
            _tell(told, 1)
            yield Frame(frame, picture)
    except StopIteration:
        pass
    finally:
        stream.close()


class Track:
    """Where four corners of a surface lie, frame by frame. Nobody changes one: methods give new ones.

    frames   N numbers of frames, fractions allowed
    corners  N x 4 x 2: upper left, upper right, lower left, lower right as (x, y) in pixels of the
             pictures that were tracked, y down; NaN for a corner that is not there
    size     (w, h) of those pictures, to which others are scaled; None where it is not known
    rate     frames a second, or None
    name     what messages call it
    """

    def __init__(self, frames, corners, size=None, rate=None, name="track"):
        self._track = _zelk.TrackObject(frames, corners, size, rate, name)

    @classmethod
    def _of(cls, core):
        track = cls.__new__(cls)
        track._track = core
        return track

    def __repr__(self):
        return f"<zelk.Track {self._track.name}: {len(self.frames)} frames>"

    @classmethod
    def load(cls, path, format=None, size=None):
        """Read a tracking file: of mocha, keyframe text, node scripts, columns or CSV, by its text.

        format  its form, as `zelk track` names it, where the text leaves a choice
        size    (w, h) of the pictures that were tracked; the file's own by default
        """
        return cls._of(_zelk.TrackObject.load(path, format, size))

    @property
    def frames(self):
        """N float64, in order."""
        return self._track.frames

    @property
    def corners(self):
        """N x 4 x 2 float64, NaN for what is not there."""
        return self._track.corners

    @property
    def size(self):
        """(w, h) in pixels, or None."""
        return self._track.size

    @property
    def rate(self):
        """Frames a second, or None."""
        return self._track.rate

    @property
    def name(self):
        """What messages call it: its file, or the name that it was given."""
        return self._track.name

    def flip_y(self):
        """With y counted from the other side; the track has a size."""
        return self._of(self._track.flip_y())

    def shift_frames(self, by):
        """With `by` added to each frame."""
        return self._of(self._track.shift_frames(by))

    def reorder(self, order):
        """With other corners: "ul,ll,ur,lr" names those that become ul, ur, ll, lr."""
        return self._of(self._track.reorder(order))

    def scaled(self, size):
        """As if pictures of (w, h) pixels had been tracked; the track has a size."""
        return self._of(self._track.scaled(size))

    def issues(self, size=None):
        """What is odd about it, a list of sentences; size is that of the frame it is for."""
        return self._track.issues(size)

    def text(self, form="mocha"):
        """As the text of a tracking file of that form."""
        return self._track.text(form)

    def save(self, path, form=None, *, replace=True):
        """Write it, in the form that the extension (.txt, .nk, .csv) or `form` says."""
        self._track.save(path, form, bool(replace))
