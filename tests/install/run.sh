#!/usr/bin/env bash
# Installs a build into a fresh prefix and has a stranger's project use it: as a CMake package, by pkg-config, and as a
# part of the project itself.
#
#   tests/install/run.sh BUILD_FOLDER TOOLS_FOLDER
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source=$(cd "$here/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
export REELHAUL_SETTINGS=$work/settings.json CCACHE_BASEDIR=$work CCACHE_NOHASHDIR=true

fail() { echo "$*" && exit 1; }
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log" && fail "failed: $*"; }; }

# consumer NAME CMAKE_ARGUMENT... : the stranger's project, built in a folder of its own.
consumer() {
  local folder=$work/$1
  shift
  mkdir -p "$folder"
  cp "$here/main.cpp" "$source/examples/TestKit.cpp" "$folder/"
  cp "$here/CMakeLists.txt.consumer" "$folder/CMakeLists.txt"
  quietly cmake -S "$folder" -B "$folder/built" "$@"
  quietly cmake --build "$folder/built" --parallel 2
}

quietly cmake --install "$1" --prefix "$prefix"
lib=$(dirname "$(dirname "$(find "$prefix" -name reelhaul.pc)")")
export PKG_CONFIG_PATH=$lib/pkgconfig
if grep -rIl "$source" "$prefix"; then fail "the files above name the source tree"; fi

consumer package -DCMAKE_PREFIX_PATH="$prefix"
"$work/package/built/by_package"
quietly ctest --test-dir "$work/package/built" --output-on-failure --no-tests=error
LD_LIBRARY_PATH=$lib "$work/package/built/by_pkg_config"
"$prefix/bin/reelhaul" --version
python3 "$here/shared_files.py" "$prefix"
# A reader of the installed documents gets where their links lead.
python3 -c 'import pathlib, re, sys
pages = list(pathlib.Path(sys.argv[1]).rglob("*.md"))
lost = [(str(page), link) for page in pages for link in re.findall(r"\]\(([^)#]+\.\w+)[^)]*\)", page.read_text())
        if ":" not in link and not (page.parent / link).exists()]
sys.exit(str(lost) if lost or len(pages) < 10 else 0)' "$prefix/share/doc/reelhaul" || fail "these links lead nowhere"
# A plug-in that links the library may go while a thread of the library runs.
python3 -c 'import _ctypes, ctypes, os, sys
_ctypes.dlclose(ctypes.CDLL(sys.argv[1])._handle)
ctypes.CDLL(sys.argv[1], os.RTLD_NOLOAD)' "$(find "$lib" -name "libreelhaul.so*" | head -1)" || fail "the library can be unloaded"

# What the library itself is made from suffices; anything for developers would miss its folder.
mkdir -p "$work/part/reelhaul"
cp -r "$source"/{CMakeLists.txt,cmake,data,include,foundation,model,options,task,control,tools,cookies,browser} "$work/part/reelhaul/"
consumer part -DREELHAUL_TOOLS_DIR="$2" "-DCMAKE_CXX_COMPILER_LAUNCHER=$(command -v ccache)"
"$work/part/built/by_subproject"

# Every public header stands alone and needs the standard library only; the umbrella has them all.
cd "$prefix/include/Reelhaul"
if grep -n '#include' ./* | grep -vE '#include (<[a-z_]+>|"(I?HV\w+|Reelhaul)\.h")'; then fail "the above is no interface"; fi
for compiler in c++ clang++; do
  command -v "$compiler" >/dev/null || continue
  for standard in c++17 c++20; do
    printf '%s\n' *.h | xargs -P 2 -I '{}' "$compiler" -std=$standard -Wall -Wextra -Wpedantic -Werror -fsyntax-only \
      -x c++ -include '{}' /dev/null
  done
done
for header in *.h; do
  grep -qF "/Reelhaul/$header" <(c++ -M -x c++ "$PWD/Reelhaul.h") || fail "Reelhaul.h lacks $header"
done
