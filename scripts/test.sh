#!/usr/bin/env bash
# Installs what the tests need, builds Reelhaul and runs all its tests, those with the real tool included.
#
#   scripts/test.sh [PRESET] [CTEST ARGUMENT...]
#
# PRESET is one of CMakePresets.json, "release" when none is named. Without a change nothing is built again.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/setup.sh
. scripts/lib/setup.sh

preset=${1:-release}
shift || true

install_packages build test
REELHAUL_TOOLS_DIR=$(scripts/get-tools.sh)
export REELHAUL_TOOLS_DIR
build_preset "$preset"

# The storms take a fraction of their full size; sanitizers slow them down without making them harsher.
case $preset in
asan | tsan) export REELHAUL_TEST_SCALE=${REELHAUL_TEST_SCALE:-0.03} ;;
esac
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_stack_use_after_return=1:strict_string_checks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
# A test that ends its process on purpose leaves the threads of its own server unjoined.
# Forked copies have threads of their own, which is what is tested.
export TSAN_OPTIONS=${TSAN_OPTIONS:-second_deadlock_stack=1:report_thread_leaks=0:die_after_fork=0}

say "Running the tests ($preset)"
exec ctest --test-dir "build/$preset" --output-on-failure --no-tests=error -j "$(jobs_to_run)" "$@"
