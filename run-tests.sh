#!/usr/bin/env bash
# Sets up what is missing on Debian 12, builds every preset, runs every test, and compares what shows
# only between presets.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

cmake/install-packages.sh build test

build() {
  echo "== $1: build"
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1" -- --quiet
}

apps/demo/make-material.sh build/material >/dev/null
for preset in host x86 nt asan tsan; do
  build "$preset"
  echo "== $preset: test"
  ctest --preset "$preset" -j "$(nproc)"
done

echo "== between the presets"
tests/compare_presets.sh build build/material
