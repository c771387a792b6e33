#!/usr/bin/env bash
# Installs packages into a fresh root, tries them there as a user who is not root, removes them, and
# compares the root's files with those before. Needs root; the root is made of the machine's own apt
# sources. Whatever is tried prints a line.
#
#   package_test.sh FOLDER    the packages, *.deb
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
packages=$(cd "$1" && pwd)
# Mounts of the root end with the script.
[ -n "${ZELK_OWN_MOUNTS:-}" ] || exec env ZELK_OWN_MOUNTS=yes unshare --mount "${BASH_SOURCE[0]}" "$@"

work=$(mktemp -d)
root=$work/root
trap 'umount -R "$root"/{proc,dev} 2>/dev/null || true; rm -rf --one-file-system "$work"' EXIT
say() { printf '== %s\n' "$*"; }
inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"; }
as_user() {
    chroot --userspec=tester "$root" env -i PATH=/usr/bin:/bin LANG=C.UTF-8 HOME=/home/tester \
        USER=tester TERM=dumb OMP_WAIT_POLICY=passive "$@"
}
own=()
for file in "$packages"/*.deb; do own+=("$(dpkg-deb -f "$file" Package)"); done

say "lintian"
lintian --allow-root --fail-on error --tag-display-limit 0 "$packages"/*.deb

say "a fresh root"
. /etc/os-release
shopt -s nullglob
sources=(/etc/apt/sources.list /etc/apt/sources.list.d/*.list /etc/apt/sources.list.d/*.sources)
for file in "${sources[@]}"; do [ ! -f "$file" ] || { cat "$file"; echo; }; done |
    mmdebstrap --quiet --variant=apt "$VERSION_CODENAME" "$root" -
mount -t proc proc "$root/proc"
mount --rbind /dev "$root/dev"
printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"  # no daemon is started there
chmod +x "$root/usr/sbin/policy-rc.d"
inside useradd --create-home --shell /bin/bash tester

# What the packages lean on, and what tries them; then what is there is noted.
say "dependencies"
needed=()
for file in "$packages"/*.deb; do
    depends=$(dpkg-deb -f "$file" Depends | tr ',' '\n' | grep -vE '^ *(zelk|libzelk)' | paste -sd,)
    [ -z "$depends" ] || needed+=("$depends")
done
inside apt-get update -qq
inside apt-get satisfy -y -qq --no-install-recommends "${needed[@]}" \
    "man-db, bash-completion, fish, zsh, cmake, g++, ninja-build" >"$work/log" 2>&1 ||
    { tail -n 20 "$work/log"; exit 1; }
inside ldconfig
inside mandb --quiet  # the index of manual pages, which any package's trigger would make
files_there() {
    (cd "$root" && find . -xdev \( -path ./proc -o -path ./dev -o -path ./home -o -path ./tmp \
        -o -path ./var/cache/apt -o -path ./var/lib/apt -o -path ./var/log \) -prune -o -print) | sort
}
files_there >"$work/before"

say "installed: ${own[*]}"
mkdir "$root/tmp/packages"
cp "$packages"/*.deb "$root/tmp/packages"
inside sh -c 'apt-get install -y -qq --no-install-recommends /tmp/packages/*.deb' >"$work/log" 2>&1 ||
    { tail -n 20 "$work/log"; exit 1; }
files_there >"$work/installed"
for name in "${own[@]}"; do
    inside dpkg-query -W -f='${Package} ${Version}, ${Installed-Size} KiB installed\n' "$name"
done
cp "$here/package_trial.sh" "$here/zsh_trial.zsh" "$root/home/tester"
as_user bash /home/tester/package_trial.sh "${own[@]}"

say "removed"
inside apt-get purge -y -qq "${own[@]}" >"$work/log" 2>&1 || { tail -n 20 "$work/log"; exit 1; }
files_there >"$work/after"
diff "$work/before" "$work/after" || { echo "files differ after the removal" >&2; exit 1; }
echo "$(comm -13 "$work/before" "$work/installed" | wc -l) files came and went, $(wc -l <"$work/after") others stayed"
