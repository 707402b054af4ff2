#!/usr/bin/env bash
# The examples are built against the installed library, as CMake and pkg-config find it, and print
# what mathematics says.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
rm -rf "$WORK"
mkdir -p "$WORK"
cd "$WORK"

# samples A B ...: raw 16-bit samples.
samples() {
  local sample
  for sample in "$@"; do
    printf '%b' "$(printf '\\x%02x\\x%02x' $((sample & 255)) $((sample >> 8 & 255)))"
  done
}
numbers() { od -An -t d2 -v -w2 | xargs; }

# expect WHAT EXPECTED ACTUAL
expect() { [[ "$2" == "$3" ]] || fail "$1: expected '$2', got '$3'"; }
# expect_near WHAT EXPECTED ACTUAL TOLERANCE
expect_near() {
  awk -v e="$2" -v a="$3" -v t="$4" 'BEGIN { exit !(a >= e - t && a <= e + t) }' ||
    fail "$1: expected $2 within $4, got '$3'"
}

check_level_meter() {
  # A half is 20 log10(1/2) = -6.02, every other sample 0 takes another 3.01 from the RMS level.
  expect "full scale" "0 0.00 0.00" "$(samples -32768 -32768 | "$1" 2 | xargs)"
  expect "square" "0 -6.02 -6.02 2 -6.02 -6.02" "$(samples 16384 -16384 -16384 | "$1" 2 | xargs)"
  expect "pulses" "0 -6.02 -9.03" "$(samples 16384 0 0 -16384 | "$1" 9 | xargs)"
  expect "silence" "0 -inf -inf" "$(samples 0 0 0 | "$1" 3 | xargs)"
}

check_mix() {
  samples 16384 -16384 3 5 -3 >a.raw
  samples 16384 -16385 >b.raw
  expect "halves, ties to even" "8192 -8192 2 2 -2" "$("$1" a.raw 0.5 2>peak | numbers)"
  expect "peak" "peak 0.25" "$(<peak)"
  expect "sum, as long as the longer" "24576 -24576 3 5 -3" \
    "$("$1" b.raw 0.5 a.raw 1 2>peak | numbers)"
  expect "limits" "32767 -32768 3 5 -3" "$("$1" a.raw 1 b.raw 1 2>peak | numbers)"
  grep -q limited peak || fail "what was limited is not told: $(<peak)"
}

# The mean of n numbers spreads by their deviation over sqrt(n), what is measured as deviation by
# about that over sqrt(2 n). Five times as much is granted.
check_noise() {
  "$1" 48000 100 3276.8 1 >a.raw 2>told
  expect "length" 96000 "$(wc -c <a.raw)"
  expect_near "mean" 100 "$(sed 's/mean \(.*\),.*/\1/' told)" 74.8
  expect_near "deviation" 3276.8 "$(sed 's/.*deviation //' told)" 52.9
  # A hundredth of the power is -20 dB; the mean of 100 adds 0.004.
  expect_near "level" -20 "$("$2" 48000 <a.raw | awk '{ print $3 }')" 0.15
  "$1" 48000 100 3276.8 1 2>/dev/null | cmp - a.raw || fail "one seed, two kinds of noise"
  ! "$1" 48000 100 3276.8 2 2>/dev/null | cmp -s - a.raw || fail "two seeds, one noise"
}

# build SOURCE FOLDER [OPTION]...
build() {
  { "$CMAKE" -S "$1" -B "$2" -G Ninja -DCMAKE_PREFIX_PATH="$PREFIX" "${compilers[@]}" "${@:3}" &&
    "$CMAKE" --build "$2"; } >"$2.log" || fail "$(<"$2.log")"
}
strict="-pedantic -Wall -Wextra -Werror"
compilers=(-DCMAKE_C_COMPILER="$CC" -DCMAKE_C_FLAGS="$strict")
for linkage in shared static; do
  build "$SOURCE/examples" $linkage -DZR_LINKAGE=$linkage \
    -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_CXX_FLAGS="$strict"
  check_level_meter $linkage/level_meter
  check_mix $linkage/mix
  check_noise $linkage/noise $linkage/level_meter
done
[[ "$(ldd shared/mix)" == *"$LIBDIR/libzrprimitives.so"* ]] ||
  fail "the shared library is not loaded"
[[ "$(ldd static/mix)" != *libzrprimitives* ]] || fail "the static library is not linked"

build "$SOURCE/tests/library/c_alone" c_alone -DEXAMPLES="$SOURCE/examples"
check_level_meter c_alone/level_meter

export PKG_CONFIG_PATH="$LIBDIR/pkgconfig"
# compile PROGRAM PKG_CONFIG_OPTIONS COMPILER_OPTIONS
compile() {
  # shellcheck disable=SC2046,SC2086
  "$CC" -std=c11 $strict "$SOURCE/examples/level_meter.c" -o "$1" $3 \
    $(pkg-config --cflags --libs $2 zrprimitives) -lm
}
compile by_pkg_config "" ""
LD_LIBRARY_PATH="$LIBDIR" check_level_meter ./by_pkg_config
compile by_pkg_config_static --static -static
check_level_meter ./by_pkg_config_static
