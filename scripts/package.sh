#!/usr/bin/env bash
# Makes the Debian package, and prints its path.
#
#   scripts/package.sh          # makes it
#   scripts/package.sh --try    # makes it, then installs, runs and removes it in a fresh Debian (as root)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/setup.sh
. scripts/lib/setup.sh
# shellcheck source=scripts/lib/debian-source.sh
. scripts/lib/debian-source.sh

install_packages build package
REELHAUL_TOOLS_DIR=$(scripts/get-tools.sh)
export REELHAUL_TOOLS_DIR
build_preset package
rm -f build/package/*.deb
say "packing"
cpack --config build/package/CPackConfig.cmake -G DEB -B build/package >build/package/cpack.log 2>&1 || {
  cat build/package/cpack.log >&2
  exit 1
}
package=$(echo "$PWD"/build/package/*.deb)
[[ ${1:-} == --try ]] || { echo "$package" && exit 0; }

install_packages debootstrap
work=$(mktemp -d)
root=$work/root
trap 'rm -rf "$work"' EXIT
read -r mirror keyring < <(debian_source)
# shellcheck source=/dev/null
codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
say "making a fresh Debian ($codename)"
debootstrap --variant=minbase --keyring="$keyring" "$codename" "$root" "$mirror" >"$work/log" || { tail "$work/log" && exit 1; }
# This machine's ways to its archive, such as a proxy.
apt-config dump --no-empty | grep '^Acquire::' >"$root/etc/apt/apt.conf" || true
cp "$package" "$root/tmp/reelhaul.deb"
cp -r tests/site/plugin "$root/tmp/plugin"

inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 PYTHONPATH=/tmp/plugin "$@"; }
quiet() { inside DEBIAN_FRONTEND=noninteractive "$@" >"$work/log" 2>&1 || { cat "$work/log" && exit 1; }; }

say "installing"
quiet apt-get update
quiet apt-get install -y --no-install-recommends /tmp/reelhaul.deb
inside dpkg -L reelhaul >"$work/files"
say "running"
inside reelhaul --version
inside reelhaul tools
inside sh -c 'ldconfig -p' | grep libreelhaul.so.1
coproc SITE { exec python3 tests/site/site.py; }
read -r site <&"${SITE[0]}"
inside reelhaul info "$site/watch/merged-mp4"
inside reelhaul get "$site/watch/merged-mp4" -o /tmp/files
say "removing"
quiet apt-get purge -y reelhaul
while read -r file; do
  if [[ -e $root$file && ! -d $root$file || $file == *reelhaul* && -d $root$file ]]; then
    say "left behind: $file"
    exit 1
  fi
done <"$work/files"
if inside sh -c 'ldconfig -p' | grep libreelhaul; then exit 1; fi
inside dpkg --audit
say "the package installs, runs and is removed cleanly"
echo "$package"
