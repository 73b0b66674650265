#!/usr/bin/env bash
# Tries the way to cookies of running browsers with real ones, a Chromium and a Firefox, and has the extension's source
# checked by Firefox's linter. Installs what is missing.
#
#   scripts/browsers.sh [PRESET]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/setup.sh
. scripts/lib/setup.sh

preset=${1:-release}
install_packages build test browsers
REELHAUL_TOOLS_DIR=$(scripts/get-tools.sh)
export REELHAUL_TOOLS_DIR
build_preset "$preset"

say "Trying Chromium and Firefox"
(
  cd tests/browsers
  PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=$PWD/../servers REELHAUL_COMMAND=$PWD/../../build/$preset/bin/reelhaul \
    REELHAUL_TOOLS=$PWD/../../build/$preset/lib python3 -m unittest -v by_hand
)

say "Checking the extension's source"
linter=build/web-ext
[ -x $linter/node_modules/.bin/web-ext ] || npm install --silent --no-save --prefix $linter web-ext
$linter/node_modules/.bin/web-ext lint --no-config-discovery --source-dir browser/extension
