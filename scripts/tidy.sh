#!/usr/bin/env bash
# Builds everything by clang, with its warnings, and has clang-tidy read each source of the library, the command and the examples.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/setup.sh
. scripts/lib/setup.sh
build_preset tidy
