#!/usr/bin/env bash
# The OpenFX plug-in in our small host: its parameters as a host lists them, its overlay, its frames
# beside the command line's, its stand against a host that fails, and what the door costs. Pictures
# and tables stay in the folder OUT.
#
#     try_hosts.sh BUILD OUT
set -euo pipefail
build=$(realpath "$1")
root=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../..")
mkdir -p "$2"
cd "$2"
cmake --build "$build" --target zelk_ofx_table zelk_openfx_shot >build.log 2>&1 || { tail -n 40 build.log >&2; exit 1; }
rm -f build.log
plugin=$(echo "$build"/ZelkCornerPin.ofx.bundle/Contents/Linux-*/ZelkCornerPin.ofx)
zelk=$build/bin/zelk table=$build/bin/zelk_ofx_table
failed=0

"$table" "$plugin" parameters >openfx-parameters.txt
"$table" "$plugin" overlay openfx-overlay.png >/dev/null
echo "OpenFX: $(grep -c '^ *[A-Z].*  [a-z]' openfx-parameters.txt) parameters in openfx-parameters.txt, the overlay in openfx-overlay.png"

layer=$root/examples/chelsea.png
pins=(60,40 400,-10 30,260 420,290.5)
final=(101,75 460,20 -25,230 380,281)
keys() {
    local i names=(to-upper-left to-upper-right to-lower-left to-lower-right)
    for i in {0..3}; do
        echo "\"${names[$i]}\": {\"keys\": [{\"frame\": 0, \"value\": [${pins[$i]}], \"interpolation\": \"linear\"},"
        echo "{\"frame\": 8, \"value\": [${final[$i]}], \"interpolation\": \"linear\"}]}$([ $i = 3 ] || echo ,)"
    done
}
echo "{\"schema\": \"zelk-project\", \"version\": 1, \"comp\": {\"width\": 451,
\"height\": 300, \"rate\": 24, \"duration\": 9}, \"layer\": \"$layer\",
\"parameters\": {$(keys)}}" >openfx.zelk.json
# run LABEL COUNT PATTERN OPTIONS...: the command line's frames, then the host's beside them.
run() {
    local depth=$1 count=$2 pattern=$3
    shift 3
    if [ "$count" = 1 ]; then
        "$zelk" render "$layer" -o "${pattern//%d/0}" --to "${pins[*]}" --color raw "$@"
        "$build/bin/zelk_openfx_shot" "$plugin" "$layer" "$pattern" "$depth" 1 "${pins[@]}" "${pins[@]}" || failed=1
    else
        "$zelk" render --project openfx.zelk.json -o "$pattern" --frames 0-8 --color raw "$@" 2>run.log ||
            { cat run.log >&2; exit 1; }
        "$build/bin/zelk_openfx_shot" "$plugin" "$layer" "$pattern" "$depth" 9 "${pins[@]}" "${final[@]}" || failed=1
    fi
}
run byte 1 openfx-still-%d.png
run byte 9 openfx-move-%d.png
run float 1 openfx-still-%d.exr --edges exact --depth float
run float 9 openfx-move-%d.exr --edges exact --depth float
rm -f run.log

echo 'OpenFX host that fails, at each call in turn:'
"$table" "$plugin" faults "$root/examples/sign-track.txt" | tee openfx-faults.txt
echo 'OpenFX, milliseconds a frame beside the pipeline in memory:'
"$build/bin/zelk_openfx_bench" | tee openfx-times.txt
exit $failed
