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
tee packaging/package_test.sh bin/sudo <<<$'#!/bin/sh\necho tried' >/dev/null
chmod +x packaging/package_test.sh bin/sudo
export PATH=$work/bin:$PATH
commit() { git -c user.name=T -c user.email=t@t.invalid commit -qam "$1"; }
says() { [ "$(./run package-test 2>&1)" = "$1" ] || { echo "not told: $1" >&2; exit 1; }; }
refused() { says "out/packages: made of other sources ($1): make them anew by \`./run package\`"; }
git init -q && git add CMakeLists.txt && commit one
: >out/packages/own.deb
own="1.2.3 $(git rev-parse HEAD)"
refused "unknown, not $own"
echo "$own" >out/packages/sources
says tried
echo "# more" >>CMakeLists.txt
refused "$own, not $own with changes $(git diff HEAD --binary | sha256sum | cut -c 1-12)"
commit two
refused "$own, not 1.2.3 $(git rev-parse HEAD)"
