#!/usr/bin/env bash
# Sets up what is missing on Debian 12, builds, and runs every benchmark. Each program ends with the
# ratios against its baselines, measured in the same run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

cmake/install-packages.sh build bench
apps/demo/make-material.sh >/dev/null
cmake --preset host -B build/bench -DBUILD_TESTING=OFF >/dev/null
cmake --build build/bench -- --quiet
for program in build/bench/bench/bench_*; do
  [[ -x $program ]] || continue
  echo "== $(basename "$program")"
  "$program" --benchmark_repetitions="${1:-5}"
done
