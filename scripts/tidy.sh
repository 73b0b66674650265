#!/usr/bin/env bash
# Builds everything by clang, with its warnings, the tests among it; has clang-tidy read each source of the library, the command
# and the examples; and compares the binary interface with the accepted one.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/setup.sh
. scripts/lib/setup.sh
install_packages build test
build_preset tidy
scripts/abi.sh build/tidy/lib/libreelhaul.so
