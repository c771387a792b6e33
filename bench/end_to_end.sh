#!/usr/bin/env bash
# A picture of 3840 x 2160 from file to file through the same quad, by zelk and by three programs that
# people use for it: medians of interleaved runs. Then 60 frames of 1920 x 1080, and how busy they keep
# the processors. Each program works at its own defaults but for FFmpeg, which would be bilinear.
#
# usage: bench/end_to_end.sh ZELK [RUNS]
set -euo pipefail
zelk=$(realpath "${1:?usage: bench/end_to_end.sh ZELK [RUNS]}")
runs=${2:-5}
export LC_ALL=C
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

to='400,200 3600,80 200,2000 3700,2100'
distort='0,0 400,200 3840,0 3600,80 0,2160 200,2000 3840,2160 3700,2100'
# The same map of rows, as `zelk render --explain` prints it of columns.
matrix=0.735068429,-0.0334336637,-2.72957979e-05,-0.100251809,0.756741128,-3.82960865e-05
matrix+=,400.000062,200.000036,1
perspective=perspective=400:200:3600:80:200:2000:3700:2100:sense=destination:interpolation=cubic

# Seconds of all processors since the start: those at work, of this shell's children or anyone's.
busy_of_all() {
    awk -v hz="$(getconf CLK_TCK)" '/^cpu / { printf "%.2f", ($2 + $3 + $4 + $7 + $8) / hz }' \
        /proc/stat
}

# Runs a command; sets elapsed and used, seconds, and others, the share of the processors' time that
# went elsewhere, in percent.
measure() {
    local before after word
    before=$(busy_of_all)
    TIMEFORMAT='%R %U %S'
    word=$({ time "$@" >log 2>&1; } 2>&1) || return 1
    after=$(busy_of_all)
    read -r elapsed used others < <(awk -v a="$before" -v b="$after" -v n="$(nproc)" '{
        rest = 100 * (b - a - $2 - $3) / ($1 * n)
        printf "%s %.3f %.0f\n", $1, $2 + $3, (rest > 0 ? rest : 0) }' <<<"$word")
}

median() { sort -g | awk '{ all[NR] = $1 } END { print (all[int((NR + 1) / 2)] + all[int(NR / 2) + 1]) / 2 }'; }

by_zelk() { "$zelk" render "in.$1" -o "zelk.$1" --to "$to"; }
by_ImageMagick() {
    convert "in.$1" -virtual-pixel transparent -distort Perspective "$distort" "magick.$1"
}
by_oiiotool() { oiiotool "in.$1" --warp "$matrix" -o "oiio.$1"; }
by_FFmpeg() {  # its filter has 8 bits
    local filter=format=gbrap,$perspective
    [ "$1" = png ] || filter+=,format=gbrapf32
    ffmpeg -loglevel error -y -i "in.$1" -vf "$filter" -frames:v 1 "ffmpeg.$1"
}

# A table of one format.
compare() {
    local format=$1 name program run
    local -A program_of=([ImageMagick]=convert [oiiotool]=oiiotool [FFmpeg]=ffmpeg)
    local names=(zelk) reference=
    for name in ImageMagick oiiotool FFmpeg; do
        program=${program_of[$name]}
        if ! command -v "$program" >/dev/null; then
            echo "$name is left out: there is no program $program"
        elif ! "by_$name" "$format" >log 2>&1; then
            echo "$name is left out: it takes no .$format here: $(head -n 1 log | cut -c 1-60)"
        else
            names+=("$name")
        fi
    done
    rm -f times.*
    for ((run = 0; run < runs; ++run)); do
        for name in "${names[@]}"; do
            measure "by_$name" "$format"
            echo "$elapsed" >>"times.$name"
            echo "$used" >>"times.$name.used"
            echo "$others" >>times.others
        done
    done
    printf '%-14s %10s %12s %12s\n' "3840x2160 .$format" elapsed processor "over zelk's"
    for name in "${names[@]}"; do
        local own
        own=$(median <"times.$name")
        [ -n "$reference" ] || reference=$own
        awk -v name="$name" -v s="$own" -v u="$(median <"times.$name.used")" -v r="$reference" \
            'BEGIN { printf "%-14s %8.2f s %10.2f s %12.2f\n", name, s, u, s / r }'
    done
    [ "$format" = png ] || echo "FFmpeg works in 8 bits here and packs nothing"
    echo "others took $(median <times.others) % of the processors meanwhile"
    echo
}

sequence() {
    local frame run
    "$zelk" render in.exr -o half.exr --downsample 2
    for ((frame = 1; frame <= 60; ++frame)); do cp half.exr "$(printf 'in.%04d.exr' "$frame")"; done
    echo "60 frames of 1920x1080, half OpenEXR in and out"
    for ((run = 0; run < runs; ++run)); do
        rm -f out.*.exr
        measure "$zelk" render in.%04d.exr -o out.%04d.exr --frames 1-60 --progress none \
            --to '200,100 1800,40 100,1000 1850,1050'
        awk -v s="$elapsed" -v u="$used" -v n="$(nproc)" -v o="$others" 'BEGIN {
            printf "%6.2f s, %.1f frames/s, processors %.0f %% busy with it, %d %% with others\n",
                   s, 60 / s, 100 * u / s / n, o }'
    done
}

echo "$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1), $(nproc) processors"
echo "medians of $runs runs; load $(cut -d ' ' -f 1-3 /proc/loadavg)"
echo
# Smooth colours with the noise of a camera, and a soft edge.
ffmpeg -loglevel error -y -f lavfi -i "gradients=size=3840x2160:seed=3:n=6,format=rgba,\
noise=all_seed=7:c0s=6:c0f=u:c1s=6:c1f=u:c2s=6:c2f=u,\
geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='255*clip(min(min(X,W-1-X),min(Y,H-1-Y))/64,0,1)'" \
    -frames:v 1 in.png
"$zelk" render in.png -o in.exr
compare png
compare exr
sequence
