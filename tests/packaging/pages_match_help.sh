#!/usr/bin/env bash
# Manual pages and completion have what the help has, command by command; bash offers words,
# parameters, entries and files where they belong.
#
#   pages_match_help.sh PROGRAM PAGES    PAGES as `--write-pages` writes them, manual pages packed
set -euo pipefail
program=$1 pages=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
touch picture.png a:b.png
help_options() { sed -nE 's/^  ((-[a-z],)?--[a-z0-9-]+).*/\1/p' | tr , '\n' | sort; }
offered() {  # what bash offers for the words given, the last of which is being typed
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    _zelk
    printf '%s\n' "${COMPREPLY[@]}" | sort
}
. "$pages/bash/zelk"
count=0
for page in "$pages"/man1/*.1.gz; do
    name=$(basename "$page" .1.gz)
    command=(${name/import-track/import_track})
    command=(${command//-/ })
    command=("${command[@]//_/-}")
    "$program" "${command[@]:1}" --help >help.txt
    help_options <help.txt >options.txt
    [ "$(wc -l <options.txt)" -ge 2 ] || { echo "no options in the help of $name"; exit 1; }
    offered "${command[@]}" - | diff options.txt - || { echo "completion of $name"; exit 1; }
    gzip -dc "$page" | sed -n 's/^\\fB\(\\-.*\)/\1/p' | sed 's/ \\fI.*//; s/\\f[BR]//g; s/\\-/-/g; s/, /\n/g' |
        sort | diff options.txt - || { echo "manual page $name"; exit 1; }
    sed -n "/^_${name//-/_}() {/,/^}/p" "$pages/zsh/_zelk" >zsh.txt
    grep -F "'__zelk_is \\'${command[*]}\\'" "$pages/fish/zelk.fish" >fish.txt
    while read -r option; do
        grep -qE -e "[' {,)]$option(=-?)?['},[]" zsh.txt || { echo "zsh: $name $option"; exit 1; }
        flag=${option#-} letter=s
        [[ $option != --* ]] || flag=${option#--} letter=l
        grep -qE -e " -$letter $flag( |\$)" fish.txt || { echo "fish: $name $option"; exit 1; }
    done <options.txt
    count=$((count + 1))
done
[ "$count" -gt 10 ]

# Words, parameters and their entries, files: as bash offers them.
expect() { [ "$1" = "$2" ] || { echo "offered: $1"; echo "expected: $2"; exit 1; }; }
expect "$(offered zelk render --quality s)" super
expect "$(offered zelk render --quality = s)" super
expect "$(offered zelk render --set qual)" quality=
expect "$(offered zelk render --set quality = h)" high
expect "$(offered zelk render --explain j)" json
expect "$(offered zelk render --explain --quali)" "$(printf '%s\n' --quality --quality-level)"
expect "$(offered zelk filters mit)" mitchell
expect "$(offered zelk render picture.p)" picture.png
expect "$(offered zelk render --over picture.p)" picture.png
expect "$(offered zelk render --matte a : b)" b.png
expect "$(offered zelk project im)" import-track
expect "$(offered zelk help project im)" import-track
expect "$(offered zelk track con)" convert
expect "$(offered zelk render --size 1)" ""
