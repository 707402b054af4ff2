#!/usr/bin/env bash
# What no single build can show: the same bits from every preset and from the code in the driver
# binary, and a 32-bit build of the primitives and the filter that keeps to the x87.
#
#   tests/compare_presets.sh BUILD_ROOT MATERIAL_DIR
set -euo pipefail
build=$1 material=$2

fail() {
  echo "compare_presets.sh: $*" >&2
  exit 1
}

digests() { "$build/$1/tests/popfilter/pops_digest" "$material"/*.pcm; }

expected="$(digests host)"
[[ "$(wc -l <<<"$expected")" -ge 20 ]] || fail "too few digests: $expected"
for preset in x86 asan tsan; do
  diff <(echo "$expected") <(digests "$preset") || fail "host and $preset filter differently"
done

expected_primitives="$("$build/host/tests/primitives/primitives_digest")"
[[ "$(wc -l <<<"$expected_primitives")" -ge 138 ]] || fail "too few digests of primitives"
for preset in x86 asan tsan; do
  diff <(echo "$expected_primitives") <("$build/$preset/tests/primitives/primitives_digest") ||
    fail "host and $preset compute differently"
done
echo "$(wc -l <<<"$expected_primitives") digests of primitives are equal in host, x86, asan, tsan"

diff <(echo "$expected") <(ZR_DRIVER_BINARY="$build/nt/driver/zrpopflt.sys" \
  "$build/x86/tests/driver_binary/binary_digest" "$material"/*.pcm) ||
  fail "host and the driver binary filter differently"
echo "$(wc -l <<<"$expected") digests of filtered recordings are equal in host, x86, nt, asan, tsan"

disassembly="$(objdump -d "$build"/x86/primitives/libzr_primitives.a \
  "$build"/x86/popfilter/libzr_popfilter.a)"
[[ "$(grep -c '\bf\(ld\|mul\|add\)' <<<"$disassembly")" -gt 50 ]] || fail "no x87 code found"
! grep -E '%(xmm|ymm|mm)[0-7]' <<<"$disassembly" || fail "SSE or MMX registers in the 32-bit build"
echo "the 32-bit primitives and filter use no SSE or MMX register"

# A stub is its jump through the slot and nothing before it.
for preset in host x86 nt; do
  stubs="$(objdump -d --no-show-raw-insn \
    "$build/$preset"/primitives/CMakeFiles/zr_primitive_objects.dir/dispatch/stubs.cpp.o*)"
  jumps="$(grep -A1 '^[0-9a-f]* <.*>:$' <<<"$stubs" | grep -c 'jmp  *\*')" || true
  ((jumps == 241)) || fail "$preset: $jumps of 241 stubs are one jump"
done
echo "241 stubs are one indirect jump each in host, x86, nt"

# Nothing would run a constructor of the driver's statics.
for preset in host x86; do
  ! objdump -h "$build/$preset"/{primitives,popfilter,support,usbaudio,driver}/*.a |
    grep -F .init_array || fail "$preset: a static constructor in the driver's code"
done
