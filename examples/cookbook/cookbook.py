"""Runs the recipes of docs/cookbook.md as they stand there.

    python3 examples/cookbook/cookbook.py BUILD OUT [RECIPE...]

BUILD is a folder with built programs. Each recipe gets an empty folder OUT/RECIPE, in which its blocks are run one
after another: sh by bash, which stops at the first failure, python by this interpreter. A text block has lines that
the block before it printed. Afterwards the recipe's picture is composed as OUT/cookbook-RECIPE.jpg. A recipe's name
is that of its picture.
"""

import dataclasses
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]

# What zelk-demo puts side by side, after the commands that make what the recipe itself has no use for. Frames of
# movies are shown as a player does: by their values.
SHEETS = {
    "screen": ("""
        zelk render app.png --over shot.####.exr --frames 1006 -o bare.####.exr --track shot.txt \
            --track-first-frame 1001 --quality best
        zelk render app.png --over shot.####.exr --frames 1006 -o flat.####.exr --track shot.txt \
            --track-first-frame 1001 --holdout finger.####.png --quality best
        """, ["plate, frame 1001:shot.1001.exr;result, frame 1001:comp.1001.exr;frame 1009:comp.1009.exr",
              "the track over frame 1001:paths.png;Normal, no holdout, frame 1006:bare.1006.exr;"
              "Normal, frame 1006:flat.1006.exr"]),
    "sign": ("", ["plate:wall.exr;artwork:sign.png;result:comp.exr:a leaf over the sign x8@322,148"]),
    "label": ("zelk render retouch.png --over flat.png -o retouched.png --quality medium",
              ["shot:box.png;taken off:flat.png;with the new name:retouched.png;back on:comp.png"]),
    "lens": ("", ["plate:plate.png;straightened:straight.png",
                  "through the lens:comp.png;the same corners without it:wrong.png"]),
    "farm": ("", ["task 1, frame 1002:comp/comp.1002.exr;task 2, frame 1005:comp/comp.1005.exr;"
                  "task 3, frame 1009:comp/comp.1009.exr"]),
    "batch": ("", ["box.png:box.png;earl-grey:pack-earl-grey.png;rooibos:pack-rooibos.png;"
                   "jasmine:pack-jasmine.png"]),
    "movie": ("""
        zelk render master.mov --view original --layer-color sRGB --first-frame 1 --frames 4,13 -o open.##.png
        zelk render banner.png --over shot.mov --plate-color sRGB --first-frame 1 --track shot.nk --quality best \
            --frames 4 -o closed.##.png
        """, ["frame 4:open.04.png;frame 13:open.13.png;frame 4, shutter closed:closed.04.png"]),
}


@dataclasses.dataclass
class Block:
    kind: str
    text: str
    expected: list


def recipes():
    """Blocks by recipe."""
    found = {}
    for section in (ROOT / "docs/cookbook.md").read_text().split("\n## ")[1:]:
        blocks = []
        for kind, text in re.findall(r"^```(sh|python|text)\n(.*?)^```$", section, re.M | re.S):
            if kind == "text":
                blocks[-1].expected = text.splitlines()
            else:
                blocks.append(Block(kind, text, []))
        found[re.search(r"pictures/cookbook-(\w+)\.jpg", section)[1]] = blocks
    return found


def call(words, folder, environment):
    done = subprocess.run(words, text=True, cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    print(done.stdout, end="", flush=True)
    if done.returncode:
        raise SystemExit(f"cookbook: {folder}: exit code {done.returncode} of\n{words[-1]}")
    return done.stdout


def run(build, name, out):
    """Runs a recipe in out/name, emptied, and composes its picture."""
    build, folder = pathlib.Path(build).resolve(), pathlib.Path(out).resolve() / name
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    path = [build / "bin", pathlib.Path(sys.executable).parent, os.environ["PATH"]]
    environment = os.environ | {"ZELK": str(ROOT), "PATH": ":".join(map(str, path)),
                                "PYTHONPATH": str(build / "python"), "PYTHONDONTWRITEBYTECODE": "1"}
    shells = {"sh": ["bash", "-euo", "pipefail", "-c"], "python": [sys.executable, "-c"]}
    for block in recipes()[name]:
        told = call([*shells[block.kind], block.text], folder, environment).splitlines()
        for line in block.expected:
            if line not in told:
                raise SystemExit(f"cookbook: {name}: not printed: {line}\nby\n{block.text}")
    commands, rows = SHEETS[name]
    call([*shells["sh"], commands], folder, environment)
    call([build / "bin/zelk-demo", "sheet.png", *rows], folder, environment)
    call(["ffmpeg", "-v", "error", "-y", "-i", "sheet.png", "-q:v", "4", "-pix_fmt", "yuvj420p",
          f"../cookbook-{name}.jpg"], folder, environment)
    return folder


if __name__ == "__main__":
    if len(sys.argv) < 3 or not set(sys.argv[3:]) <= set(recipes()):
        sys.exit(f"cookbook: usage: cookbook.py BUILD OUT [{'|'.join(recipes())}]...")
    for each in sys.argv[3:] or recipes():
        run(sys.argv[1], each, sys.argv[2])
