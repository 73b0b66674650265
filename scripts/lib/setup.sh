# shellcheck shell=bash
# What the scripts share: the packages that building and testing need, and how a preset is built. To be sourced.

say() { printf '%s\n' "reelhaul: $*" >&2; }

# Debian's packages, by what they are for. Keep README.md's list for macOS in step.
# shellcheck disable=SC2034 # read through a name reference
PACKAGES_build=(g++ cmake make ninja-build pkg-config ccache rapidjson-dev libcurl4-openssl-dev libsqlite3-dev libcli11-dev python3
  ca-certificates ffmpeg npm git)
# shellcheck disable=SC2034
PACKAGES_test=(libgtest-dev libgmock-dev libbenchmark-dev clang libclang-rt-14-dev clang-format clang-tidy abigail-tools xz-utils
  procps util-linux openssl chromium man-db zsh fish libglib2.0-dev doxygen)
# shellcheck disable=SC2034
PACKAGES_browsers=(firefox-esr)
# shellcheck disable=SC2034
PACKAGES_macos=(llvm googletest)
# shellcheck disable=SC2034
PACKAGES_package=(dpkg-dev file lintian doxygen)
# shellcheck disable=SC2034
PACKAGES_debootstrap=(debootstrap)

# install_packages GROUP... : installs what is missing of the groups; says nothing when all is there.
install_packages() {
  if [ "$(uname -s)" = Darwin ]; then
    command -v cmake ninja >/dev/null && return
    say "install what is needed first: brew install cmake ninja ccache rapidjson curl sqlite cli11 googletest google-benchmark glib doxygen yt-dlp ffmpeg deno"
    exit 1
  fi
  local group wanted=() missing=() name log
  for group in "$@"; do
    local -n list="PACKAGES_$group"
    wanted+=("${list[@]}")
  done
  # A program that came another way serves as well as a package.
  for name in "${wanted[@]}"; do
    case $name in
    npm | git | openssl | chromium | cmake | clang | clang-format | clang-tidy | ffmpeg | ccache) command -v "$name" >/dev/null && continue ;;
    ninja-build) command -v ninja >/dev/null && continue ;;
    esac
    missing+=("$name")
  done
  mapfile -t missing < <(comm -23 <(printf '%s\n' "${missing[@]}" | sort -u) \
    <(dpkg-query -W -f '${db:Status-Abbrev}${Package}\n' 2>/dev/null | sed -n 's/^ii *//p' | sort -u))
  [ ${#missing[@]} -eq 0 ] && return
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || {
      say "these packages are missing: ${missing[*]}; run this as root, or install sudo"
      exit 1
    }
    as_root=(sudo)
  fi
  # Hundreds of lines come from this on a fresh machine; they matter only when it fails.
  say "installing packages, which may take some minutes: ${missing[*]}"
  log=$(mktemp)
  if ! { "${as_root[@]}" apt-get update -qq &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"; } \
    >"$log" 2>&1; then
    cat "$log" >&2
    say "the packages could not be installed; what apt-get says is above"
    rm -f "$log"
    exit 1
  fi
  rm -f "$log"
}

jobs_to_run() { nproc 2>/dev/null || sysctl -n hw.ncpu 2>/dev/null || echo 2; }

# build_preset PRESET : configures and builds build/PRESET, silently where nothing is to be compiled;
# REELHAUL_TOOLS_DIR names the tools.
build_preset() {
  local preset=$1 log
  # Compiler results are shared between checkouts of this tree.
  export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=true
  log=$(mktemp)
  if ! cmake --preset "$preset" >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    say "the build could not be set up"
    return 1
  fi
  rm -f "$log"
  say "building ($preset)"
  cmake --build --preset "$preset" >&2
}
