#!/bin/sh
# Renders a picture in strong perspective at every quality, with and without Crop To Pins, and
# composes the results and their enlarged edges into one contact sheet.
#
#   examples/demo.sh BUILD_DIR    writes out/demo/*.png and out/demo/contact-sheet.png
set -eu

if [ $# -ne 1 ]; then
    echo "usage: examples/demo.sh BUILD_DIR" >&2
    exit 2
fi
build=$(cd "$1" && pwd)
root=$(cd "$(dirname "$0")/.." && pwd)
out=$root/out/demo
source=$root/examples/coffee.png
mkdir -p "$out"

# The From Pins frame the cup; without Crop To Pins the rest of the table comes along.
from="110,30 520,40 60,360 560,375"
to="235,70 455,30 35,330 575,385"
edge="edge x8@135,200"
inside="inside x8@330,150"

set -- "source:$source:inside x8@330,150"
for quality in low medium high super; do
    whole=$out/$quality.png
    cropped=$out/$quality-crop.png
    "$build/bin/zelk" render "$source" -o "$whole" --from "$from" --to "$to" --quality $quality
    "$build/bin/zelk" render "$source" -o "$cropped" --from "$from" --to "$to" --quality $quality \
        --set crop-to-pins=on
    set -- "$@" "$quality:$whole:$inside;$quality, crop to pins:$cropped:$edge"
done

"$build/bin/zelk-demo" "$out/contact-sheet.png" "$@"
echo "$out/contact-sheet.png"
