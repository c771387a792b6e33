#!/usr/bin/env bash
# Installs the build into a folder of its own, moves it, builds the C++ example against it from
# outside the sources, and runs that and the command through a link.
set -euo pipefail
build=$1 sources=$2 compiler=$3 flags=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/first" >"$work/log" || { cat "$work/log"; exit 1; }
mv "$work/first" "$work/moved"
cp -r "$sources/examples/cpp" "$work/example"
cd "$work"
{ cmake -S example -B out -DCMAKE_PREFIX_PATH="$work/moved" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_CXX_FLAGS="$flags" && cmake --build out; } >log 2>&1 || { cat log; exit 1; }
./out/pin_buffer pinned.ppm

# Nine headers, each complete by itself and without the effect's, the host's or a library's own.
headers=$(cd moved/include/zelk-corner-pin && find . -name '*.h' | sort)
[ "$(wc -l <<<"$headers")" = 9 ] || { echo "installed: $headers"; exit 1; }
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

# Manual pages and completion have what the help has, command by command.
help_options() { sed -nE 's/^  ((-[a-z],)?--[a-z0-9-]+).*/\1/p' | tr , '\n' | sort; }
offered() {  # what bash offers for the words given, the last of which is being typed
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    _zelk
    printf '%s\n' "${COMPREPLY[@]}" | sort
}
share=moved/share
zsh=$(echo $share/zsh/*/_zelk) fish=$share/fish/vendor_completions.d/zelk.fish
. $share/bash-completion/completions/zelk
pages=0
for page in $share/man/man1/*.1.gz; do
    name=$(basename "$page" .1.gz)
    command=(${name/import-track/import_track})
    command=(${command//-/ })
    command=("${command[@]//_/-}")
    moved/bin/zelk "${command[@]:1}" --help >help.txt
    help_options <help.txt >options.txt
    [ "$(wc -l <options.txt)" -ge 2 ] || { echo "no options in the help of $name"; exit 1; }
    offered "${command[@]}" - | diff options.txt - || { echo "completion of $name"; exit 1; }
    gzip -dc "$page" | sed -n 's/^\\fB\(\\-.*\)/\1/p' | sed 's/ \\fI.*//; s/\\f[BR]//g; s/\\-/-/g; s/, /\n/g' |
        sort | diff options.txt - || { echo "manual page $name"; exit 1; }
    sed -n "/^_${name//-/_}() {/,/^}/p" "$zsh" >zsh.txt
    grep -F "'__zelk_is \\'${command[*]}\\''" "$fish" >fish.txt
    while read -r option; do
        grep -qE -e "[' {,)]$option(=-?)?['},[]" zsh.txt || { echo "zsh: $name $option"; exit 1; }
        flag=${option#-} letter=s
        [[ $option != --* ]] || flag=${option#--} letter=l
        grep -qE -e " -$letter $flag( |\$)" fish.txt || { echo "fish: $name $option"; exit 1; }
    done <options.txt
    pages=$((pages + 1))
done
[ "$pages" -gt 10 ]

# Words, parameters and their entries, files: as bash offers them.
expect() { [ "$1" = "$2" ] || { echo "offered: $1"; echo "expected: $2"; exit 1; }; }
expect "$(offered zelk render --quality s)" super
expect "$(offered zelk render --quality = s)" super
expect "$(offered zelk render --set qual)" quality=
expect "$(offered zelk render --set quality = h)" high
expect "$(offered zelk render --explain j)" json
expect "$(offered zelk render --explain --quali)" "$(printf '%s\n' --quality --quality-level)"
expect "$(offered zelk filters mit)" mitchell
expect "$(offered zelk render pinned.p)" pinned.ppm
expect "$(offered zelk render --over pinned.p)" pinned.ppm
expect "$(offered zelk project im)" import-track
expect "$(offered zelk help project im)" import-track
expect "$(offered zelk track con)" convert
expect "$(offered zelk render --size 1)" ""
