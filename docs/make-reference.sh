#!/usr/bin/env bash
# Writes the reference of the primitives, build/reference/html/index.html, from the public headers,
# the pages of docs/primitives and what the programs beside them compute. Sets up what is missing
# on Debian 12.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
output="$PWD/build/reference"
pages="$output/pages" programs="$output/programs" prefix="$output/prefix"

cmake/install-packages.sh build doc
rm -rf "$output/html" "$pages" "$programs" "$prefix"
mkdir -p "$pages" "$programs"

cmake --preset host -B "$output/library" -DZR_APPS=OFF -DZR_BENCHMARKS=OFF -DBUILD_TESTING=OFF \
  >/dev/null
cmake --build "$output/library" --target zrprimitives_static zrprimitives_shared -- --quiet
cmake --install "$output/library" --component zrprimitives --prefix "$prefix" >/dev/null

export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
read -ra flags < <(pkg-config --cflags --libs zrprimitives)
for source in docs/primitives/programs/*.cpp; do
  name="$(basename "$source" .cpp)"
  g++ -std=c++20 -O2 -Wall -Wextra -Werror "$source" -o "$programs/$name" "${flags[@]}" \
    -Wl,-rpath,"$prefix/lib"
  "$programs/$name" >"$programs/$name.txt"
done
for plot in docs/primitives/programs/*.gnuplot; do
  name="$(basename "$plot" .gnuplot)"
  gnuplot -e "data='$programs/$name.txt'" "$plot" >"$programs/$name.png"
done

g++ -std=c++20 -I . docs/primitives/table.cpp -o "$programs/table"
"$programs/table" >"$pages/table.md"

doxygen - <<EOF
@INCLUDE             = docs/Doxyfile
OUTPUT_DIRECTORY     = $output
INPUT                = $prefix/include/zrprimitives/primitives docs/primitives $pages
STRIP_FROM_PATH      = $prefix/include/zrprimitives $PWD
STRIP_FROM_INC_PATH  = $prefix/include/zrprimitives
EXAMPLE_PATH         = docs/primitives/programs $programs
IMAGE_PATH           = $programs
EOF
echo "$output/html/index.html"
