#!/usr/bin/env bash
# `./run package-test` on packages of these sources and of others, in a small repository whose own
# package_test.sh prints a word.
#
#   own_packages.sh SOURCES
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$1/run" "$work"
cd "$work"
mkdir -p packaging out/packages bin
echo 'project(Own VERSION 1.2.3 LANGUAGES CXX)' >CMakeLists.txt
printf '#!/bin/sh\necho tried\n' >packaging/package_test.sh
printf '#!/bin/sh\nexec "$@"\n' >bin/sudo
chmod +x packaging/package_test.sh bin/sudo
export PATH=$work/bin:$PATH GIT_CONFIG_GLOBAL=/dev/null
commit() { git -c user.name=T -c user.email=t@t.invalid commit -q -m "$1"; }
git init -q && git add CMakeLists.txt packaging && commit one
: >out/packages/own.deb

tried() { [ "$(./run package-test)" = tried ] || { echo "not tried: $1" >&2; exit 1; }; }
refused() {
    local line
    if line=$(./run package-test 2>&1); then echo "tried: $1" >&2; exit 1; fi
    [[ $(wc -l <<<"$line") = 1 && $line = *"$2"*'./run package'* ]] || { echo "$1: $line" >&2; exit 1; }
}
own="1.2.3 $(git rev-parse HEAD)"
refused "nobody says of what they are" "(unknown, not $own)"
echo "$own" >out/packages/sources
tried "its own"
echo "# more" >>CMakeLists.txt
refused "sources were changed" "($own, not $own with changes "
git add CMakeLists.txt && commit two
refused "of an earlier commit" "($own, not 1.2.3 $(git rev-parse HEAD))"
