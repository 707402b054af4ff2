#!/usr/bin/env bash
# Lays white noise under recorded speech, lets `denoise` suppress it, and tells the signal-to-noise
# ratio of what comes of it, in decibels.
#
#   examples/denoise_demo.sh build/examples demo 10
#
#   noisy          10.01
#   wiener         20.02
#   ephraim-malah  19.41
#
# The arguments: where the examples are built, the folder to write to, the ratio to begin with. The
# folder gets speech, noisy, wiener and ephraim-malah, each as .wav and as raw 16-bit samples. The
# speech is that of the package alsa-utils, the names of the loudspeakers.
set -euo pipefail
examples="$(realpath "$1")" folder="$2" ratio="$3"
rate=48000 header_bytes=44

# bytes COUNT NUMBER: the number, lowest byte first.
bytes() {
  local i
  for ((i = 0; i < $1; ++i)); do printf '%b' "\\x$(printf %x $(($2 >> 8 * i & 255)))"; done
}
# wav NAME: NAME.wav from the samples of NAME.raw, 16-bit mono.
wav() {
  local size
  size="$(wc -c <"$1.raw")"
  {
    printf RIFF && bytes 4 $((size + header_bytes - 8)) && printf 'WAVEfmt ' && bytes 4 16 &&
      bytes 2 1 && bytes 2 1 && bytes 4 $rate && bytes 4 $((2 * rate)) && bytes 2 2 &&
      bytes 2 16 && printf data && bytes 4 "$size" && cat "$1.raw"
  } >"$1.wav"
}
# level NAME: the RMS level of NAME.raw, in decibels below full scale.
level() { "$examples/level_meter" $(($(wc -c <"$1.raw") / 2)) <"$1.raw" | awk '{ print $3 }'; }
# tell NAME: its signal-to-noise ratio, the noise being what differs from the speech.
tell() {
  "$examples/mix" "$1.raw" 1 speech.raw -1 >difference.raw 2>/dev/null
  printf '%-14s %s\n' "$1" "$(awk "BEGIN { printf \"%.2f\", $(level speech) - $(level difference) }")"
  rm difference.raw
}

mkdir -p "$folder"
cd "$folder"
for name in Front_{Center,Left,Right} Rear_{Center,Left,Right} Side_{Left,Right}; do
  tail -c +$((header_bytes + 1)) "/usr/share/sounds/alsa/$name.wav"
done >speech.raw
deviation="$(awk "BEGIN { print 32768 * 10 ^ (($(level speech) - $ratio) / 20) }")"
"$examples/noise" $(($(wc -c <speech.raw) / 2)) 0 "$deviation" 1 >noise.raw 2>/dev/null
"$examples/mix" speech.raw 1 noise.raw 1 >noisy.raw 2>/dev/null
rm noise.raw
wav speech
wav noisy
tell noisy
for rule in wiener ephraim-malah; do
  "$examples/denoise" noisy.wav $rule.wav --rule $rule
  tail -c +$((header_bytes + 1)) $rule.wav >$rule.raw
  tell $rule
done
