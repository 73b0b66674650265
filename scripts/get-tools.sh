#!/usr/bin/env bash
# Obtains what Reelhaul calls: yt-dlp, ffmpeg with ffprobe, and deno.
#
#   scripts/get-tools.sh [--fresh] [DIR]
#
# DIR is by default $REELHAUL_TOOLS_DIR, else reelhaul-tools in the user's cache, so that
# another clone finds it ready. Progress goes to standard error; the one line on standard
# output is the folder. A second call only looks whether all is there; --fresh gets the
# newest versions again. On Debian, missing system packages are installed with apt-get (as
# root or through sudo); elsewhere the tools of the package manager are linked.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib/debian-source.sh
. "$here/lib/debian-source.sh"
recipe=1 # raise it when the way the folder is made changes: older folders are made again

say() { printf 'get-tools: %s\n' "$*" >&2; }
die() {
    printf 'get-tools: error: %s\n' "$*" >&2
    exit 1
}

fresh=no
if [[ ${1:-} == --fresh ]]; then
    fresh=yes
    shift
fi
if [[ ${1:-} == -* || $# -gt 1 ]]; then
    sed -n '2,/^set /{/^#/s/^# \{0,1\}//p;}' "${BASH_SOURCE[0]}" >&2
    exit 2
fi
dir=${1:-${REELHAUL_TOOLS_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/reelhaul-tools}}
mkdir -p "$dir" || die "cannot create $dir; name another folder"
dir=$(cd "$dir" && pwd)

# The second call: everything there, and the interpreter still the one the bytecode is for.
is_ready() {
    local name what value made_by=none python='' python_version=''
    [[ $fresh == no && -r $dir/versions ]] || return 1
    for name in yt-dlp ffmpeg ffprobe deno; do [[ -x $dir/$name ]] || return 1; done
    while read -r what value; do
        case $what in
        recipe) made_by=$value ;;
        python) python=$value ;;
        python-version) python_version=$value ;;
        esac
    done <"$dir/versions"
    [[ $made_by == "$recipe" ]] || return 1
    [[ -z $python || $("$python" -V 2>/dev/null) == "Python $python_version" ]]
}

finish() {
    printf '%s\n' "$dir"
    exit 0
}

is_ready && finish

# One maker at a time; a second one waits, then finds the folder ready.
if command -v flock >/dev/null; then
    exec 9>"$dir/.lock"
    flock -n 9 || { say "waiting for another run that fills $dir" && flock 9; }
    is_ready && finish
fi

# All is made here and renamed at the end: an interrupted run leaves no half tool.
staging=$dir/.staging
rm -rf "$staging"
mkdir "$staging" || die "cannot write to $dir; name another folder"
trap 'rm -rf "$staging"' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

note() { printf '%s %s\n' "$1" "$2" >>"$staging/versions"; }
note recipe "$recipe"

link_program() { # link_program NAME
    local path
    path=$(command -v "$1") || die "$1 is not installed; install it with the system's package manager"
    ln -s "$path" "$staging/$1"
    note "$1" "$path"
}

# --- systems without apt-get: the package manager's tools serve as they are ---

link_installed() {
    local missing=() name version oldest=2025.11
    for name in yt-dlp ffmpeg ffprobe deno; do command -v "$name" >/dev/null || missing+=("$name"); done
    ((${#missing[@]} == 0)) ||
        die "missing: ${missing[*]}. Install them first (macOS: brew install yt-dlp ffmpeg deno)"
    for name in yt-dlp ffmpeg ffprobe deno; do link_program "$name"; done
    version=$(yt-dlp --version)
    # Releases are dates; older ones don't know the option that names the JS runtime.
    [[ $version > $oldest ]] || die "yt-dlp $version is too old; $oldest or later is needed"
}

# --- Debian ---

as_root() {
    if ((EUID == 0)); then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        die "these packages need root or sudo: run 'apt-get install ${packages[*]}' as root, then this again"
    fi
}

install_packages() {
    local packages=("$@")
    local install=(env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends)
    say "installing ${packages[*]} with apt-get"
    # A fresh machine has no lists yet, and old lists name files that are gone.
    as_root apt-get update -q >&2 || say "the package lists could not all be read; trying with those there are"
    as_root "${install[@]}" "${packages[@]}" >&2 ||
        die "apt-get could not install ${packages[*]}; install them by hand, then run this again"
}

install_missing() {
    local wanted=() pair
    for pair in ffmpeg:ffmpeg ffprobe:ffmpeg npm:npm; do
        command -v "${pair%%:*}" >/dev/null || wanted+=("${pair##*:}")
    done
    find_python >/dev/null || wanted+=(python3)
    ((${#wanted[@]} == 0)) || install_packages ca-certificates "${wanted[@]}"
}

# The interpreter's own path: a shim or "env" in front of it costs up to 60 ms at each start.
find_python() {
    local name
    for name in /usr/bin/python3 python3 python3.13 python3.12 python3.11; do
        "$name" -c 'import sys
if sys.version_info < (3, 11): sys.exit(1)
print(sys.executable)' 2>/dev/null && return
    done
    return 1
}

# The stable release is too old for us; sid has a current one that needs Python alone. It is
# read through lists of its own, so the system's package state stays as it is.
get_yt_dlp() {
    local apt=$staging/apt python uri keyring
    python=$(find_python) || die "Python 3.11 or later is needed; install it, then run this again"
    read -r uri keyring < <(debian_source) || true
    [[ -n ${uri:-} ]] || die "no Debian archive in /etc/apt/sources.list or sources.list.d; add one"
    [[ -r $keyring ]] || die "the keyring $keyring is missing; install debian-archive-keyring"
    mkdir -p "$apt"/{lists,cache/archives}/partial
    printf 'deb [signed-by=%s] %s sid main\n' "$keyring" "$uri" >"$apt/sources.list"
    local options=(-q -o "Dir::State::lists=$apt/lists" -o "Dir::Cache=$apt/cache"
        -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache= -o "Dir::Etc::sourcelist=$apt/sources.list"
        -o Dir::Etc::sourceparts=/dev/null -o Dir::Etc::preferences=/dev/null
        -o Dir::Etc::preferencesparts=/dev/null -o Acquire::Languages=none
        -o APT::Update::Error-Mode=any -o "APT::Sandbox::User=$(id -un)")
    say "yt-dlp: reading the package lists of Debian sid"
    (cd "$apt" && apt-get "${options[@]}" update && apt-get "${options[@]}" download yt-dlp) >&2 ||
        die "yt-dlp could not be fetched from the Debian archive; see apt-get's words above, then run this again"
    dpkg -x "$apt"/yt-dlp_*.deb "$apt/root"
    say "yt-dlp: packing it into one file for $python"
    "$python" "$here/pack-python-tool.py" "$apt/root/usr/lib/python3/dist-packages/yt_dlp" \
        "$python" "$staging/yt-dlp"
    note yt-dlp "$("$staging/yt-dlp" --ignore-config --version)"
    note python "$python"
    note python-version "$("$python" -c 'import platform; print(platform.python_version())')"
    rm -rf "$apt"
}

# The package "deno" is a launcher; the program itself lies in a package per platform.
get_deno() {
    local platform npm=$staging/npm
    case $(uname -m) in
    x86_64) platform=linux-x64-glibc ;;
    aarch64) platform=linux-arm64-glibc ;;
    *) die "deno has no build for $(uname -m); put one into $dir as 'deno'" ;;
    esac
    say "deno: fetching the package for $platform"
    mkdir "$npm"
    (cd "$npm" && npm pack --loglevel=error --cache="$npm/cache" "@deno/$platform" >&2 &&
        tar -xzf ./*.tgz package/deno) ||
        die "deno could not be fetched with npm; see its words above, then run this again"
    mv "$npm/package/deno" "$staging/deno"
    chmod 755 "$staging/deno"
    note deno "$("$staging/deno" --version | sed -n '1s/^deno \([^ ]*\).*/\1/p')"
    rm -rf "$npm"
}

if [[ $(uname -s) == Linux ]] && command -v apt-get >/dev/null; then
    install_missing
    link_program ffmpeg
    link_program ffprobe
    get_yt_dlp
    get_deno
else
    link_installed
fi

# "versions" vouches for the others: it goes first and comes last.
rm -f "$dir/versions"
for name in yt-dlp ffmpeg ffprobe deno versions; do mv -f "$staging/$name" "$dir/$name"; done
say "ready: $(grep -E '^(yt-dlp|deno) ' "$dir/versions" | tr '\n' ' ')"
finish
