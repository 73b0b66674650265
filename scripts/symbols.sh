#!/usr/bin/env bash
# Compares the symbols that the shared library exports with those of the last accepted interface, cmake/symbols.txt.
#
#   scripts/symbols.sh [--update] LIBRARY
#
# A symbol that goes or changes breaks programs that are built already: such a change needs a new major version.
# --update accepts the symbols as they are now. Tables of virtual functions are left out: it depends on the compiler and
# its optimisation whether those of classes without a source file are there.
set -euo pipefail
update=no
[[ ${1:-} != --update ]] || { update=yes && shift; }
accepted=$(dirname "${BASH_SOURCE[0]}")/../cmake/symbols.txt

exported=$(nm --dynamic --defined-only --demangle --without-symbol-versions --format=posix "$1" |
  sed -e 's/ [A-Zu] [0-9a-f]* [0-9a-f]*$//; /^vtable for /d; /^REELHAUL_[0-9]*$/d' \
    -e 's/__va_list_tag\*/va_list/; s/std::__va_list\b/va_list/' \
    -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g' |
  LC_ALL=C sort -u)
if [[ $update == yes ]]; then
  printf '%s\n' "$exported" >"$accepted"
elif ! diff -u --label "accepted: cmake/symbols.txt" --label "exported: $1" "$accepted" - <<<"$exported"; then
  printf '%s\n' "" "The exported symbols have changed. If that is meant, accept it: scripts/symbols.sh --update $1" \
    "Lines that begin with - break programs that are built already." >&2
  exit 1
fi
