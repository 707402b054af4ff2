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

# patch FILE OFFSET NUMBER: the 16-bit number there.
patch() { samples "$3" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none; }
# level EXAMPLES FILE: the RMS level of all its samples.
level() { "$1/level_meter" $(($(wc -c <"$2") / 2)) <"$2" | awk '{ print $3 }'; }
# expect_at_least WHAT LEAST ACTUAL
expect_at_least() {
  awk -v l="$2" -v a="$3" 'BEGIN { exit !(a >= l) }' || fail "$1: expected $2 or more, got '$3'"
}
# refuse REASON ARGUMENT...: denoise tells the reason, and leaves the files as they are.
refuse() {
  local before
  before="$(md5sum -- *.wav)"
  ! "$denoise" "${@:2}" 2>told || fail "denoise ${*:2} is accepted"
  grep -q -- "$1" told || fail "denoise ${*:2}: expected '$1', got '$(<told)'"
  expect "files after denoise ${*:2}" "$before" "$(md5sum -- *.wav)"
  ! compgen -G '*.part' || fail "denoise ${*:2} leaves its part of a file"
}

# Recorded words in white noise. $1: the examples.
check_denoise() {
  local denoise="$1/denoise" told name ratio
  told="$("$SOURCE/examples/denoise_demo.sh" "$1" demo 10)"
  while read -r name ratio; do
    case $name in
      noisy) expect_near "ratio to begin with" 10 "$ratio" 0.1 ;;
      *) expect_at_least "ratio, $name" 19 "$ratio" ;;
    esac
  done <<<"$told"
  expect "lines" 3 "$(wc -l <<<"$told")"

  cd demo
  check_rates "$1"
  check_channels
  printf 'no audio' >text.wav
  mkdir -p folder/out.wav
  cp noisy.wav silent.wav
  # The first sample as a float, not a number.
  cp noisy.wav float.wav
  patch float.wav 20 3
  patch float.wav 32 4
  patch float.wav 34 32
  patch float.wav 46 32704
  refuse "float.wav.*not numbers" float.wav silent.wav
  refuse "missing.wav.*No such file" missing.wav silent.wav
  refuse "text.wav" text.wav silent.wav
  refuse "end in '.wav'" noisy.wav silent.flac
  refuse "out.wav.*no file" noisy.wav folder/out.wav
  refuse "nowhere.*No such file" noisy.wav nowhere/silent.wav
  refuse "usage" noisy.wav silent.wav --rule none
  cd ..
}

# The same samples at rates below, within and beyond those that the tracker knows. In place.
check_rates() {
  local rate
  for rate in 4000 8000 44100 96000 192000; do
    cp noisy.wav rate.wav
    patch rate.wav 24 $((rate & 65535))
    patch rate.wav 26 $((rate >> 16))
    "$denoise" rate.wav rate.wav
    tail -c +45 rate.wav >rate.raw
    expect "length at $rate Hz" "$(wc -c <noisy.raw)" "$(wc -c <rate.raw)"
    "$1/mix" rate.raw 1 speech.raw -1 >difference.raw 2>/dev/null
    expect_at_least "decibels between speech and the rest at $rate Hz" 13 \
      "$(awk "BEGIN { print $(level "$1" speech.raw) - $(level "$1" difference.raw) }")"
  done
}

# The first half of the mono file beside silence: the same as alone, up to what the end changes.
check_channels() {
  local frames=$(($(wc -c <noisy.raw) / 4))
  local unchanged=$((frames - 1024))
  head -c 44 noisy.wav >stereo.wav
  patch stereo.wav 22 2
  patch stereo.wav 32 4
  printf '%b' "$(head -c $((2 * frames)) noisy.raw | od -An -v -t x1 -w2 |
    sed 's/ /\\x/g; s/$/\\x00\\x00/' | tr -d '\n')" >>stereo.wav
  "$denoise" stereo.wav stereo.wav
  tail -c +45 stereo.wav | od -An -v -t d2 -w4 >both.txt
  expect "frames" $frames "$(wc -l <both.txt)"
  expect "silence" 0 "$(awk '{ print $2 }' both.txt | sort -u)"
  awk '{ print $1 }' both.txt | head -n $unchanged |
    cmp - <(od -An -v -t d2 -w2 wiener.raw | awk '{ print $1 }' | head -n $unchanged) ||
    fail "a channel changes with the one beside it"
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
  check_denoise "$PWD/$linkage"
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
