# shellcheck shell=bash
# What the tests of the installed library share; to be sourced.

fail() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# One line for each primitive, as list_primitives.inc tells.
list_primitives() {
  "$CXX" -std=c++20 -E -P -I "$SOURCE" -x c++ "$SOURCE/tests/library/list_primitives.inc" |
    grep '^ *primitive '
}
