#!/usr/bin/env bash
# Every public header is installed, compiles by itself as C11 and as C++20, and declares the
# primitives with the types of the list.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
include="$PREFIX/include/zrprimitives"

strict=(-pedantic -Wall -Wextra -Werror -fsyntax-only -I "$include")
compile_as_c() { "$CC" -x c -std=c11 "${strict[@]}" -; }
compile_as_cxx() { "$CXX" -x c++ -std=c++20 "${strict[@]}" -; }

# A header that C can read is public.
public="$(cd "$SOURCE" && grep -lr --include='*.h' __cplusplus primitives | sort)"
[[ "$(wc -l <<<"$public")" -ge 8 ]] || fail "too few public headers: $public"
installed="$(cd "$include" && find primitives -name '*.h' | sort)"
missing="$(comm -23 <(echo "$public") <(echo "$installed"))"
[[ -z "$missing" ]] || fail "not installed: $missing"
for header in $installed; do
  compile_as_c <<<"#include <$header>" || fail "$header is not C11"
  compile_as_cxx <<<"#include <$header>" || fail "$header is not C++20"
done

pointers="$(list_primitives | sed -n 's/^ *primitive : *//p')"
[[ "$(wc -l <<<"$pointers")" == 241 ]] || fail "not 241 primitives"
declared="#include <primitives/primitives.h>
$pointers"
compile_as_c <<<"$declared" || fail "the headers and the list differ"
compile_as_cxx <<<"$declared" -Wno-unused-variable || fail "the headers and the list differ in C++"
echo "$(wc -w <<<"$installed") headers, $(wc -l <<<"$pointers") primitives declared"
