#!/usr/bin/env bash
# Makes the recordings that the demo and the tests share: real and synthetic speech, clean and with
# clicks at known places. Installs and builds what it needs.
#
#   apps/demo/make-material.sh [FOLDER]    by default build/material
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(cd "$here/../.." && pwd)"
folder="$(realpath -m "${1:-$root/build/material}")"
build="$root/build/demo"

cd "$root"
cmake/install-packages.sh build demo
cmake --preset host -B "$build" -DZR_BENCHMARKS=OFF -DBUILD_TESTING=OFF
cmake --build "$build" --target popdemo
mkdir -p "$folder"
# Once as it comes, with peaks at full scale, and once 6 dB lower, as a microphone is set: the filter
# takes steep full-scale speech for clicks.
espeak-ng -v en -f "$here/speech.txt" -w "$build/espeak.wav"
espeak-ng -v en -a 50 -f "$here/speech.txt" -w "$build/espeak-quiet.wav"
"$build/apps/demo/popdemo" material "$folder" \
  --speech "$build/espeak.wav" --speech "$build/espeak-quiet.wav"
