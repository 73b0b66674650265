#!/usr/bin/env bash
# Runs all tests in a build that counts, then prints how much of each source they reach and which lines they don't.
#
#   scripts/coverage.sh [CTEST ARGUMENT...]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/setup.sh
. scripts/lib/setup.sh

# shellcheck disable=SC2034 # read through a name reference
PACKAGES_coverage=(gcovr)
install_packages coverage
mkdir -p build
find build/coverage -name '*.gcda' -delete 2>/dev/null || true
# The installed library is no part of what is counted.
scripts/test.sh coverage -E "^(install|symbols)$" "$@" >build/coverage.log || {
  tail -n 60 build/coverage.log >&2
  exit 1
}
rooms=()
for room in foundation model options task control tools cookies browser cli; do rooms+=(--filter "$room/"); done
exec gcovr --root . "${rooms[@]}" --exclude-throw-branches --print-summary build/coverage
