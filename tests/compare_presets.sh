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
diff <(echo "$expected") <(ZR_DRIVER_BINARY="$build/nt/driver/zrpopflt.sys" \
  "$build/x86/tests/driver_binary/binary_digest" "$material"/*.pcm) ||
  fail "host and the driver binary filter differently"
echo "$(wc -l <<<"$expected") digests of filtered recordings are equal in host, x86, nt, asan, tsan"

disassembly="$(objdump -d "$build"/x86/primitives/libzr_primitives.a \
  "$build"/x86/popfilter/libzr_popfilter.a)"
[[ "$(grep -c '\bf\(ld\|mul\|add\)' <<<"$disassembly")" -gt 50 ]] || fail "no x87 code found"
! grep -E '%(xmm|ymm|mm)[0-7]' <<<"$disassembly" || fail "SSE or MMX registers in the 32-bit build"
echo "the 32-bit primitives and filter use no SSE or MMX register"
