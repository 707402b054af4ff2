#!/usr/bin/env bash
# Writes the reference of the primitives, build/reference/html/index.html, from the public headers,
# the pages of docs/primitives and what the programs beside them compute. Sets up what is missing
# on Debian 12.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
output="$PWD/build/reference"
pages="$output/pages" programs="$output/programs" prefix="$output/prefix"

cmake/install-packages.sh build doc demo
rm -rf "$output/html" "$pages" "$programs" "$prefix"
mkdir -p "$pages" "$programs"

cmake --preset host -B "$output/library" -DZR_APPS=OFF -DZR_BENCHMARKS=OFF -DBUILD_TESTING=OFF \
  >/dev/null
cmake --build "$output/library" --target zrprimitives_static zrprimitives_shared -- --quiet
cmake --install "$output/library" --component zrprimitives --prefix "$prefix" >/dev/null

export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
read -ra flags < <(pkg-config --cflags --libs zrprimitives)
cmake -S examples -B "$output/examples" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$output/examples" -- --quiet
examples/denoise_demo.sh "$output/examples" "$programs" 5 >"$programs/denoise_demo.txt"

for source in docs/primitives/programs/*.cpp; do
  name="$(basename "$source" .cpp)"
  g++ -std=c++20 -O2 -Wall -Wextra -Werror "$source" -o "$programs/$name" "${flags[@]}" \
    -Wl,-rpath,"$prefix/lib"
  (cd "$programs" && "./$name" >"$name.txt")
done

# Errors that the programs of the tests measure, over a sample of the arguments; a larger one where
# they spread over the exponents of doubles.
measure() {
  local name="$1" && shift
  g++ -std=c++20 -O2 -I . "$@" -o "$output/$name" "${flags[@]}" -Wl,-rpath,"$prefix/lib" -lmpfr
}
accuracy=tests/primitives/accuracy
measure fft_accuracy "$accuracy/fft_accuracy.cpp"
measure math_accuracy \
  "$accuracy"/{exact,functions_of_doubles,functions_of_floats,math_accuracy,measure}.cpp
"$output/fft_accuracy" >"$programs/fft_accuracy.txt"
mkdir "$programs/math_accuracy"
"$output/math_accuracy" 251 "$programs/math_accuracy" >"$programs/math_accuracy.txt"
for name in Sqrt_64f PowerSpectr_64fc; do
  "$output/math_accuracy" 10 "$programs/math_accuracy" "$name" >/dev/null
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
EXAMPLE_PATH         = docs/primitives/programs examples $programs
IMAGE_PATH           = $programs
EOF
echo "$output/html/index.html"
