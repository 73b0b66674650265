#!/usr/bin/env bash
# Makes the Debian packages, for people and for developers, and prints their paths.
#
#   scripts/package.sh                   # makes them
#   scripts/package.sh --system-tools    # the same, with the system's yt-dlp and ffmpeg instead of copies
#   scripts/package.sh --try             # makes them, then installs, runs and removes them in a fresh Debian (as root)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/setup.sh
. scripts/lib/setup.sh
# shellcheck source=scripts/lib/debian-source.sh
. scripts/lib/debian-source.sh

install_packages build package
REELHAUL_TOOLS_DIR=$(scripts/get-tools.sh)
export REELHAUL_TOOLS_DIR
preset=package
[[ ${1:-} != --system-tools ]] || preset=package-system-tools
build_preset "$preset"
built=$PWD/build/$preset
rm -rf "$built"/*.deb "$built/_CPack_Packages"
say "packing"
cpack --config "$built/CPackConfig.cmake" -G DEB -B "$built" >"$built/cpack.log" 2>&1 || {
  cat "$built/cpack.log" >&2
  exit 1
}
packages=("$built"/reelhaul_*.deb "$built"/libreelhaul-dev_*.deb)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
say "asking lintian, and for an application's package dpkg-shlibdeps"
lintian --fail-on error "${packages[@]}" >"$work/lintian" 2>&1 || { cat "$work/lintian" >&2 && exit 1; }
mkdir -p "$work/application/debian"
printf 'Source: application\nMaintainer: nobody <nobody@reelhaul.invalid>\n\nPackage: application\nArchitecture: any\n' \
  >"$work/application/debian/control"
dpkg-deb -R "${packages[0]}" "$work/reelhaul"
printf '#include <Reelhaul/Reelhaul.h>\nint main() { return Halvorn::IHVDownloadTask::MallocDownloadTask("") == nullptr; }\n' |
  c++ -std=c++17 -Iinclude -x c++ - -x none -o "$work/application/program" "$work"/reelhaul/usr/lib/*/reelhaul/libreelhaul.so.*.*
library_folder=$(dirname "$work"/reelhaul/usr/lib/*/libreelhaul.so.*)
needed=$(cd "$work/application" && dpkg-shlibdeps -O -S"$work/reelhaul" -l"$library_folder" program)
grep -qE 'reelhaul \(>= [0-9.]+' <<<"$needed" || { say "an application's package would depend on \"$needed\"" && exit 1; }
[[ ${1:-} == --try ]] || { printf '%s\n' "${packages[@]}" && exit 0; }

install_packages debootstrap
root=$work/root
read -r mirror keyring < <(debian_source)
# shellcheck source=/dev/null
codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
say "making a fresh Debian ($codename)"
debootstrap --variant=minbase --keyring="$keyring" "$codename" "$root" "$mirror" >"$work/log" || { tail "$work/log" && exit 1; }
# This machine's ways to its archive, such as a proxy.
apt-config dump --no-empty | grep '^Acquire::' >"$root/etc/apt/apt.conf" || true
cp "${packages[@]}" "$root/tmp/"
cp -r tests/site/plugin "$root/tmp/plugin"

inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 PYTHONPATH=/tmp/plugin "$@"; }
quiet() { inside DEBIAN_FRONTEND=noninteractive "$@" >"$work/log" 2>&1 || { cat "$work/log" && exit 1; }; }

say "installing"
quiet apt-get update
quiet apt-get install -y --no-install-recommends "${packages[@]/#*\//\/tmp\/}"
inside dpkg -L reelhaul libreelhaul-dev >"$work/files"
say "running"
inside reelhaul --version
inside reelhaul tools
inside sh -c 'ldconfig -p' | grep libreelhaul.so.1
coproc SITE { exec python3 tests/site/site.py; }
read -r site <&"${SITE[0]}"
inside reelhaul info "$site/watch/merged-mp4"
inside reelhaul get "$site/watch/merged-mp4" -o /tmp/files
say "removing"
quiet apt-get purge -y reelhaul libreelhaul-dev
while read -r file; do
  if [[ -e $root$file && ! -d $root$file || $file == *reelhaul* && -d $root$file ]]; then
    say "left behind: $file"
    exit 1
  fi
done <"$work/files"
if inside sh -c 'ldconfig -p' | grep libreelhaul; then exit 1; fi
inside dpkg --audit
say "the packages install, run and are removed cleanly"
printf '%s\n' "${packages[@]}"
