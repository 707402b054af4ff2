#!/usr/bin/env bash
# The shared library exports the primitives of the list and the functions of processor/, and nothing
# else.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

public_names() {
  list_primitives | sed 's/.* = \(.*\);/\1/'
  sed -n 's/^[a-z].*\b\([A-Z][A-Za-z0-9]*\)(.*;$/\1/p' "$SOURCE"/primitives/processor/*.h
}

exported="$(nm -D --defined-only "$LIBDIR/libzrprimitives.so" | awk '{ print $3 }' | sort)"
diff <(public_names | sort) <(echo "$exported") ||
  fail "> is exported and not public, < the reverse"
[[ "$(grep -c '^ipps' <<<"$exported")" == 241 ]] || fail "not 241 primitives"
[[ "$(readelf -d "$LIBDIR/libzrprimitives.so")" =~ SONAME.*"[libzrprimitives.so."[0-9]+"]" ]] ||
  fail "no version in the name that programs load"
echo "$(wc -l <<<"$exported") names exported"
