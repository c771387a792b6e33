#!/usr/bin/env bash
# The plug-ins in FFmpeg and melt, beside the command line's own frames; one line each. Pictures stay
# in the folder OUT.
#
#     try_hosts.sh BUILD OUT
set -euo pipefail
build=$(realpath "$1")
examples=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../../examples")
mkdir -p "$2"
cd "$2"
zelk=$build/bin/zelk
export FREI0R_PATH=$build/frei0r-1:/usr/lib/frei0r-1 QT_QPA_PLATFORM=offscreen LC_ALL=C.UTF-8
width=640 height=360 last=7
failed=0

ffmpeg=(ffmpeg -y -loglevel error -nostdin)
"${ffmpeg[@]}" -i "$examples/chelsea.png" -vf "scale=$width:$height,format=rgba,geq=\
r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='255*min(1,(X+Y)/400)'" layer.png
"${ffmpeg[@]}" -i "$examples/coffee.png" -vf "scale=$width:$height,format=rgba" plate.png

# Upper left, upper right, lower left, lower right, in pixels of the first and the last frame.
first=(60 40 540 -10 30 330 580 350.5)
final=(101 75 660 20 -25 300 500 341)
names=(to-upper-left to-upper-right to-lower-left to-lower-right)

# The I-th coordinate of frame N, in pixels; then as a share of the frame.
coordinate() {
    awk -v a="${first[$1]}" -v b="${final[$1]}" -v n="$2" -v l=$last \
        'BEGIN { printf "%.17g", a + (b - a) * n / l }'
}
share() {
    awk -v p="$2" -v s=$(($1 % 2 ? height : width)) 'BEGIN { printf "%.17g", p / s }'
}
# All eight shares of frame N, parted by SEPARATOR.
shares() {
    local i text=
    for i in {0..7}; do text+=${text:+$2}$(share "$i" "$(coordinate "$i" "$1")"); done
    echo "$text"
}
# melt's properties: of the first frame, or with a key at the first and the last.
melt_properties() {
    local i from to
    for i in {0..7}; do
        from=$(share "$i" "${first[$i]}") to=$(share "$i" "${final[$i]}")
        [ "$1" = still ] && to= || from="0=$from;$last="
        echo "${names[$((i / 2))]}-$([ $((i % 2)) = 0 ] && echo x || echo y)=$from$to"
    done
}
# melt on what is given, to PNGs by a pattern.
run_melt() {
    local out=$1
    shift
    melt -profile ./profile "$@" -consumer "avformat:$out" vcodec=png pix_fmt=rgba \
        mlt_image_format=rgba real_time=-1 </dev/null >melt.log 2>&1 || { cat melt.log >&2; exit 1; }
}
cat >profile <<TEXT
description=The pictures of this folder
frame_rate_num=25
frame_rate_den=1
width=$width
height=$height
progressive=1
sample_aspect_num=1
sample_aspect_den=1
display_aspect_num=16
display_aspect_den=9
colorspace=709
TEXT

# compare LABEL A B: files or patterns of frames with straight 8-bit pixels.
compare() {
    local label=$1 file i=0 result
    for file in "$2" "$3"; do
        "${ffmpeg[@]}" -i "$file" -f rawvideo -pix_fmt rgba pixels.$((i++))
    done
    if [ -s pixels.0 ] && cmp -s pixels.0 pixels.1; then
        result="the same $(($(stat -c %s pixels.0) / (4 * width * height))) frame(s), to the bit"
    else
        failed=1
        result="DIFFERENT in $(cmp -l pixels.0 pixels.1 2>/dev/null | wc -l) bytes"
    fi
    printf '%-34s %s\n' "$label" "$result"
    rm -f pixels.[01]
}

# A project of the command line with keys on the pins.
write_project() {
    local i
    echo '{"schema": "zelk-project", "version": 1,'
    echo "\"comp\": {\"width\": $width, \"height\": $height, \"rate\": 25, \"duration\": $((last + 1))},"
    echo "\"layer\": \"layer.png\",${1:+ \"plate\": \"$1\",} \"parameters\": {"
    for i in {0..3}; do
        echo "\"${names[$i]}\": {\"keys\": ["
        echo "{\"frame\": 0, \"value\": [${first[$((2 * i))]}, ${first[$((2 * i + 1))]}]},"
        echo "{\"frame\": $last, \"value\": [${final[$((2 * i))]}, ${final[$((2 * i + 1))]}]}]}$([ $i = 3 ] || echo ,)"
    done
    echo '}}'
}
to="${first[0]},${first[1]} ${first[2]},${first[3]} ${first[4]},${first[5]} ${first[6]},${first[7]}"
write_project >filter.zelk.json
write_project plate.png >over.zelk.json
"$zelk" render layer.png -o still-zelk.png --to "$to"
"$zelk" render layer.png --over plate.png -o over-still-zelk.png --to "$to"
"$zelk" render --project filter.zelk.json -o move-zelk-%d.png --frames "0-$last" 2>run.log || { cat run.log >&2; exit 1; }
"$zelk" render --project over.zelk.json -o over-move-zelk-%d.png --frames "0-$last" 2>run.log || { cat run.log >&2; exit 1; }

"${ffmpeg[@]}" -i layer.png -vf "frei0r=zelk_corner_pin:$(shares 0 '|')" still-ffmpeg.png
compare 'FFmpeg, still' still-zelk.png still-ffmpeg.png
for n in $(seq 0 $last); do
    awk -v n="$n" -v p="$(shares "$n" '|')" \
        'BEGIN { printf "%.2f frei0r@pin filter_params %s;\n", n / 25, p }'
done >move.cmd
"${ffmpeg[@]}" -loop 1 -i layer.png -vf "sendcmd=f=move.cmd,frei0r@pin=zelk_corner_pin" \
    -frames:v $((last + 1)) -start_number 0 move-ffmpeg-%d.png
compare 'FFmpeg, moving (sendcmd)' move-zelk-%d.png move-ffmpeg-%d.png

mapfile -t still < <(melt_properties still)
mapfile -t moving < <(melt_properties moving)
run_melt still-melt.png layer.png out=0 -attach frei0r.zelk_corner_pin "${still[@]}"
compare 'melt, still' still-zelk.png still-melt.png
run_melt move-melt-%d.png layer.png out=$last -attach frei0r.zelk_corner_pin "${moving[@]}"
compare 'melt, moving (keyframes)' move-zelk-%d.png move-melt-%d.png
over=(-transition frei0r.zelk_corner_pin_over a_track=0 b_track=1 in=0)
run_melt over-still-melt.png plate.png out=0 -track layer.png out=0 "${over[@]}" out=0 "${still[@]}"
compare 'melt, over a plate, still' over-still-zelk.png over-still-melt.png
run_melt over-move-melt-%d.png plate.png out=$last -track layer.png out=$last \
    "${over[@]}" out=$last "${moving[@]}"
compare 'melt, over a plate, moving' over-move-zelk-%d.png over-move-melt-%d.png

# A clip as Kdenlive saves it: every parameter of the panel by name, those that it animates with a
# key; the corners with those of the moving shot.
{
    echo "<mlt LC_NUMERIC=\"C\"><profile width=\"$width\" height=\"$height\" frame_rate_num=\"25\""
    echo 'frame_rate_den="1" progressive="1" sample_aspect_num="1" sample_aspect_den="1"'
    echo 'display_aspect_num="16" display_aspect_den="9" colorspace="709"/>'
    echo "<producer id=\"clip\" in=\"0\" out=\"$last\"><property name=\"resource\">layer.png</property>"
    echo '<filter><property name="mlt_service">frei0r.zelk_corner_pin</property>'
    echo '<property name="kdenlive_id">frei0r.zelk_corner_pin</property>'
    sed -n 's/.*<parameter name="\([^"]*\)" type="\([^"]*\)" default="\([^"]*\)".*/\1 \2 \3/p' \
        "$build/kdenlive/effects/frei0r_zelk_corner_pin.xml" | while read -r name type value; do
        [ "$type" = animated ] && value="0=$value"
        for keyed in "${moving[@]}"; do
            [ "${keyed%%=*}" = "$name" ] && value=${keyed#*=}
        done
        echo "<property name=\"$name\">$value</property>"
    done
    echo '</filter></producer></mlt>'
} >kdenlive.mlt
run_melt kdenlive-%d.png kdenlive.mlt
compare "a clip by Kdenlive's panel" move-zelk-%d.png kdenlive-%d.png
rm -f melt.log run.log

# Milliseconds a frame of 1920 x 1080 in FFmpeg, what it takes without a filter taken off; the least
# of three rounds in turn. A run of thrice the frames less one of them has no start-up in it.
# `perspective` works on planes of colour and alpha, the others on RGBA.
print_times() {
    local round i n
    local frames=(40 40 40 40 40 5 10 10)
    local pins='0.1|0.1|0.9|0.05|0.05|0.9|0.95|0.95'
    local corners='0.3666667|0.3666667|0.6333333|0.35|0.65|0.65|0.35|0.6333333|n|0.5|0.5'
    local quad='x0=192:y0=108:x1=1728:y1=54:x2=96:y2=972:x3=1824:y3=1026:sense=destination'
    local labels=('nothing' 'nothing, planes' 'zelk_corner_pin medium' 'zelk_corner_pin high'
        'c0rners bilinear' 'c0rners bicubic' 'perspective linear' 'perspective cubic')
    local chains=(format=rgba,copy format=yuva444p,copy
        "format=rgba,frei0r=zelk_corner_pin:$pins|medium"
        "format=rgba,frei0r=zelk_corner_pin:$pins|high"
        "format=rgba,frei0r=c0rners:$corners|0.166|y" "format=rgba,frei0r=c0rners:$corners|0.333|y"
        "format=yuva444p,perspective=$quad:interpolation=linear"
        "format=yuva444p,perspective=$quad:interpolation=cubic")
    local least=()
    "${ffmpeg[@]}" -i layer.png -vf scale=1920:1080 large.png
    run_chain() {  # microseconds of FRAMES through CHAIN
        local start
        start=$(date +%s%N)
        "${ffmpeg[@]}" -i large.png -vf "format=rgba,loop=-1:1:0,$2" -frames:v "$1" -f null -
        echo $((($(date +%s%N) - start) / 1000))
    }
    for round in 1 2 3; do
        for i in "${!chains[@]}"; do
            n=${frames[$i]}
            local few taken
            few=$(run_chain "$n" "${chains[$i]}")
            taken=$((($(run_chain $((3 * n)) "${chains[$i]}") - few) / (2 * n)))
            [ $round -gt 1 ] && [ "${least[$i]}" -le $taken ] || least[$i]=$taken
        done
    done
    for i in 2 3 4 5 6 7; do
        awk -v l="${labels[$i]}" -v t="${least[$i]}" -v n="${least[$((i > 5))]}" \
            'BEGIN { printf "%-34s %.1f ms a frame\n", l, (t - n) / 1000 }'
    done
    rm -f large.png
}
print_times
exit $failed
