#!/usr/bin/env bash
# Builds the fuzz targets by clang and runs each for so many seconds (60 when no number is given), beginning with the
# committed corpus. What is found stands in build/fuzz/findings.
#
#   scripts/fuzz.sh [SECONDS] [TARGET...]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/setup.sh
. scripts/lib/setup.sh

seconds=${1:-60}
shift || true
install_packages build test
build_preset fuzz

targets=("$@")
[ ${#targets[@]} -gt 0 ] || for name in fuzz/Fuzz*.cpp; do targets+=("$(basename "$name" .cpp)"); done
mkdir -p build/fuzz/findings
export REELHAUL_LOG=off REELHAUL_SETTINGS=$PWD/build/fuzz/settings.json
for name in "${targets[@]}"; do
  mkdir -p "build/fuzz/corpus/$name"
  say "fuzzing $name for $seconds s"
  "build/fuzz/bin/fuzz_$name" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 -verbosity=0 \
    -artifact_prefix="build/fuzz/findings/$name-" "build/fuzz/corpus/$name" "fuzz/corpus/$name" 2>&1 |
    grep -E 'ERROR|SUMMARY|Sanitizer|HV_FUZZ|number_of_executed|artifact' || true
  test "${PIPESTATUS[0]}" -eq 0
done
if compgen -G 'build/fuzz/findings/*' >/dev/null; then
  say "findings: $(echo build/fuzz/findings/*)"
  exit 1
fi
say "no finding"
