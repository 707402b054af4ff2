#!/usr/bin/env bash
# The main job on real audio: lays clicks at known places into recordings of speech, lets
# popclean repair them, and prints what became of each click. Then a simulated USB microphone plays
# the same recordings into the driver's code, and what arrives must be the same audio. Needs no step before it: it installs
# the packages that are missing on Debian 12, and builds. The results lie in demo-output/.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

build=build/demo
output=demo-output
log=build/demo.log
mkdir -p build
: >"$log"

fail() {
  cat "$log" >&2
  echo "run-demo.sh: failed: $*" >&2
  exit 1
}

# What a step prints goes to the log, which is shown if the step fails.
quietly() {
  "$@" >>"$log" 2>&1 || fail "$*"
}

# popclean NAME KIND RESULT [OPTION...]: one run, with its repairs and its summary kept.
clean() {
  local at="$output/$1.$2" result="$3"
  shift 3
  local command=("$build/apps/popclean/popclean" "$at.wav" "$result"
    --repairs "$at.repairs.csv" "$@")
  "${command[@]}" >>"$log" 2>"$at.summary.txt" || {
    cat "$at.summary.txt" >>"$log"
    fail "${command[*]}"
  }
}

rm -rf "$output"
mkdir "$output"
echo "Building, and making the recordings ..."
quietly apps/demo/make-material.sh "$output"
quietly cmake --build "$build" --target popclean popusb

names=()
for truth in "$output"/*.truth.csv; do
  name="$(basename "$truth" .truth.csv)"
  names+=("$name")
  clean "$name" clicked "$output/$name.cleaned.wav" --plot "$output/$name.png"
  # Every repair of the recording without clicks is a false one.
  clean "$name" clean "$build/$name.wav"
done
echo
"$build/apps/demo/popdemo" score "$output" "${names[@]}" | tee "$output/scores.txt"

# From file to file and from URB to URB: the second road has the driver's interception on it.
for name in "${names[@]}"; do
  rate="${name##*-}"
  usb="$output/$name.usb"
  quietly "$build/apps/popusb/popusb" simulate "$output/$name.clicked.wav" "$usb.pcap"
  quietly "$build/apps/popusb/popusb" clean "$usb.pcap" "$usb"
  "$build/apps/popclean/popclean" --raw --quiet --rate "$rate" - - \
    <"$output/$name.clicked.pcm" >"$build/$name.raw.pcm" || fail "popclean --raw: $name"
  bytes="$(stat -c %s "$build/$name.raw.pcm")"
  tail -c "$bytes" "$usb/1-5-1.cleaned.wav" | cmp - "$build/$name.raw.pcm" ||
    fail "$name: the audio from the driver differs from that of popclean"
  echo "$name: $((bytes / 2)) samples from URB to URB equal those from file to file"
done

cat <<END

In $PWD/$output, for each recording (${names[*]}):
  NAME.clicked.wav, NAME.cleaned.wav   before and after, to listen to
  NAME.clean.wav                       the recording without clicks
  NAME.png                             plot of the repairs
  NAME.truth.csv                       the clicks that were laid
  NAME.clicked.repairs.csv             the repairs; NAME.clean.repairs.csv: the false ones
  NAME.clicked.summary.txt             popclean's summary, and NAME.clean.summary.txt
  NAME.clean.pcm, NAME.clicked.pcm     the same as raw 16-bit samples
  scores.txt                           the table above
  NAME.usb.pcap                        a USB capture of a simulated microphone that hears it
  NAME.usb/                            the audio of that capture before and after the driver
END
