#!/usr/bin/env bash
# Compares the binary interface of a library with the one last accepted, cmake/interface.abi.xz: classes with the places of
# their virtual operations and members, enumerations, functions.
#
#   scripts/abi.sh [--update] LIBRARY
#
# The library is that of the preset "tidy" (clang, -g -fstandalone-debug): other compilers describe the same in other words. What is
# added passes; what would break programs that are built already does not. --update accepts the interface as it is now.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
update=no
[[ ${1:-} != --update ]] || { update=yes && shift; }
accepted=cmake/interface.abi.xz
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The standard library's classes are its own affair.
printf '[suppress_type]\n  name_regexp = ^(std|__gnu_cxx)::\n  drop = yes\n' >"$work/std"
abidw --suppressions "$work/std" --headers-dir include/Reelhaul --drop-private-types --load-all-types \
  --exported-interfaces-only --drop-undefined-syms --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed \
  --out-file "$work/now.abi" "$1"
grep -q "<enum-decl name='HVDownloadState'" "$work/now.abi" || {
  echo "There is nothing to compare: $1 was not compiled with -g" >&2
  exit 1
}
if [[ $update == yes ]]; then
  xz -9 <"$work/now.abi" >"$accepted"
  exit
fi
xz -d <"$accepted" >"$work/accepted.abi"
functions() { grep -oE "<elf-symbol name='[^']+" "$1" | cut -d"'" -f2 | LC_ALL=C sort -u; }
# Classes of our own that no public header declares may change as they like.
in_both() { grep -hoE "<(class|enum)-decl name='[^'&]*" "$work"/{accepted,now}.abi | cut -d"'" -f2 | LC_ALL=C sort -u; }
in_headers() { sed -nE 's/^(class|struct|enum)( class)?( HV_EXPORT)? (\w+).*/\4/p' include/Reelhaul/*.h | LC_ALL=C sort -u; }
printf '[suppress_type]\n  name_regexp = ^(Halvorn::)?(__anonymous_namespace__::)?(%s)([:<].*)?$\n' \
  "$(LC_ALL=C comm -23 <(in_both) <(in_headers) | paste -s -d '|')" >"$work/private"
compare() { abidiff --suppressions "$work/private" --no-added-syms "$@" "$work/accepted.abi" "$work/now.abi"; }
breaks() {
  # A function that no longer exists is none of the library's own types, so the suppressions would hide it.
  local removed
  removed=$(LC_ALL=C comm -23 <(functions "$work/accepted.abi") <(functions "$work/now.abi"))
  [[ -z $removed ]] || { printf 'No longer exported:\n%s\n' "$(c++filt <<<"$removed")" && return; }
  ! compare || {
    # What no function takes or returns directly is named in two other ways: types that come and go with the library's own
    # code are among it, so changes alone count there.
    compare --non-reachable-types >"$work/more" || true
    grep -q "^  \[C\] '" "$work/more" && cat "$work/more"
  }
}
if breaks >"$work/said"; then
  cat "$work/said" >&2
  printf '%s\n' "" "This breaks programs that are built already. If that is meant, accept it: scripts/abi.sh --update $1" >&2
  exit 1
fi
echo "The binary interface holds what it held: $(wc -l <"$work/now.abi") lines of it."
