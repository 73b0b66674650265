#!/usr/bin/env bash
# Says which files clang-format would change, and what shellcheck finds where it is installed.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
git ls-files -z -- '*.h' '*.cpp' | xargs -0 clang-format --dry-run --Werror
if command -v shellcheck >/dev/null; then
  git ls-files -z -- '*.sh' .ci/run | xargs -0 shellcheck -x
fi
echo "The style is clean."
