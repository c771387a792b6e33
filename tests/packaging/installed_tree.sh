#!/usr/bin/env bash
# Installs the build into a folder of its own, moves it, builds the C++ example against it from
# outside the sources, and runs that, the command through a link and the Python package.
set -euo pipefail
build=$1 sources=$2 compiler=$3 flags=$4 python=${5:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/first" >"$work/log" || { cat "$work/log"; exit 1; }
mv "$work/first" "$work/moved"
cp -r "$sources/examples/cpp" "$work/example"
cd "$work"
{ cmake -S example -B out -DCMAKE_PREFIX_PATH="$work/moved" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_CXX_FLAGS="$flags" && cmake --build out; } >log 2>&1 || { cat log; exit 1; }
./out/pin_buffer pinned.ppm

# Ten headers, each complete by itself and without the effect's, the host's or a library's own.
headers=$(cd moved/include/zelk-corner-pin && find . -name '*.h' | sort)
[ "$(wc -l <<<"$headers")" = 10 ] || { echo "installed: $headers"; exit 1; }
for header in $headers; do
    echo "#include \"$header\"" >alone.cpp
    "$compiler" $flags -std=c++20 -Wall -Wextra -Werror -fsyntax-only -Imoved/include/zelk-corner-pin alone.cpp
done

# Two pixels of the picture: the plate beside the quad, the layer inside it.
pixel() { tail -c +$((15 + 3 * ($2 * 160 + $1))) pinned.ppm | head -c 3 | od -An -tu1 | tr -s ' '; }
[ "$(head -c 13 pinned.ppm)" = "P6 160 90 255" ]
[ "$(pixel 4 4)" = " 0 51 102" ] || { echo "plate: $(pixel 4 4)"; exit 1; }
[ "$(pixel 80 45)" = " 255 128 0" ] || { echo "layer: $(pixel 80 45)"; exit 1; }

ln -s "$work/moved/bin/zelk" link
./link params >params.txt
grep -q to-upper-left params.txt
./link render pinned.ppm --over pinned.ppm -o again.png --to "40,10 130,20 30,80 140,70"
[ -s again.png ]
grep -q 'name="to-upper-left-x"' moved/share/kdenlive/{effects/frei0r_zelk_corner_pin,transitions/frei0r_zelk_corner_pin_over}.xml
for file in moved/lib/frei0r-1/*.so; do
    [ "$(nm -D --defined-only "$file" | grep -c ' T f0r_')" = 10 ]
    [ "$(nm -D --defined-only "$file" | wc -l)" = 10 ] || { nm -D --defined-only "$file"; exit 1; }
    if readelf -d "$file" | grep zelk; then exit 1; fi
done
if [ -n "$python" ]; then
    PYTHONPATH=moved/lib/python3/dist-packages "$python" -B -c '
import numpy, zelk
picture = numpy.full((90, 160, 3), (255, 128, 0), "uint8")
pinned = zelk.corner_pin(picture, "40,10 130,20 30,80 140,70", size=(160, 90), quality="best")
assert tuple(pinned[45, 80]) == (255, 128, 0, 255), pinned[45, 80]'
fi

# A link to the whole tree, from a folder that has nothing to do with either.
ln -s "$work/moved" tree
(cd / && "$work/tree/bin/zelk" --version --verbose) >version.txt
grep -qF "$work/moved/" version.txt || { cat version.txt; exit 1; }

# No file names the folders of sources and build, but what UndefinedBehaviorSanitizer adds.
for folder in "$build" "$sources"; do
    if [[ $flags != *sanitize* ]] && grep -rlF "$folder" moved; then
        echo "files name $folder"
        exit 1
    fi
done
[ -s moved/share/man/man1/zelk-render.1.gz ] && [ -s moved/share/bash-completion/completions/zelk ]
