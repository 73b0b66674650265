#!/usr/bin/env bash
# Tries this tree as a newcomer does, on a bare Debian, and tells how long each step took (as root; it takes long).
#
#   scripts/check-bare.sh [FOLDER]
#
# The system is made in FOLDER and kept there, for a look at what failed: enter it by chroot FOLDER/root. Without it a folder is
# made and removed.
#
# What is committed is cloned into root's own home, which nobody else can enter, at a path with a blank; there scripts/demo.sh
# and scripts/test.sh install what they need and run. With the packages there, an ordinary user's demo.sh follows.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/setup.sh
. scripts/lib/setup.sh
# shellcheck source=scripts/lib/debian-source.sh
. scripts/lib/debian-source.sh

install_packages debootstrap git
kept=${1:-}
work=${kept:-$(mktemp -d)}
mkdir -p "$work"
work=$(realpath "$work")
root=$work/root
[[ ! -e $root ]] || { say "$root is there already" && exit 1; }
leave() {
  mountpoint -q "$root/proc" && umount "$root/proc"
  mountpoint -q "$root/dev" && umount -R "$root/dev"
  [[ -n $kept ]] || rm -rf "$work"
}
trap leave EXIT
read -r mirror keyring < <(debian_source)
# shellcheck source=/dev/null
codename=$(. /etc/os-release && echo "$VERSION_CODENAME")

step() { # step NAME COMMAND... : runs it, and tells how long it took; a failure ends all.
  local name=$1 begin=$SECONDS
  shift
  "$@" >"$work/log" 2>&1 || { tail -n 60 "$work/log" && say "failed after $((SECONDS - begin)) s: $name" && exit 1; }
  say "$((SECONDS - begin)) s: $name"
}
as() { # as USER FOLDER COMMAND...
  local user=$1 folder=$2 home
  shift 2
  home=$(chroot "$root" sh -c "echo ~$user")
  # shellcheck disable=SC2016
  chroot --userspec="$user" "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME="$home" LANG=C.UTF-8 \
    NODE_EXTRA_CA_CERTS=/etc/ssl/certs/ca-certificates.crt \
    sh -c 'cd "$1" && shift && exec "$@"' sh "$folder" "$@"
}

step "debootstrap ($codename)" debootstrap --variant=minbase --keyring="$keyring" --include=ca-certificates \
  "$codename" "$root" "$mirror"
# This machine's ways to its archives, such as proxies.
apt-config dump --no-empty | grep '^Acquire::' >"$root/etc/apt/apt.conf" || true
cp /etc/resolv.conf /etc/hosts "$root/etc/"
cp -r /usr/local/share/ca-certificates "$root/usr/local/share/" && chroot "$root" update-ca-certificates >"$work/log" 2>&1
mount -t proc proc "$root/proc"
mount --rbind /dev "$root/dev"
mount --make-rslave "$root/dev"
chmod 700 "$root/root"

git clone -q . "$root/root/my projects/reelhaul"
step "scripts/demo.sh as root, everything to be installed" as root "/root/my projects/reelhaul" scripts/demo.sh
step "scripts/demo.sh again" as root "/root/my projects/reelhaul" scripts/demo.sh
step "scripts/test.sh as root" as root "/root/my projects/reelhaul" scripts/test.sh
grep -E 'tests passed|Skipped|Not Run' "$work/log" >&2 || true
chroot "$root" useradd -m newcomer
git clone -q . "$root/home/newcomer/reelhaul"
chroot "$root" chown -R newcomer:newcomer /home/newcomer/reelhaul
step "scripts/demo.sh as an ordinary user" as newcomer /home/newcomer/reelhaul scripts/demo.sh
say "a newcomer gets along with it"
