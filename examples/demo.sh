#!/bin/sh
# Renders the example pictures at every quality and composes five sheets: a picture pinned in its
# own frame, a picture pinned over another one, every Transfer Mode, a move with motion blur, and
# a lens.
#
#   examples/demo.sh BUILD_DIR    writes out/demo/*.png, among them contact-sheet.png,
#                                 plate-sheet.png, transfer-sheet.png, motion-sheet.png and
#                                 lens-sheet.png
set -eu

if [ $# -ne 1 ]; then
    echo "usage: examples/demo.sh BUILD_DIR" >&2
    exit 2
fi
build=$(cd "$1" && pwd)
root=$(cd "$(dirname "$0")/.." && pwd)
examples=$root/examples
out=$root/out/demo
mkdir -p "$out"
zelk() { "$build/bin/zelk" "$@"; }

# In strong perspective, with and without Crop To Pins. The From Pins frame the cup; without Crop To
# Pins the rest of the table comes along.
contact_sheet() {
    source=$examples/coffee.png
    from="110,30 520,40 60,360 560,375"
    to="235,70 455,30 35,330 575,385"
    edge="edge x8@135,200"
    inside="inside x8@330,150"

    set -- "source:$source:inside x8@330,150"
    for quality in low medium high super; do
        whole=$out/$quality.png
        cropped=$out/$quality-crop.png
        zelk render "$source" -o "$whole" --from "$from" --to "$to" --quality $quality
        zelk render "$source" -o "$cropped" --from "$from" --to "$to" --quality $quality \
            --set crop-to-pins=on
        set -- "$@" "$quality:$whole:$inside;$quality, crop to pins:$cropped:$edge"
    done
    "$build/bin/zelk-demo" "$out/contact-sheet.png" "$@"
    echo "$out/contact-sheet.png"
}

# A plate of the launch picture's size, 640 x 427, as a Targa file: every byte the octal code $2.
flat_plate() {
    {
        printf '\0\0\2\0\0\0\0\0\0\0\0\0\200\2\253\1\30\0'
        head -c $((640 * 427 * 3)) /dev/zero | tr '\0' "\\$2"
    } >"$1"
}

# Galaxies hung into the sky, straight from the layer's own pixels, and by the road of a host whose
# layers all have the frame's size: first fitted into a transparent canvas, then pinned by the
# effect, then laid over the plate (at Medium, which copies pixels that stay in place).
plate_sheet() {
    layer=$examples/hubble.jpg
    plate=$examples/rocket.jpg
    canvas=$out/plate-canvas.png
    in_canvas="75.17,0 564.83,0 75.17,427 564.83,427" # 1000 x 872 fitted into 640 x 427
    to="112,22 288,52 96,214 300,248"
    edges="top x8@200,37:right x8@294,150:bottom x8@198,231:left x8@104,118"

    zelk render "$layer" -o "$canvas" --size 640x427 --to "$in_canvas"
    set --
    for quality in low medium high super; do
        direct=$out/plate-$quality.png
        pinned=$out/plate-$quality-pinned.png
        by_canvas=$out/plate-$quality-canvas.png
        zelk render "$layer" --over "$plate" -o "$direct" --to "$to" --quality $quality
        zelk render "$canvas" -o "$pinned" --from "$in_canvas" --to "$to" --quality $quality
        zelk render "$pinned" --over "$plate" -o "$by_canvas" --quality medium
        set -- "$@" "$quality:$direct:$edges" "$quality, by a canvas:$by_canvas:$edges"
    done

    # A fringe of another colour shows against black and white; the cup has lighter borders.
    flat_plate "$out/black.tga" 000
    flat_plate "$out/white.tga" 377
    for picture in hubble.jpg coffee.png; do
        for color in black white; do
            over=$out/plate-${picture%.*}-$color.png
            zelk render "$examples/$picture" --over "$out/$color.tga" -o "$over" --to "$to"
            set -- "$@" "high, over $color:$over:$edges"
        done
    done
    rm -f "$out/black.tga" "$out/white.tga"
    "$build/bin/zelk-demo" "$out/plate-sheet.png" "$@"
    echo "$out/plate-sheet.png"
}

# Every Transfer Mode: the pinned picture over itself as it stands, two modes a row.
transfer_sheet() {
    to="150,40 430,15 110,270 400,290"
    set --
    row=
    for mode in none behind normal add multiply screen overlay soft-light hard-light color-dodge \
        color-burn darken lighten difference exclusion hue saturation color luminosity; do
        cells=
        for picture in coffee chelsea; do
            pinned=$out/transfer-$picture-$mode.png
            zelk render "$examples/$picture.png" -o "$pinned" --to "$to" --transfer $mode
            cells="$cells;$mode:$pinned"
        done
        if [ -z "$row" ]; then
            row=${cells#;}
        else
            set -- "$@" "$row$cells"
            row=
        fi
    done
    [ -z "$row" ] || set -- "$@" "$row"
    "$build/bin/zelk-demo" "$out/transfer-sheet.png" "$@"
    echo "$out/transfer-sheet.png"
}

# A move of 48 frames by examples/move.zelk.json at few and many samples, and a picture shrunk to a
# thirtieth by Super Sample: soft and hard, with and without a faded border.
motion_sheet() {
    set --
    for samples in 8 32; do
        mkdir -p "$out/move-$samples"
        zelk render --project "$examples/move.zelk.json" -o "$out/move-$samples/move.####.png" \
            --motion-blur $samples --progress none
        row=
        for frame in 0006 0014 0030 0048; do
            row="$row;$samples samples, $frame:$out/move-$samples/move.$frame.png"
        done
        set -- "$@" "${row#;}"
    done
    zelk render --project "$examples/move.zelk.json" -o "$out/move.mp4" --motion-blur 8 \
        --progress none
    for edge in 0 1; do
        row=
        for softness in 0 1 2; do
            small=$out/super-$softness-$edge.png
            zelk render "$examples/hubble.jpg" -o "$small" --size 60x40 --quality super \
                --to "10,5 43,8 8,34 46,36" --set super-sample-softness=$softness \
                --set super-sample-edge=$edge
            row="$row;softness $softness, edge $edge:$small"
        done
        set -- "$@" "${row#;}"
    done
    "$build/bin/zelk-demo" "$out/motion-sheet.png" "$@"
    echo "$out/motion-sheet.png"
}

# Through a lens: the launch picture distorted by an ST map, galaxies pinned into it through the same
# map, and the quad's picture taken out of a plate without distortion.
lens_sheet() {
    map=$out/lens.exr
    to="112,22 288,52 96,214 300,248"
    "$build/bin/zelk-lens-map" "$map" 640x427 0.35
    zelk render "$examples/rocket.jpg" -o "$out/lens-plate.png" --st-map "$map" --quality medium
    zelk render "$examples/hubble.jpg" --over "$out/lens-plate.png" -o "$out/lens-pinned.png" \
        --st-map "$map" --to "$to"
    zelk render "$examples/hubble.jpg" --over "$examples/rocket.jpg" -o "$out/lens-none.png" \
        --to "$to"
    zelk render "$out/lens-none.png" -o "$out/lens-inverted.png" --invert --to "$to" --size 640x427
    "$build/bin/zelk-demo" "$out/lens-sheet.png" \
        "distorted plate:$out/lens-plate.png;pinned through the map:$out/lens-pinned.png" \
        "pinned:$out/lens-none.png;taken out again:$out/lens-inverted.png"
    echo "$out/lens-sheet.png"
}

contact_sheet
plate_sheet
transfer_sheet
motion_sheet
lens_sheet
