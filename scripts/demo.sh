#!/usr/bin/env bash
# Shows Reelhaul at work: installs what is missing, builds, then analyses and downloads.
#
#   scripts/demo.sh [URL]
#
# Without an address it starts a small media site on this machine: a page with everything, and a playlist of which
# one entry fails. The files go to build/demo. Ctrl-C ends it and leaves nothing running.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/setup.sh
. scripts/lib/setup.sh

if [[ $# -gt 1 || ${1:-} == -* ]]; then
  sed -n '2,/^set /{/^#/s/^# \{0,1\}//p;}' "${BASH_SOURCE[0]}" >&2
  exit 2
fi

install_packages build
REELHAUL_TOOLS_DIR=$(scripts/get-tools.sh)
export REELHAUL_TOOLS_DIR
build_preset plain

reelhaul=build/plain/bin/reelhaul
files=build/demo
rm -rf "$files"
mkdir -p "$files"

show() { # show ARGUMENT... : runs the command as one would type it
  printf '\n$ reelhaul %s\n' "$*"
  "$reelhaul" "$@" 3>&-
}

# The site ends when its standard input closes: with this script, however that ends.
start_site() {
  local pipes
  pipes=$(mktemp -d)
  mkfifo "$pipes/in" "$pipes/out"
  python3 tests/site/site.py <"$pipes/in" >"$pipes/out" &
  exec 3>"$pipes/in"
  read -r site <"$pipes/out" || site=
  rm -rf "$pipes"
  [[ -n $site ]] || {
    say "the media site did not start"
    exit 1
  }
  export PYTHONPATH=$PWD/tests/site/plugin
}

list_files() {
  local file
  printf '\nWhat is in %s, and what ffprobe says of it:\n' "$files"
  for file in "$files"/*; do
    [[ -e $file ]] || continue
    printf '  %s\n    %s bytes: ' "${file##*/}" "$(($(wc -c <"$file")))"
    "$REELHAUL_TOOLS_DIR/ffprobe" -v error -show_entries stream=codec_name:format=duration \
      -of default=noprint_wrappers=1:nokey=1 "$file" 2>&1 | paste -s -d ' ' -
  done
}

if [[ $# -eq 1 ]]; then
  show info "$1"
  show get "$1" -o "$files"
else
  start_site
  show info "$site/watch/everything"
  # At the speed of a network, so that there is something to see.
  show get "$site/watch/everything?media.rate=600000" -o "$files" --format video640mp4+audio-en
  printf '\n(Interrupted after three seconds, it goes on when it is typed again.)\n'
  printf '\n$ reelhaul get %s/watch/combined -o %s\n' "$site" "$files"
  timeout --signal=INT 3 "$reelhaul" get "$site/watch/combined?media.rate=200000" -o "$files" --format combined320-mp4 3>&- || true
  show get "$site/watch/combined" -o "$files" --format combined320-mp4
  # The entry that fails is told, and makes the status 1.
  show get "$site/list/mixed" -o "$files" || [[ $? -eq 1 ]]
  printf '\n(With a subtitle the tool waits ten seconds, to be gentle to the site.)\n'
  show get "$site/watch/subtitles" -o "$files" --format combined320-mp4 --subtitle en.vtt
fi
list_files
