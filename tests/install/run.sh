#!/usr/bin/env bash
# Installs a build into a fresh prefix and has a stranger's project use it, as a CMake package and by pkg-config.
#
#   tests/install/run.sh BUILD_FOLDER
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
sed -i "s|^prefix=.*|prefix=$work/prefix|" "$(find "$work/prefix" -name reelhaul.pc)"
mkdir "$work/consumer"
cp "$here/main.cpp" "$work/consumer/"
cp "$here/CMakeLists.txt.consumer" "$work/consumer/CMakeLists.txt"
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name reelhaul.pc)")
export PKG_CONFIG_PATH REELHAUL_SETTINGS=$work/settings.json
if ! { cmake -S "$work/consumer" -B "$work/built" -DCMAKE_PREFIX_PATH="$work/prefix" &&
  cmake --build "$work/built"; } >"$work/log" 2>&1; then
  cat "$work/log"
  exit 1
fi

# Nothing of the source tree may be needed or named.
if grep -rIl "$(cd "$here/../.." && pwd)" "$work/prefix"/lib*/cmake "$work/prefix"/lib*/*/cmake 2>/dev/null; then
  echo "the files above name the source tree"
  exit 1
fi
"$work/built/by_package"
LD_LIBRARY_PATH=$(dirname "$PKG_CONFIG_PATH") "$work/built/by_pkg_config"
"$work/prefix/bin/reelhaul" --version
for header in "$work/prefix"/include/Reelhaul/*.h; do
  for standard in c++17 c++20; do
    c++ "-std=$standard" -Wall -Wextra -Wpedantic -Werror -fsyntax-only -x c++ -include "$header" /dev/null
  done
done
