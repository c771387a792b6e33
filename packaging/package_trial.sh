#!/usr/bin/env bash
# What a user does with the installed packages whose names are given; run in the fresh root of
# package_test.sh. The first thing that fails ends it.
set -euo pipefail
has() { [[ " $packages " == *" $1 "* ]]; }
packages=$*
cd
[ "$(id -u)" -ne 0 ]
say() { printf -- '-- %s\n' "$*"; }

say "no library is missing"
dpkg -L $packages | while read -r file; do
    [ -f "$file" ] && [ "$(head -c 4 "$file" | od -An -tx1)" = ' 7f 45 4c 46' ] || continue
    ldd "$file" | grep 'not found' && { echo "$file" >&2; exit 1; }
    echo "$file"
done

say "zelk --version --verbose"
zelk --version --verbose

say "zelk params"
zelk params >params.txt
[ "$(wc -l <params.txt)" -gt 63 ]
head -n 3 params.txt | cut -c 1-100

say "zelk render"
examples=/usr/share/doc/zelk/examples
zelk render "$examples/coffee.png" -o tilted.png --to "60,40 540,10 30,390 580,350"
zelk render "$examples/hubble.jpg" --over "$examples/rocket.jpg" -o sky.png \
    --to "112,22 288,52 96,214 300,248" --explain | head -n 4
[ -s tilted.png ] && [ -s sky.png ]

say "man: each page without a warning"
for page in /usr/share/man/man1/zelk*.1.gz; do
    name=$(basename "$page" .1.gz)
    man --warnings "$name" >"$name.txt" 2>"$name.warnings"
    [ -s "$name.txt" ] && [ ! -s "$name.warnings" ] || { cat "$name.warnings" >&2; exit 1; }
    echo "$name, $(wc -l <"$name.txt") lines"
done

say "completion: bash, fish, zsh"
cat >bash_trial.sh <<'TEXT'
. /usr/share/bash-completion/bash_completion
_completion_loader zelk
COMP_WORDS=(zelk render --quality "") COMP_CWORD=3
_zelk
echo "${COMPREPLY[*]}"
TEXT
bash bash_trial.sh | tee bash.txt
grep -qx 'low medium high super best' bash.txt
fish -c "complete -C 'zelk render --quality '" | tee fish.txt
grep -q '^super' fish.txt
zsh -f zsh_trial.zsh 'zelk render --quality su' | tee zsh.txt
grep -q -- '--quality super' zsh.txt

if has zelk-viewer; then
    say "the viewer"
    zelk-viewer --version
    QT_QPA_PLATFORM=offscreen timeout 4 zelk view "$examples/move.zelk.json" || [ $? -eq 124 ]
else
    zelk view "$examples/move.zelk.json" 2>&1 | grep -q 'its package is zelk-viewer'
fi
if has libzelk-dev; then
    say "a C++ program"
    cp -r /usr/share/doc/libzelk-dev/examples/cpp .
    cmake -S cpp -B cpp/build -G Ninja >log.txt 2>&1 && cmake --build cpp/build >>log.txt 2>&1 ||
        { tail -n 20 log.txt >&2; exit 1; }
    cpp/build/pin_buffer pinned.ppm
    head -c 13 pinned.ppm | tr '\n' ' '
    echo
fi
if has python3-zelk; then
    say "a Python program"
    python3 -c 'import zelk; print(zelk.__version__)'
fi
